#!/bin/sh
# Print the first C program of a Markdown file: the first block marked c that has a main.
set -eu
awk '
  /^```/ {
    if (inside && wanted && block ~ /int main/) { printf "%s", block; found = 1; exit }
    inside = !inside
    wanted = $0 ~ /^```c[ \t]*$/
    block = ""
    next
  }
  inside { block = block $0 "\n" }
  END { exit !found }
' "$1"
