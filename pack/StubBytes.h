// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pack/Packer.h"

#include <QByteArrayView>

// The stub of packs for that platform, which the build has put into this program;
// empty when the build had no compiler for it.
QByteArrayView StubBytes(Packer::Platform platform);
