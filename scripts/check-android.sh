#!/usr/bin/env bash
# What can be checked of the device build without an Android tree:
#   - every Android.bp parses and is formatted as bpfmt writes it;
#   - the library's sources in Android.bp are the host build's, in the same (load) order;
#   - the HIDL packages pass hidl-gen's check, current.txt holds hidl-gen's hashes, and each
#     package's Android.bp is the one hidl-gen generates, but for the partition.
# hidl-gen needs android.hidl.base@1.0 on its path; scripts/hidl-base/ holds its definition for
# these checks only (a device tree brings the real one).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

failed=0
fail() {
  echo "check-android: $*" >&2
  failed=1
}

mapfile -t blueprints < <(git ls-files --cached --others --exclude-standard '*Android.bp')
unformatted=$(bpfmt -l "${blueprints[@]}") || fail "bpfmt cannot parse one of: ${blueprints[*]}"
[ -z "$unformatted" ] || fail "not formatted as bpfmt writes it (run bpfmt -w): $unformatted"

# The library's source list, from each build description, one path a line.
cmake_sources() {
  awk '/^set\(PLATFORM_(HEAD|MODULE|TAIL)_SOURCES/ { on = 1; next }
       on && /^\)/ { on = 0 }
       on { gsub(/[ \t]/, ""); if ($0 != "") print }' src/CMakeLists.txt
}
bp_sources() {
  awk '/^cc_library_shared \{/ { lib = 1 }
       lib && /^    srcs: \[/ { on = 1; next }
       on && /^    \],/ { on = 0; lib = 0 }
       on { gsub(/[ \t",]/, ""); if ($0 != "") print }' Android.bp
}
if ! diff <(cmake_sources) <(bp_sources) >/dev/null; then
  fail "the library's sources differ between src/CMakeLists.txt (<) and Android.bp (>):"
  diff <(cmake_sources) <(bp_sources) >&2 || true
fi
[ "$(cmake_sources | wc -l)" -gt 0 ] || fail "no library sources found in src/CMakeLists.txt"

root=interfaces/vendor/tevrin/hardware
roots=(-r "vendor.tevrin.hardware:$root" -r "android.hidl:scripts/hidl-base/android/hidl")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
hashes=$scratch/hashes
# A package's Android.bp without comments, its partition read as ours: hidl-gen says product,
# the interfaces go to system_ext with the library that links them.
normal() { grep -vE '^\s*(//.*)?$' "$1" | sed 's/product_specific: true/system_ext_specific: true/'; }
: >"$hashes"
for package in $(cd "$root" && ls -d */*/ | sed 's#/$##'); do
  fq="vendor.tevrin.hardware.${package%/*}@${package#*/}"
  hidl-gen -L check "${roots[@]}" "$fq" || fail "hidl-gen finds $fq invalid"
  hidl-gen -L hash "${roots[@]}" "$fq" >>"$hashes" || fail "hidl-gen cannot hash $fq"
  mkdir -p "$scratch/tree/$root/$package"
  cp "$root/$package"/*.hal "$scratch/tree/$root/$package/"
  hidl-gen -p "$scratch/tree" -L androidbp -r "vendor.tevrin.hardware:$root" \
    -r "android.hidl:$PWD/scripts/hidl-base/android/hidl" "$fq" ||
    fail "hidl-gen cannot write the Android.bp of $fq"
  if ! diff <(normal "$scratch/tree/$root/$package/Android.bp") <(normal "$root/$package/Android.bp") >/dev/null; then
    fail "$root/$package/Android.bp is not what hidl-gen generates (<) for $fq:"
    diff <(normal "$scratch/tree/$root/$package/Android.bp") <(normal "$root/$package/Android.bp") >&2 || true
  fi
done
if ! diff <(sort "$hashes") <(grep -vE '^\s*(#.*)?$' "$root/current.txt" | sort) >/dev/null; then
  fail "$root/current.txt differs from hidl-gen's hashes (<):"
  diff <(sort "$hashes") <(grep -vE '^\s*(#.*)?$' "$root/current.txt" | sort) >&2 || true
fi

[ "$failed" -eq 0 ] && echo "check-android: ${#blueprints[@]} Android.bp files, $(cmake_sources | wc -l) library sources, $(wc -l <"$hashes") interface hashes: ok"
exit "$failed"
