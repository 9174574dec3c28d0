#include "sim/workers.h"

#include <algorithm>
#include <new>
#include <system_error>

namespace orb::sim {

Workers::Workers(std::size_t count) {
    threads_.reserve(count);
    try {
        for (std::size_t worker = 1; worker < count; ++worker)
            threads_.emplace_back([this, worker] { threadLoop(worker); });
    } catch (const std::system_error&) {  // those that there are do the work
    } catch (const std::bad_alloc&) {
    }
}

Workers::~Workers() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    start_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

void Workers::runJob(Job& job) {
    // Waking the others costs more than a single block.
    const bool isShared = !threads_.empty() && job.blockCount() > 1;
    if (isShared) {
        {
            const std::lock_guard lock(mutex_);
            job_ = &job;
            ++jobNumber_;
        }
        start_.notify_all();
    }
    takeBlocks(job, 0);
    if (isShared) {
        std::unique_lock lock(mutex_);
        // All blocks are taken. Who wakes up only now finds no job; on a busy machine that would be
        // waited for longer than the job takes.
        job_ = nullptr;
        done_.wait(lock, [this] { return busyThreads_ == 0; });
    }
    if (job.failure) std::rethrow_exception(job.failure);
}

void Workers::takeBlocks(Job& job, std::size_t worker) {
    for (;;) {
        const std::size_t block = job.nextBlock.fetch_add(1, std::memory_order_relaxed);
        if (block >= job.blockCount()) return;
        runBlock(job, block, worker);
    }
}

void Workers::runBlock(Job& job, std::size_t block, std::size_t worker) {
    const std::size_t first = block * job.itemsPerBlock;
    const std::size_t end = std::min(job.items, first + job.itemsPerBlock);
    try {
        for (std::size_t item = first; item < end; ++item) job.runItem(job.context, item, worker);
    } catch (...) {
        const std::lock_guard lock(job.failing);
        if (job.failure && job.failedBlock < block) return;
        job.failure = std::current_exception();
        job.failedBlock = block;
    }
}

void Workers::threadLoop(std::size_t worker) {
    std::size_t lastJob = 0;
    for (;;) {
        Job* job = nullptr;
        {
            std::unique_lock lock(mutex_);
            start_.wait(lock, [&] { return isEnding_ || jobNumber_ != lastJob; });
            if (isEnding_) return;
            lastJob = jobNumber_;
            job = job_;
            if (!job) continue;
            ++busyThreads_;
        }
        takeBlocks(*job, worker);
        {
            const std::lock_guard lock(mutex_);
            if (--busyThreads_ > 0) continue;
        }
        done_.notify_one();
    }
}

}  // namespace orb::sim
