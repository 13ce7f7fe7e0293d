// Document intake: the source named by a configuration line brought to its
// numbered folder xs/<n>.  Path prefixes, folder patterns, HTML pages with
// everything they reference (their closure), styles and tags of a page.
#include <algorithm>
#include <cerrno>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/escape.h"
#include "runtime/exec_ut.h"
#include "runtime/file_ops.h"
#include "runtime/safe_uts.h"

using namespace des;

namespace {

// A reference of a page: a picture ("src") or a link ("href"), and the
// file it names.
using page_ref = std::pair<bool, std::string>;

// Extensions of the files that a folder pattern brings into a document.
bool pattern_ext(const std::string& lext) {
  static const char* const exts[] = {".htm", ".html", ".pdf", ".doc",  ".rtf", ".txt",
                                     ".gif", ".jpg",  ".jpeg", ".bmp", ".tif", ".tiff",
                                     ".ico", ".mpeg", ".pcx", ".png",  ".tga", ".wmz"};
  for (const char* e : exts)
    if (lext == e) return true;
  return false;
}

// The position behind an attribute "href=" or "src=" (in one of the spellings
// HREF, SRC, href, src) that stands at `i` behind white space; 0 if none.
size_t attribute_at(const std::string& t, size_t i, bool* is_src) {
  if (i == 0 || !isspace((unsigned char)t[i - 1])) return 0;
  if (!t.compare(i, 5, "href=") || !t.compare(i, 5, "HREF=")) {
    *is_src = false;
    return i + 5;
  }
  if (!t.compare(i, 4, "src=") || !t.compare(i, 4, "SRC=")) {
    *is_src = true;
    return i + 4;
  }
  return 0;
}

// The file that the value of an attribute of the page `htm` names, or
// nothing: anchors, mail and script links, internet targets (entered in
// `internet`), and names that are no file ("no_src" is printed).
std::optional<std::string> referenced_file(const std::string& value, const std::string& htm,
                                           Btree& internet) {
  std::string path = value.substr(0, value.find('#'));
  if (path.empty()) return std::nullopt;
  if (begins_nocase(path, "http:/") || begins_nocase(path, "https:/") ||
      begins_nocase(path, "ftp:/")) {
    tree_put(internet, path, htm);
    return std::nullopt;
  }
  if (begins_nocase(path, "mailto:") || begins_nocase(path, "javascript:")) return std::nullopt;
  path = slashes(path);
  if (!(path[0] == '/' || (path.size() > 1 && path[1] == ':'))) path = folder_of(htm) + "/" + path;
  path = normal_path(path);
  if (safe_ut.ok_is_a(path.c_str()) == 'f') return path;
  std::string decoded = safe_uts::url_decoded(path);
  if (decoded == path || safe_ut.ok_is_a(decoded.c_str()) != 'f') {
    printf("\nno_src: %s [%s]", path.c_str(), htm.c_str());
    return std::nullopt;
  }
  return decoded;
}

// The page `t` (the text of `htm`) with every href and src value written
// in double quotes; the files they name are added to `refs`.
std::string quoted_refs(const std::string& t, const std::string& htm, Btree& internet,
                        std::vector<page_ref>& refs) {
  std::string out;
  out.reserve(t.size() + 256);
  size_t done = 0;
  for (size_t i = 1; i < t.size(); i++) {
    char c = t[i];
    if (c != 'h' && c != 'H' && c != 's' && c != 'S') continue;
    bool is_src = false;
    size_t v = attribute_at(t, i, &is_src);
    if (!v) continue;
    // The value ends at its closing quote, or unquoted at a blank, a line
    // end or ">".
    size_t a = v, e, behind;
    if (v < t.size() && (t[v] == '"' || t[v] == '\'')) {
      a = v + 1;
      e = t.find(t[v], a);
      if (e == std::string::npos) continue;
      behind = e + 1;
    } else {
      e = t.find_first_of(" \t\n>", v);
      if (e == std::string::npos) e = t.size();
      behind = e;
    }
    std::string value = t.substr(a, e - a);
    out.append(t, done, i - done);
    out += is_src ? "src=\"" : "href=\"";
    // The value is attribute text already: only a double quote that a
    // single-quoted value held would end it now.
    for (char ch : value)
      if (ch == '"')
        out += "&quot;";
      else
        out += ch;
    out += '"';
    done = behind;
    i = done - 1;
    if (std::optional<std::string> path = referenced_file(value, htm, internet))
      refs.emplace_back(is_src, *path);
  }
  out.append(t, done, std::string::npos);
  return out;
}

}  // namespace

std::optional<std::string> DocDes::abs_path(const char* path, Btree& remarks) {
  enter("DocDes.abs_path");
  std::string p = slashes(path ? path : "");
  if (!begins(p, "0/") && (p.empty() || !isdigit((unsigned char)p[0]))) return p;
  size_t k;
  long n = leading_number(p, &k);
  if (k < p.size() && p[k] == '/' && n < web_model::max_prefixes && web.prefix_set[n]) {
    std::string rest = p.substr(k);
    if (rest.find(':') != std::string::npos) {
      printf("\nApp error: -%c %s\n           path not correct\n", cur_c ? cur_c : '?', path);
      count_error();
      return std::nullopt;
    }
    return web.prefix[n] + rest;
  }
  tree_put(remarks, cur_line, "?Path prefix not specified");
  printf("\nApp error: -%c %s\n           Path prefix not specified.\n", cur_c ? cur_c : '?', path);
  count_error();
  return std::nullopt;
}

std::string DocDes::ensure_src(int n, const std::string& src, const std::string& titleLine,
                               const std::string& docDir) {
  enter("DocDes.ensure_src");
  if (safe_ut.ok_is_a(src.c_str()) == 'd') {
    errno = err::not_a_path;
    exut.fail(__LINE__, SRC, "User: a folder is no document: %s\n", src.c_str());
  }
  // Title -> file of the pattern; a table of this call only.
  std::map<std::string, std::string> local;
  std::string result = src;
  if (src.find('*') != std::string::npos)
    result = pattern_page(n, src, titleLine, docDir, &local);
  else if ((ends_nocase(src, ".htm") || ends_nocase(src, ".html")) && !web_address(src) &&
           safe_ut.ok_is_a(src.c_str()) == 'f')
    result = closure_of(n, src, docDir);
  for (const auto& [title, file] : local)
    if (std::optional<std::string> name = tree_value(closure_targets, lower(file)))
      tree_put(web.engine_keys, "*" + std::to_string(n) + "/" + title, *name);
  return result;
}

// A folder pattern: its files are copied to the document folder and listed
// on a page of their own, xs/<n>/src.htm, which is returned.
std::string DocDes::pattern_page(int n, const std::string& src, const std::string& titleLine,
                                 const std::string& docDir,
                                 std::map<std::string, std::string>* local) {
  std::string dir = folder_of(src), pattern = base_of(src);
  std::string page = docDir + "/src.htm";
  FILE* out = safe_ut.create(page.c_str());
  std::string head =
      "<html><head><meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">\n"
      "<title>" + html_text(titleLine) + "</title>\n"
      "<link rel=stylesheet type=\"text/css\" href=\"../1.css\"></head>"
      "\n<body><h1><center>" + html_text(titleLine) + "</center></h1><br><p class=1>";
  safe_ut.write_FILE(out, head.data(), (long)head.size());
  if (safe_ut.ok_is_a(dir.c_str()) == 'd')
    for (const std::string& name : safe_ut.list_dir(dir.c_str())) {
      if (name[0] == '.' || !file_ops::wild_match(pattern.c_str(), name.c_str())) continue;
      std::string from = dir + "/" + name;
      std::string lext = lower(ext_of(name));
      if (!pattern_ext(lext) || safe_ut.ok_is_a(from.c_str()) != 'f') continue;
      std::string to_name = name;
      for (size_t k; (k = to_name.find(", ")) != std::string::npos;) to_name.replace(k, 2, "_");
      safe_ut.copy_file((docDir + "/" + to_name).c_str(), from.c_str());
      // The title of a page is its own text, already HTML; a file name is not.
      bool page = lext == ".htm" || lext == ".html";
      std::string title = page ? extract_title(name, from.c_str()) : name;
      std::string line = "\n<br><a href=\"" + html_attr(to_name) + "\">" +
                         (page && title != name ? title : html_text(title)) + "</a>";
      safe_ut.write_FILE(out, line.data(), (long)line.size());
      (*local)[title] = to_name;
    }
  const char tail[] = "\n</p></body></html>\n";
  safe_ut.write_FILE(out, tail, (long)strlen(tail));
  safe_ut.close_FILE(&out, SRC, __LINE__);
  return page;
}

// A page with everything it references, brought into the document folder;
// returns the page's copy there.
std::string DocDes::closure_of(int n, const std::string& src, const std::string& docDir) {
  std::string top = absolute(src);
  folder_guard here;  // back in the build's folder also when a failure passes
  local_dir = here.before();
  here.enter(docDir.c_str());
  visited.init(nullptr, 0);
  closure_targets.init(nullptr, 0);
  closure_nr = 0;
  htm_closure(true, n, top);
  for (const std::string& name : safe_ut.list_dir("."))
    if (name.find(".htm") != std::string::npos && safe_ut.ok_is_a(name.c_str()) == 'f')
      href_correction(name.c_str(), "");
  safe_ut.rm_tree("publish");
  for (const std::string& name : safe_ut.list_dir("."))
    if (name.find(',') != std::string::npos && safe_ut.ok_is_a(name.c_str()) == 'f')
      safe_ut.remove_file(name.c_str());
  here.back();
  return docDir + "/" + base_of(top);
}

std::string DocDes::extract_title(const std::string& def, const char* htmFile) {
  enter("DocDes.extract_title");
  std::string t = safe_ut.read_head(htmFile, "<body", true);
  size_t k = find_nocase(t, "<title");
  if (k == std::string::npos) return def;
  k = t.find('>', k);
  if (k == std::string::npos) return def;
  size_t e = t.find('<', k + 1);
  std::string title = trim(t.substr(k + 1, e == std::string::npos ? std::string::npos : e - k - 1));
  for (char& c : title)
    if (c == '\n' || c == '\t') c = ' ';
  return title.empty() ? def : title;
}

void DocDes::htm_closure(bool top, int n, const std::string& path) {
  enter("DocDes.htm_closure");
  std::string p = path.substr(0, path.find('#'));
  std::string lext = lower(ext_of(p));
  if (lext.empty() || tree_holds(visited, p)) return;
  if (lext != ".htm" && lext != ".html") return;
  printf("\n%i - htm_closure: %s\n", n, p.c_str());
  tree_put(visited, p);
  if (base_of(p).empty()) {
    errno = err::not_a_path;
    exut.fail(__LINE__, SRC, "System: htm_closure( %s ): no file name\n", p.c_str());
  }
  if (top) safe_ut.ensure_dir("pic");
  std::string key = lower(base_of(p));
  if (tree_holds(closure_targets, key)) return;
  std::string name =
      top ? base_of(p) : "_" + std::to_string(n) + "_" + std::to_string(++closure_nr) + ".htm";
  tree_put(closure_targets, key, name);
  files_to_docDir(p, name, n);
}

void DocDes::files_to_docDir(const std::string& htm, const std::string& to, int n) {
  enter("DocDes.files_to_docDir");
  if (safe_ut.ok_is_a(htm.c_str()) != 'f') return;
  std::vector<page_ref> refs;
  safe_ut.write_text(to.c_str(),
                     quoted_refs(safe_ut.read_text(htm.c_str()), htm, web.internet, refs));
  for (const auto& [is_src, path] : refs) {
    std::string key = lower(base_of(path));
    if (is_src) {
      std::string pic = "pic/" + key;
      safe_ut.ensure_dir("pic");
      if (safe_ut.ok_is_a(pic.c_str()) != 'f') safe_ut.copy_file(pic.c_str(), path.c_str());
      continue;
    }
    if (key == "src.htm") continue;
    std::string lext = lower(ext_of(path));
    if (lext == ".htm" || lext == ".html") {
      htm_closure(false, n, path);
    } else if (!tree_holds(closure_targets, key)) {
      std::string name = "_" + std::to_string(n) + "_" + std::to_string(++closure_nr) +
                         (lext.empty() ? "" : lext);
      safe_ut.copy_file(name.c_str(), path.c_str());
      tree_put(closure_targets, key, name);
    }
  }
}

void DocDes::href_correction(const char* htm, const char* prefix) {
  enter("DocDes.href_correction");
  std::string t = safe_ut.read_text(htm);
  std::string out;
  out.reserve(t.size() + 256);
  size_t done = 0;
  for (size_t k = t.find("=\""); k != std::string::npos; k = t.find("=\"", k + 1)) {
    if (k < 3) continue;
    std::string before = lower(t.substr(k - 3, 3));
    bool is_src = before == "src";
    if (!is_src && before != "ref") continue;
    size_t a = k + 2;
    size_t e = t.find_first_of("#\"", a);
    if (e == std::string::npos) break;
    std::string path = t.substr(a, e - a);
    if (path.empty() || path.find("://") != std::string::npos || begins_nocase(path, "mailto:") ||
        begins_nocase(path, "javascript:"))
      continue;
    std::string key = lower(base_of(slashes(path)));
    std::string now;
    if (is_src) {
      if (safe_ut.ok_is_a(("pic/" + key).c_str()) == 'f') now = std::string(prefix) + "pic/" + key;
    } else if (std::optional<std::string> name = tree_value(closure_targets, key)) {
      now = std::string(prefix) + *name;
    }
    if (now.empty()) continue;
    out.append(t, done, a - done);
    out += html_attr(now);
    done = e;
    k = e;
  }
  out.append(t, done, std::string::npos);
  safe_ut.write_text(htm, out);
}

std::string DocDes::fetch_htm_closure(int n, const std::string& src) {
  enter("DocDes.fetch_htm_closure");
  if (!ends_nocase(src, ".htm")) {
    errno = err::invalid_parameter;
    exut.fail(__LINE__, SRC, "User: -U %s\n           is no page .htm\n", src.c_str());
  }
  size_t part = src.find("/frame.");
  if (part == std::string::npos) part = src.find("/j2h/");
  std::string nr = std::to_string(n);
  if (part != std::string::npos) {
    // A framed web or a code web: the folder that holds it comes whole.
    std::string folder = src.substr(0, part);
    snprintf(comm_buf, sizeof comm_buf, "-xcopy \"%s\" \"xs\\%s\\\" %s", folder.c_str(), nr.c_str(),
             web.copy_flags.c_str());
    safe_ut.system(comm_buf);
    return "xs/" + nr + src.substr(part);
  }
  std::string to = "xs/" + nr + "/" + base_of(src);
  safe_ut.copy_file(to.c_str(), src.c_str());
  return to;
}

void DocDes::extract_css(const char* to, const char* from) {
  enter("DocDes.extract_css");
  // The style block stands in front of the first paragraph.
  std::string t = safe_ut.read_head(from, "<p", true);
  size_t stop = find_nocase(t, "<p");
  size_t s = find_nocase(t, "<style");
  std::string css;
  if (s != std::string::npos && s < stop) {
    size_t a = t.find('>', s);
    a = a == std::string::npos ? s : a + 1;
    size_t open = t.find("<!--", a);
    if (open != std::string::npos && open < stop) a = open + 4;
    size_t e = t.find("-->", a);
    size_t close = find_nocase(t, "</style", a);
    if (e == std::string::npos || (close != std::string::npos && close < e)) e = close;
    if (e == std::string::npos || e > stop) e = std::min(stop, t.size());
    std::string rules = t.substr(a, e - a);
    // Heading rules are kept also as paragraph classes.
    size_t i = 0;
    while (i < rules.size()) {
      size_t j = rules.find('\n', i);
      if (j == std::string::npos) j = rules.size();
      std::string line = rules.substr(i, j - i);
      size_t f = line.find_first_not_of(" \t");
      if (f != std::string::npos && line[f] == 'h' && f + 1 < line.size() &&
          isdigit((unsigned char)line[f + 1]))
        css += "\np." + line.substr(f) + "\n";
      else
        css += line + "\n";
      i = j + 1;
    }
  }
  safe_ut.write_text(to, css);
}

void DocDes::tocMark_htm(const char* from, const char* to) {
  enter("DocDes.tocMark_htm");
  std::string t = safe_ut.read_text(from);
  size_t body = t.find("<body");
  size_t BODY = t.find("<BODY");
  if (BODY < body) body = BODY;
  if (body == std::string::npos) {
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "User: no <body in %s\n", from);
  }
  std::string out;
  out.reserve(t.size() + 32);
  size_t i = 0;
  while (i < body) {
    if (t[i] != '<') {
      out += t[i++];
      continue;
    }
    if (!t.compare(i, 5, "<HEAD") || !t.compare(i, 5, "<head")) {
      out += "<head><title></title";
      i += 5;
      continue;
    }
    out += '<';
    i++;
    if (i < body && t[i] == '/') out += t[i++];
    if (i < body && isalpha((unsigned char)t[i])) out += (char)tolower((unsigned char)t[i++]);
  }
  out.append(t, body, std::string::npos);
  safe_ut.write_text(to, out);
}

void DocDes::fetch_pics() {
  enter("DocDes.fetch_pics");
  errno = err::unsupported_exception;
  exut.fail(__LINE__, SRC, "System: DocDes.fetch_pics is closed\n");
}
