#!/usr/bin/env bash
# Installs what the machine lacks, then configures and builds the project into build/.
# Extra arguments go to cmake's configure step.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja "$@" >/dev/null
cmake --build build -j "$(nproc)"
