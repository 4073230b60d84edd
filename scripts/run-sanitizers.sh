#!/usr/bin/env bash
# Builds the whole project with clang under ASan+UBSan and under TSan, each in its own build
# folder, and runs the test suite in both. Arguments: "address", "thread" or both (default).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
kinds=("$@")
if [ ${#kinds[@]} -eq 0 ]; then kinds=(address thread); fi
for kind in "${kinds[@]}"; do
  dir="build-$kind"
  echo "== $kind: configuring $dir" >&2
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DORVEX_SANITIZE="$kind" \
    -DORVEX_BUILD_BENCH=OFF >/dev/null
  cmake --build "$dir" -j "$(nproc)"
  # halt_on_error: a report fails the test that caused it instead of scrolling past.
  (cd "$dir" && \
    ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:halt_on_error=1 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
    ctest --output-on-failure -j "$(nproc)" --timeout 900)
done
