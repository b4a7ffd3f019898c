// SPDX-License-Identifier: Apache-2.0

// The name of this section, which stands near the start of the file, distinguishes a pack
// from other programs (packaging/linux/practorium.xml).
asm(".section PRACPACK, \"dr\"\n"
    ".globl practorium_pack_kind\n"
    "practorium_pack_kind:\n"
    ".asciz \"pack\"\n"
    ".text\n");
