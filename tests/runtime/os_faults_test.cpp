// The toolbox on a system that fails: a disk that fills, reads that come in
// pieces, calls interrupted by signals, a rename that fails.  What a user
// must see: one clear report naming the file, the good file of before still
// in place, and no half-written file left behind.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "runtime/file_ops.h"
#include "runtime/os_stream.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "tests/fault_os.h"
#include "tests/test_util.h"

using testutil::failure_of;
using testutil::count_of;
using testutil::read_file;
using testutil::TempDir;
using testutil::write_file;

namespace {

std::vector<std::string> names_here() { return file_ops::list("."); }

// Lines with CR LF, lone CRs and a Ctrl-Z near the end.
std::string crlf_text(size_t size) {
  std::string t;
  for (int i = 0; t.size() < size; i++) t += "line " + std::to_string(i) + (i % 5 ? "\r\n" : "\r");
  return t + "\x1a" "hidden";
}

std::string folded(const std::string& raw) {
  std::string t;
  for (size_t i = 0; i < raw.size() && raw[i] != 26; i++)
    if (!(raw[i] == '\r' && i + 1 < raw.size() && raw[i + 1] == '\n')) t += raw[i];
  return t;
}

}  // namespace

TEST(FullDisk, AFileWrittenWholeKeepsItsGoodText) {
  TempDir t;
  write_file("page.htm", "good old text\n");
  fault_os sys;
  sys.space = 100;
  std::string out;
  {
    fault_scope on(sys);
    out = failure_of([] { safe_ut.write_text("page.htm", std::string(5000, 'x')); });
    // A file that did not exist is not left half-written either.
    failure_of([] { safe_ut.write_text("new.htm", std::string(5000, 'y')); });
  }
  EXPECT_NE(out.find("cannot write page.htm: No space left on device"), std::string::npos) << out;
  EXPECT_EQ(count_of(out, "cannot write"), 1) << out;
  EXPECT_EQ(read_file("page.htm"), "good old text\n");
  EXPECT_EQ(names_here(), std::vector<std::string>{"page.htm"});
}

TEST(FullDisk, EveryWriterIsCaughtAndReportedOnce) {
  TempDir t;
  write_file("list.txt", "old list\n");
  fault_os sys;
  sys.space = 20000;
  std::string out;
  {
    fault_scope on(sys);
    // Formatted writes do not look at what they return: the close does.
    FILE* f = safe_ut.create("list.txt");
    for (int i = 0; i < 20000; i++) fprintf(f, "line %d of the list\n", i);
    out = failure_of([&] { safe_ut.close_FILE(&f, "test", __LINE__); });
    EXPECT_EQ(f, nullptr);
    EXPECT_EQ(count_of(out, "cannot write list.txt"), 1) << out;
    EXPECT_EQ(read_file("list.txt"), "old list\n");
    // A checked write reports at once; its close does not report again.
    sys.space = 100;
    FILE* g = safe_ut.create("list.txt");
    out = failure_of([&] { safe_ut.write_FILE(g, std::string(100000, 'z').data(), 100000); });
    testing::internal::CaptureStdout();
    safe_ut.close_FILE(&g, "test", __LINE__);
    out += testing::internal::GetCapturedStdout();
  }
  EXPECT_EQ(count_of(out, "cannot write list.txt"), 1) << out;
  EXPECT_EQ(read_file("list.txt"), "old list\n");
  EXPECT_EQ(names_here(), std::vector<std::string>{"list.txt"});
}

TEST(FullDisk, CopiesAndRenamesThatFailKeepTheOldFile) {
  TempDir t;
  write_file("src", std::string(200000, 's'));
  write_file("dst", "old copy\n");
  write_file("kept", "kept text\n");
  fault_os sys;
  std::string out;
  {
    fault_scope on(sys);
    sys.space = 1000;
    EXPECT_EQ(safe_ut.system_plain("copy src dst 2> NUL"), 1);
    failure_of([] { safe_ut.copy_file("dst", "src"); });
    // The text was written, but it cannot be put in place.
    sys.space = -1;
    sys.rename_errno = EIO;
    out = failure_of([] { safe_ut.write_text("kept", "new text\n"); });
  }
  EXPECT_EQ(read_file("dst"), "old copy\n");
  EXPECT_NE(out.find("cannot write kept: Input/output error"), std::string::npos) << out;
  EXPECT_EQ(read_file("kept"), "kept text\n");
  EXPECT_EQ(names_here(), (std::vector<std::string>{"dst", "kept", "src"}));
}

TEST(FullDisk, SpaceThatCannotBeReservedIsAFailure) {
  TempDir t;
  fault_os sys;
  sys.space = 4096;
  int fd = safe_ut.open_fd("pages", 'c', 'B');
  std::string out;
  {
    fault_scope on(sys);
    safe_ut.reserve_fd(fd, 0, 4096);
    out = failure_of([&] { safe_ut.reserve_fd(fd, 4096, 4096); });
  }
  errno = 0;
  safe_ut.close_fd(&fd, "test", __LINE__);
  EXPECT_NE(out.find("cannot reserve 4096 bytes at 4096"), std::string::npos) << out;
  EXPECT_EQ(safe_ut.file_size("pages"), 4096);
}

TEST(Interrupted, ReadsAndWritesAreCompleteAnyway) {
  TempDir t;
  const std::string raw = crlf_text(300000);
  write_file("t", raw);
  fault_os sys;
  sys.read_piece = 7;
  sys.interrupt = true;
  fault_scope on(sys);
  // Text reads, through a handle, a stream and the scanner buffer.
  EXPECT_EQ(safe_ut.read_text("t"), folded(raw));
  FILE* f = safe_ut.open_FILE("t", "r");
  std::string s;
  char buf[1000];
  for (size_t n; (n = fread(buf, 1, sizeof buf, f)) > 0;) s.append(buf, n);
  safe_ut.close_FILE(&f, "test", __LINE__);
  EXPECT_EQ(s, folded(raw));
  {
    rBuffer rb("t", "");
    FILE* out = safe_ut.create("scanned");
    rb.copy_rest(out);
    safe_ut.close_FILE(&out, "test", __LINE__);
  }
  EXPECT_EQ(read_file("scanned"), folded(raw) + "\n");
  // Binary copies and writes.
  safe_ut.copy_file("c", "t");
  EXPECT_EQ(read_file("c"), raw);
  safe_ut.write_text("w", raw);
  EXPECT_EQ(read_file("w"), raw);
  char rec[5] = {0};
  int fd = safe_ut.open_fd("c", 'r', 'B');
  safe_ut.read_at(fd, 0, 1, 4, rec);
  safe_ut.close_fd(&fd, "test", __LINE__);
  EXPECT_EQ(std::string(rec), raw.substr(4, 4));
  EXPECT_GT(sys.interrupts, 100);
}

// Two builds that share an installation probe the same folder at once: the
// other one's probe file appears between the look and the create.  The
// folder is writable, so neither build may fail.
TEST(SharedFolder, AProbeOfAnotherProcessIsNoFailure) {
  struct racing_os : fault_os {
    int open(const char* path, int flags, mode_t mode) override {
      std::string p = path;
      if ((flags & O_EXCL) && p.size() > 2 && p.compare(p.size() - 2, 2, "/_") == 0)
        write_file(p, "");  // the other process's probe, just made
      return fault_os::open(path, flags, mode);
    }
  };
  TempDir t;
  safe_ut.ensure_dir("inst/xs_/Web");
  racing_os sys;
  bool failed = false;
  {
    fault_scope on(sys);
    try {
      safe_ut.ensure_dir("inst/xs_/Web");
    } catch (const char*) {
      failed = true;
      exut.reset_after_failure();
    }
  }
  EXPECT_FALSE(failed);
}
