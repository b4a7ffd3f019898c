// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <future>

// Work that is done while its result is not needed yet, where the system's threads can be
// relied on; elsewhere when the result is asked for. Raises what the work raises, there.
std::future<int> Ahead(std::function<int()> work);
