#include "store/StrTrees.h"

#include <cstdarg>
#include <cstring>
#include <string>

#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "StrTrees";

const char* const head_text =
    "\n<HTML><head><style type=text/css><!--\n\n   body, table  {\n                font-size: 10 "
    "opt;\n                font-family: Arial;\n                }\n ";

const char* const table_head_text =
    "\n<HTML>\n<head>\n<style type=text/css>\n<!--\n   body, table  {\n                "
    "font-size: 10 opt;\n                font-family: Arial;\n                }\n--></style>";

const char* const script_text =
    "\n\n--></style>\n<script language=javascript>\n<!--\n\nie4 = (( navigator.appName == "
    "\"Microsoft Internet Explorer\" ) &&\n       ( parseInt( navigator.appVersion ) >= 4 "
    "));\n\nfunction flip( recName )\n   {\n   if (ie4) {\n            rec = document.all( "
    "recName );\n\n            if   ( rec.style.display == \"none\" )\n                 { "
    "rec.style.display  = \"\"; }\n            else { rec.style.display  = \"none\"; }\n       "
    "     }\n   }\n\n//--></script></head><body>";

const char* const font_text = "\n<font face=\"Verdena,Arial;\" size=3>";

void put(FILE* out, const char* text) { safe_ut.write_FILE(out, text, (long)strlen(text)); }

void putf(FILE* out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void putf(FILE* out, const char* format, ...) {
  char b[2000];
  va_list ap;
  va_start(ap, format);
  int n = vsnprintf(b, sizeof b, format, ap);
  va_end(ap);
  if (n >= (int)sizeof b) n = (int)sizeof b - 1;
  safe_ut.write_FILE(out, b, n);
}

}  // namespace

StrTrees::StrTrees() : Btree(), names("StrTrees") {
  menu[0].level = -1;
  created();
}

bool StrTrees::find_rec(const char* k, node& r) {
  if (!k || !Get(k, st)) return false;
  if (st.c_L != sizeof r) {
    exut.show_str("k", k);
    exut.fail(__LINE__, SRC, "System: StrTrees: the data of %s is no node\n", k);
  }
  memcpy(&r, st.c, sizeof r);
  return true;
}

void StrTrees::put_rec(char mode, const node& r) {
  node z;
  memset(static_cast<void*>(&z), 0, sizeof z);  // no undefined padding bytes in the tree
  z.name = r.name;
  z.father = r.father;
  z.level = r.level;
  Ins(mode, z.name, (int)strlen(z.name), reinterpret_cast<const char*>(&z), (int)sizeof z, 2);
}

const char* StrTrees::son(const char* s, const char* f) {
  if (!s && !f) return nullptr;
  if (!s) {
    exut.show_str("father", f);
    exut.fail(__LINE__, SRC, "System: StrTrees.son() without a son\n");
  }
  if (f && !strcmp(s, f)) f = nullptr;  // a node named as its father is a root
  node r;
  if (find_rec(s, r)) {
    if (strcmp(r.name, s)) {
      exut.show_str("son", s);
      exut.show_str("name", r.name);
      exut.fail(__LINE__, SRC, "System: StrTrees: node %s holds another name\n", s);
    }
    return r.name;
  }
  r.name = names.ensure(s)->k;
  r.father = f ? names.ensure(f)->k : nullptr;
  r.level = -1;
  put_rec('i', r);
  return r.name;
}

const char* StrTrees::father_of(const char* k) {
  node r;
  if (!find_rec(k, r)) return nullptr;
  return r.father;
}

StrTrees::node StrTrees::rec(const char* k) {
  node r;
  if (!find_rec(k, r)) {
    exut.show_str("k", k);
    exut.fail(__LINE__, SRC, "System: StrTrees: no node %s\n", k ? k : "( null )");
  }
  return r;
}

int StrTrees::level(const char* k) {
  if (!k) return 0;
  node r = rec(k);
  if (r.level >= 0) return r.level;
  if (r.level == -2) {
    printf("\ncycle: %3i %s", 0, r.name);
    exut.fail(__LINE__, SRC, "User: StrTrees: %s is part of a cycle\n", r.name);
  }
  r.level = -2;  // in work: meeting it again means a cycle
  put_rec('u', r);
  int l = 0;
  if (r.father) {
    node f;
    l = find_rec(r.father, f) ? level(r.father) + 1 : 0;
  }
  r.level = l;
  put_rec('u', r);
  if (l < 0) exut.fail(__LINE__, SRC, "System: StrTrees: level of %s below 0\n", r.name);
  return l;
}

int StrTrees::set_levels() {
  Btree_st s;
  int roots = 0;
  for (unsigned x = GetFirst(s); x; x = Next(s)) {
    node r;
    memcpy(&r, s.c, sizeof r);
    int l = r.level >= 0 ? r.level : level(r.name);
    if (l == 0) roots++;
  }
  return roots;
}

void StrTrees::path(FILE* out, const char* k, const char** stack, int depth) {
  node r;
  if (!k || !find_rec(k, r)) return;
  if (depth >= L_depth) {
    exut.show_int("depth", depth);
    exut.fail(__LINE__, SRC, "System: StrTrees: path longer than %i at %s\n", L_depth, r.name);
  }
  stack[depth] = r.name;
  for (int i = 0; i < depth; i++) {
    if (stack[i] != r.name) continue;
    for (int j = i; j <= depth; j++) printf("\ncycle: %3i %s", j, stack[j]);
    exut.fail(__LINE__, SRC, "User: StrTrees: cycle at %s\n", r.name);
  }
  path(out, r.father, stack, depth + 1);
  putf(out, "/%s", r.name);
}

int StrTrees::sorted() {
  FILE* f = safe_ut.create("menu.x1");
  const char* stack[L_depth];
  Btree_st s;
  int n = 0;
  for (unsigned x = GetFirst(s); x; x = Next(s), n++) {
    node r;
    memcpy(&r, s.c, sizeof r);
    path(f, r.father, stack, 0);
    putf(f, "/%s\n", r.name);
  }
  safe_ut.close_FILE(&f, SRC, __LINE__);
  snprintf(comm_buf, sizeof comm_buf, "sort < %s > %s", "menu.x1", "menu.x_sorted");
  safe_ut.system(comm_buf);
  safe_ut.remove_file("menu.x1");
  return n;
}

void StrTrees::read_menu() {
  rBuffer rb("menu.x_sorted", "\n\n");
  std::string pre = "/";
  int lev = -1;
  anz = -1;
  while (rb.find(1, "\n/", nullptr)) {
    char* line = rb.z + rb.a + 1;
    char* lf = strchr(line, '\n');
    if (!lf) break;
    *lf = 0;
    while (strncmp(line, pre.c_str(), pre.size())) {
      if (pre.size() <= 1) {
        exut.show_str("pre", pre.c_str());
        exut.show_str("line", line);
        exut.fail(__LINE__, SRC, "System: StrTrees: menu line outside the tree\n");
      }
      pre.pop_back();
      pre.erase(pre.rfind('/') + 1);
      lev--;
    }
    if (++anz >= L_menu - 1) {
      exut.show_int("anz", anz);
      exut.fail(__LINE__, SRC, "Menu has more than 10000 entries");
    }
    const char* nm = line + pre.size();
    if (strchr(nm, '/')) {
      // A step is missing in the list: the rest is still one entry.
      exut.show_str("pre", pre.c_str());
      exut.show_str("line", line);
      exut.show_str("c + strlen( pre )", nm);
    }
    menu[anz].name = *nm ? names.keep(nm) : "Unbekannt";
    menu[anz].level = ++lev;
    menu[anz].w = 0;
    pre = line;
    pre += '/';
    static const char blanks[] =
        "                                                          ";  // 58
    int ind = 3 * lev;
    if (ind > 58) ind = 58;
    printf("\nMM  %s%s", blanks + 58 - ind, menu[anz].name);
    *lf = '\n';
  }
  menu[anz + 1].name = nullptr;
  menu[anz + 1].level = -1;
}

const char* StrTrees::link_of(Btree* hrefs, const char* nm, Btree_st& s) {
  if (hrefs && nm && hrefs->Get(nm, s)) return s.c;
  return "missing.gif";
}

void StrTrees::write_head(FILE* out, const char* head_from, bool divs) {
  if (!head_from) {
    put(out, divs ? head_text : table_head_text);
    return;
  }
  std::string page = safe_ut.read_text(head_from);
  size_t at = page.find("</head>");
  if (at == std::string::npos) {
    exut.show_str("head_from", head_from);
    exut.fail(__LINE__, SRC, "User: %s has no </head>\n", head_from);
  }
  safe_ut.write_FILE(out, page.data(), (long)at);
  put(out, "\n<style type=text/css><!--");
}

void StrTrees::write_menu(FILE* out, const char* head_from, Btree* hrefs, int* id, bool divs,
                          int width_step) {
  int top = 0;
  for (int i = 0; i <= anz; i++)
    if (menu[i].level > top) top = menu[i].level;
  bool own = !out;
  if (own) out = safe_ut.create("_root.htm");
  write_head(out, head_from, divs);
  if (divs)
    for (int l = top; l >= 0; l--) putf(out, "\ndiv.%i { margin-left: %i%%; }", l, (l + 1) * 4);
  put(out, script_text);
  if (divs) put(out, font_text);
  int local_id = 0;
  int& nid = id ? *id : local_id;
  int open = 0;
  Btree_st s;
  for (int i = 0; i <= anz; i++) {
    int lv = menu[i].level;
    int next = i < anz ? menu[i + 1].level : -1;
    int n = 1;
    while (i + n <= anz && menu[i + n].level > lv) n++;
    const char* link = link_of(hrefs, menu[i].name, s);
    if (next > lv) {
      nid++;
      if (divs) {
        putf(out,
             "\n<div class=%i style={color:FF6600;} onClick=\"flip('%i');\"><b>%s</b> : %i "
             "</div>\n<div ID=%i style=\"display:\"\";\">",
             lv, nid, menu[i].name, n, nid);
        putf(out, "\n<div class=%i><a href=\"%s\">Overview</a></div>", lv + 1, link);
      } else {
        putf(out,
             "\n<table><TR><TD width=%i></TD><TD onClick=\"flip('%i');\"><b>%s</b> : "
             "%i</TD></TR></table>\n<div ID=%i style=\"display:none;\">",
             lv * width_step, nid, menu[i].name, n, nid);
        putf(out,
             "\n<table><TR><TD width=%i></TD><TD><a href=\"%s\">Overview</TD></TR></table></a>",
             (lv + 1) * width_step, link);
      }
      open++;
    } else {
      if (divs)
        putf(out, "\n<div class=%i><a href=\"%s\">%s</a></div>", lv, link, menu[i].name);
      else
        putf(out, "\n<table><TR><TD width=%i></TD><TD><a href=\"%s\">%s</TD></TR></table></a>",
             lv * width_step, link, menu[i].name);
      for (int up = lv - (next < 0 ? 0 : next); up > 0 && open > 0; up--, open--)
        put(out, "\n</div>");
    }
  }
  for (; open > 0; open--) put(out, "\n</div>");
  if (own) {
    put(out, "\n</body></HTML>");
    safe_ut.close_FILE(&out, SRC, __LINE__);
  }
}

void StrTrees::write_divs(FILE* out, const char* head_from, Btree* hrefs, int* id) {
  write_menu(out, head_from, hrefs, id, true, 0);
}

void StrTrees::write_tables(FILE* out, const char* head_from, Btree* hrefs, int* id,
                            int width_step) {
  write_menu(out, head_from, hrefs, id, false, width_step);
}
