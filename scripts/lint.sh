#!/bin/bash
# Checks the formatting of all sources, and lints those that differ from the remote's main branch (without one, from the
# last commit), or all with --all.
set -eu
cd "$(dirname "$0")/.."
mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- '*.h' '*.cpp')
clang-format --dry-run -Werror "${sources[@]}"
echo "Formatting is right in ${#sources[@]} files"

units=()
if [ "${1:-}" = --all ]; then
  mapfile -t units < <(printf '%s\n' "${sources[@]}" | grep '\.cpp$')
else
  base=$(git merge-base HEAD origin/main 2>/dev/null || git rev-parse HEAD)
  mapfile -t units < <({ git diff --name-only --diff-filter=d "$base"; git ls-files --others --exclude-standard; } |
    grep '\.cpp$' | sort -u || true)
fi
[ ${#units[@]} -gt 0 ] || { echo "No source differs, nothing to lint"; exit 0; }
scripts/build.sh dev # headers that the build makes
echo "Linting ${#units[@]} files"
printf '%s\0' "${units[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/dev 2>build/lint.log ||
  { grep -v 'warnings generated' build/lint.log >&2 || true; exit 1; }
