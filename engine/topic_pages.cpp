// Topic pages and the search over webs.  The titles filed under the topics
// of the configuration (topicHits) become the topic folders of this web:
// "Lo_fo<web>.htm" lists the folders, "fo_<folder>.htm" holds a folder's
// titles.  When a topic record names a web, the titles of all those webs
// that hold its search word are listed on "fo<n>.htm" behind "s.htm".  And
// the concept index: "context.htm" with a line of initials, and for each
// initial "c<code>.htm" with the words of allIndex.
#include <cctype>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "engine/escape.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/owned_file.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "topic_pages";
const char* const page_end = "\n</p></body></html>\n";
constexpr size_t max_skips = 30;  // phrases of the configuration that keep a title out

bool at_word_start(const std::string& text, const std::string& word) {
  if (word.empty()) return false;
  for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
    if (at == 0 || !isalnum((unsigned char)text[at - 1])) return true;
  return false;
}

// A folder as part of a file name: every character that is no letter,
// digit, "-" or "_" becomes "_", so that no folder name leaves the web.
std::string folder_id(const std::string& folder) {
  std::string id;
  for (unsigned char c : folder) id += isalnum(c) || c == '-' || c == '_' ? (char)c : '_';
  return id;
}

// How a page of this web reaches the web at `path`: an absolute path (a
// drive or "/" in front) by "file://", another from beside the web.
std::string web_prefix(const std::string& path) {
  bool absolute = (path.size() > 1 && path[1] == ':') || (!path.empty() && path[0] == '/');
  return absolute ? "file://" : "../";
}

struct search_line {
  std::string title, target;
};

// The lines "\n-<title>~<target>~" of a search file.
std::vector<search_line> search_lines(const std::string& text) {
  std::vector<search_line> lines;
  for (size_t at = text.find("\n-"); at != std::string::npos; at = text.find("\n-", at + 1)) {
    size_t t1 = text.find('~', at + 2);
    if (t1 == std::string::npos) break;
    size_t t2 = text.find('~', t1 + 1);
    if (t2 == std::string::npos) break;
    search_line l{text.substr(at + 2, t1 - at - 2), text.substr(t1 + 1, t2 - t1 - 1)};
    if (l.title.find('\n') != std::string::npos || l.target.find('\n') != std::string::npos)
      continue;
    lines.push_back(l);
  }
  return lines;
}

// A key of topicHits taken apart: "<fo>[<n>]+<pr>: <title>" or
// "<fo>[<n>]-<title>".
struct topic_hit {
  std::string fo, pr, title;
  int n = -1;
  bool sub = false;
};

bool parse_hit(const std::string& k, topic_hit& h) {
  size_t open = k.find('[');
  size_t close = open == std::string::npos ? open : k.find(']', open);
  if (close == std::string::npos || close + 1 >= k.size()) return false;
  h.fo = k.substr(0, open);
  h.n = atoi(k.c_str() + open + 1);
  h.sub = k[close + 1] == '+';
  std::string rest = k.substr(close + 2);
  if (h.sub) {
    size_t colon = rest.find(": ");
    if (colon == std::string::npos) return false;
    h.pr = rest.substr(0, colon);
    h.title = rest.substr(colon + 2);
  } else {
    h.title = rest;
  }
  return true;
}

std::string in_root(const char* root, const std::string& file) {
  return std::string(root) + "/" + file;
}

// Writes the head and menu of a page of the web's top folder.
FILE* topic_page(ut_htm& ut, const std::string& file, const char* title, const char* mode) {
  FILE* f = safe_ut.open_FILE(file.c_str(), mode);
  if (*mode == 'w') {
    ut.HeaderMenu(f, -1, 0, title, "");
    ut.ourMenu(__LINE__, SRC, f, 3, nullptr, nullptr, 0);
  }
  return f;
}

}  // namespace

void ut_htm::read_search() {
  std::set<std::string> seen;
  for (const topic_record& se : web.folders) {
    if (se.web_path.empty()) continue;
    const std::string file = se.web_path + "/profs/search";
    if (!seen.insert(file).second) continue;
    if (safe_ut.ok_is_a(file.c_str()) != 'f') {
      printf("\nAppErr: not found: %s\n", file.c_str());
      continue;
    }
    for (const search_line& l : search_lines(safe_ut.read_text(file.c_str())))
      topic_hits(l.title, std::to_string(se.web_number) + ":" + l.target);
  }
}

void ut_htm::search_in_web(FILE* out, int n, const char* webRoot) {
  const topic_record& se = web.folders.at(n);
  std::string file = se.web_path + "/profs/search";
  if (se.web_path.empty() || safe_ut.ok_is_a(file.c_str()) != 'f') file = in_root(webRoot, "profs/search");
  const std::string prefix = web_prefix(se.web_path);
  fprintf(out,
          "\n</p><br/><center>\n<h1>The <a href=\"%s%s/1.htm\">%s</a> Web</h1>\n<h3>All Pages "
          "containing\n<a href=\"s.htm#%i\">%s</a> in their Title</h3><font size=2>\n[ = "
          "subfolder of <a href=\"fo_%s.htm\">%s</a> ]<br/></font>\n</center><p class=1>",
          prefix.c_str(), se.web_path.c_str(), se.web_name.c_str(), se.web_number,
          se.phrase.c_str(), folder_id(se.head).c_str(), se.head.c_str());
  if (safe_ut.ok_is_a(file.c_str()) != 'f') {
    printf("\nW a r n i n g :  frm = %s does not exist\n", file.c_str());
    return;
  }
  for (const search_line& l : search_lines(safe_ut.read_text(file.c_str()))) {
    if (!at_word_start(l.title, se.phrase)) continue;
    bool skipped = false;
    for (size_t i = 0; i < web.H_phrases.size() && i < max_skips; i++)
      skipped |= !web.H_phrases[i].empty() && l.title.compare(0, web.H_phrases[i].size(), web.H_phrases[i]) == 0;
    if (!skipped)
      fprintf(out, "\n<br/>%s<a href=\"%s%s/%s\">%s</a>", "", prefix.c_str(), se.web_path.c_str(),
              html_attr(l.target).c_str(), l.title.c_str());
  }
}

void ut_htm::cross_search(const char* file, const char* webRoot) {
  Btree_st st;
  if (file && *file) {
    owned_FILE links(safe_ut.open_append(file));
    std::set<std::string> once;
    for (unsigned ok = web.topicHits.GetFirst(st); ok; ok = web.topicHits.Next(st)) {
      topic_hit h;
      if (!parse_hit(std::string(st.k, st.k_L), h) || !once.insert(h.fo).second) continue;
      fprintf(links.f, "\n<p class=1><a href=\"../../xs_%s/fo_%s.htm\">%s</a></p>",
              web.web_name.c_str(), folder_id(h.fo).c_str(), h.fo.c_str());
    }
    safe_ut.close_FILE(&links.f, SRC, __LINE__);
  }
  read_search();
  bool any = false;
  for (const topic_record& se : web.folders) any |= !se.web_path.empty();
  if (!any) return;
  const char* name = web.web_name.c_str();
  owned_FILE s(safe_ut.create(in_root(webRoot, "s.htm").c_str()));
  fprintf(s.f,
          "\n<p class=1><a href=../xs_%s/1.htm>This Web</a>\n</p><br/><center><h1>%s Pages on "
          "...</h1>\n<p>search configured<a href=\"profs/iconf.txt\"> here &nbsp; </a>\n</center>"
          "<br/><p><p class=1>\n<a href=\"Lo_fo%s.htm\">Logical Folders</a><br/>",
          name, name, name);
  owned_FILE fo;
  int last_web = -1, page = -1;
  for (size_t n = 0; n < web.folders.size(); n++) {
    const topic_record& se = web.folders[n];
    if (se.web_path.empty()) continue;
    if (se.web_number != last_web)
      fprintf(s.f,
              "\n<a name=%i></a><b><br/>\nAll Pages in <a href=\"%s%s/1.htm\">%s</a>\non:<font "
              "size=3>%s</font><br/></b>",
              se.web_number, web_prefix(se.web_path).c_str(), se.web_path.c_str(),
              se.web_name.c_str(), se.head.c_str());
    last_web = se.web_number;
    // A record marked "." goes on with the page of the record before.
    if (!(se.mark == '.' && fo.f)) {
      if (fo.f) {
        fputs(page_end, fo.f);
        safe_ut.close_FILE(&fo.f, SRC, __LINE__);
      }
      page = (int)n;
      fo.f = topic_page(*this, in_root(webRoot, "fo" + std::to_string(page) + ".htm"),
                        se.phrase.c_str(), "w");
    }
    fprintf(s.f, "\n<br/>%s : <a href=\"fo%i.htm\">%s</a>",
            se.label ? se.label->c_str() : se.head.c_str(), page, se.phrase.c_str());
    search_in_web(fo.f, (int)n, webRoot);
  }
  if (fo.f) {
    fputs(page_end, fo.f);
    safe_ut.close_FILE(&fo.f, SRC, __LINE__);
  }
  fputs(page_end, s.f);
  safe_ut.close_FILE(&s.f, SRC, __LINE__);
  std::string bat = !strcmp(webRoot, "xs") ? "xs.bat" : in_root(webRoot, "../xs.bat");
  safe_ut.write_text(bat.c_str(), "\nxs_" + web.web_name + "\\s.htm");
}

namespace {

// The hit's line on its folder page; a target "<n>:..." lies in the web of
// record group n, a target "<docNr>/..." in this web.
void hit_line(FILE* out, const web_model& web, const std::string& label, const std::string& target,
              const std::string& title) {
  size_t digits = 0;
  while (digits < target.size() && isdigit((unsigned char)target[digits])) digits++;
  if (digits && digits < target.size() && target[digits] == ':') {
    int wn = atoi(target.c_str());
    for (const topic_record& se : web.folders) {
      if (se.web_number != wn || se.web_path.empty()) continue;
      std::string base = web_prefix(se.web_path) + se.web_path + "/";
      // The target comes from the other web's file.
      fprintf(out, "\n<br/>%s: <a href=\"%s%s\">%s</a>", label.c_str(), base.c_str(),
              html_attr(target.substr(digits + 1)).c_str(), title.c_str());
      return;
    }
  }
  if (digits && digits < target.size() && target[digits] == '/') {
    fprintf(out, "\n<br/>%s: <a href=\"%i/%s\">%s</a>", label.c_str(), atoi(target.c_str()),
            target.c_str() + digits + 1, title.c_str());
    return;
  }
  fprintf(out, "\n<br/>%s: <a href=\"%s%s\">%s</a>", label.c_str(), "", target.c_str(),
          title.c_str());
}

// "Lo_fo<web>.htm" and the folder pages "fo_<folder>.htm".
void topic_folders(ut_htm& ut, const char* root) {
  web_model& web = ut.web;
  owned_FILE lo(topic_page(ut, in_root(root, "Lo_fo" + web.web_name + ".htm"), "Topic Folders", "w"));
  fputs("\n</p><br/><center><h1>Topic Folders</h1>\n<p>Topic search configured <a "
        "href=\"profs/iconf.txt\">here</a>\n</center><p class=1>",
        lo.f);
  owned_FILE fo;
  std::string current;
  std::set<std::string> made;
  Btree_st st;
  for (unsigned ok = web.topicHits.GetFirst(st); ok; ok = web.topicHits.Next(st)) {
    topic_hit h;
    if (!parse_hit(std::string(st.k, st.k_L), h)) continue;
    const topic_record* se =
        h.n >= 0 && h.n < (int)web.folders.size() ? &web.folders[h.n] : nullptr;
    // A "+" hit opens a sub-folder of its label.
    std::string sub = h.sub ? h.pr : (se ? se->phrase : "");
    std::string folder = h.sub ? h.fo + "_" + h.pr : h.fo;
    if (folder != current) {
      if (fo.f) safe_ut.close_FILE(&fo.f, SRC, __LINE__);
      current = folder;
      std::string id = folder_id(folder);
      bool again = !made.insert(id).second;
      if (!again)
        fprintf(lo.f, "\n<br/>%s: <a href=\"fo_%s.htm\">%s</a>", h.fo.c_str(), id.c_str(),
                sub.c_str());
      fo.f = topic_page(ut, in_root(root, "fo_" + id + ".htm"), folder.c_str(), again ? "a" : "w");
      if (!again)
        fprintf(fo.f, "\n</p><br/><center><h1>%s: %s</h1>\n</center><br/><p>", h.fo.c_str(),
                sub.c_str());
    }
    hit_line(fo.f, web, h.sub ? h.pr : sub, st.c, h.title);
  }
  if (fo.f) safe_ut.close_FILE(&fo.f, SRC, __LINE__);
  fputs("\n<br/><a href=s.htm>All Pages on ...</a>", lo.f);
  fputs(page_end, lo.f);
  safe_ut.close_FILE(&lo.f, SRC, __LINE__);
  // The folder pages end once all their hits are in.
  for (const std::string& id : made) {
    owned_FILE f(safe_ut.open_append(in_root(root, "fo_" + id + ".htm").c_str()));
    fputs(page_end, f.f);
    safe_ut.close_FILE(&f.f, SRC, __LINE__);
  }
}

// An entry of allIndex: its initial, word and the page its line starts with.
struct index_line {
  unsigned char initial = 0;
  std::string word, line;
  int page = 0;
};

bool split_index(const Btree_st& st, bool shortWeb, index_line& e) {
  std::string k(st.k, st.k_L), line(st.c);
  if (k.empty() || line.empty()) return false;
  size_t digits = 0;
  while (digits < line.size() && isdigit((unsigned char)line[digits])) digits++;
  e.initial = (unsigned char)k[0];
  e.page = atoi(line.c_str());
  size_t numLen = digits && k.size() > digits + 1 && !k.compare(k.size() - digits, digits, line, 0, digits) ? digits : 0;
  e.word = k.substr(1, k.size() - 1 - numLen);
  if (shortWeb && ((e.word.size() == 2 && e.word[1] == '_') || e.word == "$_~")) return false;
  if (line[0] == '*' || line[0] == '"') line = line.substr(1);
  e.line = line;
  return true;
}

// The line of initials that leads to the pages c<code>.htm.
void letter_line(FILE* out, const std::vector<unsigned char>& initials) {
  fputs("<center>", out);
  bool capitals = true;
  for (unsigned char c : initials) {
    bool cap = c >= 'A' && c <= 'Z';
    if (capitals && !cap && c != initials.front()) fputs("<br/>", out);
    capitals = cap;
    fprintf(out, "\n<a href=\"c%u.htm\">&nbsp;%c&nbsp;</a>", (unsigned)c, c);
  }
}

void index_entry_line(FILE* out, const ut_htm& ut, const index_line& e, bool newWord) {
  const char* sep = newWord ? "<font size=0.1pt><br/>&nbsp;</font>" : "<br/>";
  int doc = e.page > 0 && e.page < (int)ut.page_doc.size() ? ut.page_doc[e.page] : 0;
  if (doc > 0)
    fprintf(out, "\n%s<a href=\"%i/%s", sep, doc, e.line.c_str());
  else
    fprintf(out, "\n%s<a href=\"%s", sep, e.line.c_str());
}

// context.htm and the pages c<code>.htm, in the web's folder.
void concept_index(ut_htm& ut) {
  const bool shortWeb = ut.one_doc_web();
  std::vector<index_line> all;
  std::vector<unsigned char> initials;
  Btree_st st;
  for (unsigned ok = ut.web.allIndex.GetFirst(st); ok; ok = ut.web.allIndex.Next(st)) {
    index_line e;
    if (!split_index(st, shortWeb, e)) continue;
    if (initials.empty() || initials.back() != e.initial) initials.push_back(e.initial);
    all.push_back(e);
  }
  if (safe_ut.exists("context.htm")) safe_ut.remove_file("context.htm");
  const char* title = shortWeb ? "Stichwortverzeichnis (Index)" : "Where Concepts are Discussed";
  owned_FILE ctx(ut.fixed_page(true, 0, "context.htm", title, ""));
  if (shortWeb) fputs("<a href=2/6.htm>TOP<a> . <a href=2/6.htm#2>TOC</a>", ctx.f);
  letter_line(ctx.f, initials);
  fprintf(ctx.f, "\n</p><br/><p class=1><center><font size=1>%u entries", (unsigned)all.size());
  if (ut.web.menu) fputs("\n<br/><p class=1><center>\n<a href=D_.htm>Semi Titles</a></p>", ctx.f);
  owned_FILE c;
  std::string lastWord;
  int current = -1;
  for (const index_line& e : all) {
    bool first = e.initial == initials.front();
    if (e.initial != current) {
      current = e.initial;
      if (c.f) {
        fputs(page_end, c.f);
        safe_ut.close_FILE(&c.f, SRC, __LINE__);
      }
      std::string name = "c" + std::to_string((unsigned)e.initial) + ".htm";
      c.f = ut.fixed_page(true, 0, name.c_str(), title, "");
      letter_line(c.f, initials);
      for (FILE* out : {c.f, first ? ctx.f : nullptr}) {
        if (!out) continue;
        fprintf(out,
                "\n</p><p class=1>\n<a name=\"%c%i\"></a><br/><br/><font size=8pt>\n<b><a "
                "href=context.htm>%c</a></b></font>\n</p><p class=1 style='margin-left:0.65in'>",
                e.initial, (int)e.initial, e.initial);
      }
      lastWord.clear();
    }
    bool newWord = e.word != lastWord;
    lastWord = e.word;
    index_entry_line(c.f, ut, e, newWord);
    if (first) index_entry_line(ctx.f, ut, e, newWord);
  }
  if (c.f) {
    fputs(page_end, c.f);
    safe_ut.close_FILE(&c.f, SRC, __LINE__);
  }
  fputs(page_end, ctx.f);
  safe_ut.close_FILE(&ctx.f, SRC, __LINE__);
}

}  // namespace

void ut_htm::make_topicPages(const char* webRoot) {
  if (!webRoot) safe_uts::null_pointer(__LINE__, SRC);
  close_search();
  cross_search(nullptr, webRoot);
  topic_folders(*this, webRoot);
  folder_guard here;
  here.enter(webRoot);
  concept_index(*this);
  here.back();
}
