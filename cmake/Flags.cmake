# Compiler and linker flags, as two interface targets: vask_flags for everything that is compiled here, and
# vask_link_flags for the shared library.

add_library(vask_flags INTERFACE)
target_compile_options(
  vask_flags
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wvla
            -Wundef
            -Wcast-qual
            -Wformat=2
            -Wimplicit-fallthrough
            $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
            $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
            $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>
            # gcc 12 sees overflows in std::vector that are not there; the address sanitizer finds real ones.
            $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-stringop-overflow>
            # Every platform gives the same bits: no fused multiply-add unless the code asks for one.
            -ffp-contract=off)
if(WIN32)
  # printf and scanf as C has them, not as the system's older library does; and file offsets of 64 bits.
  target_compile_definitions(vask_flags INTERFACE __USE_MINGW_ANSI_STDIO=1 _FILE_OFFSET_BITS=64)
  # gcc keeps vectors of 32 bytes on a stack that the system aligns to 16 only, and moves them as if it were to 32.
  target_compile_options(vask_flags INTERFACE -Wa,-muse-unaligned-vector-move)
endif()
if(VASK_WERROR)
  target_compile_options(vask_flags INTERFACE -Werror)
endif()

# The x87 unit of 32-bit x86 rounds twice.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86|x86_64|AMD64)$")
  target_compile_options(vask_flags INTERFACE -msse2 -mfpmath=sse)
endif()

if(VASK_SANITIZE)
  # Also for whatever is outside these targets, such as the files that the linker adds.
  add_compile_options(-fsanitize=${VASK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VASK_SANITIZE})
endif()

include(cmake/Hardening.cmake)
add_library(vask_link_flags INTERFACE)
target_link_libraries(vask_link_flags INTERFACE vask_hardening)
if(WIN32)
  # The compiler's own libraries in it, so that a program needs this file alone.
  target_link_options(vask_link_flags INTERFACE -static -Wl,--gc-sections)
  return()
endif()
target_link_options(
  vask_link_flags
  INTERFACE
  # An application's function of the same name never catches a call made inside the library. Its variables remain
  # interposable, so that the library sees what a program writes into its own copy of deviceID.
  -Wl,-Bsymbolic-functions
  -Wl,--gc-sections
  -Wl,--as-needed)
if(NOT (VASK_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
  # Clang leaves it to the program to define the sanitizer's own symbols.
  target_link_options(vask_link_flags INTERFACE -Wl,--no-undefined)
endif()
if(VASK_MARKED AND NOT ANDROID)
  # The start-up code of the C library may lack the marks of Hardening.cmake, and this library has no use for it.
  target_link_options(vask_link_flags INTERFACE -nostartfiles)
endif()
if(ANDROID OR CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  target_link_options(vask_link_flags INTERFACE -Wl,-z,max-page-size=16384)  # for kernels with 16 KiB pages
endif()
