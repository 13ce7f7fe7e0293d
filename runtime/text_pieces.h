// Walks the pieces of a text cut at a separator character.
#pragma once

#include <string>

// Calls f(piece, last) for each piece of `text` between `sep` characters, in
// order; `last` when no separator follows the piece.  An empty text has no
// piece; a text ending in `sep` has no empty last piece.
template <class F>
void each_piece(const std::string& text, char sep, F f) {
  size_t i = 0;
  while (i < text.size()) {
    size_t j = text.find(sep, i);
    if (j == std::string::npos) j = text.size();
    f(text.substr(i, j - i), j >= text.size());
    i = j + 1;
  }
}
