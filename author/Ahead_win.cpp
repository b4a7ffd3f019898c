// SPDX-License-Identifier: Apache-2.0
#include "author/Ahead.h"

std::future<int> Ahead(std::function<int()> work)
{
    // A thread that has decoded a picture sometimes keeps the program from ending.
    return std::async(std::launch::deferred, std::move(work));
}
