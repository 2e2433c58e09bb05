#include "util/OrderedWork.h"

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "platform/Env.h"

namespace n4 {

namespace {

thread_local bool tIsWorker = false;

// Worker threads live as long as the process. Threads that ended after each
// job would run the destructors of their thread-local state (the codecs'
// scratch tables) as they end, and with mingw-w64 a DLL's thread-local
// destructors run after that state is gone. They also cost a start per save.
class WorkerPool {
 public:
  // Never destroyed: its threads wait on it until the process ends.
  static WorkerPool& Instance() {
    static WorkerPool* pool = new WorkerPool;
    return *pool;
  }

  // One job at a time; a caller that finds the pool busy works alone.
  std::unique_lock<std::mutex> TryClaim() { return std::unique_lock(claim_, std::try_to_lock); }

  // Runs work on `count` pool threads. REQUIRES: the claim is held.
  void Start(unsigned count, const std::function<void()>& work) {
    std::lock_guard lock(mutex_);
    while (threads_ < count) {
      std::thread([this] { Serve(); }).detach();
      ++threads_;
    }
    work_ = &work;
    wanted_ = count;
    started_ = finished_ = 0;
    ++generation_;
    wake_.notify_all();
  }

  // Waits until every thread of the job has returned from work.
  void Wait() {
    std::unique_lock lock(mutex_);
    done_.wait(lock, [&] { return finished_ == wanted_; });
    work_ = nullptr;
  }

 private:
  void Serve() {
    tIsWorker = true;
    std::uint64_t seen = 0;
    std::unique_lock lock(mutex_);
    for (;;) {
      wake_.wait(lock, [&] { return generation_ != seen && started_ < wanted_; });
      seen = generation_;
      ++started_;
      const std::function<void()>* work = work_;
      lock.unlock();
      (*work)();
      lock.lock();
      if (++finished_ == wanted_) done_.notify_all();
    }
  }

  std::mutex claim_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable done_;
  unsigned threads_ = 0;
  const std::function<void()>* work_ = nullptr;
  unsigned wanted_ = 0;
  unsigned started_ = 0;
  unsigned finished_ = 0;
  std::uint64_t generation_ = 0;
};

}  // namespace

unsigned WorkerThreadCount() {
  const std::string text = Env::Default()->GetEnvironmentVariable("N4FILE_THREADS");
  unsigned wanted = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), wanted);
  if (ec == std::errc() && end == text.data() + text.size() && wanted > 0) return std::min(wanted, 256u);
  return std::max(1u, std::thread::hardware_concurrency());
}

bool IsOrderedWorker() { return tIsWorker; }

bool RunOrdered(const OrderedJob& job, unsigned threads, std::size_t ahead) {
  WorkerPool& pool = WorkerPool::Instance();
  std::unique_lock<std::mutex> claim;
  if (threads > 1 && job.count > 1 && !IsOrderedWorker()) claim = pool.TryClaim();
  if (!claim.owns_lock()) {
    std::vector<std::byte> buffer;
    for (std::size_t i = 0; i < job.count; ++i) {
      buffer.clear();
      if (!job.produce(i, buffer) || !job.consume(i, buffer)) return false;
    }
    return true;
  }
  ahead = std::max<std::size_t>(ahead, threads);

  struct Slot {
    std::vector<std::byte> data;
    bool ready = false;
    bool ok = false;
  };
  std::vector<Slot> slots(ahead);  // item i lives in slot i % ahead
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t nextToProduce = 0;
  std::size_t nextToConsume = 0;
  bool stop = false;

  const std::function<void()> work = [&] {
    std::vector<std::byte> buffer;
    std::unique_lock lock(mutex);
    for (;;) {
      changed.wait(lock, [&] { return stop || nextToProduce >= job.count || nextToProduce < nextToConsume + ahead; });
      if (stop || nextToProduce >= job.count) return;
      const std::size_t i = nextToProduce++;
      lock.unlock();
      buffer.clear();
      const bool ok = job.produce(i, buffer);
      lock.lock();
      Slot& slot = slots[i % ahead];
      slot.data.swap(buffer);
      slot.ok = ok;
      slot.ready = true;
      changed.notify_all();
    }
  };

  pool.Start(threads, work);

  bool result = true;
  std::vector<std::byte> taken;
  for (std::size_t i = 0; i < job.count; ++i) {
    {
      std::unique_lock lock(mutex);
      Slot& slot = slots[i % ahead];
      changed.wait(lock, [&] { return slot.ready; });
      taken.swap(slot.data);
      slot.ready = false;
      result = slot.ok;
    }
    result = result && job.consume(i, taken);
    std::lock_guard lock(mutex);
    if (!result) {
      stop = true;
      changed.notify_all();
      break;
    }
    nextToConsume = i + 1;
    changed.notify_all();
  }
  pool.Wait();
  return result;
}

}  // namespace n4
