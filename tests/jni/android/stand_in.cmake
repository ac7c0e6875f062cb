# A toolchain file in place of the NDK's: it sets what that sets and this project reads, with clang, lld and libc++ for
# glibc's machines. So it shows that the build for Android configures, compiles, links and packs; what comes out does
# not run on Android.

set(CMAKE_SYSTEM_NAME Android)
set(CMAKE_SYSTEM_VERSION 1) # as in the NDK's: CMake is not to look for an NDK itself
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ANDROID_ABI ANDROID_PLATFORM)
string(REPLACE "android-" "" ANDROID_PLATFORM_LEVEL "${ANDROID_PLATFORM}")
set(ANDROID_NDK_MAJOR 25) # of clang 14

if(ANDROID_ABI STREQUAL "arm64-v8a")
  set(CMAKE_SYSTEM_PROCESSOR aarch64)
  set(triple aarch64-linux-gnu)
elseif(ANDROID_ABI STREQUAL "armeabi-v7a")
  set(CMAKE_SYSTEM_PROCESSOR armv7-a)
  set(triple arm-linux-gnueabihf)
elseif(ANDROID_ABI STREQUAL "x86_64")
  set(CMAKE_SYSTEM_PROCESSOR x86_64)
  set(triple x86_64-linux-gnu)
elseif(ANDROID_ABI STREQUAL "x86")
  set(CMAKE_SYSTEM_PROCESSOR i686)
  set(triple i686-linux-gnu)
else()
  message(FATAL_ERROR "ANDROID_ABI is not one of the four: ${ANDROID_ABI}")
endif()

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
set(jdk /usr/lib/jvm/default-java/include) # on Android jni.h is among the system's headers
set(flags "-g -funwind-tables -fstack-protector-strong -Werror=format-security")
set(CMAKE_C_FLAGS_INIT "${flags}")
set(CMAKE_CXX_FLAGS_INIT "${flags} -stdlib=libc++ -isystem ${jdk} -isystem ${jdk}/linux")
# The last of these is the default of the linker of NDK 26 and later.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-fuse-ld=lld -nostdlib++ -Wl,--build-id=sha1 -Wl,--fatal-warnings -Wl,--no-undefined-version")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -nostdlib++")
