#include "engine/tree_key.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

std::string tree_key(const std::string& k) {
  size_t n = strlen(k.c_str());
  if (n <= max_tree_key) return k.substr(0, n);
  uint64_t h = 1469598103934665603ull;  // FNV-1a
  for (size_t i = 0; i < n; i++) h = (h ^ (unsigned char)k[i]) * 1099511628211ull;
  char tail[20];
  snprintf(tail, sizeof tail, "#%016llx", (unsigned long long)h);
  return k.substr(0, kept_head) + tail;
}
