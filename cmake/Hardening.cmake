# What makes a memory fault harder to exploit, as an interface target for what is delivered, the libraries and the
# command: vask_hardening. scripts/proofs/binary.sh checks that the files have it. Only for ELF: Windows' linker does its
# part by default, and WebAssembly keeps return addresses where no store reaches them. Instrumented builds go without:
# they look for the faults themselves.

add_library(vask_hardening INTERFACE)
if(NOT CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF" OR VASK_SANITIZE OR CMAKE_CXX_FLAGS MATCHES "-f(profile|coverage|sanitize)")
  return()
endif()

target_compile_options(vask_hardening INTERFACE -fstack-protector-strong)
# All symbols are bound when the file is loaded, and what was written for that is read-only from then on.
target_link_options(vask_hardening INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# Checked forms of memcpy and the like need the optimiser. The NDK has its own of them.
string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
if(NOT ANDROID AND (CMAKE_CONFIGURATION_TYPES OR "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}" MATCHES "-O[1-3s]"))
  set(fortify 3)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
    set(fortify 2)
  endif()
  target_compile_options(vask_hardening
                         INTERFACE "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${fortify}>")
endif()

# Jumps land and functions return only where they may, on processors that can tell: landing pads, and a shadow stack or
# signed return addresses. A file is marked for that if all its parts are.
set(VASK_MARKED OFF)
set(VASK_SHADOW_STACK OFF) # which asks nothing of the parts: a program may be marked for it all the same
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(VASK_MARKED ON)
  set(VASK_SHADOW_STACK ON)
  target_compile_options(vask_hardening INTERFACE -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  set(VASK_MARKED ON)
  # The compiler's own functions for atomics are not marked.
  target_compile_options(vask_hardening INTERFACE -mbranch-protection=standard -mno-outline-atomics)
endif()
