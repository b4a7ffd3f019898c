// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

// Threads for what takes long. They do one job after the other, in the order in
// which they came, and only so many jobs may wait. May be used by several
// threads.
class Workers {
public:
    // Called exactly once: with true on a thread of the workers, or with false
    // on the thread that closes them before its turn has come. Must not raise.
    using Job = std::function<void(bool isItsTurn)>;

    Workers(unsigned threads, size_t mostWaiting);
    ~Workers() { Close(); }
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    // False when too many are waiting, or after Close; the job is then not
    // called.
    bool Add(Job job);
    // Takes no more jobs and returns when all of them have been called.
    void Close();

private:
    void Work();

    const size_t m_mostWaiting;
    std::mutex m_mutex;
    std::condition_variable m_change;
    bool m_isClosed = false;
    std::deque<Job> m_waiting;
    std::vector<std::thread> m_threads;
};
