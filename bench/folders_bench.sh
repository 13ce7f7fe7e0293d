#!/usr/bin/env bash
# The folder commands on a large tree beside the system's own tools: the
# listing of "brelmot wconf 1 dir" beside "find dir -type f | wc -l", and
# "brelmot find word dir" beside "grep -rl word dir".  Generates a tree of
# 100,000 files in 5,000 folders below /tmp (kept between runs), warms the
# cache with one run of each, then takes the best of three runs: wall time
# and peak resident memory from /usr/bin/time -v.  Not run in CI.
#
#   bench/folders_bench.sh [path of brelmot]     (default: build/brelmot)
set -euo pipefail

src=$(cd "$(dirname "$0")/.." && pwd)
exe=$(realpath "${1:-$src/build/brelmot}")
tree=${BRELMOT_BENCH_TREE:-/tmp/brelmot_folders_bench/tree}
work=$(dirname "$tree")/work
word=needle
[ -x "$exe" ] || { echo "no program at $exe" >&2; exit 1; }

# 50 folders of 100 folders, 20 files in each: documents, snapshots-like
# pages and other files, one file in 97 holding the word.
make_tree() {
  rm -rf "$tree"
  mkdir -p "$tree"
  python3 - "$tree" "$word" <<'PY'
import os, sys
root, word = sys.argv[1], sys.argv[2]
exts = [".doc", ".rtf", ".pdf", ".htm", ".txt", ".java", ".c", ".xml"]
n = 0
for a in range(50):
    for b in range(100):
        d = os.path.join(root, "part%02d" % a, "area%03d" % b)
        os.makedirs(d)
        for f in range(20):
            n += 1
            body = ("line %d of a file with some text in it\n" % n) * (1 + n % 40)
            if n % 97 == 0:
                body += "the %s is here\n" % word
            with open(os.path.join(d, "file%05d%s" % (n, exts[n % len(exts)])), "w") as out:
                out.write(body)
PY
}

[ "$(find "$tree" -type f 2>/dev/null | wc -l)" = 100000 ] || make_tree
mkdir -p "$work"
cd "$work"

# Best wall time (seconds) and peak RSS (KB) of three runs of a command line.
measure() {
  local best_t="" best_m="" t m line
  sh -c "$1" >/dev/null 2>&1 || true
  for _ in 1 2 3; do
    /usr/bin/time -v -o "$work/time.txt" sh -c "$1" >/dev/null 2>&1 || true
    line=$(awk -F': ' '/Elapsed \(wall clock\)/ {w=$2} /Maximum resident set size/ {m=$2}
                       END {n=split(w, p, ":"); s=0; for (i=1; i<=n; i++) s=s*60+p[i]; print s, m}' \
                  "$work/time.txt")
    t=${line% *}
    m=${line#* }
    if [ -z "$best_t" ] || awk "BEGIN {exit !($t < $best_t)}"; then best_t=$t; fi
    if [ -z "$best_m" ] || [ "$m" -lt "$best_m" ]; then best_m=$m; fi
  done
  echo "$best_t $best_m"
}

row() {
  local r
  r=$(measure "$2")
  printf '%-36s %10s %12s\n' "$1" "${r% *}" "${r#* }"
}

echo "tree: $tree ($(find "$tree" -type f | wc -l) files, $(find "$tree" -mindepth 1 -type d | wc -l) folders)"
printf '%-36s %10s %12s\n' command "wall (s)" "peak RSS (KB)"
row "brelmot wconf 1 dir" "'$exe' wconf 1 '$tree'"
row "find dir -type f | wc -l" "find '$tree' -type f | wc -l"
row "brelmot find $word dir" "'$exe' find $word '$tree'"
row "grep -rl $word dir" "grep -rl $word '$tree'"
echo "hits: brelmot $("$exe" find $word "$tree" | grep -c "^ $word: ")," \
     "grep $(grep -rl $word "$tree" | wc -l)"
