// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

// A fixed number of threads for long jobs, with a queue of limited length. Jobs
// are started in the order in which they were added. Add may be called from
// several threads at once, and while Close runs.
class Workers {
public:
    // Called exactly once: with false on one of the threads, or with true on the
    // thread that calls Close, for a job that was still in the queue. Must not
    // raise, nor call Close.
    using Job = std::function<void(bool isCancelled)>;

    // The maximum does not include the jobs that are being run.
    Workers(unsigned threads, size_t maximumQueued);
    ~Workers() { Close(); }
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    // Puts a job into the queue. False if the queue is full or closed; the job is
    // then never called.
    bool Add(Job job);

    // Cancels the jobs in the queue, waits for those that are being run and ends
    // the threads. A second call does nothing.
    void Close();

private:
    void Work();

    const size_t m_maximumQueued;
    std::mutex m_mutex;
    std::condition_variable m_change;
    bool m_isClosed = false;
    std::deque<Job> m_queue;
    std::vector<std::thread> m_threads;
};
