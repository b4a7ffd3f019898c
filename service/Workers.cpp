// SPDX-License-Identifier: Apache-2.0
#include "service/Workers.h"

#include <utility>

Workers::Workers(unsigned threads, size_t mostWaiting)
    : m_mostWaiting(mostWaiting)
{
    for (unsigned i = 0; i < threads; ++i)
        m_threads.emplace_back([this] { Work(); });
}

bool Workers::Add(Job job)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed || m_waiting.size() >= m_mostWaiting)
            return false;
        m_waiting.push_back(std::move(job));
    }
    m_change.notify_one();
    return true;
}

void Workers::Work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_change.wait(lock, [this] { return m_isClosed || !m_waiting.empty(); });
        if (m_isClosed)
            return;
        const Job job = std::move(m_waiting.front());
        m_waiting.pop_front();
        lock.unlock();
        job(true);
        lock.lock();
    }
}

void Workers::Close()
{
    std::deque<Job> late;
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
        late.swap(m_waiting);
    }
    m_change.notify_all();
    for (const Job &job : late)
        job(false);
    for (std::thread &thread : m_threads)
        thread.join();
    m_threads.clear();
}
