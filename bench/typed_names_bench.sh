#!/usr/bin/env bash
# The whole build over webs whose size doubles from step to step, to show
# that its time grows linearly: a document that holds tens of thousands of
# typed names (C_Name17, B_Data3, ...) in running text, and a document that
# defines the same name hundreds of times (a heading "C_Same" on many
# sections).  Prints per step the count, the MB of snapshot, user and wall
# seconds and the peak RSS; time per unit should stay flat.  Not part of CI.
#
#   bench/typed_names_bench.sh [BRELMOT_EXE]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
exe="$(realpath "${1:-$root/build/brelmot}")"
[ -x /usr/bin/time ] || { echo "/usr/bin/time is needed (package time)" >&2; exit 2; }
work="$(mktemp -d "${TMPDIR:-/tmp}/typed_names_bench.XXXXXX")"
trap 'rm -rf "$work"' EXIT

# make_web DIR KIND N: a web of one Word-like document.
make_web() {
  mkdir -p "$1/d/publish"
  python3 - "$1/d/publish/doc.htm" "$2" "$3" <<'PY'
import sys
path, kind, n = sys.argv[1], sys.argv[2], int(sys.argv[3])
head = ("<html xmlns:o=\"urn:schemas-microsoft-com:office:office\">\n<head>\n"
        "<meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">\n"
        "<title>Names</title>\n<style>\n<!--\np.MsoNormal\n\t{margin:0cm;}\n-->\n</style>\n"
        "</head>\n<body lang=EN-GB>\n<div class=Section1>\n")
out = [head]
if kind == "names":
    # 50 sections; n typed names spread over them, 1000 of them defined.
    for s in range(50):
        out.append(f"<h1>{s + 1} C_Name{s}</h1>\n")
        for i in range(s, n, 50):
            out.append(f"<p class=MsoNormal>The C_Name{i % 1000} goes to B_Data{i % 37} "
                       f"and S_Service{i % 11}.</p>\n")
else:
    # n sections, each a definition of the same name, each using it.
    for s in range(n):
        out.append(f"<h1>{s + 1} C_Same</h1>\n<p class=MsoNormal>See C_Same and C_Other{s % 7}.</p>\n")
out.append("</div>\n</body>\n</html>\n")
open(path, "w").write("".join(out))
PY
  printf '{\\rtf1 x}\n' >"$1/d/doc.rtf"
  printf -- '-w xs_Names\n-? 1=./\n-e 1/doc.rtf\n   Names\n--\n' >"$1/d/wconf"
}

measure() {
  local kind=$1 n=$2 dir="$work/$1_$2"
  make_web "$dir" "$kind" "$n"
  ( cd "$dir" && env PATH="$(dirname "$exe"):/usr/bin:/bin" SOURCE_DATE_EPOCH=1700000000 \
      /usr/bin/time -v -o time.txt "$exe" d >build.log 2>&1 ) ||
    { echo "$kind $n: the build failed" >&2; tail -5 "$dir/build.log" >&2; exit 1; }
  awk -v k="$kind" -v n="$n" -v b="$(wc -c <"$dir/d/publish/doc.htm")" -F': ' '
    /User time/ { u = $2 } /Maximum resident/ { r = $2 }
    /Elapsed \(wall clock\)/ { m = split($2, t, ":"); w = 0; for (i = 1; i <= m; i++) w = w * 60 + t[i] }
    END { printf "%-6s %8d %8.2f %8.2f %8.2f %12.3f %10.1f\n", k, n, b / 1e6, u, w, u / n * 1000, r / 1024 }' \
    "$dir/time.txt"
}

printf '%-6s %8s %8s %8s %8s %12s %10s\n' kind count MB user_s wall_s "user ms/unit" "RSS MB"
for n in 10000 20000 40000 80000; do measure names "$n"; done
for n in 200 400 800 1600; do measure same "$n"; done
