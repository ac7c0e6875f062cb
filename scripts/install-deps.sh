#!/usr/bin/env bash
# Install the packages that building and testing need and that are not there yet, with apt-get.
#
#   scripts/install-deps.sh        what ./demo.sh and ./test.sh need
#   scripts/install-deps.sh --ci   also clang and its tools, the cross compilers and the emulator
set -euo pipefail

packages=(g++ make cmake ninja-build pkg-config
  libcli11-dev libsndfile1-dev libsoxr-dev nlohmann-json3-dev # the command
  default-jdk-headless                     # the Java class
  libgtest-dev                             # the tests
  junit4 proguard-cli python3 python3-numpy # those of the Java class, the codec and the cepstra
  libbenchmark-dev libspeexdsp-dev)        # the benchmarks
if [ "${1:-}" = --ci ]; then
  packages+=(git clang clang-format clang-tidy g++-aarch64-linux-gnu g++-arm-linux-gnueabihf qemu-user
    aapt android-framework-res) # the manifests
fi

if ! command -v apt-get > /dev/null || ! command -v dpkg-query > /dev/null; then
  echo "There is no apt-get here. What is needed, by Debian's names: ${packages[*]}"
  echo "Going on with what is installed."
  exit 0
fi

missing=()
for package in "${packages[@]}"; do
  state=$(dpkg-query -W -f='${db:Status-Status}\n' "$package" 2> /dev/null || true)
  grep -qx installed <<< "$state" || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
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
  # shellcheck disable=SC2086  # the step is words
  if ! apt $step; then
    cat "$log" >&2
    echo "apt-get $step failed" >&2
    exit 1
  fi
done
echo "Installed."
