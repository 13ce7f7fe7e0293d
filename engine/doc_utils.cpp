// Document utilities that need no web: the commands `unite`, `headers`,
// `alias` and `publish`, and the web's root page.
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "engine/escape.h"
#include "engine/ut_htmst.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "ut_htmst";

// The three spellings of the body's end that word processors write; npos
// when there is none behind `from`.
size_t body_end(const std::string& t, size_t from) {
  size_t best = std::string::npos;
  for (const char* tag : {"</body>", "</BODY>", "</Body>"}) {
    size_t p = t.find(tag, from);
    if (p < best) best = p;
  }
  return best;
}

// Position behind the opening body tag, or npos.
size_t behind_body_start(const std::string& t) {
  size_t p = std::string::npos;
  for (const char* tag : {"<body", "<BODY", "<Body"}) {
    size_t q = t.find(tag);
    if (q < p) p = q;
  }
  if (p == std::string::npos) return p;
  size_t gt = t.find('>', p);
  return gt == std::string::npos ? gt : gt + 1;
}

bool ends_with_nocase(const std::string& s, const char* tail) {
  size_t m = strlen(tail);
  return s.size() >= m && strcasecmp(s.c_str() + s.size() - m, tail) == 0;
}

std::string replace_every(const std::string& s, const std::string& a, const std::string& b) {
  if (a.empty()) return s;
  std::string r;
  size_t i = 0;
  for (;;) {
    size_t j = s.find(a, i);
    if (j == std::string::npos) break;
    r.append(s, i, j - i);
    r += b;
    i = j + a.size();
  }
  r.append(s, i, std::string::npos);
  return r;
}

// ----------------------------------------------------------------- unite

// The parts "<name>_*.htm" of folder `d`, in listing order.
std::vector<std::string> parts_of(const std::string& d, const char* name) {
  std::string prefix = std::string(name) + "_";
  std::vector<std::string> parts;
  for (const std::string& f : safe_ut.list_dir(d.c_str()))
    if (f.compare(0, prefix.size(), prefix) == 0 && ends_with_nocase(f, ".htm") &&
        safe_ut.ok_is_a((d + "/" + f).c_str()) == 'f')
      parts.push_back(f);
  return parts;
}

// In a folder "publish" each part needs its source document in the folder
// above; returns their paths, one a line (the text of "<name>.sum").
std::string part_sources(const std::string& d, const std::vector<std::string>& parts) {
  std::string above = d.substr(0, d.size() - 7);
  if (above.empty()) above = ".";
  std::string sum;
  for (const std::string& part : parts) {
    std::string stem = part.substr(0, part.size() - 4);
    std::string found;
    for (const char* ext : {".doc", ".rtf", ".docx", ".DOC", ".RTF", ".DOCX", ".odt"}) {
      std::string cand = safe_ut.real_name((above + stem + ext).c_str());
      if (safe_ut.ok_is_a(cand.c_str()) == 'f') {
        found = cand;
        break;
      }
    }
    if (found.empty()) {
      printf("\nerror: document not found: %s", (above + stem + ".doc").c_str());
      exut.fail(__LINE__, SRC, "User: document not found: %s\n", (above + stem + ".doc").c_str());
    }
    sum += found;
    sum += "\n";
  }
  return sum;
}

// Writes one part to `out`: the first up to its body's end, the others only
// from their body on.  Pictures of the part move to the folder of the
// whole; its links follow.
void unite_part(FILE* out, const std::string& d, const char* name, const std::string& part,
                bool first) {
  std::string stem = part.substr(0, part.size() - 4);
  std::string text = safe_ut.read_text((d + "/" + part).c_str());
  for (const char* kind : {"_files", "_Dateien"}) {
    std::string pics = d + "/" + stem + kind;
    if (safe_ut.ok_is_a(pics.c_str()) != 'd') continue;
    std::string to = d + "/" + name + kind;
    safe_ut.ensure_dir(to.c_str());
    snprintf(comm_buf, sizeof comm_buf,
             strcmp(kind, "_files") == 0 ? "copy \"%s/*\" \"%s/%s_files\" > NUL"
                                         : "copy \"%s/*\" \"%s/%s_Dateien\"",
             pics.c_str(), d.c_str(), name);
    safe_ut.system(comm_buf);
    text = replace_every(text, stem + kind + "/", std::string(name) + kind + "/");
  }
  size_t from = 0;
  if (!first) {
    from = behind_body_start(text);
    if (from == std::string::npos) from = 0;
  }
  size_t to = body_end(text, from);
  if (to == std::string::npos) to = text.size();
  safe_ut.write_FILE(out, text.data() + from, (long)(to - from));
}

// --------------------------------------------------------------- headers

struct heading {
  size_t at, end;
  std::string title, name;
  int level;
};

// The document again, with a linked list of its headings behind <body>
// and an anchor in front of each.
std::string headings_page(const std::string& text, const std::vector<heading>& hs) {
  std::string page;
  size_t body = std::string::npos;
  for (const char* tag : {"<BODY", "<body"}) {
    size_t b = text.find(tag);
    if (b < body) body = b;
  }
  size_t copied = 0;
  auto emit_toc = [&]() {
    page += "\n<BODY>";
    for (const heading& h : hs) page += "\n<br/><a href=\"#" + h.name + "\">" + h.title + "</a>";
  };
  if (body != std::string::npos) {
    size_t gt = text.find('>', body);
    gt = gt == std::string::npos ? text.size() : gt + 1;
    page.append(text, 0, body);
    emit_toc();
    copied = gt;
  } else {
    emit_toc();
  }
  for (const heading& h : hs) {
    if (h.at < copied) continue;
    page.append(text, copied, h.at - copied);
    page += "\n<a name=" + h.name + "></a>";
    copied = h.at;
  }
  page.append(text, copied, std::string::npos);
  return page;
}

// ---------------------------------------------------------------- publish

const char script_head[] =
    "\nvar app = new ActiveXObject( \"Word.Application.12\" );\napp.Visible = true;\n";
const char script_tail[] = "\napp.Quit();";

// The statements that have the word processor save document
// <folder>/<stem>.<ext> as <folder>/publish/<stem>.htm and .txt.  Each name
// stands in a string literal of the script.
void save_statements(FILE* js, const std::string& folder, const std::string& stem,
                     const std::string& ext) {
  std::string f = js_string(folder), s = js_string(stem), e = js_string(ext);
  fprintf(js,
          "\napp.Documents.Open( \"%s/%s.%s\", 1, 1 );\napp.ActiveDocument.SaveAs( \"%s/publish/%s.htm\", 8 );\napp.ActiveDocument.SaveAs( \"%s/publish/%s.txt\", 5 );\napp.ActiveDocument.Close();\n",
          f.c_str(), s.c_str(), e.c_str(), f.c_str(), s.c_str(), f.c_str(), s.c_str());
}

}  // namespace

ut_htmst::ut_htmst() {}
ut_htmst::~ut_htmst() {}

int ut_htmst::unite(const char* dir, const char* name, bool withDocs) {
  if (!dir || !name) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: unite() needs a folder and a name\n");
  }
  if (safe_ut.ok_is_a(dir) != 'd') exut.fail(__LINE__, SRC, "User: no such folder: %s\n", dir);
  std::string d = dir;
  while (d.size() > 1 && (d.back() == '/' || d.back() == '\\')) d.pop_back();
  bool in_publish = ends_with_nocase(d, "publish");
  std::vector<std::string> parts = parts_of(d, name);
  std::string out_name = d + "/" + name + ".htm";
  if (parts.empty()) {
    printf("\nW a r n i n g :  There are no files %s/%s_*.htm\n", d.c_str(), name);
    if (safe_ut.exists(out_name.c_str())) safe_ut.remove_file(out_name.c_str());
    return 0;
  }
  std::string sum = in_publish ? part_sources(d, parts) : "";
  (void)withDocs;

  FILE* out = safe_ut.create(out_name.c_str());
  for (size_t i = 0; i < parts.size(); i++) unite_part(out, d, name, parts[i], i == 0);
  const char* close = "\n</body></html>\n";
  safe_ut.write_FILE(out, close, (long)strlen(close));
  safe_ut.close_FILE(&out, SRC, __LINE__);
  if (in_publish) safe_ut.write_text((d + "/" + name + ".sum").c_str(), sum);
  printf("\nok: %i documents united to %s\n", (int)parts.size(), out_name.c_str());
  return (int)parts.size();
}

int ut_htmst::headers(const char* file, const char* out) {
  if (!file || !out) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: headers() needs a file and an output\n");
  }
  if (safe_ut.ok_is_a(file) != 'f') exut.fail(__LINE__, SRC, "User: no such file: %s\n", file);
  static const char units[] = ".  .  .  .  .  .  .  .  .  .  ";  // ten units
  std::vector<heading> hs;
  std::string text = safe_ut.read_text(file);
  size_t i = 0;
  char title[512], anchor[128];
  while ((i = text.find('<', i)) != std::string::npos) {
    if (!((text[i + 1] == 'h' || text[i + 1] == 'H') && i + 2 < text.size() &&
          strchr("123456789", text[i + 2]) && text[i + 2])) {
      i++;
      continue;
    }
    const char* base = text.c_str();
    const char* behind = section_title(base + i, title, nullptr, base + text.size(), anchor);
    heading h;
    h.at = i;
    h.end = behind ? (size_t)(behind - base) : text.size();
    h.level = text[i + 2] - '0';
    h.title = replace_every(past_number(title), "&quot;", "\"");
    h.name = "h" + std::to_string(hs.size() + 1);
    hs.push_back(h);
    i = h.end;
  }
  std::string lines;
  for (const heading& h : hs) {
    int lv = h.level > 10 ? 10 : h.level;
    lines += "\n";
    lines.append(units, 3 * lv);
    lines += h.title;
  }
  safe_ut.write_text(out, lines);
  safe_ut.write_text((std::string(out) + ".htm").c_str(), headings_page(text, hs));
  return (int)hs.size();
}

// ------------------------------------------------------------------ alias

void ut_htmst::alias(const char* file, const char* target) {
  if (!file || !target || !*file) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: alias() needs a file and a target\n");
  }
  FILE* f = safe_ut.create(file);
  fprintf(f,
          "\n<html><head><meta HTTP-EQUIV=\"refresh\"\n content=\"0;URL=%s\"></meta></head><body></body></html>",
          html_attr(target).c_str());
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

void ut_htmst::alias_checked(const char* file, const char* target) {
  if (safe_ut.ok_is_a(target) != 'f') {
    FILE* f = safe_ut.create(file);
    fprintf(f, "\n<html><body>\n<p>This page is not available: %s</p>\n</body></html>\n",
            html_text(target).c_str());
    safe_ut.close_FILE(&f, SRC, __LINE__);
    return;
  }
  alias(file, target);
}

void ut_htmst::top_redirect(const char* name) {
  std::string f = std::string(name) + ".htm";
  FILE* out = safe_ut.create(f.c_str());
  fprintf(out, "\n<html><head>\n<meta http-equiv=\"refresh\" content=\"0; URL=htm/1.htm\">\n</meta></head></html>");
  safe_ut.close_FILE(&out, SRC, __LINE__);
}

// ---------------------------------------------------------------- publish

void ut_htmst::walk_publish(const std::string& dir, FILE* js, int& count) {
  for (const std::string& e : safe_ut.list_dir(dir.c_str())) {
    if (e == "." || e == ".." || e == "System Volume Information" || e == "publish") continue;
    std::string path = dir + "/" + e;
    char kind = safe_ut.ok_is_a(path.c_str());
    if (kind == 'd') {
      walk_publish(path, js, count);
      continue;
    }
    if (kind != 'f') continue;
    size_t dot = e.rfind('.');
    if (dot == std::string::npos) continue;
    std::string ext = e.substr(dot + 1);
    if (strcasecmp(ext.c_str(), "doc") && strcasecmp(ext.c_str(), "rtf")) continue;
    std::string pub = dir + "/publish";
    safe_ut.ensure_dir(pub.c_str());
    save_statements(js, dir, e.substr(0, dot), ext);
    count++;
  }
}

int ut_htmst::publish(const char* tree, const char* script) {
  if (!tree || !script) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: publish() needs a tree and a script name\n");
  }
  if (!safe_ut.ends_with(script, ".js"))
    exut.fail(__LINE__, SRC, "System: the script name must end in .js: %s\n", script);
  std::string root = tree;
  for (char& c : root)
    if (c == '\\') c = '/';
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  if (safe_ut.ok_is_a(root.c_str()) != 'd')
    exut.fail(__LINE__, SRC, "System: no such folder: %s", root.c_str());
  FILE* js = safe_ut.create(script);
  fprintf(js, "%s", script_head);
  int count = 0;
  walk_publish(root, js, count);
  fprintf(js, "%s", script_tail);
  safe_ut.close_FILE(&js, SRC, __LINE__);
  return count;
}

int ut_htmst::publish_list(const char* list) {
  std::string text = safe_ut.read_text(list);
  FILE* js = safe_ut.create("tmp.js");
  fprintf(js, "%s", script_head);
  int count = 0;
  size_t i = 0;
  std::string here = safe_ut.cwd();
  while (i < text.size()) {
    size_t j = text.find('\n', i);
    if (j == std::string::npos) j = text.size();
    std::string line = text.substr(i, j - i);
    i = j + 1;
    bool doc = false;
    for (const char* ext : {".doc", ".rtf", ".DOC", ".RTF"})
      if (line.find(ext) != std::string::npos) doc = true;
    if (!doc) continue;
    while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.pop_back();
    for (char& c : line)
      if (c == '\\') c = '/';
    if (line.compare(0, 2, "..") == 0) line = here + "/" + line;
    size_t slash = line.rfind('/');
    std::string folder = slash == std::string::npos ? "." : line.substr(0, slash);
    std::string file = slash == std::string::npos ? line : line.substr(slash + 1);
    size_t dot = file.rfind('.');
    save_statements(js, folder, file.substr(0, dot), file.substr(dot + 1));
    count++;
  }
  fprintf(js, "%s", script_tail);
  safe_ut.close_FILE(&js, SRC, __LINE__);
  // The script needs the word processor's automation host, which this
  // platform does not have: it is written for a person to run elsewhere.
  return count;
}
