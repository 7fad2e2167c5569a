// The worker pool: one mutex, a list of jobs in flight, workers that take
// one task at a time from the oldest job that still has tasks and room for
// another helper.
#include "engine/ThreadPool.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

namespace quillon {
namespace {

struct Job {
    TaskFn task;
    void* state;
    uint32_t count;
    uint32_t maxHelpers;  // workers that may run tasks of this job at once
    uint32_t next = 0;    // first task not yet taken
    uint32_t done = 0;
    uint32_t helpers = 0;
};

class Pool {
public:
    void Run(uint32_t tasks, uint32_t threads, TaskFn task, void* state) {
        std::unique_lock lock(mutex_);
        EnsureWorkers(threads - 1);
        Job job{task, state, tasks, threads - 1};
        if (workers_.empty()) {
            lock.unlock();
            for (uint32_t i = 0; i < tasks; ++i) {
                task(state, i);
            }
            return;
        }
        jobs_.push_back(&job);
        wake_.notify_all();
        // The caller works too, so its job finishes even if every worker is
        // busy with other frames.
        while (job.next < job.count) {
            const uint32_t i = Take(job);
            lock.unlock();
            task(state, i);
            lock.lock();
            ++job.done;
        }
        finished_.wait(lock, [&job] { return job.done == job.count; });
    }

    void Stop() {
        std::vector<std::thread> workers;
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
            workers.swap(workers_);
        }
        wake_.notify_all();
        for (std::thread& t : workers) {
            t.join();
        }
        std::lock_guard lock(mutex_);
        stopping_ = false;
    }

    uint32_t Count() {
        std::lock_guard lock(mutex_);
        return static_cast<uint32_t>(workers_.size());
    }

private:
    // Called with the mutex held. A thread that cannot be started leaves the
    // pool smaller; the work still gets done.
    void EnsureWorkers(uint32_t wanted) {
        while (workers_.size() < wanted && !stopping_) {
            try {
                workers_.emplace_back([this] { Work(); });
            } catch (...) {
                return;
            }
        }
    }

    // Called with the mutex held: takes the next task of `job`, and takes
    // the job off the list when that was its last.
    uint32_t Take(Job& job) {
        const uint32_t i = job.next++;
        if (job.next == job.count) {
            jobs_.remove(&job);
        }
        return i;
    }

    Job* Available() {
        for (Job* job : jobs_) {
            if (job->helpers < job->maxHelpers) {
                return job;
            }
        }
        return nullptr;
    }

    void Work() {
        std::unique_lock lock(mutex_);
        for (;;) {
            Job* job = nullptr;
            wake_.wait(lock, [&] { return stopping_ || (job = Available()) != nullptr; });
            if (stopping_) {
                return;
            }
            ++job->helpers;
            const uint32_t i = Take(*job);
            lock.unlock();
            job->task(job->state, i);
            lock.lock();
            --job->helpers;
            // The last touch of the job: its owner may return once it sees
            // every task done, and it checks that under this mutex.
            if (++job->done == job->count) {
                finished_.notify_all();
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable finished_;
    std::list<Job*> jobs_;
    std::vector<std::thread> workers_;
    bool stopping_ = false;
};

// Made on first use. On Windows never destroyed: a DLL's static destructors
// run under the loader lock, where joining a thread would deadlock, so the
// workers are joined by StopWorkers() (global setdown) instead. On Linux the
// guard below joins them and frees the pool when the library is unloaded or
// the process ends.
std::atomic<Pool*> gPool{nullptr};
std::mutex gPoolCreation;

Pool* ExistingPool() {
    return gPool.load(std::memory_order_acquire);
}

Pool& ThePool() {
    if (Pool* pool = ExistingPool()) {
        return *pool;
    }
    std::lock_guard lock(gPoolCreation);
    Pool* pool = gPool.load(std::memory_order_relaxed);
    if (pool == nullptr) {
        pool = new Pool;
        gPool.store(pool, std::memory_order_release);
    }
    return *pool;
}

#ifndef _WIN32
struct StopAtUnload {
    ~StopAtUnload() {
        if (Pool* pool = gPool.exchange(nullptr)) {
            pool->Stop();
            delete pool;
        }
    }
};
const StopAtUnload gStopAtUnload;
#endif

}  // namespace

void RunTasks(uint32_t tasks, uint32_t threads, TaskFn task, void* state) {
    threads = std::min(threads, tasks);
    if (threads <= 1) {
        for (uint32_t i = 0; i < tasks; ++i) {
            task(state, i);
        }
        return;
    }
    ThePool().Run(tasks, threads, task, state);
}

void StopWorkers() {
    if (Pool* pool = ExistingPool()) {
        pool->Stop();
    }
}

uint32_t WorkerCount() {
    Pool* pool = ExistingPool();
    return pool != nullptr ? pool->Count() : 0;
}

}  // namespace quillon
