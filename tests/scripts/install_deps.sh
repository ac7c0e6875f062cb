#!/usr/bin/env bash
# Where npm does not reach its registry, setting up ends with what npm says and what to do.
#
#   install_deps.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source_dir=$1 work=$2
if ! command -v npm > /dev/null; then
  echo "skipped: there is no npm"
  exit 77
fi
rm -rf "$work"
for folder in scripts tests/web viewer; do mkdir -p "$work/$folder"; done
cp "$source_dir/scripts/install-deps.sh" "$work/scripts"
for folder in tests/web viewer; do cp "$source_dir/$folder/"package*.json "$work/$folder"; done
mkdir "$work/bin" # all packages of the system are there
printf '#!/bin/sh\necho installed\n' | tee "$work/bin/dpkg-query" > "$work/bin/apt-get"
chmod +x "$work/bin"/*

status=0
PATH="$work/bin:$PATH" npm_config_registry=http://127.0.0.1:9/ npm_config_noproxy=127.0.0.1 \
  npm_config_fetch_retries=0 npm_config_cache="$work/cache" \
  "$work/scripts/install-deps.sh" > "$work/said" 2>&1 || status=$?
cat "$work/said"
[ "$status" -ne 0 ] && grep -q ECONNREFUSED "$work/said" && grep -q "run scripts/install-deps.sh again" "$work/said"
