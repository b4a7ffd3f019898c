// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pack/Packer.h"

#include <QByteArrayView>

// The stub of packs for that system, which the build has put into this program;
// empty when it had no compiler for one.
QByteArrayView StubBytes(Packer::System system);
