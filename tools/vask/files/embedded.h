// Files that are part of the program. The assembler embeds them: that takes no time and needs no extra
// program.
#pragma once

#include <string_view>

#if defined(_WIN32)
#define VASK_BEGIN_EMBEDDED ".section .rdata,\"dr\"\n"
#define VASK_END_EMBEDDED ".text\n"
#else
#define VASK_BEGIN_EMBEDDED ".pushsection .rodata\n"
#define VASK_END_EMBEDDED ".popsection\n"
#endif

// Outside every function: declares the text `symbol` with the content of the file `path`. The build depends
// on the file only where OBJECT_DEPENDS says so.
#define VASK_EMBED(symbol, path)                                                         \
  asm(VASK_BEGIN_EMBEDDED ".globl " #symbol "_begin, " #symbol "_end\n" #symbol          \
                          "_begin:\n"                                                    \
                          ".incbin \"" path "\"\n" #symbol "_end:\n" VASK_END_EMBEDDED); \
  extern "C" const char symbol##_begin[], symbol##_end[];                                \
  static std::string_view symbol() { return {symbol##_begin, symbol##_end}; }
