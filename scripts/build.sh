#!/bin/bash
# Configures and builds one preset, printing only what goes wrong: build.sh PRESET [CMAKE-OPTION...]
set -eu
cd "$(dirname "$0")/.."
preset=$1
shift
log=build/$preset.log
mkdir -p build
echo "Building build/$preset"
if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset"; } >"$log" 2>&1 </dev/null; then
  grep -E -A 12 'error|Error|FAILED' "$log" >&2 || tail -n 40 "$log" >&2
  echo "The build failed; all of its output is in $log" >&2
  exit 1
fi
