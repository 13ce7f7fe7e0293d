// The reader of one ASP page: the text of asp<n>.htm.
//
// The text is copied with "<" as "&lt;".  Comments "<%-- --%>", "//" and
// "/* */" get the class "co" (the generator's protected regions are
// dropped as on JSP pages); a string runs to its closing quote or the line
// end.  "#include file=" and "#include virtual=" (in any case, with or
// without blanks in front, as in "<!--#include ...-->") are written
// "#INCLUDE file= " and link the included page; the web reads an included
// file at once, so the include depth below the page is known at its end.
// A page that includes others ends with its include structure.
#pragma once

#include "codeweb/jsp_reader.h"

class asp_reader : public server_reader {
 public:
  using server_reader::server_reader;
  // The page of source `text`, file number `fNr`, shown as `path`.
  std::string page_of(const std::string& text, int fNr, const std::string& path);
  int commands = 0;  // "<%" elements of the page

 private:
  void scan();
  bool include_directive();
  void tail();
};
