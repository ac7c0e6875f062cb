# What the scripts of training/ share; to be sourced.

export PYTHONDONTWRITEBYTECODE=1 OPENBLAS_NUM_THREADS=1 OMP_NUM_THREADS=1
started=$SECONDS
step() { printf '%5d s  %s\n' $((SECONDS - started)) "$*"; }

# The user's own Python may come before Debian's: set `python` to one that has these modules, or to "".
find_python() {
  for python in python3 /usr/bin/python3 ""; do
    [ -n "$python" ] && "$python" -c "import $1" 2> /dev/null && break
  done || true
}

need() {
  echo "These are needed: apt-get install --no-install-recommends $*" >&2
  exit 1
}
