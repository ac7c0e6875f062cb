#!/usr/bin/env bash
# Install the build into a separate folder, then build the README's C example against the installed files and run
# it: through find_package and through pkg-config, with the shared and with the static library.
#
#   run.sh SOURCE_DIR BUILD_DIR WORK_DIR LIBDIR
#
# LIBDIR is the folder of the libraries under the prefix. The example gets a recording, as raw 16 kHz mono 16-bit
# samples, as its argument and on its standard input; it must succeed and print something. If the recording ends
# within an utterance, it must print that one too.
set -euo pipefail
source_dir=$1 build_dir=$2 work=$3 libdir=$4
here="$source_dir/tests/packaging"
cc=${CC:-cc}

if [ ! -f "$source_dir/README.md" ]; then
  echo "skipped: there is no README.md to take the example from"
  exit 77
fi
rm -rf "$work"
mkdir -p "$work"
if ! sh "$here/extract-example.sh" "$source_dir/README.md" > "$work/example.c"; then
  echo "README.md has no block of C with a main"
  exit 1
fi
tail -c +45 "$source_dir/samples/room.wav" > "$work/room.raw"

prefix="$work/prefix"
cmake --install "$build_dir" --prefix "$prefix" > "$work/install.log"

run() { # name, program
  (cd "$work" && "$2" room.raw < room.raw > "$1.out")
  if [ ! -s "$work/$1.out" ]; then
    echo "$1: the example printed nothing"
    exit 1
  fi
  [ -e "$work/first.out" ] || cp "$work/$1.out" "$work/first.out"
  if ! cmp -s "$work/$1.out" "$work/first.out"; then
    echo "$1: the example printed something else than before"
    exit 1
  fi
  echo "$1: built and run"
}

for link in Vask Static; do
  cmake -S "$here/consumer" -B "$work/$link" -DCMAKE_C_COMPILER="$cc" -DCMAKE_PREFIX_PATH="$prefix" \
    -DLINK="Vask::$link" -DEXAMPLE="$work/example.c" > "$work/$link.log"
  cmake --build "$work/$link" >> "$work/$link.log" || { cat "$work/$link.log"; exit 1; }
  run "find_package_$link" "$work/$link/example"
done

head -c 96000 "$work/room.raw" | "$work/Vask/example" > "$work/open.out" 2> /dev/null # 3 s
if [ "$(wc -l < "$work/open.out")" -ne 1 ]; then
  echo "an utterance that is open at the end is lost"
  exit 1
fi

export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
strict="-std=c11 -Wall -Wextra -Wpedantic -Werror"
# As README.md says.
as_written=$(sed -n 's/^    cc example.c //p' "$source_dir/README.md")
(cd "$work" && eval "$cc $strict example.c $as_written -o with_pkg_config")
run pkg_config_shared "$work/with_pkg_config"

# Without the shared library the same flags find the static one, no part of which needs more than the C libraries.
rm "$prefix/$libdir"/libVask.so*
# shellcheck disable=SC2046,SC2086
$cc $strict $(pkg-config --cflags vask) "$work/example.c" -o "$work/with_pkg_config_static" \
  -Wl,--whole-archive $(pkg-config --libs vask) -Wl,--no-whole-archive $(pkg-config --libs --static vask)
run pkg_config_static "$work/with_pkg_config_static"
