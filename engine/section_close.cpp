// Section pages: closing a document.  Behind its last page comes a page
// that sends the browser back to the head page; the head page gets the
// contents, pages with sub-pages their deep table, pages with footnotes
// the footnotes; then every page's local links and semi titles are
// resolved and <page>.tmp becomes <page>.htm.  Also the links between the
// ERD and SQL pages, the links into the code web, and the closing check.
#include <cctype>
#include <cstring>
#include <string>

#include "engine/section_cut.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/str_set.h"

namespace {

using cut_text::find_in;
using cut_text::starts;

const char* const SRC = "section_close";

FILE* create(const std::string& name) { return safe_ut.open_FILE(name.c_str(), "w"); }

void close(FILE*& f) { safe_ut.close_FILE(&f, SRC, __LINE__); }

}  // namespace

void doc_splitter::close_doc() {
  if (expected > 0) printf("\nW a r n i n g :  %i pictures not found under %i/pic\n", expected, docNr);
  int last = page;
  page++;
  FILE* r = create(page_file(page, "htm"));
  fprintf(r, "\n<HTML><head><meta HTTP-EQUIV=\"refresh\"\n content=\"0;URL=%i.htm\"></meta></head></HTML>",
          firstPage);
  close(r);
  ut.page_doc[page] = docNr;
  ut.page_first[page] = firstPage;
  ut.page_level[page] = 0;
  web.max_page = page;
  printf(" .. %i, %i pictures in docNr = %i", last - firstPage + 1, pictures, docNr);
  contents();
  deep_tables();
  footnotes();
  for (int p = last; p >= firstPage; p--) resolve_page(p);
  if (last == firstPage && kind != 'a' && !rec.docHtm.empty() && safe_ut.exists(rec.docHtm.c_str()))
    ut.print_page(firstPage, rec.docHtm.c_str(), docNr);
  if (!web.keep && safe_ut.exists((dir + "/doc.htm").c_str()))
    safe_ut.remove_file((dir + "/doc.htm").c_str());
}

// The document's contents on its head page, at "<++Toc>"; without that
// mark (and for any document but the portal) behind the document head.
void doc_splitter::contents() {
  std::string head = page_file(firstPage, "tmp");
  safe_ut.copy_file("xxx", head.c_str());
  bool found = false;
  {
    FILE* o = create(head);
    rBuffer rb("xxx");
    int copy = 0;
    while (rb.find(copy, "<++", o)) {
      copy = 3;
      if (!starts(rb.z + rb.a, "<++Toc>")) continue;
      found = true;
      rb.a += 7;
      copy = 0;
      our_toc_here(o);
      const char* d = find_in(rb.z + rb.a, rb.z + rb.e, "<deepToc");
      const char* de = d ? find_in(d, rb.z + rb.e, "</deepToc>") : nullptr;
      if (de) {
        rb.write_to(d, o);
        rb.a = (int)(de + 10 - rb.z);
      }
    }
    close(o);
  }
  if (found || docNr <= 1) return safe_ut.remove_file("xxx");
  printf("\nNo toc found in docNr %i", docNr);
  FILE* o = create(head);
  rBuffer rb("xxx");
  if (rb.find(0, "<body", o)) {
    const char* gt = find_in(rb.z + rb.a, rb.z + rb.e, ">");
    if (gt) {
      rb.write_to(gt, o);
      fputs("><a name=2></a>", o);
      rb.a++;
    }
    if (rb.find(0, "</center><aa>", o)) {
      rb.a += 13;
      fputs("</center><aa>", o);
      our_toc_here(o, kind == 'e' ? -1 : 1);
    }
  }
  rb.copy_rest(o);
  close(o);
  safe_ut.remove_file("xxx");
}

void doc_splitter::our_toc_here(FILE* o, int width) {
  ut.our_Toc(o, width, pictures, docNr, firstPage, semiTitles, localNames, ourToc);
}

// Deep tables on pages with sub-pages; the page sizes into the profile.
void doc_splitter::deep_tables() {
  int last = page - 1;
  unsigned long sum = 0;
  for (int p = last; p >= firstPage; p--) {
    std::string f = page_file(p, "tmp");
    if (profile && p > firstPage) sum += ut.page_size_line(profile, f.c_str());
    if (!(ut.page_level[p + 1] > ut.page_level[p]) || ut.page_level[p] == 1000) continue;
    safe_ut.rename_file(f.c_str(), "xxx");
    FILE* o = create(f);
    rBuffer rb("xxx");
    if (rb.find(0, "<deepToc ", o)) {
      const char* gt = find_in(rb.z + rb.a, rb.z + rb.e, ">");
      const char* de = gt ? find_in(gt, rb.z + rb.e, "</deepToc>") : nullptr;
      if (de) {
        std::string K((const char*)rb.z + rb.a + 9, gt);
        ut.deep_table(o, ourToc, K.c_str());
        rb.a = (int)(de + 10 - rb.z);
      }
    }
    rb.copy_rest(o);
    close(o);
    safe_ut.remove_file("xxx");
  }
  if (profile) ut.profile_doc_end(profile, sum);
}

// Footnotes at the end of their pages.
void doc_splitter::footnotes() {
  for (int p = page - 1; p >= firstPage; p--) {
    std::string prefix = std::to_string(p) + ":";
    std::vector<std::string> files;
    for (const std::string& n : footnoteList)
      if (n.compare(0, prefix.size(), prefix) == 0) files.push_back(n.substr(prefix.size()));
    if (files.empty()) continue;
    std::string f = page_file(p, "tmp");
    safe_ut.rename_file(f.c_str(), "xxx");
    // The page ends with the tail that end_page wrote.
    long size = safe_ut.file_size("xxx");
    std::string tail = "</font></body></html>";
    long keep = size >= (long)tail.size() ? size - (long)tail.size() : size;
    safe_ut.copy_range(f.c_str(), "xxx", 0, keep);
    FILE* o = safe_ut.open_append(f.c_str());
    fputs("</font>\n<p>___________________</p>", o);
    for (const std::string& fn : files)
      if (safe_ut.exists(fn.c_str())) {
        std::string text = safe_ut.read_text(fn.c_str());
        fwrite(text.data(), 1, text.size(), o);
      }
    fputs("</body></html>\n", o);
    close(o);
    safe_ut.remove_file("xxx");
  }
}

void doc_splitter::resolve_page(int p) {
  std::string tmp = page_file(p, "tmp"), xxx = page_file(p, "xxx"), htm = page_file(p, "htm");
  resolve_hrefs(tmp, xxx);
  resolve_semis(xxx, htm);
  safe_ut.remove_file(tmp.c_str());
  safe_ut.remove_file(xxx.c_str());
}

// Local links "#NAME" to the pages that hold their anchors.
void doc_splitter::resolve_hrefs(const std::string& from, const std::string& to) {
  FILE* o = create(to);
  rBuffer rb(from.c_str());
  int copy = 0;
  while (rb.find(copy, "<a href=\"#", o)) {
    const char* n = rb.z + rb.a + 10;
    const char* q = find_in(n, rb.z + rb.e, "\"");
    copy = 10;
    if (!q || q - n > 250) continue;
    std::string name(n, q);
    std::string target;
    if (auto v = tree_value(localNames, name)) {
      target = *v;
      printf("\nmp_oRef: %s --> %s", name.c_str(), target.c_str());
    } else {
      const char* gt = find_in(q, rb.z + rb.e, ">");
      const char* ae = gt ? find_in(gt, rb.z + rb.e, "</a>") : nullptr;
      std::string text = ae ? std::string(gt + 1, ae) : "";
      if (!ut.find_tocTarget(("#" + name).c_str(), text.c_str(), target)) target.clear();
    }
    if (target.empty()) {
      if (!name.empty() && !isdigit((unsigned char)name[0])) {
        tree_put(ut.missRefs, "#" + name, std::to_string(docNr));
        if (name != "Structure of Project Folder" && name != "top") {
          printf("\n??_oRef: %s", name.c_str());
          ut.open_refs++;
        }
      }
      continue;
    }
    fprintf(o, "<a href=\"%s\"", target.c_str());
    rb.a = (int)(q + 1 - rb.z);
    copy = 0;
  }
  close(o);
}

// "D_( title )" to the page of a configured title; the style that
// norm_para keeps for class 0 goes.
void doc_splitter::resolve_semis(const std::string& from, const std::string& to) {
  str_set stops("semi titles");
  stops.insert("D_(")->nr = 1;
  stops.insert("<p class=0 style='")->nr = 2;
  FILE* o = create(to);
  rBuffer rb(from.c_str());
  int copy = 0;
  std::string own = std::to_string(docNr) + "/";
  while (str_el* el = rb.find(copy, stops, o)) {
    const char* p = rb.z + rb.a;
    if (el->nr == 2) {
      const char* q = find_in(p + 18, rb.z + rb.e, "'");
      fputs("<p class=0", o);
      rb.a = q ? (int)(q + 1 - rb.z) : rb.a + 18;
      copy = 0;
      continue;
    }
    const char* close_b = find_in(p + 3, rb.z + rb.e, ")");
    copy = 3;
    if (p[3] == 'x' || !close_b || close_b - p > 300) continue;
    std::string text(p + 3, close_b);
    auto v = tree_value(ut.semiKeys, semi_key(text));
    if (v) {
      std::string t = *v;
      std::string href = t.compare(0, own.size(), own) == 0 ? t.substr(own.size()) : "../" + t;
      fprintf(o, "<a href=\"%s\">%s</a>", href.c_str(), text.c_str());
    } else {
      bool word = false;
      for (char c : text) word = word || safe_uts::is_alnum((unsigned char)c);
      std::string trimmed = text;
      trimmed.erase(0, trimmed.find_first_not_of(' '));
      while (!trimmed.empty() && trimmed.back() == ' ') trimmed.pop_back();
      if (word) {
        fprintf(o, "D_( %s )", trimmed.c_str());
        printf("\nUnknown semi title: %s", trimmed.c_str());
        ut.unknown_semis++;
      } else {
        fputs("D_( ... )", o);
      }
    }
    rb.a = (int)(close_b + 1 - rb.z);
    copy = 0;
  }
  close(o);
}

// The ERD page and the SQL page name each other.
void ut_htm::cross_link() {
  if (ourERD.empty()) return;
  if (ourSQL.empty()) {
    exut.show_str("ourERD", ourERD.c_str());
    exut.fail(__LINE__, SRC, "System: an ERD page without its SQL page");
  }
  auto part = [](const std::string& s, bool page) {
    size_t t = s.find('~');
    return page ? s.substr(0, t) : s.substr(t + 1);
  };
  for (int i = 0; i < 2; i++) {
    const std::string& me = i ? ourSQL : ourERD;
    const std::string& other = i ? ourERD : ourSQL;
    std::string file = "xs/" + part(me, true);
    if (!safe_ut.exists(file.c_str())) continue;
    std::string t = safe_ut.read_text(file.c_str());
    std::string name = part(other, false), repl = "../" + part(other, true);
    std::string r;
    for (size_t k = 0; k < t.size();) {
      if (t.compare(k, name.size(), name) == 0) {
        r += repl;
        k += name.size();
      } else if (t.compare(k, 38, "<font color=#FF3333><b>[?] </b></font>") == 0) {
        k += 38;
      } else {
        r += t[k++];
      }
    }
    safe_ut.write_text(file.c_str(), r);
  }
}

void ut_htm::load_to_code() {
  // The first cut of a build runs before the code web exists: the table
  // is read by the first cut that finds it.
  const char* file = "xs/index/to_code";
  if (to_code_loaded || safe_ut.ok_is_a(file) != 'f') return;
  to_code_loaded = true;
  std::string t = safe_ut.read_text(file);
  size_t at = 0;
  while (at < t.size()) {
    size_t e = t.find('\n', at);
    if (e == std::string::npos) e = t.size();
    // "~key~value~": the key is a class name, the value a page of the code
    // web relative to its folder.
    if (e - at > 3 && t[at] == '~' && t[e - 1] == '~') {
      size_t mid = t.find('~', at + 1);
      if (mid != std::string::npos && mid < e - 1 && mid > at + 1)
        tree_put(to_code, t.substr(at + 1, mid - at - 1), t.substr(mid + 1, e - 1 - mid - 1));
    }
    at = e + 1;
  }
}

void ut_htm::code_links(FILE* out, const char* title) {
  if (to_code.number_of_elements() == 0) return;
  std::string line;
  const char* p = title;
  while (*p) {
    while (*p && !safe_uts::is_alnum((unsigned char)*p)) p++;
    const char* e = p;
    while (*e && safe_uts::is_alnum((unsigned char)*e)) e++;
    if (e == p) break;
    if (auto v = tree_value(to_code, std::string(p, e))) {
      line += line.empty() ? "[" : ",";
      line += "<a href=../j2h/" + *v + ">code</a>";
    }
    p = e;
  }
  if (!line.empty()) fprintf(out, "\n%s ]<br/>", line.c_str());
}

int ut_htm::close_check() {
  missRefs.Rem("#Structure of Project Folder");
  missRefs.Rem("#top");
  int n = 0;
  Btree_st st;
  for (unsigned s = missRefs.GetFirst(st); s; s = missRefs.GetNext(st)) {
    printf("\nno oRef: n1st %3s: [ %s ]", st.c, st.k);
    n++;
  }
  if (secs_not_found && web.secDates.number_of_elements() > 0) {
    printf("\n\nW a r n i n g :  %i sections not found in Btree secDates.\n", secs_not_found);
    web.secDates.show("secDates", stdout);
  }
  return n;
}
