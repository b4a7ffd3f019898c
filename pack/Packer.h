// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>

// Makes packs.
namespace Packer {

// What a pack can be a program for.
enum class System { Linux, Windows };
// The system that this program runs on.
constexpr System OwnSystem = System::PRACTORIUM_OWN_SYSTEM;

// Makes the program file that installs the package of that folder, under the
// folder's name, on that system. It appears whole or not at all, and whoever may read it may
// run it. An existing file is an error, unless replace is set.
//
// The package must hold the exam file of its name, which must load, and else
// nothing but regular files with plain names.
//
// step is called before each block that is written; what it raises ends the
// work. Raises InvalidCall, also for a system that this build has no stub for,
// or what loading the exam raises.
void Write(const QString &folder, const QString &file, System system, bool replace, const std::function<void()> &step);

}
