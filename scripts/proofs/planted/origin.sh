#!/usr/bin/env bash
# The files in the jar have the time at which they were compiled.
set -euo pipefail
# shellcheck disable=SC2016  # the name of the variable is in the file
file=cmake/Java.cmake
grep -q 'set(create --create --date=${VASK_JAR_DATE} --file)' $file || { echo "$file sets no date" >&2; exit 1; }
sed -i 's/ --date=${VASK_JAR_DATE}//' $file
