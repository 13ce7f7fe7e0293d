// Throughput of the scanner: rBuffer::find for a rare string and for a set
// of about 20 strings over a 100 MB file of HTML-like text, against memmem
// and std::string_view::find on the same bytes held in memory.  Prints MB/s.
//
//   rbuffer_bench [megabytes]      (default 100)
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <string_view>

#include "runtime/rbuffer.h"
#include "runtime/str_set.h"

namespace {
const char* const stops[] = {"<a ", "<A ", "&#133;", "<div class=Section", "<del", "<b>",
                             "<![", "<!--[", "<o:", "<v:", "<w:data", "<meta", "<table",
                             "<td", "<strike", "<span", "</ins", "<ins", "<li", "<img",
                             "<p ", "Verdana"};

std::string make_text(size_t size) {
  static const char* const words[] = {
      "<p class=MsoNormal>", "</p>", "<span lang=DE style='font-size:10.0pt'>", "</span>",
      "<a href=\"../3/12.htm#C_Customer\">", "</a>", "<b>", "</b>", "<td width=120 valign=top>",
      "</td>", "<tr>", "</tr>", "&nbsp;", "&amp;", "the", "customer", "order", "item", "of",
      "and", "a", "is", "shipment", "invoice", "C_Customer", "D_(Order handling)", "$_PARAM",
      "document", "section", "table", "value", "<br>", "<o:p></o:p>", "Verdana", "Arial",
      "which", "to", "from", "in", "for", "each", "with", "list", "page", "number"};
  std::mt19937 rnd(42);
  std::string t;
  t.reserve(size + 100);
  while (t.size() < size) {
    t += words[rnd() % (sizeof words / sizeof *words)];
    t += rnd() % 12 ? ' ' : '\n';
  }
  t += '\n';
  return t;
}

double seconds(const std::function<long()>& run, long* hits) {
  double best = 1e9;
  for (int i = 0; i < 3; ++i) {
    auto t0 = std::chrono::steady_clock::now();
    *hits = run();
    double d = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    if (d < best) best = d;
  }
  return best;
}

void report(const char* what, double mb, double sec, long hits) {
  printf("%-44s %9.0f MB/s   (%ld hits)\n", what, mb / sec, hits);
}
}  // namespace

int main(int argc, char** argv) {
  long megabytes = argc > 1 ? atol(argv[1]) : 100;
  if (megabytes < 1) megabytes = 100;
  const char* tmp = getenv("TMPDIR");
  std::string dir = std::string(tmp && *tmp ? tmp : "/tmp") + "/rbuffer_bench";
  mkdir(dir.c_str(), 0777);
  std::string file = dir + "/text_" + std::to_string(megabytes) + "MB.htm";

  std::string text = make_text((size_t)megabytes << 20);
  struct stat st;
  if (stat(file.c_str(), &st) != 0 || (size_t)st.st_size != text.size()) {
    FILE* f = fopen(file.c_str(), "wb");
    if (!f || fwrite(text.data(), 1, text.size(), f) != text.size()) {
      perror(file.c_str());
      return 1;
    }
    fclose(f);
  }
  const double mb = text.size() / 1e6;
  printf("file %s, %.1f MB\n\n", file.c_str(), mb);
  long hits = 0;

  for (const char* needle : {"zqxjv_nowhere", "<Unobtainium>", "C_Customer"}) {
    printf("string \"%s\"\n", needle);
    const int n = (int)strlen(needle);
    double t = seconds(
        [&] {
          rBuffer rb(file.c_str(), "");
          long k = 0;
          while (rb.find(0, needle, nullptr)) {
            ++k;
            rb.a += n;
          }
          return k;
        },
        &hits);
    report("  rBuffer::find (from the file)", mb, t, hits);
    t = seconds(
        [&] {
          FILE* out = fopen("/dev/null", "wb");
          rBuffer rb(file.c_str(), "");
          long k = 0;
          while (rb.find(0, needle, out)) {
            ++k;
            fwrite(needle, 1, n, out);
            rb.a += n;
          }
          fclose(out);
          return k;
        },
        &hits);
    report("  rBuffer::find copying to /dev/null", mb, t, hits);
    t = seconds(
        [&] {
          long k = 0;
          const char* p = text.data();
          const char* end = p + text.size();
          while (const void* q = memmem(p, end - p, needle, n)) {
            ++k;
            p = static_cast<const char*>(q) + n;
          }
          return k;
        },
        &hits);
    report("  memmem (in memory)", mb, t, hits);
    t = seconds(
        [&] {
          long k = 0;
          std::string_view v(text);
          for (size_t p = v.find(needle); p != v.npos; p = v.find(needle, p + n)) ++k;
          return k;
        },
        &hits);
    report("  std::string_view::find (in memory)", mb, t, hits);
    printf("\n");
  }

  str_set set("stops");
  for (const char* k : stops) set.insert(k);
  printf("set of %zu strings\n", sizeof stops / sizeof *stops);
  double t = seconds(
      [&] {
        rBuffer rb(file.c_str(), "");
        long k = 0;
        while (str_el* el = rb.find(0, set, nullptr)) {
          ++k;
          rb.a += el->L;
        }
        return k;
      },
      &hits);
  report("  rBuffer::find( str_set ) (from the file)", mb, t, hits);
  t = seconds(
      [&] {
        long k = 0;
        const char* p = text.c_str();
        const char* end = p + text.size();
        while (p < end) {
          str_el* el = set.first_at[(unsigned char)*p] ? set.find_prefix(p, 0) : nullptr;
          if (el) {
            ++k;
            p += el->L;
          } else {
            ++p;
          }
        }
        return k;
      },
      &hits);
  report("  first_at table + find_prefix (in memory)", mb, t, hits);
  t = seconds(
      [&] {
        long k = 0;
        std::string_view v(text);
        for (const char* s : stops)
          for (size_t p = v.find(s); p != v.npos; p = v.find(s, p + 1)) ++k;
        return k;
      },
      &hits);
  report("  string_view::find, one pass a string (memory)", mb, t, hits);
  return 0;
}
