// SPDX-License-Identifier: Apache-2.0
#include "author/Ahead.h"

#include <QThreadPool>

#include <algorithm>
#include <memory>

namespace {

// Each may hold a picture of the largest size.
constexpr int MostThreads = 4;

}

std::future<int> Ahead(std::function<int()> work)
{
    static QThreadPool threads;
    threads.setMaxThreadCount(std::min(MostThreads, QThread::idealThreadCount()));
    // Jobs are copied, tasks are not.
    const auto task = std::make_shared<std::packaged_task<int()>>(std::move(work));
    threads.start([task] { (*task)(); });
    return task->get_future();
}
