// "brelmot pub_alle", the rebuild of a fixed list of webs, and the
// configuration word "update", the command reference of the installation.
//
// pub_alle starts this same program (the running executable, not whatever
// "brelmot" PATH finds) once for each web, through the command runner:
// no shell, its output in "x_<web>".  update copies the running executable
// into the installation; the sources are packed only when the packers
// "uses" and "zipe" are on PATH, else one line says so and the update goes
// on.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "driver/folders.h"
#include "runtime/builtins.h"
#include "runtime/exec_ut.h"
#include "runtime/file_ops.h"
#include "runtime/os_env.h"
#include "runtime/safe_uts.h"

namespace folders {

namespace {

const char* const SRC = "folder_webs";

// The webs of "pub_alle", in the order they are built; the portal of the
// third is opened at the end.
const char* const webs[] = {"Lumerado", "KOBEL", "TARN", "VELT", "oMinz", "J2EE"};

// The running executable.
std::string own_program() {
  char buf[4096];
  ssize_t n = os().readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n > 0) return std::string(buf, (size_t)n);
  std::string p = program_name ? safe_ut.find_on_path(program_name) : "";
  if (p.empty()) exut.fail(__LINE__, SRC, "System: cannot find the running program\n");
  return p;
}

// The last lines of a file on the console, as "tail -<n> <file>" shows them.
void show_tail(const std::string& file, int n) {
  printf("\nsystem: tail -%i %s\n", n, file.c_str());
  fflush(stdout);
  builtins::args a = {{"tail"}, {"-" + std::to_string(n)}, {file, true}};
  builtins::io io{-1, 1, 2};
  if (builtins::fn tail = builtins::find(a)) tail(a, io);
}

void pub_web(const std::string& self, const char* name) {
  printf("\npub %s\n", name);
  std::string out = std::string("x_") + name;
  printf("\nsystem: brelmot wconf%s - > %s\n", name, out.c_str());
  // "+": the line above is what the user reads; the runner gets the path.
  snprintf(comm_buf, sizeof comm_buf, "+\"%s\" wconf%s - > %s", self.c_str(), name, out.c_str());
  safe_ut.system(comm_buf);
  show_tail(out, 12);
  printf("\n\no k  -  see results in xs_%s\n", name);
}

void copy_or_fail(const std::string& from, const std::string& to) {
  if (!file_ops::copy_file(from, to))
    exut.fail(__LINE__, SRC, "System: cannot copy: %s --> %s\n", from.c_str(), to.c_str());
}

// The sources packed by the outside packers, when both are there.
void pack_sources(const std::string& inst) {
  if (safe_ut.find_on_path("uses").empty() || safe_ut.find_on_path("zipe").empty()) {
    printf("\nuses or zipe not on PATH: the sources are not packed\n");
    return;
  }
  safe_ut.system("uses brelmot sources && zipe sources");
  std::string src = inst + "/src";
  printf("\nsystem: copy sources.zip %s\n", src.c_str());
  if (kind_of("sources.zip") != 'f') {
    printf("\nnot found: sources.zip\n");
    return;
  }
  file_ops::make_dirs(src);
  copy_or_fail("sources.zip", src + "/sources.zip");
}

}  // namespace

int pub_alle() {
  std::string self = own_program();
  for (const char* name : webs) pub_web(self, name);
  snprintf(comm_buf, sizeof comm_buf, "xs_%s/1/1.htm", webs[2]);
  safe_ut.system(comm_buf);
  fflush(stdout);
  return 0;
}

bool sample_text(const std::string& text, std::string* out) {
  size_t at = text.find("/*");
  if (at == std::string::npos) return false;
  at += 2;
  for (int k = 0; k < 2 && at <= text.size(); k++) {
    size_t nl = text.find('\n', at);
    at = nl == std::string::npos ? text.size() + 1 : nl + 1;
  }
  if (at > text.size()) {
    out->clear();
    return true;
  }
  size_t end = text.find("\n--", at);
  *out = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
  return true;
}

void command_ref(const std::string& inst) {
  std::string doc = inst + "/doc";
  std::string samples[2];
  for (int i = 0; i < 2; i++) {
    std::string from = "wconfMuster_" + std::to_string(i + 1);
    if (safe_ut.ok_is_a(from.c_str()) != 'f') exut.fail(__LINE__, SRC, "User: no such file: %s", from.c_str());
    if (!sample_text(safe_ut.read_text(from.c_str()), &samples[i]))
      exut.fail(__LINE__, SRC, "User: %s has no comment block \"/*\"", from.c_str());
    file_ops::make_dirs(doc);
    safe_ut.write_text((doc + "/sample_" + std::to_string(i + 1)).c_str(), samples[i]);
  }
  pack_sources(inst);
  std::string self = own_program(), to = inst + "/" + file_ops::base(self);
  printf("\nsystem: copy %s %s\n", self.c_str(), inst.c_str());
  struct stat a, b;
  bool same = os().stat(self.c_str(), &a) == 0 && os().stat(to.c_str(), &b) == 0 &&
              a.st_dev == b.st_dev && a.st_ino == b.st_ino;
  if (!same) copy_or_fail(self, to);
  printf("\nsystem: copy %s/sample_1 + %s/sample_2 %s/commands\n", doc.c_str(), doc.c_str(), doc.c_str());
  safe_ut.write_text((doc + "/commands").c_str(), samples[0] + samples[1]);
  printf("\no k  -  Installation %s updated.\n", inst.c_str());
  fflush(stdout);
}

}  // namespace folders
