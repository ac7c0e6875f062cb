#!/bin/sh
# Print the first program of a Markdown file: the first block marked c, or as the second argument says, that has a main.
set -eu
awk -v language="${2:-c}" '
  /^```/ {
    if (inside && wanted && block ~ /int main/) { printf "%s", block; found = 1; exit }
    inside = !inside
    wanted = $0 == "```" language
    block = ""
    next
  }
  inside { block = block $0 "\n" }
  END { exit !found }
' "$1"
