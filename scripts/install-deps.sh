#!/usr/bin/env bash
# Install the missing packages that building and testing need, with apt-get.
#
#   scripts/install-deps.sh --command   what building and running the command needs
#   scripts/install-deps.sh --build     what building everything needs
#   scripts/install-deps.sh             also what the tests need
#   scripts/install-deps.sh --ci        also clang and its tools, the cross compilers and the emulator
set -euo pipefail
cd "$(dirname "$0")/.."
extent=${1:-}

packages=(g++ cmake ninja-build pkg-config
  libcli11-dev libsndfile1-dev libsoxr-dev libopus-dev libogg-dev nlohmann-json3-dev zlib1g-dev)
if [ "$extent" != --command ]; then
  packages+=(make
    default-jdk-headless                      # the Java class
    libgtest-dev                              # the tests
    junit4 proguard-cli python3 python3-numpy # those of the Java class and the MFCC
    libbenchmark-dev libspeexdsp-dev)         # the benchmarks
fi
if [ "$extent" != --command ] && [ "$extent" != --build ]; then
  runs_tests=1
  packages+=(python3-jsonschema) # the records of vask batch
  packages+=(praat sctk sox locales python3-srt # readers for the formats of vask detect
    flac vorbis-tools opus-tools mpg123 ffmpeg # those of the sound that it writes, and sound of every kind
    mandoc man-db groff-base zsh jq # the manual, what it shows, and the completions
    espeak-ng)                      # speech in many languages for the learned detector
  packages+=(chromium fonts-dejavu-core) # the report
  # The user's own Node may come from elsewhere.
  command -v node > /dev/null || packages+=(nodejs)
  command -v npm > /dev/null || packages+=(npm)
fi
if [ "$extent" = --ci ]; then
  packages+=(git ccache clang clang-format clang-tidy g++-aarch64-linux-gnu g++-arm-linux-gnueabihf
    g++-i686-linux-gnu g++-s390x-linux-gnu g++-riscv64-linux-gnu qemu-user
    googletest                 # whose sources are built for the other machines
    aapt android-framework-res) # the manifests
  packages+=(lld llvm libc++-dev) # what the NDK has, for the Android archive
  packages+=(wasi-libc libc++-dev-wasm32 libclang-rt-dev-wasm32 binaryen brotli) # the package for the web
  packages+=(python3-build python3-setuptools python3-wheel python3-venv unzip mypy python3-websockets python3-soundfile) # bindings/python
  packages+=(libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools gstreamer1.0-plugins-base
    gstreamer1.0-plugins-good valgrind python3-gi gir1.2-gstreamer-1.0) # the plugin for GStreamer
  packages+=(parallel openmpi-bin slurmctld slurmd slurm-client python3-distributed) # examples/corpus
  packages+=(libclang-rt-dev) # scripts/fuzz.sh: libFuzzer
  packages+=(musl-dev) # scripts/proofs/bits.sh
  packages+=(clang-19 llvm-19 libclang-rt-19-dev) # scripts/proofs/coverage.sh
  packages+=(checksec abigail-tools) # scripts/proofs/binary.sh
  packages+=(faketime diffoscope-minimal openssh-client locales) # scripts/proofs/origin.sh
  packages+=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine wine64 dpkg-dev) # Windows, and sources for it
fi

if ! command -v apt-get > /dev/null || ! command -v dpkg-query > /dev/null; then
  echo "apt-get is not available. Needed packages, by their Debian names: ${packages[*]}"
  echo "Continuing with what is installed."
  exit 0
fi

# Install the npm packages if their list has changed since the last time.
node_packages() {
  [ -n "${runs_tests:-}" ] || return 0
  local folder installed folders=(tests/web viewer)
  [ "$extent" != --ci ] || folders+=(bindings/web)
  for folder in "${folders[@]}"; do
    installed=$folder/node_modules/.installed.json
    cmp -s $folder/package-lock.json "$installed" && continue
    echo "Installing with npm: $folder"
    if ! npm --prefix $folder ci --loglevel error --ignore-scripts > /dev/null; then
      echo "npm ci failed in $folder, see above. If it cannot reach its registry, set proxy and certificates" \
        "(npm config set proxy URL, cafile FILE); then run scripts/install-deps.sh again." >&2
      exit 1
    fi
    cp $folder/package-lock.json "$installed"
  done
}

missing=()
for package in "${packages[@]}"; do
  state=$(dpkg-query -W -f='${db:Status-Status}\n' "$package" 2> /dev/null || true)
  grep -qx installed <<< "$state" || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
  node_packages
  echo "All needed packages are installed."
  exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo > /dev/null; then
    echo "These packages are missing; install them as root: ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi
echo "Installing with apt-get: ${missing[*]}"
apt() { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0 "$@" < /dev/null > "$log" 2>&1; }
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for step in update "install -y --no-install-recommends ${missing[*]}"; do
  # shellcheck disable=SC2086  # the step is split into words
  if ! apt $step; then
    cat "$log" >&2
    echo "apt-get $step failed" >&2
    exit 1
  fi
done
node_packages
echo "Installed."
