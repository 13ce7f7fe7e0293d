// Replacing text in files, and the in-place conversions of whole texts
// between the old DOS code page, windows-1252 and UTF-8.
#pragma once

class ut_repl {
 public:
  // Copies `aus` to `ziel` with every `str1` replaced by `str2` (which may be
  // empty).  A null `ziel` replaces in `aus` itself by way of a work file.
  // Returns the number of replacements.
  static int ersetze(const char* aus, const char* ziel, const char* str1, const char* str2);
  // Reduces every run of white space behind a blank to that blank.
  static void ohne_blanks(const char* aus, const char* ziel);
  // The seven German letters from code page 850 to windows-1252, in place.
  static void dos_to_win(char* s);
  // The UTF-8 pairs of the seven German letters to windows-1252, in place;
  // every other byte and pair stays as it is.
  static void utf8_to_win(char* s);
};
