// The commands that the command runner does itself instead of starting a
// program: file work (copy, xcopy, cptree, del, type, mkdir, rmdir, rm, mv,
// cp, cat), text tools (echo, sort, grep, tail, diffsm), listings (dir,
// wfind, jaco cat), pictures (bmp2png), attributes (attrib), and the words
// that stand for window and process work, which do nothing here.
#pragma once

#include <string>
#include <vector>

#include "runtime/command_line.h"

class builtins {
 public:
  struct io {
    int in, out, err;
  };
  using args = std::vector<command_line::word>;
  // Runs one built-in; `a[0]` is the command word.  Returns the exit status.
  typedef int (*fn)(const args& a, io& io);

  // The built-in for a command (its word compared without regard to case),
  // or null when a program is to be started.
  static fn find(const args& a);
  // Tools whose absence never fails a run.
  static bool optional_tool(const args& a);
  // A word that names a page, a script or a document to open for a person:
  // nothing happens.
  static bool opens_for_person(const std::string& word);

  // A path argument as the system sees it ("\" as "/", "NUL" as the null
  // device, the drive-like temporary names mapped).
  static std::string path_of(const std::string& w);
  // Paths of a file argument: wildcards expanded, sorted per folder; a
  // pattern without a match stays as it is.
  static std::vector<std::string> expand(const std::string& w);
  // A grep pattern: "\" before one of ".[]*^$\+?(){}|" stands for that
  // character, so "\.xml" is the text ".xml".
  static std::string fixed_pattern(const std::string& w);

  // The program's own code web ("j2h <root>"), run in-process.  The layer
  // that builds code webs registers it at program start; this layer only
  // keeps the pointer.  It gets the words behind "j2h", prints to the
  // console itself and returns the exit status.
  typedef int (*code_web_fn)(const std::vector<std::string>& words);
  static void set_code_web(code_web_fn f);
  static code_web_fn code_web();
};
