#!/usr/bin/env bash
# Sets everything up and runs the typical scan (orvexctl scan) on the embedded default device.
# Arguments replace the command, e.g. scripts/run-tool.sh --json modules
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh
if [ $# -eq 0 ]; then set -- scan; fi
exec build/bin/orvexctl "$@"
