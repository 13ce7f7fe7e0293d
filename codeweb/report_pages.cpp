// The pages and files around the language readers: the know-how pages
// (tips), the XML list, the JScript functions and where they are used, the
// pages of a generated sample, the documents' link tables, ourDoc.htm and
// docu_files, 1.bat, the closing message and the closing files.
#include <cstring>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/file_ops.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "report_pages";

std::string lower(std::string s) {
  for (char& c : s) c = (char)safe_uts::to_lower_char((unsigned char)c);
  return s;
}

// A relative path as the target of a link: every byte outside the plain
// characters of a name is written as %XX.
std::string url_path(const std::string& p) {
  static const char* hex = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : p) {
    if (isalnum(c) || strchr("/._-~", c)) {
      out += (char)c;
    } else {
      out += '%';
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

bool word_char(char c) { return safe_uts::is_alnum((unsigned char)c) || c == '_' || c == '$'; }

}  // namespace

// ------------------------------------------------------------ know-how

std::string Java2Htm::Tips_to_htm() {
  std::string tips = root + "/tips/tips.htm";
  if (safe_ut.readable_input(tips.c_str())) split_tips(tips);
  show_xml_files("XML Files");
  if (!sample) return "f.htm";
  std::string d = head;
  d += "<center><font size=5>Sample Application</font><br><br>"
       "<a href=\"tips.htm\">EJB 2.0 Know How Items</a><br><br>Our Sample's Default Deployment";
  if (safe_ut.ok_is_a((root + "/j2h_res").c_str()) == 'd') {
    safe_ut.copy_file((j2h + "/j2ee.ppt").c_str(), (root + "/j2h_res/j2ee.ppt").c_str());
    d += "<br><a href=\"j2ee.ppt\">J2EE</a>";
  }
  safe_ut.write_text((j2h + "/docu.htm").c_str(), d + "</center></font></BODY></HTML>\n");
  if (anzTips > 0) {
    std::string last = j2h + "/tip" + std::to_string(anzTips) + ".htm";
    safe_ut.copy_file((j2h + "/tip0.htm").c_str(), last.c_str());
    safe_ut.copy_file((j2h + "/tip" + std::to_string(anzTips + 1) + ".htm").c_str(), last.c_str());
  }
  return "tips.htm#top";
}

// Splits the know-how file at the marks ":::" into tip<i>.htm; a mark
// followed by "(" does not end a page, and "(tag)" behind it stands for
// "<tag>".  The first text outside tags behind a mark is the page's title.
int Java2Htm::split_tips(const std::string& file) {
  std::string text = safe_ut.read_text(file.c_str());
  std::vector<std::string> parts;
  std::string cur;
  bool started = false;
  for (size_t i = 0; i < text.size();) {
    if (text.compare(i, 3, ":::") == 0) {
      size_t c = i + 3;
      size_t close = c < text.size() && text[c] == '(' ? text.find(')', c) : std::string::npos;
      if (close != std::string::npos && close - c < 40) {
        cur += "<" + text.substr(c + 1, close - c - 1) + ">";
        i = close + 1;
        continue;
      }
      if (started) parts.push_back(cur);
      started = true;
      cur.clear();
      i = c;
      continue;
    }
    cur += text[i++];
  }
  if (started) parts.push_back(cur);
  if ((int)parts.size() >= max_tips) exut.fail(__LINE__, SRC, "anzTips: %zu know-how items in %s", parts.size(), file.c_str());
  anzTips = (int)parts.size();
  tipTitles.assign(anzTips + 1, "");
  std::string list = std::string(head) + "<a name=top></a>";
  for (int i = 1; i <= anzTips; i++) {
    const std::string& body = parts[i - 1];
    std::string t;
    for (size_t k = 0; k < body.size() && t.empty();) {
      if (body[k] == '<') {
        size_t gt = body.find('>', k);
        k = gt == std::string::npos ? body.size() : gt + 1;
        continue;
      }
      size_t lt = body.find('<', k);
      t = body.substr(k, lt == std::string::npos ? lt : lt - k);
      while (!t.empty() && isspace((unsigned char)t.back())) t.pop_back();
      while (!t.empty() && isspace((unsigned char)t[0])) t.erase(0, 1);
      k = lt == std::string::npos ? body.size() : lt;
    }
    tipTitles[i] = t;
    char bar[300];
    snprintf(bar, sizeof bar, "<a href=1.htm>ALL</a> &nbsp; <a href=tip%i.htm>previous</a> &nbsp; <a href=tip%i.htm>next</a><br>\n",
             i > 1 ? i - 1 : 0, i + 1);
    safe_ut.write_text((j2h + "/tip" + std::to_string(i) + ".htm").c_str(),
                       std::string("<HTML><HEAD><link rel=stylesheet type=\"text/css\" href=\"j2h.css\"></HEAD>\n<BODY>\n") + bar +
                           body + "\n</BODY></HTML>\n");
    list += "\n<br><a href=tip" + std::to_string(i) + ".htm>" + html_text(t) + "</a>";
  }
  if (anzTips > 0) {
    safe_ut.write_text((j2h + "/tips.htm").c_str(), list + "\n</font></BODY></HTML>\n");
    // The bars of the first and last page point one beyond: both exist.
    safe_ut.copy_file((j2h + "/tip0.htm").c_str(), (j2h + "/tip1.htm").c_str());
    safe_ut.copy_file((j2h + "/tip" + std::to_string(anzTips + 1) + ".htm").c_str(),
                      (j2h + "/tip" + std::to_string(anzTips) + ".htm").c_str());
  }
  return anzTips;
}

// dep.htm: each ".xml" file of the tree outside <root>/default, copied
// into the code web at its place below the root.
void Java2Htm::show_xml_files(const char* title_) {
  FILE* f = open_page(j2h + "/dep.htm", title_);
  std::string def = root + "/default/";
  for (auto& e : listing) {
    const std::string& p = e.first;
    if (e.second || p.size() < 4 || lower(p.substr(p.size() - 4)) != ".xml") continue;
    if (p.compare(0, def.size(), def) == 0 || !safe_ut.readable_input(p.c_str())) continue;
    std::string rel = shown(p).substr(1);
    safe_ut.copy_file_deep((j2h + "/" + rel).c_str(), p.c_str());
    fprintf(f, "\n<br><a href=\"%s\" TARGET=\"frame3\">%s</a>", html_attr(url_path(rel)).c_str(),
            html_text(rel).c_str());
  }
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// ------------------------------------------------------------ JScript

void Java2Htm::js_functions(const std::string& path) {
  std::string text = safe_ut.read_text(path.c_str());
  for (size_t at = text.find("function"); at != std::string::npos; at = text.find("function", at + 8)) {
    if (at > 0 && !isspace((unsigned char)text[at - 1])) continue;  // a file may begin with it
    size_t k = at + 8;
    if (k >= text.size() || !isspace((unsigned char)text[k])) continue;
    while (k < text.size() && isspace((unsigned char)text[k])) k++;
    size_t e = k;
    while (e < text.size() && word_char(text[e])) e++;
    if (e == k) continue;
    std::string name = text.substr(k, e - k);
    if (!jsFunctions) {
      jsFunctions = std::make_unique<Btree>();
      jsFunctions->quiet = 1;
      jsFunctions->init(nullptr, 0);
      jsUsers = std::make_unique<Btree>();
      jsUsers->quiet = 1;
      jsUsers->init(nullptr, 0);
    }
    tree_put(*jsFunctions, name, "-" + lower(name));
    if (jsShortest == 0 || (int)name.size() < jsShortest) jsShortest = (int)name.size();
  }
}

void Java2Htm::js_user(const char* file, const char* language, const char* text) {
  if (!jsFunctions || !file || !language || !text) return;
  std::string t = text;
  size_t par = t.find('(');
  if (par != std::string::npos) t = t.substr(0, par);
  if ((int)t.size() < jsShortest || t.size() >= 1000) return;
  t = lower(t);
  Btree_st st;
  for (unsigned ok = jsFunctions->GetFirst(st); ok; ok = jsFunctions->Next(st)) {
    std::string name = lower(std::string(st.k, st.k_L));
    for (size_t at = t.find(name); at != std::string::npos; at = t.find(name, at + 1)) {
      if ((at > 0 && word_char(t[at - 1])) || (at + name.size() < t.size() && word_char(t[at + name.size()]))) continue;
      std::string k(st.k, st.k_L);
      tree_put(*jsFunctions, k, "+" + name);
      tree_put(*jsUsers, k + "~" + file + "." + language, "");
      break;
    }
  }
}

void Java2Htm::open_jscr() {
  if (jscr) return;
  jscr = open_page(j2h + "/jscr.htm", "Where JScript Functions are used");
  fputs("<table>\n<tr><td><b>Function</b></td><td/><td><b>Is used in:</b></td></tr>", jscr);
}

void Java2Htm::close_jscr() {
  if (!jscr) return;
  Btree_st st;
  if (jsUsers)
    for (unsigned ok = jsUsers->GetFirst(st); ok; ok = jsUsers->Next(st)) {
      std::string k(st.k, st.k_L);
      size_t t = k.find('~');
      fprintf(jscr, "\n<tr><td>%s</td><td/><td>%s</td></tr>", html_text(k.substr(0, t)).c_str(),
              html_text(k.substr(t + 1)).c_str());
    }
  fputs("\n</table></font></BODY></HTML>\n", jscr);
  safe_ut.close_FILE(&jscr, SRC, __LINE__);
}

// ------------------------------------------------------------ samples

void Java2Htm::def_sample(const std::string& path, const std::string& key) {
  static const char* const marks[] = {"cmp_sample/ebean/union_", "bmp_sample/ebean/union_", "loresession",
                                      "resession", "mbean"};
  std::string p = lower(path);
  for (int i = 0; i < 5; i++)
    if (p.find(marks[i]) != std::string::npos) {
      if (samples[i].empty()) samples[i] = key;
      return;
    }
}

void Java2Htm::use_sample(int i) {
  static const char* const titles_[] = {"CMP Entity Bean", "BMP Entity Bean", "Stateless Session Bean",
                                        "Stateful Session Bean", "Message Driven Bean"};
  const std::string& key = samples[i - 1];
  if (key.empty()) return;
  std::string from = j2h + "/" + key.substr(0, key.find('.')) + ".htm";
  if (safe_ut.ok_is_a(from.c_str()) != 'f') return;
  std::string t = safe_ut.read_text(from.c_str());
  size_t at = t.find("Classes and Interfaces in");
  if (at != std::string::npos) t.replace(at, 25, std::string("Study this sample ") + titles_[i - 1]);
  for (at = t.find("#toc"); at != std::string::npos; at = t.find("#toc", at)) t.erase(at, 4);
  safe_ut.write_text((j2h + "/ex" + std::to_string(i) + ".htm").c_str(), t);
}
