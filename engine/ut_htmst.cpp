// Document utilities: commands on single documents and the text helpers used
// when documents are split into section pages.
#include "engine/ut_htmst.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

namespace {

const char* const SRC = "ut_htmst";

// The three spellings of the body's end that word processors write.
const char* find_body_end(const std::string& t, size_t from, size_t* at) {
  size_t best = std::string::npos;
  for (const char* tag : {"</body>", "</BODY>", "</Body>"}) {
    size_t p = t.find(tag, from);
    if (p < best) best = p;
  }
  *at = best;
  return best == std::string::npos ? nullptr : "";
}

// The value of a `name=` in the tag text [from, to), quoted or not, into
// `anchor` (at most 119 characters); `anchor` stays as it is without one.
void anchor_of(const char* from, const char* to, char* anchor) {
  std::string tag(from, to);
  size_t n = tag.find("name=");
  if (n == std::string::npos) return;
  size_t b = n + 5;
  if (b < tag.size() && (tag[b] == '"' || tag[b] == '\'')) b++;
  size_t e = b;
  while (e < tag.size() && tag[e] != '"' && tag[e] != '\'' && tag[e] != ' ' && tag[e] != '>') e++;
  snprintf(anchor, 120, "%s", tag.substr(b, e - b).c_str());
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

}  // namespace

ut_htmst::ut_htmst() {}
ut_htmst::~ut_htmst() {}

// ------------------------------------------------------------------ unite

int ut_htmst::unite(const char* dir, const char* name, bool withDocs) {
  if (!dir || !name) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: unite() needs a folder and a name\n");
  }
  if (safe_ut.ok_is_a(dir) != 'd') exut.fail(__LINE__, SRC, "User: no such folder: %s\n", dir);
  std::string d = dir;
  while (d.size() > 1 && (d.back() == '/' || d.back() == '\\')) d.pop_back();
  bool in_publish = ends_with_nocase(d, "publish");
  std::string prefix = std::string(name) + "_";

  std::vector<std::string> parts;
  for (const std::string& f : safe_ut.list_dir(d.c_str()))
    if (f.compare(0, prefix.size(), prefix) == 0 && ends_with_nocase(f, ".htm") &&
        safe_ut.ok_is_a((d + "/" + f).c_str()) == 'f')
      parts.push_back(f);

  std::string out_name = d + "/" + name + ".htm";
  if (parts.empty()) {
    printf("\nW a r n i n g :  There are no files %s/%s_*.htm\n", d.c_str(), name);
    if (safe_ut.exists(out_name.c_str())) safe_ut.remove_file(out_name.c_str());
    return 0;
  }

  std::string sum;
  if (in_publish) {
    // Each part needs its source document in the folder above.
    std::string above = d.substr(0, d.size() - 7);
    if (above.empty()) above = ".";
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
  }
  (void)withDocs;

  FILE* out = safe_ut.create(out_name.c_str());
  for (size_t i = 0; i < parts.size(); i++) {
    std::string stem = parts[i].substr(0, parts[i].size() - 4);
    std::string text = safe_ut.read_text((d + "/" + parts[i]).c_str());
    // Pictures of the part move to the folder of the whole; its links follow.
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
    size_t from = 0, to = std::string::npos;
    if (i > 0) {
      from = behind_body_start(text);
      if (from == std::string::npos) from = 0;
    }
    find_body_end(text, from, &to);
    if (to == std::string::npos) to = text.size();
    safe_ut.write_FILE(out, text.data() + from, (long)(to - from));
  }
  const char* close = "\n</body></html>\n";
  safe_ut.write_FILE(out, close, (long)strlen(close));
  safe_ut.close_FILE(&out, SRC, __LINE__);
  if (in_publish) safe_ut.write_text((d + "/" + name + ".sum").c_str(), sum);
  printf("\nok: %i documents united to %s\n", (int)parts.size(), out_name.c_str());
  return (int)parts.size();
}

// ---------------------------------------------------------------- headers

bool ut_htmst::is_text_char(int c) {
  c &= 0xFF;
  switch (c) {
    case 196: case 214: case 220: case 223: case 228: case 246: case 252:
      return true;
    case 133:
      return false;
    default:
      return !(c < 32 || c > 159);
  }
}

const char* ut_htmst::section_title(const char* start, char* out, const char* stop,
                                    const char* end, char* anchor, int number_mode) {
  if (!start || !out) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: section_title() got a NULL pointer\n");
  }
  *out = 0;
  if (anchor) *anchor = 0;
  const char* p = start;
  if (stop && *stop) {
    p = strstr(start, stop);
    if (!p || (end && p >= end)) return nullptr;
  } else if (!(p[0] == '<' && (p[1] == 'h' || p[1] == 'H'))) {
    safe_ut.show_text("start", start, 40);
    exut.fail(__LINE__, SRC, "System: section_title() not at a heading\n");
  }
  if (!end) end = p + strlen(p);
  // Behind the heading's own start tag.
  const char* q = (const char*)memchr(p, '>', end - p);
  if (!q) return nullptr;
  if (anchor) anchor_of(p, q, anchor);
  q++;
  std::string t;
  while (q < end && *q) {
    if (*q == '<') {
      if ((q[1] == '/' && (q[2] == 'h' || q[2] == 'H') && isdigit((unsigned char)q[3]))) {
        const char* gt = (const char*)memchr(q, '>', end - q);
        q = gt ? gt + 1 : end;
        break;
      }
      const char* gt = (const char*)memchr(q, '>', end - q);
      if (!gt) break;
      if (anchor && !*anchor) anchor_of(q, gt, anchor);
      q = gt + 1;
      continue;
    }
    if (*q == '&') {
      if (!strncmp(q, "&nbsp;", 6)) {  // a blank, folded like any other
        if (!t.empty() && t.back() != ' ') t += ' ';
        q += 6;
        continue;
      }
      if (!strncmp(q, "&#150;", 6) || !strncmp(q, "&#167;", 6)) {
        q += 6;
        continue;
      }
    }
    unsigned char c = (unsigned char)*q++;
    if (c == '>') continue;
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    if (c != ' ' && !is_text_char(c)) continue;
    if (c == ' ' && (t.empty() || t.back() == ' ')) continue;
    t += (char)c;
  }
  while (!t.empty() && t.back() == ' ') t.pop_back();
  if (number_mode && !t.empty() && isdigit((unsigned char)t[0])) {
    // "1.2.3 Title" -> "1001.1002.1003 Title": numbers that sort as text.
    size_t i = 0;
    std::string num;
    while (i < t.size() && (isdigit((unsigned char)t[i]) || t[i] == '.')) {
      size_t j = i;
      while (j < t.size() && isdigit((unsigned char)t[j])) j++;
      if (j > i) num += std::to_string(1000 + atoi(t.substr(i, j - i).c_str())) + ".";
      i = j;
      if (i < t.size() && t[i] == '.') i++;
    }
    if (!num.empty()) {
      num.back() = ' ';
      while (i < t.size() && t[i] == ' ') i++;
      t = num + t.substr(i);
    }
  }
  if (t.size() > 120) t.resize(120);
  memcpy(out, t.c_str(), t.size() + 1);
  return q;
}

int ut_htmst::headers(const char* file, const char* out) {
  if (!file || !out) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: headers() needs a file and an output\n");
  }
  if (safe_ut.ok_is_a(file) != 'f') exut.fail(__LINE__, SRC, "User: no such file: %s\n", file);
  static const char units[] = ".  .  .  .  .  .  .  .  .  .  ";  // ten units
  struct Heading {
    size_t at, end;
    std::string title, name;
    int level;
  };
  std::vector<Heading> hs;
  std::string text = safe_ut.read_text(file);
  size_t i = 0;
  char title[512], anchor[128];
  while ((i = text.find('<', i)) != std::string::npos) {
    if ((text[i + 1] == 'h' || text[i + 1] == 'H') && i + 2 < text.size() &&
        strchr("123456789", text[i + 2]) && text[i + 2]) {
      const char* base = text.c_str();
      const char* behind = section_title(base + i, title, nullptr, base + text.size(), anchor);
      Heading h;
      h.at = i;
      h.end = behind ? (size_t)(behind - base) : text.size();
      h.level = text[i + 2] - '0';
      std::string tt = past_number(title);
      h.title = replace_every(tt, "&quot;", "\"");
      h.name = "h" + std::to_string(hs.size() + 1);
      hs.push_back(h);
      i = h.end;
    } else {
      i++;
    }
  }
  std::string lines;
  for (const Heading& h : hs) {
    int lv = h.level > 10 ? 10 : h.level;
    lines += "\n";
    lines.append(units, 3 * lv);
    lines += h.title;
  }
  safe_ut.write_text(out, lines);

  // The document again, with a linked list of its headings behind <body>.
  std::string page;
  size_t body = std::string::npos;
  for (const char* tag : {"<BODY", "<body"}) {
    size_t b = text.find(tag);
    if (b < body) body = b;
  }
  size_t copied = 0;
  auto emit_toc = [&]() {
    page += "\n<BODY>";
    for (const Heading& h : hs) page += "\n<br/><a href=\"#" + h.name + "\">" + h.title + "</a>";
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
  for (const Heading& h : hs) {
    if (h.at < copied) continue;
    page.append(text, copied, h.at - copied);
    page += "\n<a name=" + h.name + "></a>";
    copied = h.at;
  }
  page.append(text, copied, std::string::npos);
  safe_ut.write_text((std::string(out) + ".htm").c_str(), page);
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
          target);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

void ut_htmst::alias_checked(const char* file, const char* target) {
  if (safe_ut.ok_is_a(target) != 'f') {
    FILE* f = safe_ut.create(file);
    fprintf(f, "\n<html><body>\n<p>This page is not available: %s</p>\n</body></html>\n", target);
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
    std::string stem = e.substr(0, dot);
    std::string pub = dir + "/publish";
    safe_ut.ensure_dir(pub.c_str());
    fprintf(js,
            "\napp.Documents.Open( \"%s/%s.%s\", 1, 1 );\napp.ActiveDocument.SaveAs( \"%s/%s.htm\", 8 );\napp.ActiveDocument.SaveAs( \"%s/%s.txt\", 5 );\napp.ActiveDocument.Close();\n",
            dir.c_str(), stem.c_str(), ext.c_str(), pub.c_str(), stem.c_str(), pub.c_str(),
            stem.c_str());
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
  fprintf(js, "\nvar app = new ActiveXObject( \"Word.Application.12\" );\napp.Visible = true;\n");
  int count = 0;
  walk_publish(root, js, count);
  fprintf(js, "\napp.Quit();");
  safe_ut.close_FILE(&js, SRC, __LINE__);
  return count;
}

int ut_htmst::publish_list(const char* list) {
  std::string text = safe_ut.read_text(list);
  FILE* js = safe_ut.create("tmp.js");
  fprintf(js, "\nvar app = new ActiveXObject( \"Word.Application.12\" );\napp.Visible = true;\n");
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
    std::string stem = file.substr(0, dot), ext = file.substr(dot + 1);
    fprintf(js,
            "\napp.Documents.Open( \"%s/%s.%s\", 1, 1 );\napp.ActiveDocument.SaveAs( \"%s/publish/%s.htm\", 8 );\napp.ActiveDocument.SaveAs( \"%s/publish/%s.txt\", 5 );\napp.ActiveDocument.Close();\n",
            folder.c_str(), stem.c_str(), ext.c_str(), folder.c_str(), stem.c_str(), folder.c_str(),
            stem.c_str());
    count++;
  }
  fprintf(js, "\napp.Quit();");
  safe_ut.close_FILE(&js, SRC, __LINE__);
  // The script needs the word processor's automation host, which this
  // platform does not have: it is written for a person to run elsewhere.
  return count;
}

// ------------------------------------------------------------ small helpers

long ut_htmst::day_number(const char* date) {
  if (!date || strlen(date) < 10 || !isdigit((unsigned char)date[0]) || date[4] != '.' ||
      date[7] != '.' || !isdigit((unsigned char)date[5]) || !isdigit((unsigned char)date[8])) {
    exut.show_str("date", date);
    exut.fail(__LINE__, SRC, "System: not a date of the form YYYY.MM.DD: %s\n", date ? date : "( null )");
  }
  long y = atol(date), m = atol(date + 5), d = atol(date + 8);
  return y * 365 + m * 30 + d;
}

const char* ut_htmst::past_number(const char* s) {
  const char* q = s;
  while (*q && strchr(". 0123456789", *q)) q++;
  if (!*q || q == s) return q;
  while (q > s && q[-1] != ' ') q--;
  return q;
}

const char* ut_htmst::past_number2(const char* s) {
  const char* q = s;
  while (*q && strchr("0123456789. ", *q)) q++;
  if (!*q || q == s) return q;
  while (q > s && q[-1] != ' ' && q[-1] != '.') q--;
  return q;
}

void ut_htmst::code_page_fix(char* s) {
  // Code page 850 letters to their windows-1252 forms; a no-break space goes.
  char* o = s;
  for (char* p = s; *p; p++) {
    unsigned char c = (unsigned char)*p;
    switch (c) {
      case 129: c = 252; break;
      case 142: c = 196; break;
      case 148: c = 246; break;
      case 153: c = 214; break;
      case 154: c = 220; break;
      case 225: c = 223; break;
      case 132: c = 228; break;
      case 160: continue;
      default: break;
    }
    *o++ = (char)c;
  }
  *o = 0;
}

void ut_htmst::unescape(char* s) {
  char* o = s;
  for (char* p = s; *p;) {
    if (*p == '\\' && isdigit((unsigned char)p[1]) && isdigit((unsigned char)p[2]) &&
        isdigit((unsigned char)p[3])) {
      int v = (p[1] - '0') * 100 + (p[2] - '0') * 10 + (p[3] - '0');
      if (v == 160) {
        p += 4;
        continue;
      }
      if (v == 225 || v == 132 || v == 148 || v == 129 || v == 142 || v == 153 || v == 154) {
        *o++ = (char)v;
        p += 4;
        continue;
      }
    }
    *o++ = *p++;
  }
  *o = 0;
}

int ut_htmst::to_entities(const char* in, std::string& out, int skipping) {
  for (const char* p = in; *p; p++) {
    if (*p == '\n' && !strncmp(p, "\n[?+]", 5)) {
      skipping = 1;
      p += 4;
      continue;
    }
    if (skipping) {
      if (*p == '\n' && !strncmp(p, "\n[?-]", 5)) {
        skipping = 0;
        p += 4;
      }
      continue;
    }
    unsigned char c = (unsigned char)*p;
    switch (c) {
      case 16: case '>': out += "&gt;"; break;
      case 17: case '<': out += "&lt;"; break;
      case 225: out += "&beta;"; break;
      case 132: out += "&auml;"; break;
      case 148: out += "&ouml;"; break;
      case 129: out += "&uuml;"; break;
      case 142: out += "&Auml;"; break;
      case 153: out += "&Ouml;"; break;
      case 154: out += "&Uuml;"; break;
      case 30: out += "&#923;"; break;
      case 31: out += 'V'; break;
      case 218: case 191: case 192: case 217: case 201: case 187: case 200: case 188:
      case 195: case 180: case 194: case 193: case 197:
        out += '+';
        break;
      case 196: out += '-'; break;
      case 179: out += '|'; break;
      default: out += (char)c;
    }
  }
  return skipping;
}

void ut_htmst::clean_copy(char* out, const char* in, bool umlauts_too) {
  static const unsigned char drop[] = {130, 133, 132, 147, 145, 146, 148, 150, 151, 167, 173, 183};
  static const unsigned char drop2[] = {223, 228, 246, 252, 196, 214, 220};
  char* o = out;
  for (const char* p = in; *p; p++) {
    unsigned char c = (unsigned char)*p;
    if (memchr(drop, c, sizeof drop)) continue;
    if (umlauts_too && memchr(drop2, c, sizeof drop2)) continue;
    *o++ = (char)c;
  }
  *o = 0;
}

namespace {
// Text of HTML between p and end with tags left out and blanks folded.
std::string plain_text(const char* p, const char* end, bool* has_img) {
  std::string t;
  while (p < end && *p) {
    if (*p == '<') {
      if (has_img && !strncasecmp(p, "<img", 4)) *has_img = true;
      const char* gt = (const char*)memchr(p, '>', end - p);
      p = gt ? gt + 1 : end;
      continue;
    }
    if (!strncmp(p, "&nbsp;", 6)) {
      if (!t.empty() && t.back() != ' ') t += ' ';
      p += 6;
      continue;
    }
    char c = *p++;
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    if (c == ' ' && (t.empty() || t.back() == ' ')) continue;
    t += c;
  }
  while (!t.empty() && t.back() == ' ') t.pop_back();
  return t;
}
}  // namespace

int ut_htmst::caption(const char* p, const char* end, char* out) {
  std::string t = plain_text(p, end, nullptr);
  *out = 0;
  if (t.empty() || !strchr("FBA", t[0])) return 0;
  size_t colon = t.find(':');
  size_t blank = t.find(' ');
  if (colon == std::string::npos) return 0;
  // The word and its number may stand before the colon ("Figure 3:").
  if (blank != std::string::npos && blank < colon) {
    size_t second = t.find(' ', blank + 1);
    if (second != std::string::npos && second < colon) return 0;
  }
  size_t b = colon + 1;
  while (b < t.size() && t[b] == ' ') b++;
  std::string c = t.substr(b, 250);
  memcpy(out, c.c_str(), c.size() + 1);
  return (int)c.size();
}

int ut_htmst::para_text(const char* p, const char* end, char* out, int max, bool cut) {
  const char* stop = p;
  while (stop < end && *stop && strncasecmp(stop, "</p", 3)) stop++;
  bool img = false;
  std::string t = plain_text(p, stop, &img);
  if (max == 0) {
    if (!t.empty()) return 1;
    return img ? 105 : 0;
  }
  if (t.empty() && img) {
    if (out) *out = 0;
    return 105;
  }
  if ((int)t.size() > max) {
    t.resize(max);
    if (cut) {
      size_t b = t.rfind(' ');
      if (b != std::string::npos && b > (size_t)max / 2) t.resize(b);
    }
    t += "...";
  }
  if (out) memcpy(out, t.c_str(), t.size() + 1);
  return (int)t.size();
}

int ut_htmst::cell_text(const char* p, const char* end, char* out, int max) {
  const char* stop = p;
  while (stop < end && *stop && strncasecmp(stop, "</td", 4)) stop++;
  std::string t = plain_text(p, stop, nullptr);
  if (max > 0 && (int)t.size() > max) t.resize(max);
  memcpy(out, t.c_str(), t.size() + 1);
  return (int)t.size();
}

std::string ut_htmst::version_of(const char* file) {
  char buf[64];
  snprintf(buf, sizeof buf, "%u.%u", (unsigned)safe_ut.file_size(file),
           (unsigned)safe_ut.file_time(file));
  return buf;
}

void ut_htmst::tab_cut(const char* in, const char* out) {
  std::string text = safe_ut.read_text(in);
  std::string res;
  size_t i = 0;
  while (i < text.size()) {
    size_t tr = text.find("<tr", i), te = text.find("</table>", i);
    if (tr == std::string::npos && te == std::string::npos) break;
    if (te < tr) {
      res += "</table>\n";
      i = te + 8;
      continue;
    }
    size_t end = text.find("</tr>", tr);
    if (end == std::string::npos) break;
    res.append(text, tr, end + 5 - tr);
    i = end + 5;
  }
  safe_ut.write_text(out, res);
}
