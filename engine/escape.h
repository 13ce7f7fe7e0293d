// Names and targets written into scripts and pages, escaped for the place
// they are written to.  A name from the file system or the configuration is
// data: whatever bytes it holds, it must not end the string literal, the
// attribute or the text it stands in, and so cannot add statements or tags.
// Characters that need no escape are kept byte for byte, so an ordinary
// name is written exactly as it is.
#pragma once

#include <string>
#include <string_view>

// The inside of a double-quoted string literal of a script: a backslash
// and a double quote get a backslash in front; line feed, carriage return
// and tab become \n, \r, \t, other control characters \xHH, and the two
// line separators of Unicode (in UTF-8) \u2028 and \u2029.
std::string js_string(std::string_view s);

// An attribute value in quotes: "&", "<", ">", '"' and "'" become
// character references.
std::string html_attr(std::string_view s);

// The text of an element: "&", "<" and ">" become character references.
std::string html_text(std::string_view s);

// A word of a Windows command script (.bat): a word of letters, digits and
// "_$.:-/\" stays as it is; any other is written in double quotes, with a
// double quote inside doubled, "%" doubled and control characters as "?",
// so that the script's shell reads it as one word of text and runs nothing
// of it.
std::string bat_word(std::string_view s);
