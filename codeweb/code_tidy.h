// The code tidier: brings a Java (or C-like) source into the one shape the
// page readers rely on, in exactly two passes.
//
// Pass 1 (`tidy_split`) changes the line structure and nothing else:
//   - "while(", "for(", "if(", "foreach(" get a blank before the "(";
//   - a statement after the "(...)" group of if/for/while/foreach, or after
//     an "else" that is not followed by "if" or "{", is wrapped in braces;
//   - "{" stands on a line of its own, "}" begins a line, and "}else",
//     "} else", "} catch" ... are split in two lines;
//   - "break;" stands on its own line; "// Method :" lines are dropped;
//   - tabs are dropped (a tab between words becomes a blank, a tab behind
//     ")" a newline);
//   - "#" lines, strings (text blocks included), character literals and
//     comments are copied untouched: a brace inside them is no brace.
// Pass 2 (`tidy_indent`) re-indents: every line loses its leading white
// space and gets `k` blanks; a line "{" is written at k and raises k by 3, a
// line beginning "}" lowers k by 3 (never below 0) and is written at the new
// k; a line "{}" becomes "{" and "}" at k + 3.  Lines that begin inside a
// block comment or a text block take no part in the count.  A file whose k
// is not 0 at its end is unbalanced: the tracker's report names it.
//
// A block comment, a string or a text block still open at the end of the
// file is malformed input: the tracker's report names the file.
#pragma once

#include <string>

// Pass 1.  `name` is the file named in a failure report.
std::string tidy_split(const std::string& text, const char* name);
// Pass 2.
std::string tidy_indent(const std::string& text, const char* name);
// Both passes on a text.
std::string tidy_text(const std::string& text, const char* name);
// Both passes from the file `from` to the file `to`; leaves a copy of the
// input in "x.aus" and the result of pass 1 in "x.tmp" in the current folder.
void to_pretty(const char* from, const char* to);
