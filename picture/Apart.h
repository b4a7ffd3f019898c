// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>

#include <functional>

// Decoders that other people wrote may crash on a picture, never end with it, or
// write to the error output what they find wrong.
namespace Apart {

constexpr int MostSeconds = 10; // of one core

// Runs the work and returns its picture, or the error that it raised; what it
// writes to the error output is lost. Where the system can copy a process, the
// work runs in a copy: a crash, and more than MostSeconds, raise InvalidCall. On
// Windows it runs in this process, without a limit.
QImage Run(const std::function<QImage()> &work);

}
