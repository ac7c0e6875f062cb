#!/usr/bin/env bash
# A small house: what is drawn of it, and what is said of its faults.
#
#   house.sh SCRIPT PYTHON WORK_DIR
set -euo pipefail
script=$1 python=$2 work=$3
rm -rf "$work"
mkdir -p "$work"/{scripts,docs,src/{roof,wall,ground},tools/vask/door}
cp "$script" "$work/scripts/house.py"
cd "$work"
printf '<!-- %s -->\n<!-- end -->\n' src tools/vask > docs/house.md
touch src/wall/{wall.h,paint.h} src/ground/ground.h tools/vask/door/door.h
printf '#include "wall/wall.h"\n#include "ground/ground.h"\n#include <vask/vask.h>\n' > src/roof/roof.cpp
echo '#include "ground/ground.h"' > src/wall/wall.cpp
echo '#include "door/door.h"' > tools/vask/main.cpp

result=0
expect() { # exit status, what is to be said, arguments
  local status=0 said
  said=$("$python" scripts/house.py "${@:3}") || status=$?
  if [ "$status" -ne "$1" ] || [ "$said" != "$2" ]; then
    echo "exit status $status, not $1, or not \"$2\": $said"
    result=1
  fi
}
expect 1 "docs/house.md is not as the includes are: run scripts/house.py" --check
expect 0 ""
expect 0 "" --check
arrows=$(grep -e '-->$' -v docs/house.md | grep -e '-->')
# What the roof has of the ground follows from the wall.
if [ "$arrows" != "  roof --> wall
  wall --> ground
  main --> door" ]; then
  echo "drawn: $arrows"
  result=1
fi
echo '#include "roof/roof.h"' > src/ground/ground.h
touch src/roof/roof.h
expect 1 "src: a circle of includes: ground -> roof -> ground" --check
echo '#include "wall/paint.h"' > src/wall/wall.h
echo '#include "wall/wall.h"' > src/wall/paint.h
true > src/ground/ground.h
expect 1 "src: a circle of includes: wall/wall.h -> wall/paint.h -> wall/wall.h" --check
true > src/wall/paint.h
mkdir tools/vask/wall
touch tools/vask/wall/wall.h
expect 1 "tools/vask/wall: there is a room of this name in src" --check
exit $result
