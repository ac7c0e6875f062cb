#!/usr/bin/env bash
# The Python home: the wheel is built offline, installed into empty environments and proved there; then the server.
#   .ci/homes/python.sh            all of it
#   .ci/homes/python.sh --replay   only what the replay needs
set -euo pipefail
cd "$(dirname "$0")/../.."
python=/usr/bin/python3 # Debian's, which has the packages for building and numpy
package=bindings/python
work=build/python/ci
most_kb=250 # the wheel: 68 KB of it are the weights of the learned detector
step() { printf -- '-- %s\n' "$*"; }

# wheel FOLDER [VARIABLE=VALUE...]: builds it and prints its path. VASK_LIBRARY, if set, is put into it.
wheel() {
  local folder=$1
  shift
  rm -rf "$folder"
  mkdir -p "$folder"
  if ! env "$@" $python -m build --wheel --no-isolation --outdir "$folder" $package > "$folder/log" 2>&1; then
    cat "$folder/log" >&2
    return 1
  fi
  echo "$folder"/*.whl
}

# environment FOLDER WHEEL [OPTION...]: an empty one with the wheel alone, or with --system-site-packages numpy too.
environment() {
  local folder=$1 file=$2
  shift 2
  $python -m venv --clear "$@" "$folder"
  "$folder/bin/python" -m pip install --quiet --no-index --no-deps --disable-pip-version-check "$file"
}

replay() { "$1" $package/tests/replay.py tests/replay/replay.txt samples/room.wav; }

rm -rf $work
file=$(wheel $work/dist)
environment $work/plain "$file"
if [ "${1:-}" = --replay ]; then
  replay $work/plain/bin/python
  exit
fi

step "The wheel: $(basename "$file"), $(stat -c %s "$file") bytes"
[ "$(stat -c %s "$file")" -le $((most_kb * 1000)) ] || { echo "it is over $most_kb kB" >&2; exit 1; }
# checked FILE TAG MACHINE: the library in a wheel is for that processor, and the tag, which says what glibc it needs.
checked() {
  local library
  rm -rf $work/unpacked
  unzip -q "$1" -d $work/unpacked
  library=$(ls $work/unpacked/vask/*.so)
  [[ $1 == *-py3-none-$2_$3.whl ]] || { echo "$1 does not have the tag py3-none-$2_$3" >&2; exit 1; }
  if readelf -d "$library" | grep NEEDED | grep -v 'lib[cm]\.so\.6\|ld-linux'; then
    echo "$library needs these, which not every system has" >&2
    exit 1
  fi
}
checked "$file" manylinux_2_17 x86_64

step "In an empty environment, without numpy: tests, replay"
plain=$work/plain/bin/python
if $plain -c 'import numpy' 2> /dev/null; then
  echo "numpy is here all the same" >&2
  exit 1
fi
$plain -m unittest discover -s $package/tests
replay $plain

step "With numpy: tests, replay, what the manual and the docstrings show"
environment $work/numpy "$file" --system-site-packages
numpy=$work/numpy/bin/python
$numpy -c 'import numpy'
$numpy -m unittest discover -s $package/tests
replay $numpy
$numpy -m doctest docs/python.md
$numpy -c 'import doctest, importlib, sys
names = ["vask._stream", "vask._speech"]
results = [doctest.testmod(importlib.import_module(name)) for name in names]
sys.exit(any(result.failed or not result.attempted for result in results))'

step "Types"
mypy --config-file $package/pyproject.toml $package/src/vask
mypy --strict --enable-incomplete-feature=Unpack --python-executable $plain $package/tests/typed.py
$python -c 'import ast, sys
for name in sys.argv[1:]: ast.parse(open(name).read(), feature_version=(3, 8))' $package/src/vask/*.py

step "The server"
$numpy examples/server/test_server.py

# Wherever pyenv has other versions, they load the same wheel.
unzip -q "$file" -d $work/others
for other in $(pyenv root 2> /dev/null)/versions/3.*/bin/python3; do
  "$other" -c 'import sys; sys.exit(sys.version_info < (3, 8))' 2> /dev/null || continue
  step "$("$other" --version)"
  PYTHONPATH=$work/others "$other" -m unittest discover -s $package/tests 2>&1 | tail -1
  PYTHONPATH=$work/others replay "$other"
done

step "The wheel for 64-bit ARM"
arm=$(wheel $work/arm64 -u VASK_LIBRARY "CMAKE_ARGS=-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/toolchains/aarch64-linux-gnu.cmake")
checked "$arm" manylinux_2_17 aarch64
