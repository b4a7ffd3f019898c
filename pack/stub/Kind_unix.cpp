// SPDX-License-Identifier: Apache-2.0

// This note near the start of the file distinguishes a pack from other programs
// (packaging/linux/practorium.xml).
asm(".pushsection .note.practorium, \"a\", %note\n"
    ".balign 4\n"
    ".long 1f - 0f\n"
    ".long 3f - 2f\n"
    ".long 1\n"
    "0: .asciz \"Practorium\"\n"
    "1: .balign 4\n"
    "2: .asciz \"pack\"\n"
    "3: .balign 4\n"
    ".popsection\n");
