// Cards: each section of a document becomes a card, the unit that the
// section pass later writes as one page.  register_cards turns the cleaned
// HTML of a document into the marked stream "<n>.tmp": card starts with
// their titles, forced cards, typed names, figure captions, the glossary
// start and the anchors of configured titles.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/owned_file.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

using namespace des;

namespace {

void put(FILE* out, const std::string& s) { fwrite(s.data(), 1, s.size(), out); }

// Index of `s` at or behind `from` in the window, or -1.
int ahead(const rBuffer& rb, int from, const char* s) {
  const char* p = strstr(rb.z + from, s);
  return p && p < rb.z + rb.e ? (int)(p - rb.z) : -1;
}


}  // namespace

void DocDes::register_cards(int n) {
  enter("DocDes.register_cards");
  comm& r = web.comms[n];
  std::string tm1 = r.nr + ".tm1", rem = r.nr + ".rem", tm3 = r.nr + ".tm3", tmp = r.nr + ".tmp";
  if (safe_ut.ok_is_a(tm1.c_str()) != 'f')
    exut.fail(__LINE__, SRC, "System: register_cards: no file %s\n", tm1.c_str());
  web.keep = 0;
  safe_ut.rename_file(tm1.c_str(), rem.c_str());
  ut->ers_schmutz(rem.c_str(), safe_ut.file_size(rem.c_str()), "", r.com);
  first_card_pass(n, rem.c_str(), tm3.c_str());
  second_card_pass(n, tm3.c_str(), tmp.c_str());
  snprintf(comm_buf, sizeof comm_buf, "grep #_ %s", tmp.c_str());
  safe_ut.system(comm_buf);
}

// ------------------------------------------------------------ pass one

// The body of the document, with bookmark spans dropped, the author's list
// of pictures marked, and the anchors of the document's configured titles
// behind it.
void DocDes::first_card_pass(int n, const char* from, const char* to) {
  owned_FILE out_file(safe_ut.create(to));
  FILE* out = out_file.f;
  {
    rBuffer rb(from);
    if (!rb.find(14, "<body", out))
      exut.fail(__LINE__, SRC, "System: no <body in %s\n", from);
    str_set set("cards1");
    for (const char* s : {"</p><p class=1 align=\"right\">", "m_", "<h", "-list:l",
                          "style='mso-fiel", "Abbildungsverzeichnis", "<span style='mso-bookmark:"})
      set.insert(s);
    int copy = 0;
    while (str_el* el = rb.find(copy, set, out)) {
      copy = el->L;
      if (!strcmp(el->k, "m_") && (unsigned char)rb.z[rb.a + 2] == 0x85) {
        fputs("m_...", out);
        rb.a += 3;
        copy = 0;
      } else if (!strcmp(el->k, "<h")) {
        int gt = ahead(rb, rb.a, ">");
        if (gt < 0) exut.fail(__LINE__, SRC, "System: a heading without > in %s\n", from);
        copy = gt + 1 - rb.a;
        if (!strncmp(rb.z + gt + 1, "_<span style=\"mso-space", 23)) {
          put(out, std::string(rb.z + rb.a, copy) + "_");
          int e1 = ahead(rb, gt + 2, ">");
          int e2 = e1 < 0 ? -1 : ahead(rb, e1, "</span>");
          rb.a = e2 < 0 ? gt + 2 : e2 + 7;
          copy = 0;
        }
      } else if (el->k[1] == 'p' && el->k[2] == 'a') {  // a bookmark span
        int stop = rb.a + 1;
        while (stop < rb.e && strncmp(rb.z + stop, "<p ", 3) && strncmp(rb.z + stop, "</p", 3) &&
               strncmp(rb.z + stop, "</h", 3))
          stop++;
        for (int i = rb.a; i < stop;) {
          bool open = !strncmp(rb.z + i, "<span ", 6), close = !strncmp(rb.z + i, "</span", 6);
          if (open && i > rb.a && strncmp(rb.z + i, "<span style='mso-bookmark:", 26)) break;
          if (open || close) {
            int gt = ahead(rb, i, ">");
            i = gt < 0 ? stop : gt + 1;
          } else {
            fputc(rb.z[i++], out);
          }
          rb.a = i;
        }
        copy = 0;
      } else if (el->k[0] == 'A') {
        int p = ahead(rb, rb.a, "</p>"), h = ahead(rb, rb.a, "</h");
        int end = p < 0 || (h >= 0 && h < p) ? h : p;
        if (end < 0) end = rb.a + el->L;
        put(out, std::string(rb.z + rb.a, end - rb.a) + "<++AbbVz> ");
        rb.a = end;
        copy = 0;
      }
    }
    put_semis(out, n);
  }
  safe_ut.close_FILE(&out_file.f, SRC, __LINE__);
}

// The anchors of the titles configured for document `nr`.
void DocDes::put_semis(FILE* out, int nr) {
  Btree_st st;
  for (unsigned ok = web.titles.GetFirst(st); ok; ok = web.titles.Next(st)) {
    const char* v = st.c;
    if (!isdigit((unsigned char)*v) && strlen(v) > 5) v += 5;
    if (atoi(v) == nr) fprintf(out, "<$Dname=\"--D-(%s)\"></a>", st.k);
  }
}

bool DocDes::split_here(const char* pos) {
  if (!pos || strncasecmp(pos, "<h", 2) != 0)
    exut.fail(__LINE__, SRC, "System: split_here not at a heading\n");
  const char* p = pos;
  while (*p) {
    if (*p == '<') {
      if (!strncasecmp(p, "</h", 3)) return false;
      const char* gt = strchr(p, '>');
      if (!gt) return false;
      p = gt + 1;
    } else if (isspace((unsigned char)*p)) {
      p++;
    } else if (*p == '&' && strlen(p) >= 6) {
      p += 6;
    } else {
      if (!strncmp(p, "Inhalt", 6) || !strncmp(p, "Content", 7)) return true;
      return *p != '-';
    }
  }
  return false;
}

std::string DocDes::doc_Date(char V, const std::string& path) {
  if (V == 'f') {
    std::string f = base_of(slashes(path));
    if (f.size() > 10 && f[4] == '_' && f[7] == '_' && f[10] == '_') return f.substr(0, 10);
    return std::string(10, ' ');
  }
  if (V != 'p') exut.fail(__LINE__, SRC, "System: doc_Date( %c ) is no version\n", V);
  std::string p = path;
  for (const char* x : {".doc", ".rtf", ".sum"})
    if (ends_nocase(p, x)) p = p.substr(0, p.size() - 4) + ".htm";
  if (safe_ut.ok_is_a(p.c_str()) != 'f')
    exut.fail(__LINE__, SRC, "System: doc_Date: no file %s\n", p.c_str());
  char out[40];
  safe_ut.file_date(p.c_str(), out, 1);
  return std::string(out).substr(0, 10);
}

// Written for a bold name among the headings.  The scan of the cards holds
// no "<b", so it is not reached and the count of redundant definitions
// stays 0.
void DocDes::add_target(Btree& tree, const std::string& target, const std::string& name) {
  if (tree_holds(tree, name)) {
    printf("\n%12s Mehrfach def: %s", target.c_str(), name.c_str());
    web.redundant++;
  } else {
    tree_put(tree, name, target);
  }
}

std::string DocDes::also_hot(const std::string& text, const std::string& word,
                             const std::string& page) {
  std::string out;
  size_t k = 0;
  for (size_t h = text.find(word); h != std::string::npos; h = text.find(word, h + 1)) {
    size_t e = h + word.size();
    if (e >= text.size() || (text[e] != '<' && text[e] != ' ' && text[e] != '\n')) continue;
    out += text.substr(k, h - k) + "\n<a name=\"" + word + "\"></a><a href=\"" + page +
           ".htm\"><b>" + word + "</b></a>";
    k = e;
  }
  return out + text.substr(k);
}

// Each line end, with the white space that leads the next line, becomes
// one blank.
void DocDes::prune_NL(const char* from, const char* to) {
  owned_FILE out_file(safe_ut.create(to));
  FILE* out = out_file.f;
  {
    rBuffer rb(from);
    while (rb.find(0, "\n", out)) {
      fputc(' ', out);
      rb.a++;
      while (rb.a < rb.e && (rb.z[rb.a] == ' ' || rb.z[rb.a] == '\t' || rb.z[rb.a] == '\n')) rb.a++;
    }
  }
  safe_ut.close_FILE(&out_file.f, SRC, __LINE__);
}

void DocDes::correct_style(const char* from, const char* to) {
  std::string t = safe_ut.read_text(from);
  for (const char* rule : {"a:link,", "a:visited,"}) {
    for (size_t k = t.find(rule); k != std::string::npos; k = t.find(rule, k + 1)) {
      size_t end = t.find('}', k);
      for (const auto& [prop, value] : {std::pair<const char*, const char*>{"color:", "FF6600"},
                                        {"decoration:", "hover"}}) {
        size_t c = t.find(prop, k);
        if (c == std::string::npos || c > end) continue;
        size_t v = c + strlen(prop), ve = t.find_first_of(";}", v);
        t.replace(v, ve - v, value);
        end = t.find('}', k);
      }
    }
  }
  safe_ut.write_text(to, t);
}
