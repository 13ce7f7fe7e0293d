// Btree: paths and surrogate keys.  A path "/a/b/c" is a chain of binary
// keys, each step "!/" + the parent's surrogate (4 bytes, low byte first) +
// the step's text; a value stored under a surrogate has the key "!!" + the
// surrogate.
#include <cerrno>
#include <cstring>

#include "runtime/safe_uts.h"
#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;

namespace {

constexpr int tagged_len = 6;  // two tag bytes and a surrogate

// The two bytes `tag` and the four bytes of s, low byte first, into out.
void tagged_key(unsigned char* out, const char* tag, uint32_t s) {
  out[0] = (unsigned char)tag[0];
  out[1] = (unsigned char)tag[1];
  for (int i = 0; i < 4; i++) out[2 + i] = (unsigned char)(s >> (8 * i));
}

}  // namespace

void Btree::check_path(const char* path, int L, unsigned root) {
  if (!path || L < 1 || path[0] != '/' || memchr(path, 0, L) || root > descr->surr) {
    safe_ut.show_text("path", path ? path : "( null )", L > 0 ? L : 0);
    exut.show_int("root", (long)root);
    errno = err::not_a_path;
    exut.fail(__LINE__, SRC, "System: Btree %s: not a path\n", name);
  }
}

int Btree::step_key(unsigned char* out, unsigned parent, const char* step, int n) {
  tagged_key(out, "!/", parent);
  if (n > max_k_L - tagged_len) {
    safe_ut.show_text("step", step, n);
    exut.fail(__LINE__, SRC, "System: key (see above) too long for Btree %s\n", name);
  }
  memcpy(out + tagged_len, step, n);
  return tagged_len + n;
}

// Walks a path to its last step: the steps before it are looked up, or with
// `make` ensured.  Gives the last step's key, and false when a step is missing.
bool Btree::path_to_last(const char* path, int L, unsigned root, bool make, unsigned char* key,
                         int& kl) {
  check_path(path, L, root);
  unsigned parent = root;
  int at = 1;
  for (;;) {
    const char* slash = static_cast<const char*>(memchr(path + at, '/', L - at));
    int end = slash ? (int)(slash - path) : L;
    kl = step_key(key, parent, path + at, end - at);
    if (!slash) return true;
    if (make) {
      if (!Ins('e', C(key), kl, nullptr, 0, btree_file::type_none)) return false;
      parent = surr;
    } else if (!(parent = contains(C(key), kl))) {
      return false;
    }
    at = end + 1;
  }
}

unsigned Btree::InsPath(char do_this, const char* path, const char* d, unsigned root) {
  if (!d) d = "";
  return InsPath(do_this, path, path ? (int)strlen(path) : 0, d, (int)strlen(d),
                 btree_file::type_text, root);
}

unsigned Btree::InsPath(char do_this, const char* path, int L, const char* d, int dL, int d_T,
                        unsigned root) {
  ENTER("InsPath");
  unsigned char key[300];
  int kl;
  if (!path_to_last(path, L, root, true, key, kl)) return 0;
  return Ins(do_this, C(key), kl, d, dL, d_T) ? surr : 0;
}

unsigned Btree::GetPath(const char* path, Btree_st& s, unsigned root) {
  return GetPath(path, path ? (int)strlen(path) : 0, s, root);
}

unsigned Btree::GetPath(const char* path, int L, Btree_st& s, unsigned root) {
  ENTER("GetPath");
  unsigned char key[300];
  int kl;
  if (!path_to_last(path, L, root, false, key, kl)) {
    miss_into(s, nullptr, 0);
    return 0;
  }
  return Get(C(key), kl, s);
}

unsigned Btree::containsPath(const char* path, unsigned root) {
  ENTER("containsPath");
  Btree_st s;
  return GetPath(path, s, root);
}

unsigned Btree::RemPath(const char* path, unsigned root) {
  ENTER("RemPath");
  unsigned char key[300];
  int kl;
  if (!path_to_last(path, path ? (int)strlen(path) : 0, root, false, key, kl)) return 0;
  return Rem(C(key), kl);
}

char Btree::InsAtSurr(unsigned s, char do_this, const char* d, int dL, int d_T) {
  ENTER("InsAtSurr");
  unsigned char key[tagged_len];
  tagged_key(key, "!!", s);
  if (d && dL > max_k_L) return long_ins(do_this, C(key), tagged_len, d, dL);
  return Ins(do_this, C(key), tagged_len, d, dL, d_T);
}

unsigned Btree::GetAtSurr(unsigned s, Btree_st& r) {
  unsigned char key[tagged_len];
  tagged_key(key, "!!", s);
  return Get(C(key), tagged_len, r);
}
