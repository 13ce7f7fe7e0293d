// The one rule by which a text becomes the key of an in-memory tree.
//
// A Btree key holds at most `max_tree_key` bytes and no NUL.  The key of a
// text is the text up to its first NUL; when that is longer than a key may
// be, it is its first `kept_head` bytes, "#" and 16 hex digits of a hash of
// the whole.  So a long path, title or link never fails a run, the same
// text always gives the same key, and two different long texts keep
// different keys even where they share their first 252 bytes (cutting
// would make them one).  Every tree of the web model and of the link
// checker goes through this rule; it needs no tree itself.
#pragma once

#include <cstddef>
#include <string>

constexpr size_t max_tree_key = 252;
constexpr size_t kept_head = max_tree_key - 17;  // + "#" + 16 hex digits

std::string tree_key(const std::string& k);
