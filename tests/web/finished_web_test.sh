#!/usr/bin/env bash
# The finished sample web as its readers meet it.
#
# Builds examples/sample with the brelmot under test into a scratch folder,
# then checks, where the tools are installed (CI installs them):
#  - links: `brelmot check` and LinkChecker (external links off) find no
#    broken link but the ones the web is known to have: the "docs" link
#    that closes each card of a document (<n>/1.htm), the listed-only price
#    list whose file a listed document does not bring (D_.htm ->
#    6/price_list.csv) and the page of all webs, made only when a topic
#    names a web (Lo_fo*.htm -> s.htm).  Every page of the code web j2h is
#    written, so no link into it may break.  LinkChecker's warnings are
#    allowed (the glossary links with two "#"), its errors are not.
#  - rendering: headless Chromium shows the portal, a section page, an index
#    page, the problems page, and of the code web the frameset, a class map
#    and the metrics page: a screenshot of the asked size that is not
#    blank, and a known text of the page in its DOM.
# Exit 77 (skipped) when neither LinkChecker nor Chromium is there.
#
#   tests/web/finished_web_test.sh BRELMOT_EXE SOURCE_ROOT
set -euo pipefail
exe=$(realpath "$1")
src=$(realpath "$2")
work=$(mktemp -d "${TMPDIR:-/tmp}/finished_web.XXXXXX")
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"  # LinkChecker run as root reads as "nobody"
cp -r "$src/examples/sample" "$src/examples/code" "$work/"
chmod -R a+rX "$work"
cd "$work"
PATH="$(dirname "$exe"):$PATH" SOURCE_DATE_EPOCH=1700000000 "$exe" sample >build.log 2>&1 ||
  { tail -30 build.log; echo "FAILED: the sample web did not build"; exit 1; }
web=$work/xs_Sample
chmod -R a+rX "$web"
failures=0
fail() { echo "FAILED: $*"; failures=$((failures + 1)); }
known="(/[0-9]+/1\\.htm|6/price_list\\.csv|/s\\.htm)\$"

# brelmot's own link check.
"$exe" check xs_Sample >check.log 2>&1 || true
while read -r target; do
  [[ "$target" =~ $known ]] || fail "brelmot check: broken link to $target"
done < <(grep -E ' -- ' check.log | awk '{print $3}' | sed 's/\.*$//' | sort -u)
ran=0

if command -v linkchecker >/dev/null; then
  ran=1
  linkchecker --no-status --no-warnings -o text "$web/1.htm" >linkchecker.log 2>&1 || true
  grep -q "links in .* URLs checked" linkchecker.log || fail "LinkChecker did not run: $(tail -3 linkchecker.log)"
  while read -r url; do
    [[ "$url" =~ $known ]] || fail "LinkChecker: broken link to $url"
  done < <(grep -E '^Real URL' linkchecker.log | awk '{print $3}' | sort -u)
  echo "LinkChecker: $(grep -E 'links in .* URLs checked' linkchecker.log)"
else
  echo "LinkChecker is not installed: its part is skipped"
fi

chromium_bin=$(command -v chromium || command -v chromium-browser || true)
if [ -n "$chromium_bin" ]; then
  ran=1
  first2=$(ls "$web/2" | grep -E '^[0-9]+\.htm$' | grep -vx 1.htm | sort -n | head -1)
  # page | a text the page must show
  pages=("1/1.htm|Structure of Project Folder" "2/$first2|Checking the" "C_.htm|Billing"
         "Problems.htm|not yet specified" "j2h/f.htm|classes.htm" "j2h/m/1.htm|Superclasses are shown indented"
         "j2h/meter.htm|Quality Metrics")
  for entry in "${pages[@]}"; do
    page=${entry%%|*} text=${entry#*|}
    shot=$work/shot.png
    rm -f "$shot"
    timeout 120 "$chromium_bin" --headless --no-sandbox --disable-gpu --hide-scrollbars \
      --screenshot="$shot" --window-size=1024,768 "file://$web/$page" >chromium.log 2>&1 || true
    python3 - "$shot" 1024 768 <<'PY' || fail "Chromium: $page does not render (see its screenshot check)"
import struct, sys, zlib
data = open(sys.argv[1], "rb").read()
assert data[:8] == b"\x89PNG\r\n\x1a\n", "no PNG"
w, h = struct.unpack(">II", data[16:24])
assert (w, h) == (int(sys.argv[2]), int(sys.argv[3])), f"size {w}x{h}"
i, idat = 8, b""
while i < len(data):
    n = struct.unpack(">I", data[i:i + 4])[0]
    if data[i + 4:i + 8] == b"IDAT":
        idat += data[i + 8:i + 8 + n]
    i += 12 + n
raw = zlib.decompress(idat)
assert len(set(raw)) > 16, "a blank screenshot"
PY
    timeout 120 "$chromium_bin" --headless --no-sandbox --disable-gpu --dump-dom \
      "file://$web/$page" >dom.html 2>/dev/null || true
    grep -qF "$text" dom.html || fail "Chromium: $page does not show \"$text\""
  done
  echo "Chromium: ${#pages[@]} pages rendered"
else
  echo "Chromium is not installed: its part is skipped"
fi

[ "$failures" -eq 0 ] || exit 1
[ "$ran" -eq 1 ] || exit 77
echo "the finished web: links and rendering as expected"
