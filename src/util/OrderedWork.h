// Work on numbered items spread over worker threads, with the results taken
// in their numbered order on the calling thread: a save compresses its frames
// in parallel yet writes them front to back, byte for byte as one thread would.
//
// Thread safety: Produce runs on workers and on the calling thread, several
// at once, each on its own item; Consume runs on the calling thread only.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace n4 {

// The worker threads a whole-file job may use: the "N4FILE_THREADS"
// environment variable when it holds a positive number, else one per core.
// 1 keeps all work on the calling thread.
unsigned WorkerThreadCount();

// True while an item of RunOrdered's is produced: on a pool thread, or on the
// calling thread as it produces. Such code may run beside other items, so it
// must not use what they share (a sequence's codec record).
bool IsOrderedWorker();

struct OrderedJob {
  std::size_t count = 0;
  // Fills `out` with item i's result; false stops the job.
  std::function<bool(std::size_t i, std::vector<std::byte>& out)> produce;
  // Takes item i's result, in order 0, 1, 2...; false stops the job.
  std::function<bool(std::size_t i, std::vector<std::byte>& result)> consume;
};

// Runs the job on `threads` threads: the caller, which also produces while
// the next result is not ready, and threads - 1 of a pool that lives as long
// as the process (at most `ahead` results waiting to be consumed, which
// bounds the memory held). While another job holds the pool, or on a worker,
// the caller does all the work itself. Returns false when a call returned false; items
// after that one are neither produced nor consumed.
bool RunOrdered(const OrderedJob& job, unsigned threads, std::size_t ahead);

}  // namespace n4
