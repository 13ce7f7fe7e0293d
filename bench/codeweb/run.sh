#!/usr/bin/env bash
# The code web beside its peers, as whole processes on one machine:
# `j2h` over a source tree, the documentation generator `doxygen` (recursive,
# extract all, source browser, no LaTeX, no dot) and the tag system
# `gtags` + `htags` (with its cross-reference pages).  Each runs three times
# on a fresh copy of the tree (the code web writes into its root); the table
# shows the best wall time, kLOC/s and the peak RSS of `/usr/bin/time -v`.
#
#   bench/codeweb/run.sh [TREE] [J2H_EXE]
#
# Without TREE, generated trees are measured (bench/codeweb/gen_tree.py):
# CODE=java (default) 200 kLOC of Java, CODE=cpp C and C++ at 45, 30 and
# 90 kLOC, CODE=cobol 275 kLOC and then the closure trees (1,000 programs,
# 2,500 copybooks, 250 tables, and twice that), CODE=vb|jsp|asp|cs|php|sql
# 100 and 200 kLOC, CODE=mixed 500 kLOC of all languages with a class
# documentation, make files and resource scripts (gen_mixed.py); SIZES="..."
# chooses other sizes.  A generated big tree
# (within 9,900 files) follows unless BIG=0: 2 MLOC for Java and C++, 1 MLOC
# for VB, none for the others (BIG_RUNS runs of each tool there, default
# RUNS; RUNS defaults to 3).  With J2H_PHASE_TIMES set, j2h
# reports the share of its phases.  TOOLS="j2h doxygen global" picks the
# tools that run.  Installs doxygen, global and time with
# apt-get when they are missing.  Not part of CI.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(cd "$here/../.." && pwd)"
tree="${1:-}"
j2h="$(realpath "${2:-$root/build/j2h}")"
[ -x "$j2h" ] || { echo "no executable: $j2h (build first)" >&2; exit 2; }
need=()
for pkg in doxygen global time; do dpkg -s "$pkg" >/dev/null 2>&1 || need+=("$pkg"); done
if [ ${#need[@]} -gt 0 ]; then
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}" >/dev/null
fi
work="$(mktemp -d "${TMPDIR:-/tmp}/codeweb_bench.XXXXXX")"
trap 'rm -rf "$work"' EXIT

# Lines of the files the code web takes (its languages' extensions).
kloc_of() {
  find "$1" -type f \( -name '*.java' -o -name '*.c' -o -name '*.h' -o -name '*.cpp' -o -name '*.cc' \
    -o -name '*.hpp' -o -name '*.hh' -o -name '*.cxx' -o -name '*.hxx' -o -name '*.cs' -o -name '*.php' -o -name '*.jsp' -o -name '*.js' -o -name '*.html' \
    -o -name '*.htm' -o -name '*.css' -o -name '*.cbl' -o -name '*.cob' -o -name '*.cpy' -o -name '*.pco' \
    -o -name '*.bas' -o -name '*.vbs' -o -name '*.asp' -o -name '*.sql' \) \
    -print0 | xargs -0 cat 2>/dev/null | wc -l | awk '{printf "%.1f", $1 / 1000}'
}

# run NAME TREE COMMAND...: best of three on fresh copies; prints a row.
run() {
  local name=$1 src=$2 best="" rss=0 i
  shift 2
  for i in $(seq "${RUNS:-3}"); do
    rm -rf "$work/t" && cp -r "$src" "$work/t"
    ( cd "$work/t" && /usr/bin/time -v -o "$work/time.txt" "$@" >"$work/$name.log" 2>&1 ) ||
      { echo "$name failed (see its log):" >&2; tail -5 "$work/$name.log" >&2; return 1; }
    local w r
    w=$(awk -F': ' '/Elapsed \(wall clock\)/ { n = split($2, t, ":"); s = 0
          for (i = 1; i <= n; i++) s = s * 60 + t[i]; print s }' "$work/time.txt")
    r=$(awk -F': ' '/Maximum resident set size/ { print $2 }' "$work/time.txt")
    if [ -z "$best" ] || awk -v a="$w" -v b="$best" 'BEGIN { exit !(a < b) }'; then best=$w; fi
    [ "$r" -gt "$rss" ] && rss=$r
  done
  awk -v n="$name" -v k="$kloc" -v w="$best" -v r="$rss" 'BEGIN {
    printf "%-8s %9s %9.2f %9.1f %10.1f\n", n, k, w, (w > 0 ? k / w : 0), r / 1024 }'
  if [ "$name" = j2h ] && [ -n "${J2H_PHASE_TIMES:-}" ]; then
    sed -n '/^j2h steps/,/^  all/p' "$work/$name.log"
  fi
}

doxyfile() {
  cat >"$work/Doxyfile" <<DOX
INPUT = .
RECURSIVE = YES
EXTRACT_ALL = YES
SOURCE_BROWSER = YES
GENERATE_LATEX = NO
HAVE_DOT = NO
QUIET = YES
WARNINGS = NO
OUTPUT_DIRECTORY = doxygen_out
DOX
}

measure_tree() {
  local label=$1 src=$2
  kloc=$(kloc_of "$src")
  echo
  echo "tree: $label ($kloc kLOC)"
  printf '%-8s %9s %9s %9s %10s\n' tool kLOC wall_s kLOC/s "RSS MB"
  local tools=" ${TOOLS:-j2h doxygen global} "
  [[ $tools == *" j2h "* ]] && run j2h "$src" "$j2h" .
  doxyfile
  [[ $tools == *" doxygen "* ]] && run doxygen "$src" doxygen "$work/Doxyfile"
  # gtags parses C, C++, Java and PHP; the files of other languages it
  # lists as other files, which htags shows as plain source pages (--other)
  [[ $tools == *" global "* ]] && run global "$src" sh -c 'gtags && htags -s -q --other >/dev/null'
  return 0
}

code=${CODE:-java}
if [ -n "$tree" ]; then
  measure_tree "$(basename "$tree")" "$(realpath "$tree")"
else
  case $code in
    java) default_sizes=200 ;;
    cpp) default_sizes="45 30 90" ;;
    cobol) default_sizes=275 ;;
    mixed) default_sizes=500 ;;
    *) default_sizes="100 200" ;;
  esac
  for k in ${SIZES:-$default_sizes}; do
    if [ "$code" = mixed ]; then
      python3 "$here/gen_mixed.py" "$work/gen$k" "$k" --seed 1 >/dev/null
    else
      python3 "$here/gen_tree.py" "$work/gen$k" "$k" --seed 1 --lang "$code" >/dev/null
    fi
    measure_tree "generated $code $k kLOC" "$work/gen$k"
    rm -rf "$work/gen$k"
  done
fi
if [ -z "$tree" ] && [ "$code" = cobol ] && [ "${CLOSURE:-1}" != 0 ]; then
  for pct in 50 100; do
    python3 "$here/gen_tree.py" "$work/closure$pct" "$pct" --seed 3 --lang cobol-closure >/dev/null
    measure_tree "COBOL closure tree at $pct %" "$work/closure$pct"
    rm -rf "$work/closure$pct"
  done
fi
case $code in
  java|cpp) big=${BIG:-2000} ;;
  vb) big=${BIG:-1000} ;;
  *) big=${BIG:-0} ;;
esac
if [ "$big" != 0 ]; then
  python3 "$here/gen_tree.py" "$work/genbig" "$big" --seed 2 --lang "$code" >/dev/null
  RUNS=${BIG_RUNS:-${RUNS:-3}} measure_tree "generated $code $big kLOC" "$work/genbig"
fi
