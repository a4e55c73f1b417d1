// The version as an ELF note, which linkers keep and place in a program's first page, where core dumps hold it. Each
// source includes this, so that whichever natives a host links bring the note.
#pragma once

#include "classloader/version.h"

// Assembled rather than a constant in a section: clang's address sanitizer pads constants, which spoils notes.
#ifdef __ELF__
__asm__(
    ".pushsection .note.orva, \"a\", %note\n"
    ".balign 4\n"
    ".long 2f - 1f, 4f - 3f, 1\n"
    "1: .asciz \"orva\"\n"
    "2: .balign 4\n"
    "3: .asciz \"orva-classloader " ORVA_CLASSLOADER_VERSION
    "\"\n"
    "4: .balign 4\n"
    ".popsection\n");
#endif
