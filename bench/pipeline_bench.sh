#!/usr/bin/env bash
# Measures the whole build pass as a user runs it: "brelmot conf" over a web
# of every real snapshot in ../shared/fixtures/word-html (about 5 MB), then
# over the same web grown to about 100 MB by repeating the plain paragraphs
# inside each section (same documents, headings and pages; bench/grow_web.py).
# For each it prints the MB of snapshots, the wall seconds, MB/s and the peak
# resident size that /usr/bin/time -v reports.  Not part of CI.
#
#   bench/pipeline_bench.sh [BRELMOT_EXE] [GROWN_MB]
#
# The executable finds its installation data in ut_brelmot beside it, as the
# build folder has it; the default is build/brelmot.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
exe="$(realpath "${1:-$root/build/brelmot}")"
grown_mb="${2:-100}"
fixtures="$root/../shared/fixtures/word-html"
[ -x "$exe" ] || { echo "no executable: $exe (build first)" >&2; exit 2; }
[ -x /usr/bin/time ] || { echo "/usr/bin/time is needed (package time)" >&2; exit 2; }
work="$(mktemp -d "${TMPDIR:-/tmp}/pipeline_bench.XXXXXX")"
trap 'rm -rf "$work"' EXIT

# A web "d" below $1: every fixture a document with its snapshot in publish/.
make_web() {
  local dir="$1/d" conf f stem
  mkdir -p "$dir/publish"
  conf="-w xs_Bench"$'\n'"-? 1=./"$'\n'
  for f in "$fixtures"/*.htm "$fixtures"/*.html; do
    stem="$(basename "${f%.*}")"
    cp "$f" "$dir/publish/$stem.htm"
    chmod u+w "$dir/publish/$stem.htm"
    printf '{\\rtf1 x}\n' >"$dir/$stem.rtf"
    conf+="-e 1/$stem.rtf"$'\n'"   $stem"$'\n'
  done
  printf '%s--\n' "$conf" >"$dir/wconf"
}

# Builds the web below $1 and prints one line of the table.
measure() {
  local name="$1" dir="$2" bytes status wall rss user sys
  bytes=$(cat "$dir"/d/publish/*.htm | wc -c)
  status=0
  ( cd "$dir" && env PATH="$(dirname "$exe"):/usr/bin:/bin" LC_ALL=C TZ=UTC \
      SOURCE_DATE_EPOCH=1700000000 /usr/bin/time -v -o time.txt "$exe" d >build.log 2>&1 ) ||
    status=$?
  if [ "$status" -ne 0 ] || ! grep -q "o k  -  Web is" "$dir/build.log"; then
    echo "$name: the build failed (status $status), see its log:" >&2
    tail -20 "$dir/build.log" >&2
    exit 1
  fi
  wall=$(awk -F': ' '/Elapsed \(wall clock\)/ {
           n = split($2, t, ":"); s = 0; for (i = 1; i <= n; i++) s = s * 60 + t[i]; print s }' \
         "$dir/time.txt")
  rss=$(awk -F': ' '/Maximum resident set size/ { print $2 }' "$dir/time.txt")
  user=$(awk -F': ' '/User time/ { print $2 }' "$dir/time.txt")
  sys=$(awk -F': ' '/System time/ { print $2 }' "$dir/time.txt")
  awk -v n="$name" -v b="$bytes" -v w="$wall" -v r="$rss" -v u="$user" -v s="$sys" 'BEGIN {
        printf "%-10s %8.1f %8.2f %8.2f %8.2f %8.1f %12.1f\n", n, b / 1e6, w, u, s,
               (w > 0 ? b / 1e6 / w : 0), r / 1024 }'
}

# The folder of the webs: TMPDIR, else /tmp.  Its file system counts: the
# build creates, rewrites and renames every page several times.
echo "webs in $(df -T "$work" | awk 'NR == 2 { print $1 " (" $2 ")" }')"
printf '%-10s %8s %8s %8s %8s %8s %12s\n' web MB wall_s user_s sys_s MB/s "peak RSS MB"
make_web "$work/fixtures"
measure fixtures "$work/fixtures"
make_web "$work/grown"
python3 "$root/bench/grow_web.py" "$grown_mb" "$work"/grown/d/publish/*.htm >"$work/grow.txt"
measure grown "$work/grown"
sed 's/^/  (grown: /; s/$/)/' "$work/grow.txt"
