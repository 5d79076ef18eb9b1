#include <TarnwickCore/Threading/ThreadPool.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace Tarnwick::Threading {

ThreadPool::ThreadPool(std::size_t numThreads) {
    if (numThreads == 0)
        numThreads = std::max(1u, std::thread::hardware_concurrency());
    m_workers.reserve(numThreads);
    for (std::size_t i = 0; i < numThreads; ++i)
        m_workers.emplace_back([this] { work(); });
}

ThreadPool::~ThreadPool() {
    stop();
}

void ThreadPool::push(std::function<void()> task) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping)
            throw std::runtime_error("Called enqueue() on stopped ThreadPool");
        m_queue.push_back(std::move(task));
        ++m_unfinished;
    }
    m_taskAvailable.notify_one();
}

void ThreadPool::work() {
    for (;;) {
        std::function<void()> task;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_taskAvailable.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
            if (m_queue.empty())
                return; // stopping and nothing left to do
            task = std::move(m_queue.front());
            m_queue.pop_front();
        }
        task();         // a packaged task: exceptions end up in its future
        task = nullptr; // release captured state before reporting the task finished
        std::lock_guard<std::mutex> lock(m_mutex);
        if (--m_unfinished == 0)
            m_allFinished.notify_all();
    }
}

bool ThreadPool::waitUntilFinished(int timeoutMs) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto finished = [this] { return m_unfinished == 0; };
    if (timeoutMs < 0) {
        m_allFinished.wait(lock, finished);
        return true;
    }
    return m_allFinished.wait_for(lock, std::chrono::milliseconds(timeoutMs), finished);
}

void ThreadPool::stop() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_taskAvailable.notify_all();
    std::call_once(m_joined, [this] {
        for (auto& worker : m_workers)
            worker.join();
    });
}

} // namespace Tarnwick::Threading
