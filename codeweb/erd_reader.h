// The pages of the data model files of a generated application, as pure
// text functions (the files are read and written by erd_pages.cpp).
//
// our_ERD.a: sections open at lines "a: <title> ..." at the left margin;
// the text before the first one is not shown.  The section whose title
// begins "Notation" is replaced by the heading of the notation semantics up
// to the line "   Prefixes".  Every other section gets a heading with an
// anchor of its running number (1, 2, ...) and a row in the list at the end.
//
// our_ERD.sql: statements open at "\n   CREATE <word> <name>"; each gets a
// heading with its running number and a row in the list at the end.  The
// form "CREATE OR REPLACE <word> <name>" is read as "CREATE <word> <name>".
//
// Both pages escape "<" in the copied text.  A file without any section
// ("\na:"), a notation section without "   Prefixes", and a schema without
// "\n   CREATE" end in the tracker's report naming `file`.
#pragma once

#include <string>
#include <vector>

#include "codeweb/ut_web.h"

// The page er1.htm for the text of our_ERD.a; `titles` receives the
// section titles in their order.
std::string erd_page(const ut_web& frame, const std::string& text, const std::string& file,
                     std::vector<std::string>* titles = nullptr);
// The page sql.htm for the text of our_ERD.sql; `names` receives the object
// names in their order.
std::string sql_page(const ut_web& frame, const std::string& text, const std::string& file,
                     std::vector<std::string>* names = nullptr);
