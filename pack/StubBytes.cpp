// SPDX-License-Identifier: Apache-2.0
#include "pack/StubBytes.h"

// The assembler takes the stubs in as they are, where an array in the source
// would keep the compiler busy for seconds.
asm(".section " PRACTORIUM_STUB_SECTION "\n"
    ".balign 16\n"
    ".globl practorium_own_stub, practorium_other_stub, practorium_stub_end\n"
    "practorium_own_stub:\n"
    ".incbin \"" PRACTORIUM_OWN_STUB "\"\n"
    "practorium_other_stub:\n"
    ".incbin \"" PRACTORIUM_OTHER_STUB "\"\n"
    "practorium_stub_end:\n"
    ".byte 0\n"
    ".text\n");

extern "C" {
extern const char practorium_own_stub[];
extern const char practorium_other_stub[];
extern const char practorium_stub_end[];
}

QByteArrayView StubBytes(Packer::Platform platform)
{
    return platform == Packer::OwnPlatform ? QByteArrayView(practorium_own_stub, practorium_other_stub)
                                           : QByteArrayView(practorium_other_stub, practorium_stub_end);
}
