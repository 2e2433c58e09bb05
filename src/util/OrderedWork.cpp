#include "util/OrderedWork.h"

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

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
  // Every wake-up is a system call and, on a busy machine, a switch of
  // threads: the caller is woken only for the item it waits for, and
  // workers only when one of them waits for room.
  std::condition_variable nextReady;
  std::condition_variable roomMade;
  std::size_t nextToProduce = 0;
  std::size_t nextToConsume = 0;
  bool callerWaits = false;
  unsigned workersWaiting = 0;
  bool stop = false;

  auto hasRoom = [&] { return nextToProduce < job.count && nextToProduce < nextToConsume + ahead; };
  // Produces item nextToProduce into its slot. REQUIRES: lock held, hasRoom().
  auto produceOne = [&](std::unique_lock<std::mutex>& lock, std::vector<std::byte>& buffer) {
    const std::size_t i = nextToProduce++;
    lock.unlock();
    buffer.clear();
    bool ok = false;
    {
      // The caller produces as a worker does: nothing shared by the job's
      // items is used, and a nested job runs alone.
      struct AsWorker {
        bool was = std::exchange(tIsWorker, true);
        ~AsWorker() { tIsWorker = was; }
      } asWorker;
      ok = job.produce(i, buffer);
    }
    lock.lock();
    Slot& slot = slots[i % ahead];
    slot.data.swap(buffer);
    slot.ok = ok;
    slot.ready = true;
    if (i == nextToConsume && callerWaits) nextReady.notify_one();
  };

  const std::function<void()> work = [&] {
    std::vector<std::byte> buffer;
    std::unique_lock lock(mutex);
    for (;;) {
      if (!stop && nextToProduce < job.count && !hasRoom()) {
        ++workersWaiting;
        roomMade.wait(lock, [&] { return stop || hasRoom() || nextToProduce >= job.count; });
        --workersWaiting;
      }
      if (stop || nextToProduce >= job.count) return;
      produceOne(lock, buffer);
    }
  };

  // The caller works beside the pool's threads: it takes each result as soon
  // as it is ready and produces items while it would otherwise wait.
  pool.Start(threads - 1, work);

  bool result = true;
  std::vector<std::byte> taken;
  std::vector<std::byte> own;
  std::unique_lock lock(mutex);
  while (nextToConsume < job.count) {
    Slot& slot = slots[nextToConsume % ahead];
    if (!slot.ready) {
      if (hasRoom()) {
        produceOne(lock, own);
      } else {
        callerWaits = true;
        nextReady.wait(lock, [&] { return slot.ready; });
        callerWaits = false;
      }
      continue;
    }
    taken.swap(slot.data);
    slot.ready = false;
    const bool produced = slot.ok;
    const std::size_t i = nextToConsume;
    lock.unlock();
    result = produced && job.consume(i, taken);
    lock.lock();
    if (!result) break;
    nextToConsume = i + 1;
    if (workersWaiting > 0) roomMade.notify_all();
  }
  stop = true;
  roomMade.notify_all();
  lock.unlock();
  pool.Wait();
  return result;
}

}  // namespace n4
