// Small readers of the style sheets a word processor writes.
#pragma once

#include <string>

#include "runtime/text_pieces.h"

// Calls f(raw, trimmed, last) for each ";"-separated declaration of a CSS
// rule body: `raw` as it stands, `trimmed` without the leading characters of
// `blanks`, `last` when no ";" follows it.  Declarations that are blank are
// passed over.
template <class F>
void each_declaration(const std::string& body, const char* blanks, F f) {
  each_piece(body, ';', [&](const std::string& raw, bool last) {
    size_t first = raw.find_first_not_of(blanks);
    if (first != std::string::npos) f(raw, raw.substr(first), last);
  });
}
