// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pack/PackContents.h"

// Makes packs; docs/pack-file.md shows what they look like.
namespace Packer {

// The platforms that a pack can be made for.
enum class Platform { Linux, Windows };
// The one that this program runs on.
constexpr Platform OwnPlatform = Platform::PRACTORIUM_OWN_PLATFORM;

// Writes the pack, a program that installs the package in folder under the
// folder's name, to file. The file appears complete or not at all, and every user
// who may read it may execute it. An existing file is an error unless replace is
// set, a link or a folder in any case.
//
// The package must contain the exam file of its name, which must load, and apart
// from it only regular files whose names PackFormat::IsPlainName accepts.
//
// The pack is signed if there is a signer. step is called before each block is written and before the file appears; an
// exception of it or of the signer ends the work. Raises InvalidCall, also when this build has no
// stub for the platform, or what loading the exam raises.
void Write(const QString &folder, const QString &file, Platform platform, bool replace, const std::function<void()> &step,
           const PackContents::Signer &signer = {});

}
