#!/usr/bin/env bash
# Shows that a change of the code changed nothing a user sees: runs two
# builds of brelmot on the bundled sample and on every real snapshot in
# ../shared/fixtures/word-html, and compares what they print (with the exit
# status) and every file they write, byte for byte.
#
#   tests/regress/same_output.sh BEFORE_EXE AFTER_EXE   compare two builds
#   tests/regress/same_output.sh record EXE OUTDIR      record one build
#
# Each executable finds its installation data in ut_brelmot beside it, as
# the build folder has it.  The clock is fixed with SOURCE_DATE_EPOCH so
# that dates in pages and messages are the same in both runs.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
fixtures="$root/../shared/fixtures/word-html"

record() {  # record EXE OUTDIR
  local exe out work
  exe="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
  out="$2"
  rm -rf "$out"; mkdir -p "$out"
  work="$(mktemp -d)"
  export SOURCE_DATE_EPOCH=1700000000 LC_ALL=C TZ=UTC
  unset TRACE_DIR trace_DIR TRACE_TO_STDOUT SHOW_AT FROM_PROC || true

  # The sample run: every command that examples/run-sample.sh runs.
  mkdir -p "$work/sample"; cp -r "$root/examples/sample" "$work/sample/"
  ( cd "$work/sample"
    step() { local name=$1; shift; { "$exe" "$@"; echo "exit $?"; } >"$out/$name.out" 2>&1 || true; }
    step 1-check sample '?'
    step 2-unite unite sample/publish Guide
    step 3-headers headers sample/publish/Guide
    step 4-publish publish sample
    step 5-alias alias start sample/publish/Guide.htm
    step 6-check check sample/publish
    step 7-dir-clean-check sample '?' )
  # Every real snapshot as a document of one configuration.
  mkdir -p "$work/fix/d/publish"
  local conf="-w xs_Fix"$'\n'"-? 1=./"$'\n'
  for f in "$fixtures"/*.htm "$fixtures"/*.html; do
    local stem; stem="$(basename "${f%.*}")"
    cp "$f" "$work/fix/d/publish/$stem.htm"; chmod u+w "$work/fix/d/publish/$stem.htm"
    printf '{\\rtf1 x}\n' >"$work/fix/d/$stem.rtf"
    conf+="-e 1/$stem.rtf"$'\n'"   $stem"$'\n'
  done
  printf '%s--\n' "$conf" >"$work/fix/d/wconf"
  ( cd "$work/fix" && { "$exe" d '?'; echo "exit $?"; } >"$out/8-fixtures.out" 2>&1 || true )
  # Paths of the two work folders and of the executable differ between runs.
  sed -i -e "s#$work#WORK#g" -e "s#$(dirname "$exe")#EXEDIR#g" -e 's#/tmp/[A-Za-z0-9_.]*#TMP#g' "$out"/*.out
  cp -r "$work/sample" "$out/files-sample"
  cp -r "$work/fix" "$out/files-fix"
  rm -rf "$work"
}

if [ "${1:-}" = record ]; then
  record "$2" "$3"
  exit 0
fi
[ $# -eq 2 ] || { echo "usage: $0 BEFORE_EXE AFTER_EXE | record EXE OUTDIR" >&2; exit 2; }
tmp="$(mktemp -d)"
record "$1" "$tmp/before"
record "$2" "$tmp/after"
if diff -r "$tmp/before" "$tmp/after"; then
  echo "same output: sample run and $(ls "$fixtures"/*.htm* | wc -l) snapshots"
  rm -rf "$tmp"
else
  echo "outputs differ (kept in $tmp)"; exit 1
fi
