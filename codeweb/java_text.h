// Text steps of a Java page that need no tree: marking default visibility
// before the tidier runs, writing one block comment, and tightening the
// finished page.
#pragma once

#include <string>
#include <vector>

// Puts "public defVis " at the head of each line that declares a method
// without visibility ("int f(int a)"), and none in front of a call
// ("f(a b)") or a constructor ("X(int a)").  A block comment that begins a
// line is copied whole and ends its line.
std::string see_default_vis(const std::string& text);

// Appends one block comment to `out`.  `text` runs from its "/*" up to, not
// including, its "*/"; `closed` tells whether the "*/" was there.  Each kept
// line goes out as "\n|<text>": star prefixes and trailing "<p>", "<br>"
// cut, "<" as "&lt;", the first letter of a paragraph capitalised, and one
// line "\n|" per blank line between two kept lines (at most 4).  A line
// "- <title>" whose title is one of `tips` links to its page tip<i>.htm.
// Adds the lines kept to `*lines`.  Returns ' ' for a closed comment, and 0
// for one that the end of the text cut.
int do_comment(std::string& out, const std::string& text, bool closed,
               const std::vector<std::string>& tips, int* lines);

// Tightens a finished page: a run of comment lines ("|" and text) becomes
// one line, a line of pipes alone stays between paragraphs; a line "{"
// (indented) is joined with the line behind it.
std::string shorter(const std::string& page);
