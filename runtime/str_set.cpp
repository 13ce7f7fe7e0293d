// The string set: buckets by first character, texts kept in blocks.
#include "runtime/str_set.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "runtime/exec_ut.h"

namespace {
const char* const src = "str_set";
char empty_text[1] = {0};
constexpr unsigned raw_guard = 0x5e7a11edu;
}  // namespace

str_set::str_set(const char* set_name) : self(this) {
  for (auto& b : first_at) b = nullptr;
  if (!set_name) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: str_set without a name");
  }
  name = set_name;
  name_len = (int)strlen(set_name);
  created();
}

// Frees every element of every bucket and empties the table.
void str_set::free_buckets() {
  for (auto& b : first_at) {
    str_el* x = b;
    while (x) {
      str_el* n = x->next;
      delete[] x->rel;
      delete x;
      x = n;
    }
    b = nullptr;
  }
}

str_set::~str_set() {
  free_buckets();
  for (str_el* x : unlinked_) {
    delete[] x->rel;
    delete x;
  }
  while (blocks) {
    text_block* o = blocks->older;
    delete blocks;
    blocks = o;
  }
  delete second;
}

void str_set::check_self() const {
  if (self != this) {
    exut.show_str("str_set", name);
    exut.show_ptr("self", self);
    exut.fail(__LINE__, src, "System: str_set %s is a copy: self = %p <> %p", name,
              (const void*)self, (const void*)this);
  }
}

// ------------------------------------------------------------------ texts

char* str_set::room(long n, int align) {
  uintptr_t p = (uintptr_t)block_pos;
  if (align > 1) p = (p + align - 1) & ~(uintptr_t)(align - 1);
  if (!blocks || (char*)p + n > block_end) {
    auto* b = new text_block;
    b->older = blocks;
    blocks = b;
    block_pos = b->text;
    block_end = b->text + block_size;
    p = (uintptr_t)block_pos;
    if (align > 1) p = (p + align - 1) & ~(uintptr_t)(align - 1);
  }
  block_pos = (char*)p + n;
  return (char*)p;
}

char* str_set::keep(const char* text) {
  check_self();
  if (!text) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.keep( NULL )", name);
  }
  if (!*text) return empty_text;
  char* copy;
  keep(&copy, text, (int)strlen(text));
  return copy;
}

int str_set::keep(char** copy, const char* text, int n) {
  check_self();
  if (!text || !copy) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.keep( NULL )", name);
  }
  if (n < 0 || n >= block_size) {
    exut.show_str("LLL", text);
    exut.show_int("120000", block_size);
    exut.show_int("L", n);
    exut.fail(__LINE__, src, "System: %s.keep: text of %i characters does not fit a block",
              name, n);
  }
  char* p = room(n + 1, 1);
  memcpy(p, text, n);
  p[n] = 0;
  *copy = p;
  return n;
}

void* str_set::raw(int n) {
  check_self();
  if (last && last->guard != raw_guard) {
    exut.show_ptr("last", last);
    exut.fail(__LINE__, src, "System: %s.raw: guard word overwritten", name);
  }
  if (n < 0 || n + (int)sizeof(raw_item) > block_size) {
    exut.show_int("n", n);
    exut.fail(__LINE__, src, "System: %s.raw( %i ) does not fit a block", name, n);
  }
  auto* item = (raw_item*)room(n + (long)sizeof(raw_item), 16);
  item->prev = last;
  item->guard = raw_guard;
  item->size = (unsigned)n;
  last = item;
  void* data = item + 1;
  memset(data, 0, n);
  return data;
}

void str_set::check_raw() {
  check_self();
  int i = 0;
  for (raw_item* x = last; x; x = x->prev, ++i) {
    if (x->guard != raw_guard) {
      exut.show_int("item", i);
      exut.show_ptr("at", x);
      exut.fail(__LINE__, src, "System: %s.check_raw: guard word of item %i overwritten",
                name, i);
    }
  }
}

// --------------------------------------------------------------- elements

str_el* str_set::new_element(const char* s, int len) {
  if (!s) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.insert( NULL )", name);
  }
  auto* el = new str_el{};
  keep(&el->k, s, len);
  el->L = len;
  el->v = empty_text;
  return el;
}

// The bucket order: a text sorting at or above the bucket's head goes in
// front; one sorting below it goes behind the first element that is not
// longer than itself, or at the end.  This order alone decides which element
// a scan reports where several begin at the same place.
void str_set::link_in(str_el* el) {
  unsigned c = (unsigned char)el->k[0];
  str_el* h = first_at[c];
  if (h && strcmp(el->k, h->k) < 0) {
    for (str_el* x = h;; x = x->next) {
      if (el->L >= x->L || !x->next) {
        el->next = x->next;
        x->next = el;
        break;
      }
    }
  } else {
    el->next = h;
    first_at[c] = el;
  }
  if (el->L + 1 > maxlen) maxlen = el->L + 1;
  ++card;
  if ((int)c > top_) top_ = (int)c;
  if (el->L == 1) {
    for (unsigned i = c << 8; i < (c + 1) << 8; i += 64) pairs_[i >> 6] = ~(uint64_t)0;
  } else if (el->L > 1) {
    unsigned pair = c << 8 | (unsigned char)el->k[1];
    pairs_[pair >> 6] |= (uint64_t)1 << (pair & 63);
  }
}

void str_set::take_out(str_el* el) {
  unsigned c = (unsigned char)el->k[0];
  str_el* prev = nullptr;
  for (str_el* x = first_at[c]; x; prev = x, x = x->next) {
    if (x != el) continue;
    if (prev)
      prev->next = x->next;
    else
      first_at[c] = x->next;
    if (at == el) at = prev;  // next() goes on behind the predecessor
    el->next = nullptr;
    --card;
    while (top_ > 0 && !first_at[top_]) --top_;
    return;
  }
}

void str_set::free_element(str_el* el) {
  if (any_rel_) {
    // No relation list may keep pointing at a freed element.
    for (auto& b : first_at)
      for (str_el* x = b; x; x = x->next)
        if (x->rel)
          for (int i = 0; i < relations; ++i) {
            auto& l = x->rel[i];
            l.erase(std::remove(l.begin(), l.end(), el), l.end());
          }
  }
  delete[] el->rel;
  delete el;
}

str_el* str_set::insert(const char* s) {
  str_el* el = new_element(s, s ? (int)strlen(s) : 0);
  link_in(el);
  return el;
}

str_el* str_set::insert(const char* s, const char* v) {
  str_el* el = insert(s);
  if (v) el->v = keep(v);
  return el;
}

str_el* str_set::insert(const char* s, const char* v, int n) {
  str_el* el = insert(s);
  if (v) keep(&el->v, v, n);
  return el;
}

str_el* str_set::ensure(const char* s) {
  str_el* el = find_el(s);
  return el ? el : insert(s);
}

str_el* str_set::insert_pair(const char* s, const char* v) {
  if (!s || !*s) {
    errno = err::invalid_parameter;
    exut.fail(__LINE__, src, "System: %s.insert_pair without a key", name);
  }
  str_el* el = ensure(s);
  if (!v) v = "";
  if (strcmp(el->v, v) != 0) {
    if (!*v) {
      el->v = empty_text;
    } else {
      if (!second) second = new str_set("second");
      el->v = second->ensure(v)->k;
    }
  }
  return el;
}

str_el* str_set::find_el(const char* s) const {
  if (!s) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.find_el( NULL )", name);
  }
  for (str_el* x = first_at[(unsigned char)*s]; x; x = x->next)
    if (strcmp(x->k, s) == 0) return x;
  return nullptr;
}

str_el* str_set::find_prefix(const char* s, int n) const {
  if (!s) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.find_prefix( NULL )", name);
  }
  if (n < 0) {
    exut.show_int("n", n);
    exut.fail(__LINE__, src, "System: %s.find_prefix with n = %i", name, n);
  }
  for (str_el* x = first_at[(unsigned char)*s]; x; x = x->next) {
    if (n > 0) {
      if (x->L >= n && memcmp(x->k, s, n) == 0) return x;
    } else if (strncmp(s, x->k, x->L) == 0) {
      return x;
    }
  }
  return nullptr;
}

int str_set::remove(const char* s) {
  if (s && starts_with(s, "ascii")) s = keep(s);
  str_el* el = find_el(s);
  if (!el) return 0;
  take_out(el);
  free_element(el);
  ++rm_count;
  return 1;
}

str_el* str_set::unlink(const char* s) {
  str_el* el = find_el(s);
  if (!el) return nullptr;
  take_out(el);
  unlinked_.push_back(el);  // still owned by the set, freed with it
  return el;
}

void str_set::clear() {
  free_buckets();
  at = nullptr;
  at_c_ = 256;
  card = 0;
  top_ = 0;
  memset(pairs_, 0, sizeof pairs_);
  elems.clear();
}

str_el* str_set::first() {
  for (int c = 0; c < 256; ++c)
    if (first_at[c]) {
      at_c_ = c;
      return at = first_at[c];
    }
  at_c_ = 256;
  return at = nullptr;
}

str_el* str_set::next() {
  if (at_c_ >= 256) return nullptr;
  str_el* x = at ? at->next : first_at[at_c_];
  while (!x && ++at_c_ < 256) x = first_at[at_c_];
  if (!x) at_c_ = 256;
  return at = x;
}

int str_set::count() {
  int n = 0;
  for (auto* b : first_at)
    for (str_el* x = b; x; x = x->next) ++n;
  card = n;
  miss_count = 0;
  return n;
}

str_el** str_set::elements() {
  elems.clear();
  for (auto* b : first_at)
    for (str_el* x = b; x; x = x->next) elems.push_back(x);
  if ((int)elems.size() != card) {
    exut.fail(__LINE__, src, "System: %s.elements: n = %i <> %i = card \n", name,
              (int)elems.size(), card);
  }
  return elems.data();
}

int str_set::rm_see(int from, int to, bool show) {
  int removed = 0;
  for (auto& b : first_at) {
    str_el* x = b;
    while (x) {
      str_el* n = x->next;
      if (x->see >= from && x->see <= to) {
        take_out(x);
        free_element(x);
        ++removed;
        ++rm_count;
      }
      x = n;
    }
  }
  if (show) {
    printf("\nrm_see( %i, %i ).anz = %i, elements now:", from, to, removed);
    for (auto* b : first_at)
      for (str_el* x = b; x; x = x->next) printf("\nsee %i = %s", x->see, x->k);
  }
  return removed;
}

void str_set::trace(const char* title, FILE* stream) {
  if (!stream) stream = stdout;
  fprintf(stream, "\n%s - Instanz der Klasse 'str_set': \n\n", title ? title : name);
  for (int c = 0; c < 256; ++c) {
    if (!first_at[c]) continue;
    fprintf(stream, "at ascii %3i : %p\n", c, (void*)first_at[c]);
    for (str_el* x = first_at[c]; x; x = x->next)
      fprintf(stream, "x1 = %4i, %s (%s)\n", x->nr, x->k, x->v);
  }
  fprintf(stream, "\n--- end str_set \n");
}

// ------------------------------------------------------- numbered entries

// Key of a numbered entry: the byte number % 255 + 1 (never NUL, and so the
// bucket), the name, and the number in decimal.
str_el* str_set::pc_element(long number, const char* pc_name, bool create) {
  if (!pc_name) pc_name = "";
  size_t L = strlen(pc_name);
  std::unique_ptr<char[]> key(new char[L + 32]);
  key[0] = (char)(number % 255 + 1);
  memcpy(key.get() + 1, pc_name, L);
  snprintf(key.get() + 1 + L, 31, "%ld", number);
  if (create) return insert(key.get());
  return find_el(key.get());
}

str_el* str_set::set_pc(const char** s, const char* pc_name) {
  if (!s || !*s) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.set_pc( NULL )", name);
  }
  const char* p = *s;
  while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r') ++p;
  if (*p < '0' || *p > '9') {
    exut.show_str("s", *s);
    exut.fail(__LINE__, src, "System: %s.set_pc: no number at [%.40s]", name, *s);
  }
  long number = 0;
  while (*p >= '0' && *p <= '9') number = number * 10 + (*p++ - '0');
  str_el* el = pc_element(number, pc_name, true);
  exut.show_int("pc+1", number + 1);
  el->nr = (int)number;
  *s = p;
  return el;
}

str_el* str_set::get_pc(const char** s, const char* pc_name, const char* err_text) {
  if (!s || !*s) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.get_pc( NULL )", name);
  }
  const char* p = *s;
  while (*p && (*p < '0' || *p > '9')) ++p;
  const char* digits = p;
  long number = 0;
  while (*p >= '0' && *p <= '9') number = number * 10 + (*p++ - '0');
  *s = p;
  int nd = (int)(p - digits);
  if (number == 0) {
    if (nd == 1) return nullptr;  // the text "0": no entry
    exut.show_str("s", digits);
    exut.fail(__LINE__, src, "System: %s.get_pc: no program counter at [%.40s]", name,
              digits);
  }
  str_el* el = pc_element(number, pc_name, false);
  if (el) return el;
  if (err_text && *err_text) {
    printf("%s pc( %s.%.*s )\n", err_text + 1, pc_name ? pc_name : "", nd, digits);
    if (err_text[0] == 'e') {
      trace(name, stdout);
      exut.fail(__LINE__, src, "%s pc( %s.%.*s )\n", err_text + 1, pc_name ? pc_name : "",
                nd, digits);
    }
  }
  ++miss_count;
  return nullptr;
}

// -------------------------------------------------------------- relations

void str_set::add_rel(str_el* a, int i, str_el* b) {
  if (!a || !b) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.add_rel with a NULL element", name);
  }
  if (i < 0 || i >= relations) {
    exut.show_int("i", i);
    exut.fail(__LINE__, src, "System: %s.add_rel: relation %i, only 0 to 7 exist", name, i);
  }
  if (i % 2) add_rel(b, i - 1, a);
  if (!a->rel) {
    a->rel = new str_list[relations];
    any_rel_ = true;
  }
  auto& l = a->rel[i];
  if (std::find(l.begin(), l.end(), b) == l.end()) l.push_back(b);
}

void str_set::clear_marks() {
  for (auto* b : first_at)
    for (str_el* x = b; x; x = x->next) x->mark = false;
  for (str_el* x : unlinked_) x->mark = false;
}

void str_set::put_res(str_res& res, str_el* el, bool deep_walk) {
  if (res.n >= str_res::L_res) {
    if (deep_walk)
      exut.fail(__LINE__, src, "System: error: Konstante str_set.L_res = %i zu klein\n",
                str_res::L_res);
    exut.fail(__LINE__, src, "error: Konstante str_set.L_res = %i zu klein\n", str_res::L_res);
  }
  res.el[res.n++] = el;
}

void str_set::direct(str_res& res, str_el* el, int i) {
  if (!el) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.direct( NULL )", name);
  }
  clear_marks();
  res.n = 0;
  res.at = 0;
  if (!el->rel || i < 0 || i >= relations) return;
  for (str_el* t : el->rel[i]) {
    if (t->mark) continue;
    t->mark = true;
    put_res(res, t, false);
  }
}

void str_set::deep(str_res& res, str_el* el, int i, int level) {
  if (!el) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, src, "System: %s.deep( NULL )", name);
  }
  if (level == 0) {
    clear_marks();
    res.n = 0;
    res.at = 0;
  }
  if (el->mark) return;
  el->mark = true;
  put_res(res, el, true);
  if (!el->rel || i < 0 || i >= relations) return;
  auto& l = el->rel[i];
  for (size_t k = 0; k < l.size(); ++k) deep(res, l[k], i, level + 1);
}

void str_set::closure(int i) {
  if (i < 0 || i >= relations) {
    exut.show_int("i", i);
    exut.fail(__LINE__, src, "System: %s.closure: relation %i, only 0 to 7 exist", name, i);
  }
  i |= 1;
  elements();
  std::vector<str_el*> all(elems);
  auto res = std::make_unique<str_res>();
  for (str_el* el : all) {
    deep(*res, el, i, 0);
    for (int k = 1; k < res->n; ++k) add_rel(el, i, res->el[k]);
  }
}

void str_set::add_ascii(int c) {
  char s[2] = {(char)c, 0};
  char v[16];
  snprintf(v, sizeof v, "&#%u;", (unsigned)(unsigned char)c);
  insert(s, v);
}
