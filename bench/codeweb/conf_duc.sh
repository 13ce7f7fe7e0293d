#!/usr/bin/env bash
# `brelmot conf` on the sample web with a large code root, as whole
# processes: the first build makes the code web of the root; then two
# builds that reuse it (both index files are there), without and with the
# page of classes in documentation, model and code (DUC.htm), whose inputs
# an outside step would place: j2h/meter/code_rose_diff.htm and j2h/xx_U.
#
#   bench/codeweb/conf_duc.sh [TREE] [BRELMOT_EXE]
#
# Without TREE the mixed tree of gen_mixed.py (KLOC, default 500) is the
# code root.  Best of RUNS (default 3) for the two reusing builds.  Not
# part of CI.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(cd "$here/../.." && pwd)"
exe="$(realpath "${2:-$root/build/brelmot}")"
work="$(mktemp -d "${TMPDIR:-/tmp}/conf_duc.XXXXXX")"
trap 'rm -rf "$work"' EXIT
cp -r "$root/examples/sample" "$work/sample"
# The sample names ../code as its code root (and as a component, which is
# left out here: it would build the same tree a second time each run).
if [ -n "${1:-}" ]; then
  cp -r "$1" "$work/code"
else
  python3 "$here/gen_mixed.py" "$work/code" "${KLOC:-500}" --seed 1 >/dev/null
fi
sed -i -e '/^-j 2\/$/,+1d' "$work/sample/wconf"

timed() {  # timed LABEL: one build; prints wall seconds and peak RSS
  ( cd "$work" && PATH="$(dirname "$exe"):$PATH" SOURCE_DATE_EPOCH=1700000000 \
      /usr/bin/time -v -o "$work/time.txt" "$exe" sample >"$work/build.log" 2>&1 ) ||
    { tail -20 "$work/build.log"; echo "$1: the build failed" >&2; exit 1; }
  awk -F': ' '/Elapsed \(wall clock\)/ { n = split($2, t, ":"); s = 0
        for (i = 1; i <= n; i++) s = s * 60 + t[i]; printf "%s", s }
      /Maximum resident set size/ { printf " %.1f\n", $2 / 1024 }' "$work/time.txt"
}
best() {  # best LABEL: best of RUNS builds
  local b="" r line
  for _ in $(seq "${RUNS:-3}"); do
    line=$(timed "$1")
    if [ -z "$b" ] || awk -v a="${line% *}" -v c="${b% *}" 'BEGIN { exit !(a < c) }'; then b=$line; fi
  done
  printf '%-34s %8s s %8s MB\n' "$1" "${b% *}" "${b#* }"
}

printf '%-34s %10s %11s\n' build wall "peak RSS"
line=$(timed first)
printf '%-34s %8s s %8s MB\n' "first build (code web made)" "${line% *}" "${line#* }"
best "code web reused, no DUC.htm"
j2h=$work/code/j2h
# The model's view: every second class of the code web's maps, and some of
# its own; a difference of the shape both readers keep to.
awk -F'~' 'NR > 1 && $2 ~ /^c/ && $1 !~ / :: / { print $1 }' "$j2h/cppsecs" | sort -u >"$work/code_classes"
awk 'NR % 2 == 0' "$work/code_classes" >"$work/model_classes"
for i in $(seq 1 200); do echo "Modelled$i"; done >>"$work/model_classes"
{
  comm -23 "$work/code_classes" <(sort "$work/model_classes") | sed 's/^/< class /'
  comm -13 "$work/code_classes" <(sort "$work/model_classes") | sed 's/^/> class /'
} >"$j2h/meter/code_rose_diff.htm"
"$root/build/bench/btree_keys" "$j2h/xx_U" <"$work/model_classes" >/dev/null
best "code web reused, with DUC.htm"
[ -f "$work/xs_Sample/DUC.htm" ] && grep -c '<tr><td' "$work/xs_Sample/DUC.htm" | sed 's/^/DUC.htm rows: /' || true
