#!/usr/bin/env bash
# Sets everything up and runs the whole test suite under ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh
cd build
ctest --output-on-failure -j "$(nproc)" --timeout 600
