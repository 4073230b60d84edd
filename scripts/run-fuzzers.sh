#!/usr/bin/env bash
# Builds the libFuzzer targets with clang under ASan+UBSan and runs each one for SECONDS
# (default 20) over its corpus in fuzz/corpus/<target>. New inputs go to build-fuzz/corpus, not
# into the repository; to keep those that add coverage, merge them:
#   build-fuzz/bin/<target>_fuzzer -merge=1 fuzz/corpus/<target> build-fuzz/corpus/<target>_fuzzer
# Usage: scripts/run-fuzzers.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
seconds=${1:-20}
shift || true
cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DORVEX_SANITIZE=address \
  -DORVEX_BUILD_FUZZ=ON -DORVEX_BUILD_TESTS=OFF -DORVEX_BUILD_BENCH=OFF >/dev/null
cmake --build build-fuzz -j "$(nproc)"
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for f in build-fuzz/bin/*_fuzzer; do targets+=("$(basename "$f")"); done
fi
printf '%-24s %12s %8s\n' target executions result
status=0
for t in "${targets[@]}"; do
  scratch="build-fuzz/corpus/$t"
  mkdir -p "$scratch"
  log="build-fuzz/$t.log"
  if ORVEX_LOG=off ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
      "build-fuzz/bin/$t" -max_total_time="$seconds" -print_final_stats=1 -timeout=10 \
      -rss_limit_mb=2048 -artifact_prefix="build-fuzz/$t-" "$scratch" "fuzz/corpus/${t%_fuzzer}" \
      >"$log" 2>&1; then
    result=ok
  else
    result=FAILED
    status=1
  fi
  execs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo 0)
  printf '%-24s %12s %8s\n' "$t" "$execs" "$result"
  if [ $result = FAILED ]; then tail -40 "$log"; fi
done
exit $status
