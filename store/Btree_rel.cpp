// Btree: relations ("str1~str2" keys), copies, the text form of a tree,
// and the trace and dump output.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "store/Btree.h"
#include "store/Btree_impl.h"

using namespace btree_impl;
namespace bf = btree_file;

namespace {

FILE* or_stdout(FILE* f) { return f ? f : stdout; }

// A key or value for printing: NUL bytes shown as "?".
const char* printable(const char* s, int n, char* out) {
  for (int i = 0; i < n; i++) out[i] = s[i] ? s[i] : '?';
  out[n] = 0;
  return out;
}

[[noreturn]] void not_a_relation(const Btree_st& s) {
  exut.show_str("st.k", s.k);
  exut.fail(__LINE__, SRC, "User: Btree is not a str1~str2 relation: st.k = %s", s.k);
}

}  // namespace

int Btree::Ins(Btree* t, char do_this) {
  ENTER("Ins");
  if (!t) exut.fail(__LINE__, SRC, "System: Btree %s: Ins() from a null tree\n", name);
  Btree_st s;
  int n = 0;
  for (unsigned x = t->GetFirst(s); x; x = t->Next(s)) {
    int dL = s.c_L == 255 ? (int)strlen(s.c) : s.c_L;
    if (dL > max_k_L)
      long_ins(do_this, s.k, s.k_L, s.c, dL);
    else
      Ins(do_this, s.k, s.k_L, s.c, dL, s.c_T == 1 ? 2 : s.c_T);
    n++;
  }
  return n;
}

Btree* Btree::invers() {
  ENTER("invers");
  Btree* t = new Btree();
  Btree_st s;
  for (unsigned x = GetFirst(s); x; x = Next(s)) t->StrIns('e', s.c, s.k);
  return t;
}

int Btree::become_trans(const char* a, const char* b) {
  ENTER("become_trans");
  return trans_step(a, b, false);
}

int Btree::become_deep_trans(const char* a, const char* b) {
  ENTER("become_deep_trans");
  return trans_step(a, b, true);
}

// For every pair "b~x" adds "a~x" when it is missing; returns how many were
// added.  In a deep relation the data is "<depth>~<text>", and the new pair
// gets the depth one more.
int Btree::trans_step(const char* a, const char* b, bool deep) {
  char A[600], B[600];
  int AL = snprintf(A, sizeof A, "%s~", a);
  int BL = snprintf(B, sizeof B, "%s~", b);
  if (AL > max_k_L || BL > max_k_L) return 0;
  Btree_st s;
  int n = 0;
  for (unsigned x = Getmin_GE(s, B, BL); x && s.k_L >= BL && !memcmp(s.k, B, BL); x = Next(s)) {
    int tl = s.k_L - BL;
    if (AL + tl > max_k_L) continue;
    memcpy(A + AL, s.k + BL, tl);
    A[AL + tl] = 0;
    if (contains(A, AL + tl)) continue;
    if (!deep) {
      StrIns('e', A);
      n++;
      continue;
    }
    const char* c = s.c;
    if (*c < '0' || *c > '9') {
      exut.show_str("st.k", s.k);
      exut.show_str("st.c", s.c);
      exut.fail(__LINE__, SRC, "User: Btree %s: data of a deep relation without a depth\n", name);
    }
    int depth = atoi(c);
    const char* tilde = strchr(c, '~');
    char d[1100];
    snprintf(d, sizeof d, "%i~%s", depth + 1, tilde ? tilde + 1 : "");
    StrIns('e', A, d);
    n++;
  }
  return n;
}

int Btree::trans_pass(bool deep, const std::string& from) {
  Btree_st s;
  int added = 0;
  for (unsigned x = from.empty() ? GetFirst(s) : Getmin_GE(s, from.data(), (int)from.size()); x; x = Next(s)) {
    char* t = static_cast<char*>(memchr(s.k, '~', s.k_L));
    if (!t) not_a_relation(s);
    *t = 0;
    added += trans_step(s.k, t + 1, deep);
    *t = '~';
  }
  return added;
}

int Btree::become_transitive() {
  ENTER("become_transitive");
  int total = 0;
  for (;;) {
    int added = trans_pass(false, {});
    total += added;
    if (!added) return total;
  }
}

void Btree::become_end_to_end_transitive(Btree* out) {
  ENTER("become_end_to_end_transitive");
  become_transitive();
  Btree lefts, rights;
  Btree_st s;
  for (unsigned x = GetFirst(s); x; x = Next(s)) {
    char* t = static_cast<char*>(memchr(s.k, '~', s.k_L));
    if (!t || memchr(t + 1, '~', s.k + s.k_L - t - 1)) {
      exut.show_str("st.k", s.k);
      not_a_relation(s);
    }
    int l1 = (int)(t - s.k), l2 = s.k_L - l1 - 1;
    if (l1) lefts.Ins('e', s.k, l1, nullptr, 0, 0);
    if (l2) rights.Ins('e', t + 1, l2, nullptr, 0, 0);
  }
  for (unsigned x = GetFirst(s); x;) {
    char key[256];
    int kl = s.k_L;
    memcpy(key, s.k, kl);
    key[kl] = 0;
    char* t = static_cast<char*>(memchr(key, '~', kl));
    if (!t) not_a_relation(s);
    *t = 0;
    int l1 = (int)(t - key);
    bool inner = l1 && lefts.contains(key, l1) && rights.contains(key, l1);
    if (inner) {
      *t = '~';
      Rem(key, kl);
    } else {
      if (out) {
        char inv[600];
        snprintf(inv, sizeof inv, "%s~%s", t + 1, key);
        out->StrIns('e', inv);
      }
      *t = '~';
    }
    x = Getmin_GR(s, key, kl);
  }
}

void Btree::count(const char* k) {
  ENTER("count");
  Btree_st s;
  if (Get(k, s))
    StrIns('e', k, atoi(s.c) + 1);
  else
    StrIns('e', k, "1");
}

void Btree::to_file(const char* fn) {
  ENTER("to_file");
  FILE* f = safe_ut.create(fn);
  Btree_st s;
  std::string buf;
  for (unsigned x = GetFirst(s); x; x = Next(s)) {
    buf += "\n~";
    buf.append(s.k, s.k_L);
    buf += '~';
    buf += s.c;
    buf += '~';
    if (buf.size() > 60000) {
      safe_ut.write_FILE(f, buf.data(), (long)buf.size());
      buf.clear();
    }
  }
  safe_ut.write_FILE(f, buf.data(), (long)buf.size());
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

Btree* Btree::from_file(const char* fn) {
  ENTER("from_file");
  if (!fn || safe_ut.ok_is_a(fn) != 'f') return nullptr;
  Btree* t = new Btree();
  try {
    rBuffer rb(fn, "\n");
    while (rb.find(1, "\n~", nullptr)) {
      char* k = rb.z + rb.a + 2;
      char* end = rb.z + rb.e;
      char* t1 = static_cast<char*>(memchr(k, '~', end - k));
      if (!t1) break;
      char* t2 = static_cast<char*>(memchr(t1 + 1, '~', end - t1 - 1));
      if (!t2) break;
      *t1 = 0;
      *t2 = 0;
      t->StrIns('e', k, t1 + 1);
      *t1 = '~';
      *t2 = '~';
    }
  } catch (...) {
    delete t;
    throw;
  }
  return t;
}

void Btree::check_Btree(const char* file, int line) {
  (void)file;
  (void)line;
}

void Btree::show(const char* nm, FILE* stream) {
  ENTER("show");
  FILE* f = or_stdout(stream);
  fprintf(f, "\n%s - This is Btree %s: \n{", nm, name);
  Btree_st s;
  char kb[260];
  for (unsigned x = GetFirst(s); x; x = Next(s))
    fprintf(f, "\n%s - %s(%s)", nm, printable(s.k, s.k_L, kb), s.c);
  fprintf(f, "\n}\nend of Btree %s\n\n", nm);
}

void Btree::traceAbs(const char* nm, FILE* stream) {
  ENTER("traceAbs");
  FILE* f = or_stdout(stream);
  fprintf(f, "\n\nBtree %s:", nm);
  Btree_st s;
  char kb[260];
  long n = 0;
  for (unsigned x = GetFirst(s); x; x = Next(s), n++)
    fprintf(f, "\n[ %s ][%s]", printable(s.k, s.k_L, kb), s.c);
  fprintf(f, "\nend Btree %s, %ld elements\n\n", nm, n);
}

void Btree::traceAt(const char* prefix, const char* nm, FILE* stream) {
  ENTER("traceAt");
  FILE* f = or_stdout(stream);
  if (!prefix) prefix = "";
  fprintf(f, "\n\nBtree %s, prefix = %s:", nm, prefix);
  Btree_st s;
  char kb[260];
  int n = (int)strlen(prefix);
  for (unsigned x = Getmin_GE(s, prefix); x && s.k_L >= n && !memcmp(s.k, prefix, n); x = Next(s))
    fprintf(f, "\n%s:[ %s ][%s]", nm, printable(s.k, s.k_L, kb), s.c);
  fprintf(f, "\nend Btree %s, prefix = %s, treeID= %i\n\n", nm, prefix, treeID);
}

void Btree::trace(const char* nm, FILE* stream) {
  FILE* f = or_stdout(stream);
  fprintf(f, "\ntreeID %i, %s - This is Btree %s: \n\n", treeID, nm ? nm : "", name);
  if (!descr) {
    fprintf(f, "\n--- end Btree, last surr = 0 \n");
    return;
  }
  fprintf(f,
          "pos_descr       = %i \nBf              = %i \nBfn             = %s \nmaxkeylen       "
          "= %u \nsurr            = %u \nanz             = %u \nlast            = %u \nnext     "
          "       = %u \ndeepest         = %i <= %i = e_cache \n\n",
          pos_descr, Bf, Bfn, descr->maxkeylen, descr->surr, descr->anz, descr->last, descr->next,
          deepest, e_cache);
  for (int s = 0; s < e_cache; s++)
    if (cache[s] && cache[s]->nr >= 0) trac1_page(cache[s], f);
  fprintf(f, "\n--- end Btree, last surr = %u \n", descr->surr);
}

void Btree::trac1_page(const Btree_page* p, FILE* stream) {
  FILE* f = or_stdout(stream);
  if (!p) return;
  char kb[600];
  bool bad = p->e < 0 || p->e > bf::max_cells || p->h < 0 || p->h > spare_pos;
  int sp = bf::spare_len(p);
  if (p->t) {
    const unsigned char* pre = p->c + spare_pos - sp;
    fprintf(f,
            "\n\n treeID %i: Index page( %i ):  e = %i, h = %i, dirty = %i, call_nr = %u\n |\n "
            "I/spare = %u = '%s'\n |\n pos:    ak          son ",
            treeID, p->nr, p->e, p->h, p->dirty, call_nr, sp,
            printable(reinterpret_cast<const char*>(pre), sp, kb));
  } else {
    fprintf(f,
            "\n\n treeID = %i: Data page( %i ):\n|\n pos:    ad         ak       surr    e = %i,  "
            "h = %i,  dirty = %i,  call_nr = %i",
            treeID, p->nr, p->e, p->h, p->dirty, (int)call_nr);
  }
  for (int i = 0; !bad && i < p->e; i++) {
    const Btree_cell& c = p->cell[i];
    if (c.ak >= bf::end_of_items || c.ak + bf::key_item_size(p->c, c.ak) > bf::end_of_items) {
      bad = true;
      break;
    }
    const char* key = C(bf::key_bytes(p->c + c.ak));
    if (p->t) {
      fprintf(f, "\n %3i: %5u  %10u  [%s]", i, c.ak, c.surr, printable(key, p->c[c.ak], kb));
    } else {
      fprintf(f, "\n %3i: %5u  %5u  %8u  [%s]", i, c.ad, c.ak, c.surr,
              printable(key, p->c[c.ak], kb));
      if (c.ad < bf::end_of_items && c.ad + bf::data_item_size(p->c, c.ad) <= bf::end_of_items)
        fprintf(f, " [%s]", printable(C(p->c + c.ad + bf::data_head), p->c[c.ad], kb));
    }
  }
  if (bad) {
    fprintf(f, "\n-->  f a l s c h :  Knoten inkonsistent !!!\n\n");
    fprintf(f, "     See preceeding trace_deepest().");
  }
  fprintf(f, "\n");
}

void Btree::check_page(const Btree_page* p) {
  if (!p) exut.fail(__LINE__, SRC, "System: Btree %s: check_page() of no page\n", name);
  int top = bf::heap_top(p);
  for (int i = 0; i < p->e; i++) {
    const Btree_cell& n = p->cell[i];
    bool bad_k = n.ak >= bf::end_of_items || n.ak + bf::key_item_size(p->c, n.ak) > top;
    bool bad_d = !p->t && (n.ad >= bf::end_of_items || n.ad + bf::data_item_size(p->c, n.ad) > top);
    if (bad_k || bad_d) {
      exut.show_int("n->ak", n.ak);
      exut.show_int("n->ad", n.ad);
      trac1_page(p, stdout);
      exut.fail(__LINE__, SRC, "System: Btree %s: page %i, cell %i lies outside the page\n", name,
                p->nr, i);
    }
  }
  int sp = bf::spare_len(p);
  const unsigned char* pre = bf::prefix_at(p);
  for (int i = 1; i < p->e; i++) {
    const unsigned char* a = p->c + p->cell[i - 1].ak;
    const unsigned char* b = p->c + p->cell[i].ak;
    int n = a[0] < b[0] ? a[0] : b[0];
    int c = memcmp(bf::key_bytes(a), bf::key_bytes(b), n);
    bool ok = c < 0 || (c == 0 && a[0] < b[0]) || (c == 0 && a[0] == b[0] && i == 1 && !p->t);
    if (ok) continue;
    char s1[600], s2[600], kb[600];
    printf("\nstrlen( predec ) = %i  ", a[0]);
    printf("\nstrlen( s260   ) = %i\n", b[0]);
    printable(reinterpret_cast<const char*>(pre), sp, kb);
    snprintf(s1, sizeof s1, "%s%s", kb, printable(C(bf::key_bytes(a)), a[0], s2));
    printf("\npredec + spare = %s\n  ", s1);
    snprintf(s1, sizeof s1, "%s%s", kb, printable(C(bf::key_bytes(b)), b[0], s2));
    printf("\n  s260 + spare = %s\n\n", s1);
    trac1_page(p, stdout);
    exut.fail(__LINE__, SRC, "System: Btree %s: page %i, keys out of order at cell %i\n", name,
              p->nr, i);
  }
}
