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
cp -r "$root/examples/sample" "$root/examples/code" "$run/"
cd "$run"
echo "== brelmot sample ?    (check the web configuration sample/wconf)"
# A configuration that checks out ends with status 1 on purpose: no web was made.
"$exe" sample '?' | tail -4 || true
echo "== brelmot unite sample/publish Guide"
"$exe" unite sample/publish Guide
echo "== brelmot headers sample/publish/Guide"
"$exe" headers sample/publish/Guide
echo "== brelmot publish sample"
"$exe" publish sample
echo "== brelmot alias start sample/publish/Guide.htm"
"$exe" alias start sample/publish/Guide.htm
echo "== brelmot check sample/publish"
"$exe" check sample/publish | tail -3
echo "== brelmot sample      (build the web)"
status=0
"$exe" sample >build.log 2>&1 || status=$?
tail -14 build.log
if [ "$status" -ne 0 ]; then
  echo "brelmot sample ended with status $status (see $run/build.log)" >&2
  exit 1
fi
echo
echo "The web is $run/xs_Sample: open $run/xs_Sample/1.htm in a browser."
echo "Its code web (of examples/code): $run/xs_Sample/j2h/f.htm"
echo "Other results in $run: build.log, sample/publish/Guide.htm and Guide.hds, exp_htm.js, start.htm"
