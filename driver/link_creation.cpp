// Link creation: one document made ready for the section pass.  The head
// of the work file "<n>.tmp" is cleaned of Word's head tags, the document
// line "<$Doc=...>" and the top line of links are written, the body is
// copied with its list styles noted and (in the portal) the portal's
// contents, list styles that no paragraph uses are dropped, and the stream
// "<n>.neu" goes to the engine's split_doc.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

using namespace des;

namespace {

// A name dated as "YYYY_MM_DD_...".
bool dated(const std::string& file) { return file.size() > 7 && file[4] == '_' && file[7] == '_'; }

// Drops `what` and what follows it up to `to` (included) everywhere in `s`.
void drop_all(std::string& s, const char* what, char to) {
  for (size_t k = s.find(what); k != std::string::npos; k = s.find(what, k)) {
    size_t e = s.find(to, k);
    s.erase(k, e == std::string::npos ? std::string::npos : e + 1 - k);
  }
}

}  // namespace

void DocDes::href_creator(int mode, Btree& links, int n, FILE* rootFile, FILE* profileFile) {
  comm& r = web.comms[n];
  if (r.com == 'n' || r.com == 'j' || r.com == 0) return;
  if (r.src.empty()) exut.fail(__LINE__, SRC, "System: document %i has no source (Nr)\n", n);
  std::string publish = folder_of(r.src) + "/publish/" + base_of(r.src);
  printf("\ndo: %c, %4i = %s", r.com, n, publish.c_str());
  if (r.com != 'a') {
    std::string x = lower(ext_of(publish));
    if (x != ".rtf" && x != ".doc" && x != ".sum" && x != ".htm") return;
    publish = publish.substr(0, publish.size() - x.size()) + ".htm";
  }
  std::string tmp = r.nr + ".tmp", neu = r.nr + ".neu";
  if (r.com == 'a' && safe_ut.ok_is_a((r.nr + ".rem").c_str()) == 'f' &&
      safe_ut.ok_is_a(folder_of(publish).c_str()) == 'd')
    safe_ut.copy_file(publish.c_str(), ("xs/" + r.nr + "/" + r.target).c_str());
  if (mode == 2 && r.com != 'a' && r.com != 'e' && profileFile) {
    ut->profile_doc_line(profileFile, 0, r.title.c_str(), r.src.c_str());
    ut->profile_doc_end(profileFile, (unsigned long)safe_ut.file_size(r.src.c_str()));
  }
  if (safe_ut.ok_is_a(tmp.c_str()) != 'f') {
    char data[64];
    snprintf(data, sizeof data, "%s:%*s:0", r.date.c_str(), 10, "");
    tree_put(web.docDates, r.title, data);
    return;
  }
  FILE* out = safe_ut.create(neu.c_str());
  used_lists.clear();
  head_pass(n, tmp, out, r.com != 'a');
  top_line(n, out, publish);
  body_pass(n, tmp, out);
  safe_ut.close_FILE(&out, SRC, __LINE__);
  (void)links;
  style_pass(n);
  ut->split_doc(mode, neu.c_str(), "xs", web.max_page, rootFile, n, r.title.c_str(), profileFile, r);
  if (mode == 2) {
    snprintf(comm_buf, sizeof comm_buf, "del %s.* > NUL", r.nr.c_str());
    safe_ut.system(comm_buf);
  }
}

// The head of the work file, up to the first paragraph: Word's head tags
// and its East Asian and tab stop properties go; closing tags are lower
// case.  Written as the page head unless `write_head` is off.
void DocDes::head_pass(int n, const std::string& tmp, FILE* neu, bool write_head) {
  (void)n;
  std::string head = safe_ut.read_head(tmp.c_str(), "<p ", false);
  drop_all(head, "mso-fareast-", ';');
  drop_all(head, "tab-stops:", ';');
  for (const char* tag : {"<meta ", "<link rel=Edit-Time-", "<link rel=File-List-", "<link "}) {
    size_t k;
    while ((k = head.find(tag)) != std::string::npos &&
           (strcmp(tag, "<link ") || head.find("stylesheet", k) > head.find('>', k))) {
      size_t e = head.find('>', k);
      head.erase(k, e == std::string::npos ? std::string::npos : e + 1 - k);
    }
  }
  for (size_t k = head.find("</"); k != std::string::npos; k = head.find("</", k + 2))
    for (size_t i = k + 2; i < head.size() && isalpha((unsigned char)head[i]); i++)
      head[i] = (char)tolower((unsigned char)head[i]);
  if (write_head) fputs(head.c_str(), neu);
}

// The document line and the links at the top of the document's pages.
void DocDes::top_line(int n, FILE* neu, const std::string& publish) {
  comm& r = web.comms[n];
  std::string snap = safe_ut.ok_is_a(publish.c_str()) == 'f' ? publish : r.htm;
  char a[40] = "";
  if (safe_ut.ok_is_a(snap.c_str()) == 'f') safe_ut.file_date(snap.c_str(), a, 1);
  std::string A = std::string(a).substr(0, 10);
  A.resize(10, ' ');
  std::string B = safe_ut.ok_is_a(publish.c_str()) == 'f' ? doc_Date('p', publish) : A;
  std::string C = doc_Date('f', r.src);
  if (C[0] == '_') C[0] = '.';
  if (C[3] == '_') C[3] = '.';
  fprintf(neu, "<p><a name=\"1\"></a></p><$Doc=%s:%s:%s:%s><aa><center><p class=1><font size=1><br>",
          A.c_str(), B.c_str(), C.c_str(), r.title.c_str());
  std::string file = base_of(r.src);
  bool is_htm = ends_nocase(file, ".htm") || ends_nocase(file, ".html");
  const char* rel = r.src[0] == '/' ? "" : "../../";
  if (is_htm && !dated(file))
    fprintf(neu, "\n<a href=\"%s%s\">PRINT this DOC Version</a> . ", rel, r.src.c_str());
  else if (!dated(file) && web.edit && !web.noCards)
    fprintf(neu, "\n<a href=\"%s%s\">EDIT next DOC Version</a> . ", rel, r.src.c_str());
  if (trim(C).empty()) fputs("in Progress", neu);
  else fprintf(neu, "Frozen %s", C.c_str());
  const char* close = "</font></p></center><aa>";
  if (lower(file) == "webroot.rtf") {
    fprintf(neu, "\n<a href=\"../webRoot.pdf\">README</a> .\n<a href=\"../templates.pdf\">SeeTEMPLATES</a>%s",
            web.noCards ? "" : close);
    if (web.noCards) fprintf(neu, "\n<a href=\"../context.htm\">Index</a>%s", close);
  } else {
    fprintf(neu, "<a href=\"%s\">PRINT this DOC Version</a> . <a href=\"#2\">TOC</a>%s%s",
            r.target.c_str(), r.com == 'a' ? ", <a href=\"#top\">TOP</a>" : "", close);
  }
  fputs("\n</center>", neu);
}

namespace {

// The portal's contents at "C_:S".
void portal_contents(FILE* out) {
  fputs("C_:S<center>\n<a name=\"2\"></a><br>\n<p class=1><a href=\"2.htm\">Structure of Project Folder</a></p>"
        "\n<p class=1><a href=\"3.htm\">Notation & Terminology</a></p>"
        "\n<p class=1><a href=\"../glossar0.htm\">Glossary</a></p><br>",
        out);
}

// The first paragraph of a Word document: the text that stands before the
// first card is no paragraph of the author's, and an empty first paragraph
// goes with the one behind it.  False when no paragraph is left.
bool drop_empty_first(rBuffer& rb, FILE* neu) {
  if (!strncmp(rb.z + rb.a, "<p ></p>", 8)) {
    fputs("<p ></p>", neu);
    rb.a += 8;
    if (!rb.find(0, "<p", neu)) return false;
  }
  char* close = strstr(rb.z + rb.a, "</p>");
  if (close && close < rb.z + rb.e) {
    std::string t(rb.z + rb.a, close);
    std::string body = t.substr(t.find('>') + 1);
    bool empty = true;
    for (size_t k = 0; k < body.size(); k++) {
      if (body[k] == '<') k = body.find('>', k);
      else if (!body.compare(k, 6, "&nbsp;")) k += 5;
      else if (!isspace((unsigned char)body[k])) empty = false;
      if (k == std::string::npos) break;
    }
    if (empty) {
      rb.a = (int)(close - rb.z) + 4;
      if (rb.find(0, "</p>", nullptr)) rb.a += 4;
    }
  }
  return true;
}

}  // namespace

// The body, from the first paragraph on.  A first paragraph without text
// in a Word document is dropped with the one behind it.
void DocDes::body_pass(int n, const std::string& tmp, FILE* neu) {
  comm& r = web.comms[n];
  rBuffer rb(tmp.c_str());
  if (!rb.find(0, "<p ", nullptr)) return;
  std::string src = lower(r.src);
  if (r.com != 'h' && (ends_nocase(src, ".rtf") || ends_nocase(src, ".doc")) &&
      !drop_empty_first(rb, neu))
    return;
  str_set set("links");
  Btree_st st;
  for (unsigned ok = web.card_names.GetFirst(st); ok; ok = web.card_names.Next(st))
    if (isalpha((unsigned char)st.k[0])) set.insert(st.k);
  for (const char* s : {"C_:S", "<p", "mso-list:", "type=disc"}) set.ensure(s);
  // The portal's two headings behind its contents get the anchors 101 and
  // 102: the set is complete before the scan starts.
  if (n == 1) set.ensure("<h1>");
  int h1_left = 0, copy = 0;
  while (str_el* el = rb.find(copy, set, neu)) {
    const char* p = rb.z + rb.a;
    copy = el->L;
    if (!strcmp(el->k, "<p")) {
      fputc('\n', neu);
    } else if (!strcmp(el->k, "type=disc")) {
      fputs("type=square", neu);
      rb.a += el->L;
      copy = 0;
    } else if (!strcmp(el->k, "mso-list:")) {
      int list = 0, level = 0;
      if (sscanf(p + 9, "l%d level%d", &list, &level) == 2)
        used_lists.insert("@list l" + std::to_string(list) + ":level" + std::to_string(level));
    } else if (!strcmp(el->k, "C_:S")) {
      if (n == 1) {
        portal_contents(neu);
        fputs("\n<p class=1><a href=\"../webconf.htm\">Show this Web's current Configuration</a></p></center>", neu);
        rb.a += 4;
        copy = 0;
        h1_left = 2;
      }
    } else if (!strcmp(el->k, "<h1>") && h1_left > 0) {
      fprintf(neu, "</p><p class=1 align=\"right\"><font size=1><a name=\"%i\"></a>", 103 - h1_left);
      h1_left--;
    } else if (el->k[0] != '$' && el->k[1] != '_' && strcmp(el->k, "<h1>")) {
      exut.show_str("such.element( B.atStr )", el->k);
      exut.fail(__LINE__, SRC, "System: link key %s found in document %i\n", el->k, n);
    }
  }
  if (h1_left > 0) exut.fail(__LINE__, SRC, "System: the portal lacks its <h1> headings\n");
}

// "@list" blocks of the styles that no paragraph used are dropped.
void DocDes::style_pass(int n) {
  std::string neu = std::to_string(n) + ".neu", tmp = std::to_string(n) + ".tmp";
  FILE* out = safe_ut.create(tmp.c_str());
  {
    rBuffer rb(neu.c_str());
    int copy = 0;
    while (rb.find(copy, "@list", out)) {
      copy = 5;
      char sixth = rb.z[rb.a + 5];
      if (isalpha((unsigned char)sixth)) continue;
      const char* brace = (const char*)memchr(rb.z + rb.a, '{', std::min(1000, rb.e - rb.a));
      if (!brace) {
        printf("\nREST = [%.200s]\n", rb.z + rb.a);
        exut.fail(__LINE__, SRC, "System: @list without { in %s\n", neu.c_str());
      }
      std::string name = trim(std::string((const char*)rb.z + rb.a, brace));
      bool used = used_lists.count(name) > 0;
      if (!used && name.find(':') == std::string::npos)
        for (const std::string& u : used_lists) used = used || begins(u, (name + ":").c_str());
      if (used) continue;
      const char* end = strchr(brace, '}');
      if (!end || end >= rb.z + rb.e) continue;
      rb.a = (int)(end - rb.z) + 1;
      copy = 0;
    }
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
  safe_ut.copy_file(neu.c_str(), tmp.c_str());
}
