// SPDX-License-Identifier: Apache-2.0
#include "tests/support/SmallDisk.h"

struct SmallDisk::System { };

SmallDisk::SmallDisk(quint64) { }

SmallDisk::~SmallDisk() = default;

const char *SmallDisk::WhyNot()
{
    return "Wine limits no file's size, and Windows no file's of one process";
}
