#include "pack/StubBytes.h"

// The assembler takes the stub in as it is, where an array in the source would
// keep the compiler busy for seconds.
asm(".pushsection .rodata, \"a\"\n"
    ".balign 16\n"
    ".globl practorium_stub_begin\n"
    ".hidden practorium_stub_begin\n"
    "practorium_stub_begin:\n"
    ".incbin \"" PRACTORIUM_STUB_FILE "\"\n"
    ".globl practorium_stub_end\n"
    ".hidden practorium_stub_end\n"
    "practorium_stub_end:\n"
    ".popsection\n");

extern "C" {
extern const char practorium_stub_begin[];
extern const char practorium_stub_end[];
}

QByteArrayView StubBytes()
{
    return { practorium_stub_begin, practorium_stub_end };
}
