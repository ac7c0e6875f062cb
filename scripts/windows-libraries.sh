#!/usr/bin/env bash
# Build for Windows what the command needs, from Debian's own sources: static libraries and their pkg-config files.
#
#   scripts/windows-libraries.sh   into build/windows-libraries
#
# Needs a cross compiler, dpkg-dev and, once, Debian's archive. What is built already is kept.
set -euo pipefail
cd "$(dirname "$0")/.."
tree=$PWD
folder=$tree/build/windows-libraries
mkdir -p "$folder"
sources=$folder/sources
machine=x86_64-w64-mingw32
packages=(libogg libvorbis flac opus libsndfile libsoxr)

# The archive that this machine uses, but its sources; nothing of apt's own state is changed.
fetch() {
  local lists=$sources/lists
  mkdir -p "$lists/partial"
  rm -f "$sources"/*.sources "$sources/archive.list"
  local parts=$sources/archive
  mkdir -p "$parts"
  local file
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*; do
    grep -qs 'debian' "$file" || continue
    case $file in
      *.list) sed -n 's/^deb /deb-src /p' "$file" > "$parts/${file##*/}" ;;
      *.sources) sed 's/^Types:.*/Types: deb-src/' "$file" > "$parts/${file##*/}" ;;
    esac
  done
  local apt=(apt-get -qq -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$parts"
    -o "Dir::State::lists=$lists" -o APT::Sandbox::User=root)
  "${apt[@]}" update
  (cd "$sources" && "${apt[@]}" source --only-source "${packages[@]}" > /dev/null)
}

# build NAME COMMAND...: one of the packages, by a function of these.
build() {
  local name=$1 from
  shift
  [ ! -e "$folder/$name.done" ] || return 0
  echo "$name"
  from=$(find "$sources" -mindepth 1 -maxdepth 1 -type d -name "$name-[0-9]*")
  rm -rf "${folder:?}/$name"
  mkdir "$folder/$name"
  if ! (cd "$folder/$name" && "$@") > "$folder/$name.log" 2>&1; then
    tail -40 "$folder/$name.log" >&2
    echo "$name cannot be built for Windows: see $folder/$name.log" >&2
    exit 1
  fi
  rm -rf "${folder:?}/$name"
  touch "$folder/$name.done"
}

with_cmake() {
  cmake -S "$from" -B . -G Ninja -DCMAKE_TOOLCHAIN_FILE="$tree/cmake/toolchains/$machine.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$folder" -DCMAKE_C_FLAGS="-ffp-contract=off -DFLAC__NO_DLL" \
    -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF "$@" &&
    cmake --build . -j2 && cmake --install .
}

with_configure() {
  "$from/configure" --host=$machine CC="${CMAKE_C_COMPILER_LAUNCHER:-} $machine-gcc-posix" \
    CFLAGS="-O2 -ffp-contract=off" --prefix="$folder" --disable-shared "$@" &&
    make -j2 && make install
}

if [ ! -e "$sources/complete" ]; then
  rm -rf "$sources"
  mkdir -p "$sources"
  fetch
  touch "$sources/complete"
fi
build libogg with_cmake
build libvorbis with_cmake
build flac with_cmake -DBUILD_PROGRAMS=OFF -DBUILD_EXAMPLES=OFF -DBUILD_CXXLIBS=OFF -DBUILD_DOCS=OFF -DINSTALL_MANPAGES=OFF
build opus with_configure --disable-doc --disable-extra-programs --disable-stack-protector
build libsndfile with_cmake -DBUILD_PROGRAMS=OFF -DBUILD_EXAMPLES=OFF -DENABLE_MPEG=OFF -DENABLE_CPACK=OFF \
  -DINSTALL_MANPAGES=OFF -DENABLE_PACKAGE_CONFIG=ON
build libsoxr with_cmake -DBUILD_TESTS=OFF -DBUILD_EXAMPLES=OFF -DWITH_OPENMP=OFF -DWITH_LSR_BINDINGS=OFF
# It makes no package file for Windows.
printf '%s\n' "prefix=$folder" Name:\ soxr Description:\ resampler Version:\ 0.1.3 "Libs: -L\${prefix}/lib -lsoxr" \
  "Cflags: -I\${prefix}/include" > "$folder/lib/pkgconfig/soxr.pc"

# Debian has this one for Windows; alone there, the static library is the one that is found.
cp /usr/$machine/lib/libz.a "$folder/lib"
cp /usr/$machine/include/zlib.h /usr/$machine/include/zconf.h "$folder/include"
printf '%s\n' "prefix=$folder" Name:\ zlib Description:\ compression Version:\ 1.2.13 "Libs: -L\${prefix}/lib -lz" \
  "Cflags: -I\${prefix}/include" > "$folder/lib/pkgconfig/zlib.pc"

# Headers alone, whose package files say where they are by their own place; beside those of this system they would be
# found with all the others.
mkdir -p "$folder/share/cmake"
cp -r /usr/include/CLI /usr/include/nlohmann "$folder/include"
cp -r /usr/share/cmake/CLI11 /usr/share/cmake/nlohmann_json "$folder/share/cmake"
