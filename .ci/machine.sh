#!/usr/bin/env bash
# Digests, vectors and fast forms on another machine, under its emulator.
#
#   .ci/machine.sh PRESET
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
# Debian's name for the compiler, and the emulator's for the processor.
case $preset in
  arm64) triple=aarch64-linux-gnu processor=aarch64 ;;
  arm32) triple=arm-linux-gnueabihf processor=arm ;;
  i686) triple=i686-linux-gnu processor=i386 ;;
  s390x) triple=s390x-linux-gnu processor=s390x ;;
  riscv64) triple=riscv64-linux-gnu processor=riscv64 ;;
  *) echo "machine: no machine $preset" >&2 && exit 2 ;;
esac
libraries=(libVask.so) targets=(vask-digest libVask.so) tests='^digest\.'
case $preset in
  arm64)
    libraries+=(tests/levels/libvask_at_plain.so)
    targets+=("${libraries[@]:1}" fast_{divide,exponential,fft,kernels,noise}_test vask_small_pages load)
    tests='^(digest|fast|pages)\.'
    ;;
  arm32) targets+=(fast_{divide,exponential,fft,kernels,noise}_test) tests='^(digest|fast)\.' ;;
esac
cmake --preset "$preset" > /dev/null
cmake --build --preset "$preset" --target "${targets[@]}"
ctest --preset "$preset" -R "$tests"

run="qemu-$processor -L /usr/$triple"
left_out=
case $preset in
  # The emulator of 32-bit x86 hangs when a program forks; 64-bit processors run such programs themselves.
  i686) run="/usr/$triple/lib/ld-linux.so.2 --library-path /usr/$triple/lib" ;;
  # Sample files are in the machine's byte order, and these scenarios compare them byte by byte.
  s390x) left_out="pcm_log pcm_log_here frontend_log java_files" ;;
esac
# Without 64-bit file offsets a 32-bit program cannot list folders under the emulator.
for library in "${libraries[@]}"; do
  CC=$triple-gcc CFLAGS="-O2 -D_FILE_OFFSET_BITS=64" RUN=$run LEFT_OUT=$left_out .ci/vectors.sh "build/$preset/$library"
done
