#!/usr/bin/env bash
# Sets everything up and runs orvexctl on the embedded default device. Arguments replace the
# default command, e.g. scripts/run-tool.sh --json modules
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh
if [ $# -eq 0 ]; then set -- modules; fi
exec build/bin/orvexctl "$@"
