// Text mode: the same text however the raw bytes are cut into blocks, with
// the cases that live at a block's edge: CR at the end of one block and LF at
// the start of the next, CR at the very end, Ctrl-Z inside a block and in a
// later one.
#include "runtime/text_mode.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// What the text of `raw` is, byte by byte, with no blocks at all.
std::string reference(const std::string& raw) {
  std::string t;
  for (size_t i = 0; i < raw.size(); i++) {
    if (raw[i] == 26) break;
    if (raw[i] == '\r' && i + 1 < raw.size() && raw[i + 1] == '\n') continue;
    t += raw[i];
  }
  return t;
}

// Feeds the machine the given blocks, with an output room of `room` bytes
// per call, and finishes.
std::string fold_blocks(const std::vector<std::string>& blocks, size_t room) {
  text_fold m;
  std::string t;
  std::vector<char> out(room);
  for (const std::string& b : blocks) {
    size_t at = 0;
    while (at < b.size() && !m.ended()) {
      size_t used = 0;
      size_t n = m.fold(b.data() + at, b.size() - at, out.data(), room, &used);
      t.append(out.data(), n);
      at += used;
    }
  }
  size_t n = m.finish(out.data(), room);
  t.append(out.data(), n);
  return t;
}

// A reader over `raw` whose source gives at most `piece` bytes a call.
std::string read_all(const std::string& raw, size_t piece, size_t want, size_t block) {
  size_t at = 0;
  text_reader r(
      [&](char* b, size_t n) {
        size_t k = std::min({n, piece, raw.size() - at});
        raw.copy(b, k, at);
        at += k;
        return (long)k;
      },
      block);
  std::string t;
  std::vector<char> buf(want);
  for (;;) {
    long n = r.read(buf.data(), want);
    EXPECT_GE(n, 0);
    t.append(buf.data(), (size_t)n);
    if ((size_t)n < want) break;
  }
  EXPECT_TRUE(r.at_end());
  return t;
}

}  // namespace

TEST(TextMode, BlockEdges) {
  // CR ends one block, LF begins the next: one LF.
  EXPECT_EQ(fold_blocks({"ab\r", "\ncd"}, 64), "ab\ncd");
  // CR ends one block, something else begins the next: the CR stays.
  EXPECT_EQ(fold_blocks({"ab\r", "cd"}, 64), "ab\rcd");
  EXPECT_EQ(fold_blocks({"ab\r", "\r", "\n"}, 64), "ab\r\n");
  // CR at the very end of the input is a lone CR.
  EXPECT_EQ(fold_blocks({"ab\r"}, 64), "ab\r");
  EXPECT_EQ(fold_blocks({"ab\r", ""}, 64), "ab\r");
  // Ctrl-Z inside a block ends the text there; later blocks give nothing.
  EXPECT_EQ(fold_blocks({"ab\x1a" "cd", "ef"}, 64), "ab");
  // Ctrl-Z at the start of a later block; a CR held before it stays.
  EXPECT_EQ(fold_blocks({"ab\r", "\x1a" "\n"}, 64), "ab\r");
  EXPECT_EQ(fold_blocks({"ab", "c\x1a"}, 64), "abc");
}

TEST(TextMode, AFullOutputStopsAndGoesOn) {
  // Room for one byte a call: the held CR, the LF behind it and the rest
  // come out in order.
  EXPECT_EQ(fold_blocks({"a\r\nb\rc\r", "\n\x1a" "x"}, 1), "a\nb\rc\n");
  text_fold m;
  char out[2];
  size_t used = 0;
  EXPECT_EQ(m.fold("xy", 2, out, 0, &used), 0u);
  EXPECT_EQ(used, 0u);
  EXPECT_EQ(m.fold("\r", 1, out, 2, &used), 0u);  // held, nothing delivered yet
  EXPECT_TRUE(m.holding());
  EXPECT_EQ(m.finish(out, 0), 0u);  // no room: still held
  EXPECT_EQ(m.finish(out, 2), 1u);
  EXPECT_EQ(out[0], '\r');
}

TEST(TextMode, EveryCuttingGivesTheSameText) {
  const std::string raw = "l1\r\nl2\r\rl3\n\r\n\r\r\nend\r\x1a" "after\r\n";
  const std::string want = reference(raw);
  ASSERT_EQ(want, "l1\nl2\r\rl3\n\n\r\nend\r");
  for (size_t cut = 0; cut <= raw.size(); cut++)
    for (size_t cut2 = cut; cut2 <= raw.size(); cut2++)
      EXPECT_EQ(fold_blocks({raw.substr(0, cut), raw.substr(cut, cut2 - cut), raw.substr(cut2)}, 3), want)
          << cut << " " << cut2;
  // Through a reader: sources that give a few bytes at a time, small raw
  // blocks and small requests.
  for (size_t piece : {1, 2, 3, 7, 100})
    for (size_t want_n : {1, 2, 5, 64})
      for (size_t block : {1, 4, 16}) EXPECT_EQ(read_all(raw, piece, want_n, block), want);
}

TEST(TextMode, ReaderLooksAheadAndHandsOverTheRawRest) {
  // A text that fills the request exactly: the end is known without another
  // request, and a CR held at the end is not the end.
  std::string raw = "abcd";
  size_t at = 0;
  text_reader r([&](char* b, size_t n) {
    size_t k = std::min(n, raw.size() - at);
    raw.copy(b, k, at);
    at += k;
    return (long)k;
  });
  char buf[8];
  EXPECT_EQ(r.read(buf, 4), 4);
  EXPECT_TRUE(r.at_end());
  raw = "ab\r";
  at = 0;
  r.reset();
  EXPECT_EQ(r.read(buf, 2), 2);
  EXPECT_FALSE(r.at_end());
  EXPECT_EQ(r.read(buf, 8), 1);
  EXPECT_EQ(buf[0], '\r');
  // The raw rest: a held CR first, then the bytes unfolded.
  raw = "x\r\r\ny";
  at = 0;
  r.reset();
  EXPECT_EQ(r.read(buf, 1), 1);
  EXPECT_EQ(r.read(buf, 1), 1);  // the first CR, once the second showed it lone
  EXPECT_EQ(r.take_raw(buf, 8), 3);
  EXPECT_EQ(std::string(buf, 3), "\r\ny");
  // A failing source is reported once nothing can be delivered.
  text_reader bad([](char*, size_t) {
    errno = EIO;
    return -1L;
  });
  EXPECT_EQ(bad.read(buf, 4), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_FALSE(bad.at_end());
}
