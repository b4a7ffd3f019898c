// SPDX-License-Identifier: Apache-2.0
#include "service/Workers.h"

#include <utility>

Workers::Workers(unsigned threads, size_t maximumQueued)
    : m_maximumQueued(maximumQueued)
{
    for (unsigned i = 0; i < threads; ++i)
        m_threads.emplace_back([this] { Work(); });
}

bool Workers::Add(Job job)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed || m_queue.size() >= m_maximumQueued)
            return false;
        m_queue.push_back(std::move(job));
    }
    m_change.notify_one();
    return true;
}

void Workers::Work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_change.wait(lock, [this] { return m_isClosed || !m_queue.empty(); });
        if (m_isClosed)
            return;
        const Job job = std::move(m_queue.front());
        m_queue.pop_front();
        lock.unlock();
        job(false);
        lock.lock();
    }
}

void Workers::Close()
{
    std::deque<Job> cancelled;
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
        cancelled.swap(m_queue);
    }
    m_change.notify_all();
    for (const Job &job : cancelled)
        job(true);
    for (std::thread &thread : m_threads)
        thread.join();
    m_threads.clear();
}
