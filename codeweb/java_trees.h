// What a Java page reader fills: the rows of the code web's trees, the
// counters totalled over all pages, the list of main() methods and of
// customised files.  The code web driver implements `put` and `get` over its
// Btrees; tests implement them over maps.  Keys and data are the text forms
// the relation and report pages read:
//   classes   "%s+%s+%i+%i" package, class, neLoCode, LoComm -> the class list row
//   packages  package name with dots -> ""
//   defs      "%i.%s" running number, class name -> "%s~%s" page, package
//   imports   "<imported name>/<package>" -> page
//   supers    "<class>~<superclass or interface>" -> "-- class" | "-- interface" | "-- abstract class"
//   secs      class name, or "<class> :: <method>" -> "<page>#<anchor>"
//   kinds     full class name ("A . B" when nested) -> "-- class" ...
//   names     class name, with and without its "<...>" part -> its number as text
#pragma once

#include <string>

#include "codeweb/page_texts.h"
#include <vector>

enum class jtree { classes, packages, defs, imports, supers, secs, kinds, names };

struct java_main {
  std::string link;  // "<page>#m<i>"
  std::string cls;   // full class name
  std::string path;  // source path as shown
};

struct java_trees {
  static constexpr int max_mains = 1000;  // main() methods of one code web (mNr)
  static constexpr int etoc = 100000;     // table-of-contents entries of one page

  virtual ~java_trees() = default;
  virtual void put(jtree tree, const std::string& key, const std::string& data) = 0;
  // False when the key is not there.
  virtual bool get(jtree tree, const std::string& key, std::string* data) = 0;
  // The text of each string literal of a page, for the web's search of
  // script functions used in strings.
  virtual void string_used(const std::string& text) {}

  // Texts of every code page: the page head and the title table around a
  // title.
  std::string page_head = page_texts::head;
  std::string title_head = page_texts::title_head;
  std::string title_tail = page_texts::title_tail;

  // Titles of the know-how pages: titles[i - 1] is the title of tip<i>.htm.
  std::vector<std::string> tips;
  // The source root begins with ".": the package check of the path is off.
  bool dotted_root = false;

  // Totals over all pages.
  long neLoCode = 0;
  long LoComm = 0;
  int slots = 0;      // custom code slots
  int name_count = 0; // last number given by the class name numbering
  int def_count = 0;  // running number of the defs rows
  std::vector<java_main> mains;
  std::vector<std::string> customised;  // "[ %4i LOC ] %3i %s"
};
