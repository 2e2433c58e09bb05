#include "util/OrderedWork.h"

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "platform/Env.h"

namespace n4 {

namespace {
thread_local bool tIsWorker = false;
}

unsigned WorkerThreadCount() {
  const std::string text = Env::Default()->GetEnvironmentVariable("N4FILE_THREADS");
  unsigned wanted = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), wanted);
  if (ec == std::errc() && end == text.data() + text.size() && wanted > 0) return std::min(wanted, 256u);
  return std::max(1u, std::thread::hardware_concurrency());
}

bool IsOrderedWorker() { return tIsWorker; }

bool RunOrdered(const OrderedJob& job, unsigned threads, std::size_t ahead) {
  if (threads <= 1 || job.count <= 1) {
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

  auto work = [&] {
    tIsWorker = true;
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

  std::vector<std::thread> workers;
  workers.reserve(threads);
  for (unsigned t = 0; t < threads; ++t) workers.emplace_back(work);

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
  for (auto& worker : workers) worker.join();
  return result;
}

}  // namespace n4
