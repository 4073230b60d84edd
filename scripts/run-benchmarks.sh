#!/usr/bin/env bash
# Builds the project and runs every benchmark, printing each figure with its baseline and the
# ratio. Arguments go to every benchmark program (e.g. --benchmark_filter=LoadCost).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh
out=build/bench-results
mkdir -p "$out"
rm -f "$out"/*.json
for b in build/bin/bench_*; do
  [ -x "$b" ] || continue
  name=$(basename "$b")
  echo "running $name" >&2
  ORVEX_LOG=off "$b" --benchmark_out="$out/$name.json" --benchmark_out_format=json \
    --benchmark_format=console "$@" >/dev/null
done
python3 bench/compare.py "$out"/*.json
