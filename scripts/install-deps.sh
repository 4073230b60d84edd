#!/usr/bin/env bash
# Brings a fresh Debian 12 machine everything the build, the tests, the benchmarks and the
# fuzzers need. Safe to run again: packages already present are skipped, and apt is only
# touched when something is missing.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang libclang-rt-14-dev
  libtinyxml2-dev nlohmann-json3-dev libcli11-dev libcpp-httplib-dev libpng-dev libnetpbm-dev
  blueprint-tools hidl-gen
  libgtest-dev libgmock-dev libbenchmark-dev
  python3
  chromium chromium-driver python3-selenium
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
echo "installing: ${missing[*]}" >&2
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
