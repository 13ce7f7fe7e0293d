// The scanner buffer and string sets on fuzzed text: a text opened from a
// file (or given in memory) is searched with strings and with a set built
// from part of the input, tags are closed, values read, windows moved.
// Where the whole rest of the text stands in the window, every hit is
// compared with a plain search of the window.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <memory>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/rbuffer.h"
#include "runtime/str_set.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

const char* const conversions[] = {nullptr,        "two_chars",   "schmutz",      "ohne_CR",
                                   "rtf_chars",    "mae_to_rtf",  "mae_nach_win", "mae_to_msHtm",
                                   "win_nach_mae", nullptr};

struct Run {
  rBuffer& rb;
  str_set& set;
  std::vector<std::string>& words;  // search texts, none empty
  FILE* out;
  std::vector<std::string> elements;  // of the set

  std::string_view window() const { return {rb.z, (size_t)rb.e}; }

  void check_window(const char* op) const {
    if (rb.a < rb.low || rb.a > rb.e || rb.e < 0 || rb.e > rb.capacity)
      fuzz::finding("window out of order after", std::string(op) + " a=" + std::to_string(rb.a) +
                                                     " e=" + std::to_string(rb.e));
  }

  // find with a text: the hit stands at `a` and is the first one behind the
  // start; with the whole rest in the window that is checked exactly.
  void find_text(int skip, const std::string& w) {
    bool whole = rb.ateof;
    size_t from = (size_t)rb.a + skip;
    size_t want = whole ? window().find(w, from) : std::string_view::npos;
    char* p = rb.find(skip, w.c_str(), out);
    if (p && memcmp(p, w.data(), w.size()) != 0) fuzz::finding("find: hit is not the text", w);
    if (!whole) return;
    if (!p && want != std::string_view::npos)
      fuzz::finding("find: missed a hit at", std::to_string(want));
    if (p && (size_t)(p - rb.z) != want)
      fuzz::finding("find: hit not the first one", std::to_string(p - rb.z));
  }

  // The first position from the start at which an element of the set
  // stands whole in the window.
  size_t first_element(size_t from) const {
    std::string_view v = window();
    for (size_t i = from; i < v.size(); i++)
      for (const std::string& w : elements)
        if (v.compare(i, w.size(), w) == 0) return i;
    return std::string_view::npos;
  }

  void find_set(int skip) {
    bool whole = rb.ateof;
    size_t want = whole ? first_element((size_t)rb.a + skip) : std::string_view::npos;
    str_el* el = rb.find(skip, set, out);
    if (el && memcmp(rb.z + rb.a, el->k, el->L) != 0)
      fuzz::finding("find( set ): element does not stand at a", el->k);
    if (!whole) return;
    if (!el && want != std::string_view::npos)
      fuzz::finding("find( set ): missed a hit at", std::to_string(want));
    if (el && (size_t)rb.a != want)
      fuzz::finding("find( set ): hit not the first one", std::to_string(rb.a));
  }
};

void step(Run& r, FuzzedDataProvider& in) {
  rBuffer& rb = r.rb;
  const std::string& w = r.words[in.ConsumeIntegralInRange<size_t>(0, r.words.size() - 1)];
  int left = std::max(0, rb.e - rb.a);
  int skip = std::min(in.ConsumeIntegralInRange(0, 4), left);
  const std::string& w2 = r.words[(&w - r.words.data() + 1) % r.words.size()];
  char* at = rb.z + rb.a + in.ConsumeIntegralInRange(0, left);
  switch (in.ConsumeIntegralInRange(0, 19)) {
    case 0: r.find_text(skip, w); break;
    case 1: if (!r.elements.empty()) r.find_set(skip); break;
    // A start past the window must be refused, not searched from.
    case 2: rb.tag_end(in.ConsumeIntegralInRange(-2, left + 16), at, w.c_str()); break;
    case 3: rb.value_of(w.c_str(), "", "?"); break;
    case 4: rb.s_to_not_Blank(skip, r.out, in.ConsumeBool() ? '\n' : w[0] == ' ' ? '<' : w[0]); break;
    case 5: rb.skip_comment(r.out); break;
    case 6: if (rb.s >= rb.a) rb.advance(r.out); break;
    case 7: rb.copy_rest(r.out); break;
    case 8: case 9:
    case 10: rb.fill(in.ConsumeIntegralInRange(-1, 70000)); break;
    case 11:
    case 12:
      rb.keep(&at, in.ConsumeIntegralInRange(0, 9000));
      if (at < rb.z + rb.low || at > rb.z + rb.e) fuzz::finding("keep lost the position");
      break;
    case 13: rb.more(in.ConsumeIntegralInRange(0, 100)); break;
    case 14: rb.find3(r.out, w.c_str(), w2.c_str(), w.c_str()); break;
    case 15: rb.write_to(at, r.out); break;
    case 16: case 17: rb.find(skip, w.c_str(), r.out); break;
    case 18: rb.syntax_error(w.c_str(), rb.z + rb.a, at); break;
    default: rb.convert(conversions[1 + in.ConsumeIntegralInRange(0, 7)], rb.a); break;
  }
}

// A set from part of the input; the set's own answers are checked against a
// std::set on the way.
void make_set(str_set& set, std::vector<std::string>& elements, FuzzedDataProvider& in) {
  std::set<std::string> model;
  int n = in.ConsumeIntegralInRange(0, 8);
  for (int i = 0; i < n; i++) {
    std::string k = in.ConsumeRandomLengthString(24).c_str();
    if (k.empty()) continue;
    if (!model.count(k)) set.insert(k.c_str());
    model.insert(k);
  }
  if (!model.empty() && in.ConsumeBool()) {
    std::string gone = *model.begin();
    if (set.remove(gone.c_str()) != 1) fuzz::finding("str_set: remove missed", gone);
    model.erase(gone);
  }
  for (const std::string& k : model) {
    str_el* el = set.find_el(k.c_str());
    if (!el || el->L != (int)k.size() || strcmp(el->k, k.c_str()) != 0)
      fuzz::finding("str_set: element not found", k);
  }
  if (set.count() != (int)model.size()) fuzz::finding("str_set: count differs");
  elements.assign(model.begin(), model.end());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  const uint8_t mode = in.ConsumeIntegral<uint8_t>();
  const int repeat = 1 << in.ConsumeIntegralInRange(0, 6);
  str_set set("fuzz");
  std::vector<std::string> elements;
  make_set(set, elements, in);
  std::vector<std::string> words;
  for (int i = 0; i < 3; i++) {
    std::string wd = in.ConsumeRandomLengthString(16).c_str();
    if (!wd.empty()) words.push_back(wd);
  }
  words.push_back("\n");
  std::vector<uint8_t> ops = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 40));
  std::string text = in.ConsumeRemainingBytesAsString();

  FILE* out = fopen("/dev/null", "wb");
  fuzz::accepted([&] {
    // A pair of texts in the window, or a text or file opened.
    std::unique_ptr<rBuffer> pair;
    if ((mode & 0xa0) == 0xa0)
      pair = std::make_unique<rBuffer>(text.c_str(), words[0].c_str(), mode & 1);
    rBuffer plain;
    rBuffer& rb = pair ? *pair : plain;
    Run r{rb, set, words, out, elements};
    if (pair) {
    } else if (mode & 32) {
      rb.scan_text(text.data(), (int)text.size(), mode & 64 ? "\n" : "");
    } else {
      // A file of the text repeated, read through a conversion.
      std::string file;
      for (int i = 0; i < repeat; i++) file += text;
      fuzz::write_file("t.txt", file.data(), file.size());
      rb.conv = conversions[mode % 10];
      rb.mae = mode & 16;
      rb.open_file("t.txt", mode & 64 ? "\n" : "");
    }
    r.check_window("open");
    FuzzedDataProvider op(ops.data(), ops.size());
    while (op.remaining_bytes() > 0) {
      step(r, op);
      r.check_window("step");
    }
  });
  fclose(out);
  return 0;
}
