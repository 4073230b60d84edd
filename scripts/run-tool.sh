#!/usr/bin/env bash
# Sets everything up and runs the typical scan (orvexctl scan) on the embedded default device.
# Arguments replace the command, e.g. scripts/run-tool.sh --json modules
set -euo pipefail
cd "$(dirname "$0")/.."
# Build output goes to standard error, so that --json leaves only the document on standard output.
scripts/build.sh >&2
if [ $# -eq 0 ]; then set -- scan; fi
exec build/bin/orvexctl "$@"
