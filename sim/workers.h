#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace orb::sim {

/// Threads that share the items of a phase. The items are cut into blocks whose borders follow from
/// their number alone, so that what a block computes does not depend on the number of threads;
/// which thread takes which block is chance, so an item writes only to what is its own, or to
/// scratch of its worker that it empties first.
class Workers {
public:
    /// So many threads in all, the calling one among them; at least 1, and fewer where the system
    /// starts no more of them.
    explicit Workers(std::size_t count);
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    std::size_t count() const { return threads_.size() + 1; }

    /// Calls `run(item, worker)` for each item below `items`; `worker` is below `count()`. Returns
    /// when all are done. When items throw, the rest is run all the same and the exception of the
    /// first block is thrown on. Not to be called from within an item.
    template <typename Run>
    void forEach(std::size_t items, std::size_t itemsPerBlock, Run&& run) {
        if (items == 0) return;
        Job job{items, itemsPerBlock, &run,
                [](void* context, std::size_t item, std::size_t worker) {
                    (*static_cast<std::remove_reference_t<Run>*>(context))(item, worker);
                }};
        runJob(job);
    }

private:
    struct Job {
        std::size_t items;
        std::size_t itemsPerBlock;
        void* context;
        void (*runItem)(void* context, std::size_t item, std::size_t worker);
        std::atomic<std::size_t> nextBlock = 0;
        std::mutex failing = {};
        std::size_t failedBlock = 0;
        std::exception_ptr failure = nullptr;

        std::size_t blockCount() const { return (items + itemsPerBlock - 1) / itemsPerBlock; }
    };

    void runJob(Job& job);
    static void takeBlocks(Job& job, std::size_t worker);
    static void runBlock(Job& job, std::size_t block, std::size_t worker);
    void threadLoop(std::size_t worker);

    std::mutex mutex_;
    std::condition_variable start_;
    std::condition_variable done_;
    Job* job_ = nullptr;
    /// Counts the jobs, so that a thread takes part in each only once.
    std::size_t jobNumber_ = 0;
    /// Threads that are at the job.
    std::size_t busyThreads_ = 0;
    bool isEnding_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace orb::sim
