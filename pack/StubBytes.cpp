#include "pack/StubBytes.h"

// The assembler takes the stubs in as they are, where an array in the source
// would keep the compiler busy for seconds.
asm(".section " PRACTORIUM_STUB_SECTION "\n"
    ".balign 16\n"
    ".globl practorium_stub_unix, practorium_stub_win, practorium_stub_end\n"
    "practorium_stub_unix:\n"
    ".incbin \"" PRACTORIUM_STUB_FOLDER "/stub-unix.bin\"\n"
    "practorium_stub_win:\n"
    ".incbin \"" PRACTORIUM_STUB_FOLDER "/stub-win.bin\"\n"
    "practorium_stub_end:\n"
    ".byte 0\n"
    ".text\n");

extern "C" {
extern const char practorium_stub_unix[];
extern const char practorium_stub_win[];
extern const char practorium_stub_end[];
}

QByteArrayView StubBytes(Packer::System system)
{
    return system == Packer::System::Linux ? QByteArrayView(practorium_stub_unix, practorium_stub_win)
                                           : QByteArrayView(practorium_stub_win, practorium_stub_end);
}
