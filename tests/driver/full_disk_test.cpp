// A build step on a disk that fills: the run ends with one clear report and
// status 1, and every file the step writes is the good file of the run
// before, the new one, or a whole file that a step of the failing run wrote
// (a work file between two steps), never a half-written one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "driver/brelmot.h"
#include "runtime/exec_ut.h"
#include "runtime/run_end.h"
#include "tests/fault_os.h"
#include "tests/test_util.h"

namespace fs = std::filesystem;
using testutil::count_of;
using testutil::read_file;
using testutil::write_file;

namespace {

const char snapshot[] =
    "<html><head><meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">\n"
    "<title>T</title>\n</head>\n<body lang=EN-GB><div class=Section1>\n<h1>1 Intro</h1>\n"
    "<p class=MsoNormal>The desk keeps C_Customer records and their orders.</p>\n"
    "<h1>2 Orders</h1>\n<p class=MsoNormal>An order names a customer.</p>\n</div></body></html>\n";

// Every file below the current folder with its text.
std::map<std::string, std::string> files_here() {
  std::map<std::string, std::string> m;
  for (const auto& e : fs::recursive_directory_iterator("."))
    if (e.is_regular_file()) m[e.path().string()] = read_file(e.path().string());
  return m;
}

void restore(const std::map<std::string, std::string>& files) {
  for (const auto& [name, text] : files_here())
    if (!files.count(name)) fs::remove(name);
  for (const auto& [name, text] : files) write_file(name, text);
}

// The program's entry, in this process: its status and what it printed.
int run_entry(std::vector<std::string> args, std::string* out) {
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  testing::internal::CaptureStdout();
  int status;
  try {
    status = brelmot_main((int)args.size(), argv.data());
  } catch (const run_end& end) {
    status = end.status;
  }
  *out = testing::internal::GetCapturedStdout();
  exut.reset_after_failure();
  return status;
}

void configuration(const char* title) {
  write_file("web.conf", std::string("-w xs_Web\n-? 1=./\n-e 1/a.rtf\n   ") + title + "\n--\n");
}

}  // namespace

TEST(FullDiskBuild, ConfigurationCheckEndsWithOneReportAndNoHalfFile) {
  testutil::TempDir tmp;
  std::string old_path = getenv("PATH");
  setenv("PATH", (fs::path(BRELMOT_EXE).parent_path().string() + ":" + old_path).c_str(), 1);
  write_file("a.rtf", "{\\rtf1 x}\n");
  write_file("publish/a.htm", snapshot);
  std::string out;

  // The run before leaves good files; the next run would write other ones.
  configuration("Alpha");
  run_entry({"brelmot", "web.conf", "?"}, &out);
  ASSERT_EQ(out.find("fatal error"), std::string::npos) << out;
  const auto before = files_here();
  configuration("Beta Gamma Delta");
  fault_os counting;
  {
    fault_scope on(counting);
    run_entry({"brelmot", "web.conf", "?"}, &out);
  }
  ASSERT_EQ(out.find("fatal error"), std::string::npos) << out;
  const auto after = files_here();
  ASSERT_GT(counting.written, 2000) << out;

  // The same run on a disk that fills half way.
  restore(before);
  configuration("Beta Gamma Delta");
  fault_os full;
  full.space = counting.written / 2;
  int status;
  {
    fault_scope on(full);
    status = run_entry({"brelmot", "web.conf", "?"}, &out);
  }
  setenv("PATH", old_path.c_str(), 1);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(count_of(out, "cannot write "), 1) << out;
  EXPECT_NE(out.find("No space left on device"), std::string::npos) << out;
  for (const auto& [name, text] : files_here()) {
    EXPECT_EQ(name.find(".~"), std::string::npos) << name;
    bool old_one = before.count(name) && before.at(name) == text;
    bool new_one = after.count(name) && after.at(name) == text;
    bool whole = full.put_in_place.count(name) && full.put_in_place.at(name).count(text);
    EXPECT_TRUE(old_one || new_one || whole) << name << " was left half written";
  }
}
