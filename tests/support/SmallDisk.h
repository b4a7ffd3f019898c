// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <QtGlobal>

// While it lives no file can grow beyond so many bytes: the disk is full.
class SmallDisk {
public:
    explicit SmallDisk(quint64 bytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    // Why this system has no such disk; nullptr where it has.
    static const char *WhyNot();

private:
    struct System;
    std::unique_ptr<System> m_system;
};
