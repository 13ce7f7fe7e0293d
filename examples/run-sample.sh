#!/usr/bin/env bash
# Builds brelmot and runs it on the bundled sample, in a copy under
# build/sample-run so that the repository stays as it is.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" --target brelmot
exe="$root/build/brelmot"
run="$root/build/sample-run"
rm -rf "$run"
mkdir -p "$run"
cp -r "$root/examples/sample" "$run/"
cd "$run"
echo "== brelmot headers sample/publish/Guide_1"
"$exe" headers sample/publish/Guide_1
echo "== brelmot unite sample/publish Guide"
"$exe" unite sample/publish Guide
echo "== brelmot publish sample"
"$exe" publish sample
echo "== brelmot alias start sample/publish/Guide.htm"
"$exe" alias start sample/publish/Guide.htm
echo
echo "Results in $run: sample/publish/Guide_1.hds, sample/publish/Guide.htm, exp_htm.js, start.htm"
