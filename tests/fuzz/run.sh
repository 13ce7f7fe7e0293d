#!/usr/bin/env bash
# Builds the fuzz targets with clang (in build-fuzz) and runs each for a
# number of seconds on a copy of its seed corpus; prints per target the
# executions, the coverage and libFuzzer's final statistics, and exits
# non-zero when any target has a finding (a sanitizer report, a crash, a
# leak, a timeout, a disagreeing oracle).  The inputs that caused findings
# stay in <work>/findings.
#
#   tests/fuzz/run.sh [seconds per target] [target ...]
#
# Seconds default to 30; targets to all of them.  BRELMOT_FUZZ_BUILD and
# BRELMOT_FUZZ_WORK move the build folder and the work folder (default
# <build>/fuzz-run, emptied at the start); BRELMOT_FUZZ_FLAGS adds flags of
# libFuzzer (say "-fork=1 -ignore_crashes=1" to go on past a finding).
# Seeds: tests/fuzz/seeds, the
# sample webs, the shared fixtures (<source root>/../shared/fixtures) and
# the files the store's own API writes (seed_maker).
set -euo pipefail

src=$(cd "$(dirname "$0")/../.." && pwd)
secs=${1:-30}
[ $# -gt 0 ] && shift
all=(rbuffer_fuzz clean_fuzz link_check_fuzz wconf_fuzz btree_file_fuzz btree_ops_fuzz btree_closure_fuzz
     cards_fuzz sections_fuzz profile_fuzz sort_fuzz hotspots_fuzz topic_search_fuzz j2h_root_fuzz
     java_reader_fuzz code_tidy_fuzz call_relation_fuzz cpp_reader_fuzz include_relation_fuzz)
all+=(vb_reader_fuzz erd_reader_fuzz)
# JSP and ASP readers
all+=(jsp_reader_fuzz asp_reader_fuzz)
# end of JSP and ASP readers
# C# and PHP readers
all+=(cs_reader_fuzz php_reader_fuzz)
# end of C# and PHP readers
# COBOL reader
all+=(cob_reader_fuzz)
# end of COBOL reader
all+=(rose_diff_fuzz alles_fuzz)
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=("${all[@]}")
build=${BRELMOT_FUZZ_BUILD:-$src/build-fuzz}
work=${BRELMOT_FUZZ_WORK:-$build/fuzz-run}
fixtures=$src/../shared/fixtures
# A report of UndefinedBehaviorSanitizer shows where it was reached from.
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

cmake -S "$src" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DBRELMOT_FUZZ=ON -DBRELMOT_TESTS=OFF -DBRELMOT_BENCH=OFF >/dev/null
cmake --build "$build" -j2 --target "${targets[@]}" seed_maker

rm -rf "$work"
mkdir -p "$work/corpus" "$work/findings" "$work/tmp"
# The targets write many small files: where a memory file system with room
# is at hand, their scratch folders go there (several times the speed).
scratch=$work/tmp
if [ -d /dev/shm ] && [ -w /dev/shm ] &&
   [ "$(df -Pk /dev/shm | awk 'NR == 2 {print $4}')" -gt 1048576 ]; then
  scratch=$(mktemp -d /dev/shm/brelmot_fuzz_run.XXXXXX)
  trap 'rm -rf "$scratch"' EXIT
fi
"$build/tests/fuzz/seed_maker" "$work/made/btree_file" "$work/made/btree_ops" >/dev/null

# The seed files of a target, one per line.
seeds_of() {
  case $1 in
    rbuffer_fuzz) ls -d "$src"/tests/fuzz/seeds/rbuffer/* ;;
    clean_fuzz) ls -d "$fixtures"/word-html/*.htm* "$src"/examples/sample/publish/*.htm \
                      "$src"/ut_brelmot/doc/publish/*.htm ;;
    link_check_fuzz) ls -d "$src"/tests/fuzz/seeds/link_check/* "$src"/examples/sample/publish/*.htm \
                           "$fixtures"/word-html/*.htm* ;;
    wconf_fuzz) ls -d "$src"/tests/fuzz/seeds/wconf/* "$src"/examples/sample/wconf \
                      "$src"/ut_brelmot/doc/sample_* ;;
    btree_file_fuzz) ls -d "$work"/made/btree_file/* "$fixtures"/damaged-btree/*.btree "$src"/tests/fuzz/seeds/btree_file/* ;;
    btree_ops_fuzz) ls -d "$work"/made/btree_ops/* ;;
    btree_closure_fuzz) ls -d "$src"/tests/fuzz/seeds/btree_closure/* ;;
    cards_fuzz|sections_fuzz) ls -d "$src"/examples/sample/publish/*.htm "$src"/ut_brelmot/doc/publish/*.htm \
                             "$src"/tests/fuzz/seeds/cards/* ;;
    profile_fuzz) ls -d "$src"/tests/fuzz/seeds/profile/* ;;
    sort_fuzz) ls -d "$src"/tests/fuzz/seeds/sort/* "$src"/examples/sample/wconf \
                     "$src"/ut_brelmot/doc/sample_* ;;
    hotspots_fuzz) ls -d "$src"/tests/fuzz/seeds/hotspots/* "$src"/examples/sample/publish/*.htm ;;
    topic_search_fuzz) ls -d "$src"/tests/fuzz/seeds/topic_search/* ;;
    j2h_root_fuzz) ls -d "$src"/tests/fuzz/seeds/j2h_root/* ;;
    java_reader_fuzz|code_tidy_fuzz) ls -d "$src"/tests/fuzz/seeds/java_reader/* ;;
    call_relation_fuzz) ls -d "$src"/tests/fuzz/seeds/call_relation/* ;;
    cpp_reader_fuzz) ls -d "$src"/tests/fuzz/seeds/cpp_reader/* ;;
    include_relation_fuzz) ls -d "$src"/tests/fuzz/seeds/include_relation/* ;;
    vb_reader_fuzz) ls -d "$src"/tests/fuzz/seeds/vb_reader/* "$src"/examples/trees/vb/*.vbs \
                          "$src"/examples/trees/vb/*/*.bas ;;
    erd_reader_fuzz) ls -d "$src"/examples/trees/erd/our_ERD.* ;;
    # JSP and ASP readers
    jsp_reader_fuzz) ls -d "$src"/tests/fuzz/seeds/jsp_reader/* "$src"/examples/trees/jsp/*/*.jsp \
                           "$src"/examples/trees/jsp/*/*/*.jsp ;;
    asp_reader_fuzz) ls -d "$src"/tests/fuzz/seeds/asp_reader/* "$src"/examples/trees/asp/*.asp \
                           "$src"/examples/trees/asp/*/*.asp "$src"/examples/trees/asp/*/*.inc ;;
    # end of JSP and ASP readers
    # C# and PHP readers
    cs_reader_fuzz) ls -d "$src"/tests/fuzz/seeds/cs_reader/* "$src"/examples/trees/cs/*/*.cs ;;
    php_reader_fuzz) ls -d "$src"/tests/fuzz/seeds/php_reader/* "$src"/examples/trees/php/*.php \
                           "$src"/examples/trees/php/*/*.php ;;
    # end of C# and PHP readers
    # COBOL reader
    cob_reader_fuzz) ls -d "$src"/tests/fuzz/seeds/cob_reader/* "$src"/examples/trees/cobol/*/*.c?? ;;
    # end of COBOL reader
    rose_diff_fuzz) ls -d "$src"/tests/fuzz/seeds/rose_diff/* ;;
    alles_fuzz) ls -d "$src"/tests/fuzz/seeds/alles/* ;;
  esac 2>/dev/null || true
}

# The longest input: snapshots are cut to their first part (their head, the
# style block and the start of the body), page files to 16 pages.
max_len_of() {
  case $1 in
    clean_fuzz|link_check_fuzz) echo 131072 ;;
    btree_file_fuzz) echo 65600 ;;
    btree_ops_fuzz) echo 2048 ;;
    *) echo 8192 ;;
  esac
}

failed=()
printf '\n%-16s %10s %8s %8s %8s %8s  %s\n' target executions exec/s cov ft corpus result
for t in "${targets[@]}"; do
  corpus=$work/corpus/$t
  mkdir -p "$corpus"
  n=0
  while IFS= read -r f; do
    [ -f "$f" ] || continue
    n=$((n + 1))
    cp "$f" "$corpus/seed_${n}_$(basename "$f")"
  done < <(seeds_of "$t")
  log=$work/$t.log
  rc=0
  TMPDIR=$scratch "$build/tests/fuzz/$t" -max_total_time="$secs" -print_final_stats=1 \
    -timeout=60 -max_len="$(max_len_of "$t")" -artifact_prefix="$work/findings/$t-" \
    ${BRELMOT_FUZZ_FLAGS:-} "$corpus" >"$log" 2>&1 || rc=$?
  done_line=$(grep -oE '#[0-9]+[[:space:]]+DONE.*' "$log" | tail -1 || true)
  stat_of() { grep -E "^stat::$1:" "$log" | awk '{print $2}' | tail -1; }
  field() { echo "$done_line" | grep -oE "$1: [0-9]+" | awk '{print $2}'; }
  result=ok
  if [ "$rc" -ne 0 ]; then
    result="FINDING (exit $rc)"
    failed+=("$t")
  fi
  printf '%-16s %10s %8s %8s %8s %8s  %s\n' "$t" "$(stat_of number_of_executed_units)" \
    "$(stat_of average_exec_per_sec)" "$(field cov)" "$(field ft)" "$(field corp | head -1)" "$result"
done

for t in "${failed[@]}"; do
  echo
  echo "================ $t: finding ================"
  grep -E -A40 'ERROR: (AddressSanitizer|LeakSanitizer|libFuzzer)|runtime error|FINDING|==ERROR' \
    "$work/$t.log" | head -80 || tail -60 "$work/$t.log"
  ls "$work/findings/$t-"* 2>/dev/null | sed 's/^/input: /'
done
echo
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzzing: ${#failed[@]} of ${#targets[@]} targets with findings: ${failed[*]}"
  exit 1
fi
echo "fuzzing: no findings in ${#targets[@]} targets, $secs s each"
