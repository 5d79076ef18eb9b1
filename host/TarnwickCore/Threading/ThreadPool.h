#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

namespace Tarnwick::Threading {

/// A fixed set of worker threads that run queued tasks in FIFO order.
///
/// enqueue() returns a future for the task's result; an exception thrown by a task is stored in
/// that future. stop() and the destructor let every task already queued run to completion, then
/// join the workers. Tasks must not call stop() or destroy their own pool. All member functions
/// may be called from any thread.
class ThreadPool {
public:
    /// Starts `numThreads` workers; 0 means one per hardware thread (at least one).
    explicit ThreadPool(std::size_t numThreads = 0);
    /// Finishes the queued tasks and joins the workers.
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// Queues f(args...). Throws std::runtime_error("Called enqueue() on stopped ThreadPool") after stop().
    template <typename F, typename... Args>
    std::future<std::invoke_result_t<std::decay_t<F>, std::decay_t<Args>...>> enqueue(F&& f, Args&&... args) {
        using Result = std::invoke_result_t<std::decay_t<F>, std::decay_t<Args>...>;
        auto task = std::make_shared<std::packaged_task<Result()>>(
            [f = std::forward<F>(f), tuple = std::make_tuple(std::forward<Args>(args)...)]() mutable {
                return std::apply(std::move(f), std::move(tuple));
            });
        std::future<Result> result = task->get_future();
        push([task] { (*task)(); });
        return result;
    }

    /// Number of worker threads (fixed at construction).
    std::size_t numThreads() const { return m_workers.size(); }

    /// Waits until every queued task has finished. A negative timeout waits without limit.
    /// Returns whether all tasks finished within the timeout.
    bool waitUntilFinished(int timeoutMs = -1);

    /// Refuses further tasks, lets the queued ones finish and joins the workers. Idempotent.
    void stop();

private:
    void push(std::function<void()> task);
    void work();

    std::vector<std::thread> m_workers;
    std::deque<std::function<void()>> m_queue;
    std::mutex m_mutex;
    std::condition_variable m_taskAvailable;
    std::condition_variable m_allFinished;
    std::size_t m_unfinished = 0; ///< queued plus running tasks
    bool m_stopping = false;
    std::once_flag m_joined;
};

} // namespace Tarnwick::Threading
