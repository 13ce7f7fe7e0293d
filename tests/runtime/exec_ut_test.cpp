// The failure model: the report's form, error names, show operations.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include "runtime/exec_ut.h"
#include "runtime/signals.h"
#include "runtime/standard.h"

namespace {

std::string fail_and_capture(const char* text, int line, const char* file, std::string* thrown) {
  testing::internal::CaptureStdout();
  try {
    if (text) exut.add("%s", text);
    exut.throw_error(line, file);
  } catch (const char* report) {
    *thrown = report;
  }
  std::string out = testing::internal::GetCapturedStdout();
  exut.reset_after_failure();
  return out;
}

TEST(ExecUt, ReportNamesLineFileAndMessageAndEmptiesIt) {
  std::string thrown;
  errno = err::not_found;
  std::string out = fail_and_capture("User: Not a path: x", 42, "safe_uts", &thrown);
  EXPECT_NE(out.find("\n\nfatal error 42.safe_uts, call_nr = "), std::string::npos) << out;
  EXPECT_NE(out.find(", errno = 502, "), std::string::npos) << out;
  EXPECT_NE(out.find("[\n\nUser: Not a path: x\n\n]"), std::string::npos) << out;
  // The thrown text is the header; the message has been emptied.
  EXPECT_EQ(thrown, "\n\nerror --> ");
  EXPECT_STREQ(checkpoint, "exec_ut :: throw_error");
}

TEST(ExecUt, EmptyMessageReportsFaultyCode) {
  std::string thrown;
  std::string out = fail_and_capture(nullptr, 7, "x", &thrown);
  EXPECT_NE(out.find("[\n\nfaulty code\n\n]"), std::string::npos) << out;
}

TEST(ExecUt, MessagesCollectBeforeTheFailure) {
  exut.add("first line\n");
  exut.add("second %i\n", 2);
  EXPECT_STREQ(exut.msg, "first line\nsecond 2\n");
  EXPECT_EQ(std::string(exut.report()), "\n\nerror --> first line\nsecond 2\n");
  exut.clear_msg();
}

TEST(ExecUt, MessageBufferNeverOverflows) {
  std::string big(10000, 'x');
  exut.add("%s", big.c_str());
  exut.add("%s", big.c_str());
  EXPECT_LT(strlen(exut.msg), (size_t)ExecUt::msg_size);
  exut.clear_msg();
}

TEST(ExecUt, ErrorNames) {
  EXPECT_STREQ(exut.err_name(543), "not_yet_created");
  EXPECT_STREQ(exut.err_name(509), "NULL_pointer");
  EXPECT_STREQ(exut.err_name(0), "ok");
  // Library codes give the library's text, never the shadowed table names.
  EXPECT_STREQ(exut.err_name(20), strerror(20));
  EXPECT_STRNE(exut.err_name(20), "no_such_dir");
  // The library may free its text of an unknown code at its next call: the
  // name must stay as it was while the library is asked again.
  const char* unknown = exut.err_name(16385);
  std::string library = strerror(16385);
  EXPECT_EQ(unknown, library);
  errno = 77;
  EXPECT_STREQ(exut.err_name(-1), "unspecified errno: 77");
  errno = 0;
}

TEST(ExecUt, ErrorCountsAndGoesOn) {
  int before = exut.errors;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  exut.ERROR("bad line");
  std::string out = testing::internal::GetCapturedStdout();
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(exut.errors, before + 1);
  EXPECT_EQ(out, "\nERROR: bad line\n");
  EXPECT_EQ(err, "\nERROR: bad line\n");
}

TEST(ExecUt, ShowOperationsBoundTheirOutput) {
  testing::internal::CaptureStdout();
  std::string big(500, 'a');
  exut.show_str("name", big.c_str());
  exut.show_str("nul", nullptr);
  exut.show_int("c", 'A');
  exut.show_int("n", 1000);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("\nname = [" + std::string(200, 'a') + " ... \n"), std::string::npos);
  EXPECT_EQ(out.find(std::string(201, 'a')), std::string::npos);
  EXPECT_NE(out.find("\nnul = [( null )]\n"), std::string::npos);
  EXPECT_NE(out.find("\nc = 'A' = 65"), std::string::npos);
  EXPECT_NE(out.find("\nn = 1000"), std::string::npos);
}

TEST(ExecUt, ShowMemReplacesNulAndCuts) {
  unsigned saved = call_nr;
  int saved_from = show_from;
  show_from = 0;
  call_nr = 10;
  char mem[300];
  memset(mem, 'b', sizeof mem);
  mem[3] = 0;
  testing::internal::CaptureStdout();
  exut.show_mem("m", mem, 300);
  std::string out = testing::internal::GetCapturedStdout();
  call_nr = saved;
  show_from = saved_from;
  EXPECT_NE(out.find("m = ...[bbb?" + std::string(226, 'b') + "]...\n"), std::string::npos) << out;
}

TEST(Standard, DefaultsFailWithTheirCodes) {
  standard s;
  EXPECT_EQ(s.code(), 543);
  EXPECT_STREQ(s.text(), "not yet created");
  testing::internal::CaptureStdout();
  EXPECT_THROW(s.check(), const char*);
  EXPECT_EQ(errno, err::no_check_method);
  EXPECT_THROW(s.trace("x", stdout), const char*);
  EXPECT_EQ(errno, err::no_trace_method);
  EXPECT_THROW(s.out("x", stdout), const char*);
  EXPECT_EQ(errno, err::no_out_method);
  testing::internal::GetCapturedStdout();
  exut.reset_after_failure();
}

TEST(TextBasics, StartsWithAndReplaceChar) {
  EXPECT_TRUE(starts_with("showComm.x", "showComm."));
  EXPECT_FALSE(starts_with("show", "showComm."));
  EXPECT_TRUE(starts_with("abc", ""));
  EXPECT_TRUE(starts_with_nocase("ShowCOMM", "showcomm"));
  char s[] = "a/b/c";
  EXPECT_EQ(replace_char(s, '/', '\\'), 2);
  EXPECT_STREQ(s, "a\\b\\c");
  char e[] = "";
  EXPECT_EQ(replace_char(e, 'a', 'b'), 0);
  testing::internal::CaptureStdout();
  EXPECT_THROW(replace_char(nullptr, 'a', 'b'), const char*);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(errno, err::NULL_pointer);
  exut.reset_after_failure();
}

}  // namespace

namespace {

// A hard fault ends in the failure path: the report names the signal's code,
// and the process ends with status 1 instead of dumping core.
void fault_with(int sig) {
  fflush(stdout);
  dup2(2, 1);  // the report goes to standard output; let the death test see it
  install_signal_handlers();
  raise(sig);
}

TEST(SignalsDeathTest, HardFaultsEndInTheReport) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(fault_with(SIGSEGV), testing::ExitedWithCode(1),
              "fatal error 27.signals, call_nr = [0-9]+, errno = 548");
  EXPECT_EXIT(fault_with(SIGTERM), testing::ExitedWithCode(1), "errno = 549");
  EXPECT_EXIT(fault_with(SIGFPE), testing::ExitedWithCode(1), "errno = 546");
  EXPECT_EXIT(fault_with(SIGABRT), testing::ExitedWithCode(1), "errno = 545");
  EXPECT_EXIT(fault_with(SIGBUS), testing::ExitedWithCode(1), "errno = 550");
}

}  // namespace
