#!/usr/bin/env bash
# Compares the dynamic symbols a built libplatform.orvex.so defines with src/platform.exports, the
# list of what callers may use. A symbol that leaks (a private helper of an exported class) or
# goes missing fails with the difference.
#   scripts/check-exports.sh [LIBRARY]         check (default build/lib/libplatform.orvex.so)
#   scripts/check-exports.sh --update [LIBRARY] rewrite the list from the library
set -euo pipefail
cd "$(dirname "$0")/.."
update=0
if [[ ${1:-} == --update ]]; then update=1; shift; fi
lib=${1:-build/lib/libplatform.orvex.so}
list=src/platform.exports
exports() { nm -D --defined-only "$lib" | c++filt | cut -d' ' -f2- | LC_ALL=C sort -u; }
if ((update)); then
  exports >"$list"
  echo "wrote $(wc -l <"$list") symbols to $list"
  exit 0
fi
if ! difference=$(diff <(LC_ALL=C sort -u "$list") <(exports)); then
  echo "$lib exports differ from $list ('<' listed but missing, '>' exported but not listed):"
  echo "$difference"
  echo "Hide what callers must not use (an anonymous namespace in the .cpp, or src/platform.map);"
  echo "if a new export is meant, run scripts/check-exports.sh --update and commit the list."
  exit 1
fi
echo "exports match $list ($(wc -l <"$list") symbols)"
