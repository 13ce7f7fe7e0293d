// The web builder: construction, the reading of the web configuration into
// the tables, and the endings of a run that does not build.
#include "driver/doc_des.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>

#include "driver/exp_mi.h"
#include "engine/ut_htm.h"
#include "engine/ut_htmst.h"
#include "runtime/exec_ut.h"
#include "runtime/file_ops.h"
#include "runtime/safe_uts.h"
#include "runtime/ut_repl.h"

namespace {

const char* const SRC = "doc_des";

const char portal_lines[] = "\n-e 0/doc/WebRoot.rtf\n   This Project's Web Portal Page\n";

// Every method of DocDes opens by naming itself.
void enter(const char* name) { printf("\n-> %s", name); }

std::string trim(const std::string& s) {
  size_t a = s.find_first_not_of(" \t\r\n");
  if (a == std::string::npos) return "";
  size_t e = s.find_last_not_of(" \t\r\n");
  return s.substr(a, e + 1 - a);
}

std::string rtrim(const std::string& s) {
  size_t e = s.find_last_not_of(" \t\r\n");
  return e == std::string::npos ? "" : s.substr(0, e + 1);
}

std::string lower(std::string s) {
  for (char& c : s) c = (char)tolower((unsigned char)c);
  return s;
}

bool begins(const std::string& s, const char* p) { return s.compare(0, strlen(p), p) == 0; }

bool begins_nocase(const std::string& s, const char* p) {
  return strncasecmp(s.c_str(), p, strlen(p)) == 0;
}

bool ends_nocase(const std::string& s, const char* t) {
  size_t n = strlen(t);
  return s.size() >= n && strcasecmp(s.c_str() + s.size() - n, t) == 0;
}

size_t find_nocase(const std::string& s, const char* t, size_t from = 0) {
  size_t n = strlen(t);
  if (!n) return from;
  for (size_t i = from; i + n <= s.size(); i++)
    if (tolower((unsigned char)s[i]) == tolower((unsigned char)t[0]) &&
        strncasecmp(s.c_str() + i, t, n) == 0)
      return i;
  return std::string::npos;
}

std::string slashes(std::string s) {
  for (char& c : s)
    if (c == '\\') c = '/';
  return s;
}

std::string base_of(const std::string& p) {
  size_t k = p.find_last_of('/');
  return k == std::string::npos ? p : p.substr(k + 1);
}

std::string folder_of(const std::string& p) {
  size_t k = p.find_last_of('/');
  if (k == std::string::npos) return ".";
  return k == 0 ? "/" : p.substr(0, k);
}

// The extension of the file part, with its dot; empty if none.
std::string ext_of(const std::string& p) {
  std::string b = base_of(p);
  size_t k = b.find_last_of('.');
  return k == std::string::npos || k == 0 ? "" : b.substr(k);
}

// "a/./b/../c" as "a/c", without asking the file system.
std::string normal_path(const std::string& p) {
  if (p.empty()) return p;
  std::string n = std::filesystem::path(p).lexically_normal().generic_string();
  while (n.size() > 1 && n.back() == '/') n.pop_back();
  return n.empty() ? "." : n;
}

// A folder of PATH that is the installation or holds it.
std::string installation_in(const std::string& dir) {
  if (dir.empty()) return "";
  std::string d = dir;
  while (d.size() > 1 && d.back() == '/') d.pop_back();
  if (base_of(d) == "ut_brelmot" && safe_ut.ok_is_a(d.c_str()) == 'd') return d;
  std::string sub = d + "/ut_brelmot";
  if (safe_ut.ok_is_a(sub.c_str()) == 'd') return sub;
  return "";
}

std::string absolute(const std::string& p) {
  if (p.empty() || p[0] == '/') return normal_path(p);
  return normal_path(safe_ut.cwd() + "/" + p);
}

bool web_address(const std::string& s) {
  return begins(s, "www.") || begins_nocase(s, "http://") || begins_nocase(s, "https://");
}

// Sets the value of `k` in a tree of DocDes; a value longer than a tree
// takes is cut (a dead link is better than a failed run).
void put(Btree& t, const std::string& k, const std::string& v) {
  std::string key = DocDes::tree_key(k);
  if (key.empty()) return;
  std::string val = v.substr(0, std::min(strlen(v.c_str()), (size_t)Btree::max_data));
  t.StrIns('e', key.c_str(), val.c_str());
}

void put(Btree& t, const std::string& k) {
  std::string key = DocDes::tree_key(k);
  if (!key.empty()) t.StrIns('e', key.c_str());
}

bool holds(Btree& t, const std::string& k) {
  std::string key = DocDes::tree_key(k);
  return !key.empty() && t.contains(key.c_str()) != 0;
}

// An in-memory tree of DocDes: named for failure reports, silent about
// refused insertions.
void prepare(Btree& t, const char* name) {
  t.name = name;
  t.quiet = 1;
}

}  // namespace

std::string DocDes::tree_key(const std::string& k) {
  constexpr size_t head = 235;  // + "#" + 16 hex digits = 252
  size_t n = strlen(k.c_str());
  if (n <= 252) return k.substr(0, n);
  uint64_t h = 1469598103934665603ull;  // FNV-1a
  for (size_t i = 0; i < n; i++) h = (h ^ (unsigned char)k[i]) * 1099511628211ull;
  char tail[20];
  snprintf(tail, sizeof tail, "#%016llx", (unsigned long long)h);
  return k.substr(0, head) + tail;
}

std::optional<std::string> DocDes::value_in(Btree& t, const std::string& k) {
  std::string key = tree_key(k);
  if (key.empty()) return std::nullopt;
  Btree_st st;
  if (!t.Get(key.c_str(), st)) return std::nullopt;
  return std::string(st.c);
}

// The installation folder: the first PATH entry named ut_brelmot or holding
// it, else the one beside the program, else the shared one of an installed
// program.  Empty when there is none.
std::string DocDes::find_installation() {
  const char* path = safe_uts::env_lookup("PATH");
  std::string p = path ? path : "";
  size_t i = 0;
  while (i <= p.size()) {
    size_t e = p.find(':', i);
    if (e == std::string::npos) e = p.size();
    std::string found = installation_in(p.substr(i, e - i));
    if (!found.empty()) return absolute(found);
    i = e + 1;
  }
  if (program_name && *program_name) {
    std::string self = safe_ut.path_of_self(program_name);
    for (const char* sub : {"/ut_brelmot", "/../share/brelmot/ut_brelmot"}) {
      std::string cand = self + sub;
      if (safe_ut.ok_is_a(cand.c_str()) == 'd') return absolute(cand);
    }
  }
  return "";
}

DocDes::DocDes() : comms(1) {
  enter("DocDes.DocDes");
  started = safe_uts::now();
  const char* nt = safe_uts::env_lookup("is_NT");
  copy_flags = nt && nt[0] == '1' ? "/S/E/V > NUL" : "/S/E/C/H/R/Y > NUL";
  prepare(internet, "internet");
  prepare(titles, "titles");
  prepare(visited, "visited");
  prepare(pic_folders, "pic_folders");
  prepare(closure_targets, "closure_targets");
  prepare(links, "links");
  prepare(card_names, "card_names");
  prepare(topic_tree, "topic_tree");
  prepare(targets, "targets");
  prepare(engine_keys, "engine_keys");
  prepare(remarks, "remarks");
  stops.insert("</tr>");
  stops.insert("_");
  prefix_set.fill(false);
  ut = std::make_unique<ut_htm>();
  inst = find_installation();
  if (inst.empty())
    exut.fail(__LINE__, SRC, "User: Installation folder ut_brelmot is not subfolder of a PATH folder.");
}

DocDes::~DocDes() {
  // A tree that holds long values reports them when it is destroyed, a
  // check meant for trees kept in files; these trees end with the run, so
  // they are emptied first.
  for (Btree* t : {&internet, &titles, &visited, &pic_folders, &closure_targets, &links,
                   &card_names, &topic_tree, &targets, &engine_keys, &remarks})
    try {
      t->init(nullptr, 0);
    } catch (const char*) {
      exut.reset_after_failure();
    }
}

void DocDes::count_error() { errors++; }

void DocDes::fetch_pics() {
  enter("DocDes.fetch_pics");
  errno = err::unsupported_exception;
  exut.fail(__LINE__, SRC, "System: DocDes.fetch_pics is closed\n");
}

// ------------------------------------------------------------------ reading

int DocDes::read_webConfiguration(const char* conf, const char* p2, const char* p3) {
  enter("DocDes.read_webConfiguration");
  if (!conf) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: read_webConfiguration() without a configuration\n");
  }
  errors = 0;
  conf_name = conf;
  keep = p2 && p2[0] == '+';
  clean = p3 && !strcmp(p3, "clean");
  check = p3 && p3[0] == '?';
  if (inst.empty()) {
    printf("\nApp_error: Cannot find installation PATH/ut_brelmot\n");
    return 1;
  }
  printf("\nInstallation path = %s\n", folder_of(inst).c_str());
  prefix[0] = inst;
  prefix_set[0] = true;

  if (!strcmp(conf, "update")) {
    printf("\nbrelmot: the command \"update\" is not available yet\n");
    return 2;
  }
  if (safe_ut.ok_is_a(conf) != 'f') {
    printf("\nUser's error: no such file: %s\n", conf);
    return 1;
  }
  printf("\nCreate Brelmot: descr = %s\n", conf);
  conf_dir = folder_of(slashes(conf));

  safe_ut.rm_and_make_dir("xs");
  safe_ut.ensure_dir("xs/0");
  ut->alias("xs/1.htm", "1/1.htm");

  int rc = enhance_webDescr(remarks, conf);
  if (rc) return rc;
  enhance_to_htm(nullptr, "xs/webConf.txt", "xs/webConf.htm", nullptr, true);
  safe_ut.link_to("webConf.htm", "xs/webconf.htm");

  // The expanded configuration is what is read from here on.
  cfg = "\n" + safe_ut.read_text("xs/webConf.scn");
  ut_repl::dos_to_win(cfg.data());
  comms.assign(1, comm{});
  docs = 1;
  return read_lines();
}

int DocDes::read_lines() {
  at = 0;
  while (true) {
    size_t p = cfg.find("\n-", at);
    if (p == std::string::npos) break;
    size_t ls = p + 1;
    size_t le = cfg.find('\n', ls);
    if (le == std::string::npos) le = cfg.size();
    std::string line = rtrim(cfg.substr(ls, le - ls));
    at = le;
    char c = line.size() > 1 ? line[1] : 0;
    if (c == '-') break;
    std::string rest = trim(line.substr(line.size() > 1 ? 2 : 1));
    cur_c = c;
    cur_line = line;
    switch (c) {
      case 'w': command_w(rest); break;
      case '?': command_prefix(rest, p); break;
      case 'o':
        if (begins(rest, "oneDoc")) oneDoc = 1;
        else if (begins(rest, "noedit")) edit = 0;
        else if (begins(rest, "noCards")) noCards = 1;
        else {
          printf("\nSyntax error: -o %s is an undefined option.\n", rest.c_str());
          count_error();
        }
        break;
      case 'p': hotspots_off = safe_ut.atoi(rest.c_str(), SRC, __LINE__); break;
      case 'k': {
        size_t eq = rest.find('=');
        k_entries.push_back(trim(rest.substr(0, eq)));
        k_entries.push_back(eq == std::string::npos ? trim(rest) : trim(rest.substr(eq + 1)));
        break;
      }
      case 'c': {
        size_t q = rest.find('?');
        std::string from = q == std::string::npos ? rest : trim(rest.substr(0, q));
        std::string to = q == std::string::npos ? "" : trim(rest.substr(q + 1));
        if (from.empty() || to.empty()) {
          printf("\nSyntax error: -c %s\n           is not of the form <from>?<to>\n", rest.c_str());
          count_error();
        } else {
          c_pairs.emplace_back(from, to);
        }
        break;
      }
      case 'H': H_phrases.push_back(rest); break;
      case 'S': case 's': case 'F': case 'f': command_topic(c, rest); break;
      case 'e': case 'a': case 'A': case 'n': case 'U': command_doc(c, line, rest, p); break;
      case 'L': case 'R': case 'C': case 'T': command_link(c, rest); break;
      case 'j': command_j(line, rest, p); break;
      case 'D': docs_title = rest; break;
      case 'm': menu = 0; break;
      case 't': topics.push_back(rest); break;
      default:
        printf("\nSyntax error: -%c is an undefined command.\n", c ? c : ' ');
        count_error();
    }
  }
  fflush(stdout);

  if (clean) {
    printf("\no k  -  all publish folders removed [ %s ]\n", conf_name.c_str());
    return 0;
  }
  if (errors) {
    printf("\n\nStop: Please correct %s,\nit contains %i errors described above.\n", conf_name.c_str(),
           errors);
    return 1;
  }
  if (check) {
    printf("\n\nWeb configuration %s seems  o k :\nall the files meant to be published exist.\n",
           conf_name.c_str());
    return 1;
  }
  if (docs == 1) {
    printf("\no k  -  Now call xs to open your web index\n");
    return 0;
  }
  return build_goes_on;
}

// Start and end of the line behind the read position, which stands on its
// line feed; false at the end of the configuration.
bool DocDes::next_line(size_t* ls, size_t* le) const {
  if (at >= cfg.size() || cfg[at] != '\n') return false;
  *ls = at + 1;
  *le = cfg.find('\n', *ls);
  if (*le == std::string::npos) *le = cfg.size();
  return true;
}

// The next line, when it begins with three blanks and a fourth character
// that is no blank (a title or text line); the read position moves behind it.
bool DocDes::sub_line(std::string* text) {
  size_t ls, le;
  if (!next_line(&ls, &le)) return false;
  if (le - ls < 4 || cfg.compare(ls, 3, "   ") != 0 || isspace((unsigned char)cfg[ls + 3]))
    return false;
  *text = rtrim(cfg.substr(ls + 3, le - ls - 3));
  at = le;
  return true;
}

// A sub-line of a topic group: "." after leading blanks.
bool DocDes::dot_line(std::string* text) {
  size_t ls, le;
  if (!next_line(&ls, &le)) return false;
  std::string line = cfg.substr(ls, le - ls);
  size_t k = line.find_first_not_of(" \t");
  if (k == std::string::npos || line[k] != '.') return false;
  *text = rtrim(line.substr(k + 1));
  at = le;
  return true;
}

void DocDes::command_w(const std::string& rest) {
  if (!begins(rest, "xs_")) {
    printf("\nApp error: -w %s\n           Web position must be named xs_...\n", rest.c_str());
    count_error();
    return;
  }
  size_t t1 = rest.find('~');
  std::string name = trim(rest.substr(0, t1));
  for (char& ch : name)
    if (isspace((unsigned char)ch)) ch = '_';
  web_pos = name;
  web_name = name.substr(3);
  if (t1 != std::string::npos) {
    size_t t2 = rest.find('~', t1 + 1);
    web_title = trim(rest.substr(t1 + 1, t2 == std::string::npos ? std::string::npos : t2 - t1 - 1));
    if (t2 != std::string::npos) {
      std::string sub = rest.substr(t2 + 1);
      if (!sub.empty() && sub[0] == '+') {
        size_t b = sub.find(' ');
        sub = b == std::string::npos ? "" : sub.substr(b + 1);
      }
      web_subtitle = trim(sub.substr(0, sub.find('~')));
    }
  }
  if (clean) return;
  if (safe_ut.ok_is_a(web_pos.c_str()) == 'f')
    exut.fail(__LINE__, SRC, "System: u: cannot create dir %s", web_pos.c_str());
  safe_ut.ensure_dir(web_pos.c_str());
}

void DocDes::command_prefix(const std::string& rest, size_t pos) {
  if (first_prefix) {
    // The profiles of earlier versions of the web come along.
    first_prefix = false;
    std::string profs = web_pos + "/profs";
    if (web_pos.empty()) {
      printf("\nApp error: -? %s\n           the line -w xs_... must stand ahead of the first -? line\n",
             rest.c_str());
      count_error();
      safe_ut.ensure_dir("xs/profs");
    } else if (safe_ut.ok_is_a(profs.c_str()) == 'd') {
      safe_ut.copy_tree("xs/profs", profs.c_str(), 0);
    } else {
      safe_ut.ensure_dir("xs/profs");
    }
  }
  if (!rest.empty() && isalpha((unsigned char)rest[0]) && !isdigit((unsigned char)rest[0])) {
    char d = (char)tolower((unsigned char)rest[0]);
    std::string v = rest.size() > 1 && rest[1] == '=' ? trim(rest.substr(2)) : "";
    if (rest.size() < 2 || rest[1] != '=' || !begins(v, "file://") || d < 'a' || d > 'z') {
      printf("\nSyntax error:\n-? %c.. is not a spec of a network drive", rest[0]);
      count_error();
      return;
    }
    drives[d - 'a'] = v;
    return;
  }
  size_t k = 0;
  long n = 0;
  while (k < rest.size() && isdigit((unsigned char)rest[k])) {
    if (n < 1000) n = n * 10 + (rest[k] - '0');
    k++;
  }
  if (k == 0 || k >= rest.size() || rest[k] != '=' || n < 1 || n > 99) {
    printf("\nSyntax error in %s,\n-? is not followed by a number in [1..100] followed by '='. pos = %i\n",
           conf_name.c_str(), (int)pos);
    count_error();
    return;
  }
  std::string path = slashes(trim(rest.substr(k + 1)));
  bool drive = path.size() > 1 && isalpha((unsigned char)path[0]) && path[1] == ':';
  bool url = begins(path, "file://");
  bool relative = begins(path, "..") || begins(path, "./") || path == ".";
  if (!drive && !url && !relative && !begins(path, "/")) {
    printf("\nSyntax error in %s,\n-? does not start with \"../\" or a drive letter.", conf_name.c_str());
    count_error();
    return;
  }
  // A relative prefix means a folder seen from the configuration's folder.
  if (relative) path = normal_path(conf_dir + "/" + path);
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  prefix[n] = path;
  prefix_set[n] = true;
  if (!url && safe_ut.ok_is_a(path.c_str()) == 'n') {
    printf("\nconf Error: not found: %s", path.c_str());
    count_error();
  }
}

void DocDes::command_topic(char c, const std::string& rest) {
  int group = ++groups;
  std::string key = std::to_string(group) + "/";
  std::string head = key, path, wname;
  if (c == 'F' || c == 'f') {
    put(topic_tree, key, rest);
    head = rest.empty() ? key : rest;
  } else {
    size_t colon = rest.find(':', rest.size() > 2 ? 2 : 0);
    path = trim(rest.substr(0, colon));
    if (colon != std::string::npos && !trim(rest.substr(colon + 1)).empty())
      head = trim(rest.substr(colon + 1));
    std::optional<std::string> full = abs_path(path.c_str(), remarks);
    if (!full) return;
    path = *full;
    if (safe_ut.ok_is_a(path.c_str()) != 'd' && !clean) {
      safe_ut.ensure_dir(path.c_str());
      if (safe_ut.ok_is_a(path.c_str()) != 'd')
        exut.fail(__LINE__, SRC, "System: u: cannot create %s", path.c_str());
    }
    size_t x = path.rfind("xs_");
    if (x == std::string::npos) {
      printf("\nApp error: -%c\n           %s: %s\n", c, "not a web root xs_..", path.c_str());
      count_error();
    } else {
      wname = path.substr(x + 3);
      wname = wname.substr(0, wname.find('/'));
      if (!wname.empty()) wname[0] = (char)toupper((unsigned char)wname[0]);
      put(topic_tree, "u." + key + wname, path);
    }
  }
  std::string text;
  while (dot_line(&text)) {
    if (trim(text).empty()) continue;
    folder f;
    f.letter = c;
    f.web_key = key;
    f.head = head;
    f.web_name = wname;
    f.web_path = path;
    f.web_number = group;
    f.mark = text[0];
    std::string body = trim(text.substr(1));
    size_t colon = body.find(':');
    if (colon == std::string::npos) {
      f.phrase = body;
    } else {
      f.label = trim(body.substr(0, colon));
      f.phrase = trim(body.substr(colon + 1));
      if (f.phrase.empty()) f.phrase = *f.label;
    }
    if ((int)folders.size() >= max_folders) {
      exut.show_int("max_folders", max_folders);
      errno = err::no_space;
      exut.fail(__LINE__, SRC, "System: more than max_folders = %i topic records\n", max_folders);
    }
    folders.push_back(f);
  }
}

void DocDes::command_link(char c, const std::string& rest) {
  std::string url = rest;
  // A path on a mapped drive is shown by the drive's prefix.
  if (url.size() > 1 && url[1] == ':' && isalpha((unsigned char)url[0])) {
    const std::string& d = drives[tolower((unsigned char)url[0]) - 'a'];
    if (!d.empty()) url = d + slashes(url.substr(2));
  }
  std::string text;
  bool any = false;
  while (sub_line(&text)) {
    put(links, std::string(1, c) + " " + text, url);
    any = true;
  }
  if (!any) put(links, std::string(1, c) + " " + url, url);
  if (c == 'C') C_links++;
  if (c == 'R') R_links++;
}

// Puts the portal document ahead of the line at `p` when the first document
// is another one; returns true when it did, the line is then read again.
bool DocDes::portal_first(const std::string& rest, size_t p) {
  if (docs != 1 || clean || portal_done) return false;
  portal_done = true;
  if (find_nocase(rest, "WebRoot.rtf") != std::string::npos) return false;
  cfg.insert(p, std::string(portal_lines, sizeof portal_lines - 2));
  at = p;
  return true;
}

void DocDes::command_j(const std::string& line, const std::string& rest, size_t p) {
  for (const char* word : {"srcRoot=", "sqlData=", "er1Data="})
    if (begins(rest, word)) {
      // These words switch the clean mode off for the run.
      clean = false;
      std::string v = trim(rest.substr(strlen(word)));
      if (!strcmp(word, "er1Data=")) {
        errno = err::unsupported_exception;
        exut.fail(__LINE__, SRC, "System: not yet supported: er1Data = %s", v.c_str());
      }
      std::optional<std::string> full = abs_path(v.c_str(), remarks);
      if (!full) return;
      if (!strcmp(word, "srcRoot=")) {
        if (safe_ut.ok_is_a(full->c_str()) != 'd') {
          printf("\nContent error: No such folder: [%s]\n", full->c_str());
          count_error();
          return;
        }
        srcRoot = *full;
        return;
      }
      if (safe_ut.ok_is_a(full->c_str()) != 'f') {
        printf("\nApp error: -j sqlData=%s does not exist", v.c_str());
        count_error();
        return;
      }
      std::string stem = full->substr(0, full->size() - ext_of(*full).size());
      snprintf(comm_buf, sizeof comm_buf, "tormel SQL \"%s\" \"%s\"", full->c_str(), stem.c_str());
      safe_ut.system(comm_buf);
      std::string er1 = stem + ".er1.htm";
      if (safe_ut.ok_is_a(er1.c_str()) != 'f')
        exut.fail(__LINE__, SRC, "System: not found: %s", er1.c_str());
      sqlData = *full;
      return;
    }

  size_t k = 0;
  int n = 0;
  while (k < rest.size() && isdigit((unsigned char)rest[k])) {
    if (n < 1000) n = n * 10 + (rest[k] - '0');
    k++;
  }
  if (k > 0 && k < rest.size() && rest[k] == '/' && n < max_prefixes && prefix_set[n]) {
    if (portal_first(rest, p)) return;
    std::optional<std::string> full = abs_path(rest.c_str(), remarks);
    if (!full) return;
    int nr = docs;
    safe_ut.ensure_dir(("xs/" + std::to_string(nr)).c_str());
    comm r;
    r.com = 'j';
    r.src = *full;
    r.nr = std::to_string(nr);
    if (safe_ut.ok_is_a(full->c_str()) != 'd') {
      printf("\nContent error: No such folder: [%s]\n", full->c_str());
      count_error();
    }
    std::string title;
    if (sub_line(&title)) {
      r.title = title;
    } else {
      printf("\nContent error: Untitled code: [%s]\n", full->c_str());
      count_error();
    }
    comms.push_back(r);
    docs++;
    return;
  }
  if (begins(rest, "Links=")) {
    std::string v = trim(rest.substr(6));
    std::optional<std::string> full = abs_path(v.c_str(), remarks);
    if (!full) return;
    if (safe_ut.ok_is_a(full->c_str()) != 'f') {
      printf("\nUser's error: does not exist: %s", full->c_str());
      count_error();
      return;
    }
    links_file = *full;
    return;
  }
  if (begins(rest, "TestReport=")) {
    std::string v = trim(rest.substr(11));
    size_t slash = v.find('/');
    const char* env = slash == std::string::npos ? nullptr
                                                 : safe_uts::env_lookup(v.substr(0, slash).c_str());
    test_report = env ? "file://" + std::string(env) + "/" + v.substr(slash + 1) : v;
    return;
  }
  printf("\nSyntax error: -%s does not use an abbreviation to prefix the path with.\n",
         line.substr(1).c_str());
  count_error();
}

void DocDes::command_doc(char c, const std::string& line, const std::string& rest, size_t p) {
  if (portal_first(rest, p)) return;
  int n = docs;
  std::string dir = "xs/" + std::to_string(n);
  safe_ut.ensure_dir(dir.c_str());

  std::optional<std::string> full = abs_path(rest.c_str(), remarks);
  if (!full) {
    // The line cannot be read on; its number goes to the next document.
    safe_ut.rm_tree(dir.c_str());
    return;
  }
  comms.push_back(comm{});
  docs++;
  comm& r = comms[n];
  r.com = c;
  r.nr = std::to_string(n);
  r.src = *full;
  bool web = web_address(r.src);
  // A fragment "#..." is kept with the source but plays no part in finding
  // its file.
  struct fragment_back {
    comm* r;
    std::string text;
    ~fragment_back() {
      if (r && !text.empty()) {
        r->frag = r->src.size();
        r->src += text;
      }
    }
  } fragment{&r, ""};
  if (!web && r.src.find('#') != std::string::npos) {
    fragment.text = r.src.substr(r.src.find('#'));
    r.src.erase(r.src.find('#'));
  }
  // A web address is a document only to be linked.
  if (web && r.com == 'e') r.com = 'n';

  if (!web && safe_ut.ok_is_a(r.src.c_str()) == 'd') {
    printf("\nApp error: -%c %s\n           not a file but a folder: %s\n", c, rest.c_str(),
           r.src.c_str());
    count_error();
    title_lines(n, c, line);
    return;
  }
  if (!web && !clean && c != 'n' && c != 'U' && !ends_nocase(r.src, ".vsd")) {
    std::string title_line;
    if (at < cfg.size()) {
      size_t le = cfg.find('\n', at + 1);
      title_line = trim(cfg.substr(at + 1, le == std::string::npos ? std::string::npos : le - at - 1));
    }
    r.src = ensure_src(n, r.src, title_line, dir);
  }
  if (!web) {
    if (safe_ut.ok_is_a(r.src.c_str()) != 'f') {
      printf("\nApp error: -%c %s\n           not found: %s\n", c, rest.c_str(), r.src.c_str());
      count_error();
      title_lines(n, c, line);
      return;
    }
    if (c == 'U') r.src = fetch_htm_closure(n, r.src);
    char date[40];
    safe_ut.file_date(r.src.c_str(), date, 1);
    r.date = date;
  }

  std::string ext = ext_of(r.src);
  if (ext.empty() && !web) {
    printf("\nApp_error: no extension in path %s\n", r.src.c_str());
    count_error();
    title_lines(n, c, line);
    return;
  }
  if (lower(ext) == ".vsd") {
    std::string htm = r.src.substr(0, r.src.size() - 4) + ".htm";
    if (safe_ut.ok_is_a(htm.c_str()) != 'f') {
      printf("\nApp error: -%c %s\n           Viso file not yet htm:\n           not found: %s\n", c,
             rest.c_str(), htm.c_str());
      count_error();
      title_lines(n, c, line);
      return;
    }
    r.src = htm;
    ext = ".htm";
  }
  std::string file = web ? r.src : base_of(r.src);
  std::string lext = lower(ext);
  if (!web && (lext == ".ppt" || lext == ".pptx" || lext == ".pdf")) {
    std::string to = dir + "/" + file;
    safe_ut.copy_file(to.c_str(), r.src.c_str());
    if (lext == ".pdf") {
      r.pdf = file;
      pdfs++;
    } else {
      r.ppt = file;
      ppts++;
    }
    r.direct = 1;
  }
  if (r.com == 'A') {
    arch = file;
    r.com = 'e';
  }
  r.target = file;
  if (c != 'n') {
    if (r.com == 'e' && lext != ".rtf" && lext != ".doc" && lext != ".htm" && lext != ".html" &&
        lext != ".sum")
      r.com = 'n';
    if (r.com == 'e') {
      r.target = "doc" + r.nr + lext;
      take_snapshot(n, c, rest);
      if (clean) return;
    } else {
      std::string key = "D_(" + file + ")";
      if (holds(targets, key)) {
        printf("\nW a r n i n g :  More than once: %s", file.c_str());
        fragment.r = nullptr;
        comms.pop_back();
        docs--;
        safe_ut.rm_tree(dir.c_str());
        return;
      }
      if (r.com != 'a') put(targets, key, r.nr + "/" + file);
    }
  }
  if (clean) return;
  title_lines(n, c, line);
}

void DocDes::title_lines(int n, char c, const std::string& line) {
  comm& r = comms[n];
  bool any = false;
  std::string text;
  while (sub_line(&text)) {
    if (clean) continue;
    if (text[0] == '=') {
      r.direct = 1;
      text = trim(text.substr(1));
      if (text.empty()) continue;
    } else if (begins(text, "k ")) {
      aliases.push_back(r.nr + "~" + trim(text.substr(2)));
      continue;
    } else if (begins(text, "s ")) {
      r.starts.push_front(text.substr(2));
      continue;
    }
    if (!r.pdf.empty()) text += " (pdf)";
    if (holds(titles, text)) {
      printf("\nAppError, used more than once: %s\n", text.c_str());
      count_error();
      text += " [" + r.nr + "]";
    }
    put(titles, text, std::to_string(n));
    if (r.title == "?") r.title = text;
    any = true;
  }
  if (!any && !clean) {
    printf("\nApp error: -%c %s\n           No semi title for this file.\n", c,
           trim(line.substr(2)).c_str());
    put(remarks, line, "?No semi title");
  }
}

// The snapshot of a Word document (com e): found, or made, and cleaned into
// xs/<n>/doc.htm.  In clean mode the publish folder is removed instead.
void DocDes::take_snapshot(int n, char c, const std::string& rest) {
  comm& r = comms[n];
  std::string dir = folder_of(r.src);
  std::string file = base_of(r.src);
  std::string stem = file.substr(0, file.size() - ext_of(file).size());
  std::string publish = safe_ut.real_name((dir + "/publish").c_str());
  if (clean) {
    // The snapshots of the installation are never removed.
    if (safe_ut.ok_is_a(publish.c_str()) == 'd' && absolute(publish).rfind(inst + "/", 0) != 0) {
      safe_ut.rm_tree(publish.c_str());
      if (safe_ut.ok_is_a(publish.c_str()) != 'n')
        exut.fail(__LINE__, SRC, "System: cannot rm: %s", publish.c_str());
    }
    return;
  }
  std::string lext = lower(ext_of(file));
  if (lext == ".htm" || lext == ".html") {
    r.com = 'h';
    r.htm = r.src;
  } else {
    std::string wanted = publish + "/" + stem + ".htm";
    std::string snap = safe_ut.real_name(wanted.c_str());
    if (safe_ut.ok_is_a(snap.c_str()) != 'f' && make_snapshot(r.src, publish, wanted))
      snap = safe_ut.real_name(wanted.c_str());
    if (safe_ut.ok_is_a(snap.c_str()) != 'f') {
      put(remarks, cur_line, "?HTML Version not found");
      printf("\nApp error: -%c %s\n           not found: %s\n", c, rest.c_str(), wanted.c_str());
      count_error();
      return;
    }
    r.htm = snap;
  }
  clean_snapshot(n, r.htm);
}

// Makes the missing snapshot of a document with the office suite, when it is
// installed.  The source goes through a fixed name in the run's temporary
// folder, so that no name of the user ever stands on a command line.
bool DocDes::make_snapshot(const std::string& src, const std::string& publish,
                           const std::string& snapshot) {
  enter("DocDes.make_snapshot");
  if (safe_ut.find_on_path("soffice").empty()) return false;
  std::string tmp = safe_ut.tmp_dir();
  std::string work = tmp + "/x_scr";
  safe_ut.rm_and_make_dir(work.c_str());
  std::string in = work + "/x_scr" + lower(ext_of(src));
  safe_ut.copy_file(in.c_str(), src.c_str());
  snprintf(comm_buf, sizeof comm_buf, "soffice --headless --convert-to html --outdir \"%s\" \"%s\"",
           work.c_str(), in.c_str());
  safe_ut.system(comm_buf);
  std::string out = work + "/x_scr.html";
  if (safe_ut.ok_is_a(out.c_str()) != 'f') return false;
  safe_ut.ensure_dir(publish.c_str());
  safe_ut.copy_file(snapshot.c_str(), out.c_str());
  // Pictures of the snapshot go where the word processor puts them.
  std::string stem = base_of(snapshot);
  stem = stem.substr(0, stem.size() - 4);
  for (const std::string& name : safe_ut.list_dir(work.c_str()))
    if (begins(name, "x_scr_")) {
      std::string files = publish + "/" + stem + "_files";
      safe_ut.ensure_dir(files.c_str());
      safe_ut.copy_file((files + "/" + name).c_str(), (work + "/" + name).c_str());
    }
  return true;
}

// xs/<n>/doc.htm: the snapshot in windows-1252, cleaned; its styles go to
// xs/<n>/xxx.css.
void DocDes::clean_snapshot(int n, const std::string& htm) {
  comm& r = comms[n];
  std::string dir = "xs/" + r.nr;
  std::string doc = dir + "/doc.htm";
  // A fresh file, writable also when the snapshot is not.
  safe_ut.copy_range(doc.c_str(), htm.c_str(), 0, safe_ut.file_size(htm.c_str()));
  ut_htm::to_windows1252(doc.c_str());
  extract_css((dir + "/xxx.css").c_str(), doc.c_str());
  ut->ers_schmutz(doc.c_str(), safe_ut.file_size(doc.c_str()), "", r.com);
  r.docHtm = doc;
}

// ------------------------------------------------------------------- intake

std::optional<std::string> DocDes::abs_path(const char* path, Btree& remarks) {
  enter("DocDes.abs_path");
  std::string p = slashes(path ? path : "");
  if (!begins(p, "0/") && (p.empty() || !isdigit((unsigned char)p[0]))) return p;
  size_t k = 0;
  int n = 0;
  while (k < p.size() && isdigit((unsigned char)p[k])) {
    if (n < 1000) n = n * 10 + (p[k] - '0');
    k++;
  }
  if (k < p.size() && p[k] == '/' && n < max_prefixes && prefix_set[n]) {
    std::string rest = p.substr(k);
    if (rest.find(':') != std::string::npos) {
      printf("\nApp error: -%c %s\n           path not correct\n", cur_c ? cur_c : '?', path);
      count_error();
      return std::nullopt;
    }
    return prefix[n] + rest;
  }
  put(remarks, cur_line, "?Path prefix not specified");
  printf("\nApp error: -%c %s\n           Path prefix not specified.\n", cur_c ? cur_c : '?', path);
  count_error();
  return std::nullopt;
}

// Extensions of the files that a folder pattern brings into a document.
static bool pattern_ext(const std::string& lext) {
  static const char* const exts[] = {".htm", ".html", ".pdf", ".doc",  ".rtf", ".txt",
                                     ".gif", ".jpg",  ".jpeg", ".bmp", ".tif", ".tiff",
                                     ".ico", ".mpeg", ".pcx", ".png",  ".tga", ".wmz"};
  for (const char* e : exts)
    if (lext == e) return true;
  return false;
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
  if (src.find('*') != std::string::npos) {
    // A folder pattern: its files are listed on a page of their own.
    std::string dir = folder_of(src), pattern = base_of(src);
    std::string page = docDir + "/src.htm";
    FILE* out = safe_ut.create(page.c_str());
    std::string head =
        "<html><head><meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">\n"
        "<title>" + titleLine + "</title>\n"
        "<link rel=stylesheet type=\"text/css\" href=\"../1.css\"></head>"
        "\n<body><h1><center>" + titleLine + "</center></h1><br><p class=1>";
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
        std::string title =
            lext == ".htm" || lext == ".html" ? extract_title(name, from.c_str()) : name;
        std::string line = "\n<br><a href=\"" + to_name + "\">" + title + "</a>";
        safe_ut.write_FILE(out, line.data(), (long)line.size());
        local[title] = to_name;
      }
    const char tail[] = "\n</p></body></html>\n";
    safe_ut.write_FILE(out, tail, (long)strlen(tail));
    safe_ut.close_FILE(&out, SRC, __LINE__);
    result = page;
  } else if ((ends_nocase(src, ".htm") || ends_nocase(src, ".html")) && !web_address(src) &&
             safe_ut.ok_is_a(src.c_str()) == 'f') {
    // A page with everything it references, brought into the document folder.
    std::string top = absolute(src);
    local_dir = safe_ut.cwd();
    safe_ut.change_dir(docDir.c_str());
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
    safe_ut.change_dir(local_dir.c_str());
    result = docDir + "/" + base_of(top);
  }
  for (const auto& [title, file] : local)
    if (std::optional<std::string> name = value_in(closure_targets, lower(file)))
      put(engine_keys, "*" + std::to_string(n) + "/" + title, *name);
  return result;
}

std::string DocDes::extract_title(const std::string& def, const char* htmFile) {
  enter("DocDes.extract_title");
  std::string t = safe_ut.read_text(htmFile);
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
  if (lext.empty() || holds(visited, p)) return;
  if (lext != ".htm" && lext != ".html") return;
  printf("\n%i - htm_closure: %s\n", n, p.c_str());
  put(visited, p);
  if (base_of(p).empty()) {
    errno = err::not_a_path;
    exut.fail(__LINE__, SRC, "System: htm_closure( %s ): no file name\n", p.c_str());
  }
  if (top) safe_ut.ensure_dir("pic");
  std::string key = lower(base_of(p));
  if (holds(closure_targets, key)) return;
  std::string name =
      top ? base_of(p) : "_" + std::to_string(n) + "_" + std::to_string(++closure_nr) + ".htm";
  put(closure_targets, key, name);
  files_to_docDir(p, name, n);
}

// The position behind an attribute "href=" or "src=" (in one of the spellings
// HREF, SRC, href, src) that stands at `i` behind white space; 0 if none.
static size_t attribute_at(const std::string& t, size_t i, bool* is_src) {
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

void DocDes::files_to_docDir(const std::string& htm, const std::string& to, int n) {
  enter("DocDes.files_to_docDir");
  if (safe_ut.ok_is_a(htm.c_str()) != 'f') return;
  std::string t = safe_ut.read_text(htm.c_str());
  std::string out;
  out.reserve(t.size() + 256);
  std::vector<std::pair<bool, std::string>> refs;
  std::string dir = folder_of(htm);
  size_t done = 0;
  for (size_t i = 1; i < t.size(); i++) {
    char c = t[i];
    if (c != 'h' && c != 'H' && c != 's' && c != 'S') continue;
    bool is_src = false;
    size_t v = attribute_at(t, i, &is_src);
    if (!v) continue;
    // The value ends at its closing quote, or unquoted at a blank, a line
    // end or ">"; it is written back in double quotes.
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
    out += value;
    out += '"';
    done = behind;
    i = done - 1;

    std::string path = value.substr(0, value.find('#'));
    if (path.empty()) continue;
    if (begins_nocase(path, "http:/") || begins_nocase(path, "https:/") ||
        begins_nocase(path, "ftp:/")) {
      put(internet, path, htm);
      continue;
    }
    if (begins_nocase(path, "mailto:") || begins_nocase(path, "javascript:")) continue;
    path = slashes(path);
    if (!(path[0] == '/' || (path.size() > 1 && path[1] == ':'))) path = dir + "/" + path;
    path = normal_path(path);
    if (safe_ut.ok_is_a(path.c_str()) != 'f') {
      std::string decoded = safe_uts::url_decoded(path);
      if (decoded == path || safe_ut.ok_is_a(decoded.c_str()) != 'f') {
        printf("\nno_src: %s [%s]", path.c_str(), htm.c_str());
        continue;
      }
      path = decoded;
    }
    refs.emplace_back(is_src, path);
  }
  out.append(t, done, std::string::npos);
  safe_ut.write_text(to.c_str(), out);
  t.clear();

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
    } else if (!holds(closure_targets, key)) {
      std::string name = "_" + std::to_string(n) + "_" + std::to_string(++closure_nr) +
                         (lext.empty() ? "" : lext);
      safe_ut.copy_file(name.c_str(), path.c_str());
      put(closure_targets, key, name);
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
    } else if (std::optional<std::string> name = value_in(closure_targets, key)) {
      now = std::string(prefix) + *name;
    }
    if (now.empty()) continue;
    out.append(t, done, a - done);
    out += now;
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
             copy_flags.c_str());
    safe_ut.system(comm_buf);
    return "xs/" + nr + src.substr(part);
  }
  std::string to = "xs/" + nr + "/" + base_of(src);
  safe_ut.copy_file(to.c_str(), src.c_str());
  return to;
}

void DocDes::extract_css(const char* to, const char* from) {
  enter("DocDes.extract_css");
  std::string t = safe_ut.read_text(from);
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

// -------------------------------------------------------------- enhancement

// The escape step: "<", ">" and the letters of the DOS code page become
// entities, box drawing becomes plain lines; "[?+]" ... "[?-]" blocks are
// copied as they stand, marks included.
void DocDes::escape_file(const char* from, const char* to) {
  std::string t = safe_ut.read_text(from);
  std::string out;
  out.reserve(t.size() + t.size() / 8);
  size_t i = 0;
  while (true) {
    size_t r = t.find("\n[?+]", i);
    std::string chunk = t.substr(i, r == std::string::npos ? std::string::npos : r - i);
    ut_htmst::to_entities(chunk.c_str(), out, 0);
    if (r == std::string::npos) break;
    size_t e = t.find("\n[?-]", r + 1);
    if (e == std::string::npos) {
      out.append(t, r, std::string::npos);
      break;
    }
    size_t le = t.find('\n', e + 1);
    if (le == std::string::npos) le = t.size();
    out.append(t, r, le - r);
    i = le;
  }
  safe_ut.write_text(to, out);
}

// The escape step and the cleaning of a text that becomes part of the web.
void DocDes::enhance_text(const char* from, const char* to) {
  escape_file(from, to);
  ut->ers_schmutz(to, safe_ut.file_size(to), "#\n/-", '-');
}

int DocDes::enhance_webDescr(Btree& remarks, const char* conf) {
  enter("DocDes.enhance_webDescr");
  if (!conf) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: enhance_webDescr() without a configuration\n");
  }
  std::string in = find_installation();
  if (in.empty()) {
    printf("\nApp_error: Cannot find installation PATH/ut_brelmot\n");
    return 1;
  }
  if (exp_mi(conf, "xs/webConf.tmp", "\n-", "\n#", nullptr)) return 1;
  std::string t = "\n" + safe_ut.read_text("xs/webConf.tmp");
  if (t.find("\n-") == std::string::npos) {
    errno = err::corrupted_data;
    exut.fail(__LINE__, SRC, "User: no command line \"-...\" in %s\n", conf);
  }
  std::string name;
  size_t w = t.find("\n-w xs_");
  if (w != std::string::npos)
    for (size_t k = w + 7; k < t.size() && isalnum((unsigned char)t[k]); k++) name += t[k];
  safe_ut.copy_file("xs/commands", (in + "/doc/commands").c_str());

  std::string scn =
      "\n\n[?+]<a href=\"commands\"><p><center>\n<font face=ARIAL,VERDANA size=1>\n"
      "Click here for a Command Reference</a><br></font></p>\n<h2>Web Configuration " +
      name + "</h2></center>\n<font size=2>\n[?-]";
  bool hidden = false;
  size_t i = 1;
  while (i <= t.size()) {
    size_t j = t.find('\n', i);
    if (j == std::string::npos) j = t.size();
    std::string line = rtrim(t.substr(i, j - i));
    i = j + 1;
    if (hidden) {
      if (begins(line, "-]")) hidden = false;
      continue;
    }
    if (begins(line, "-[")) {
      hidden = true;
      continue;
    }
    if (begins(line, "--")) {
      scn += "\n--";
      break;
    }
    if (begins(line, "-s") || (!line.empty() && isspace((unsigned char)line[0]))) {
      // Topic lines of this web and the lines behind a command stay whole.
      scn += "\n" + line;
      continue;
    }
    std::string l = trim(line);
    std::optional<std::string> rem = value_in(remarks, l);
    scn += "\n" + (rem ? *rem : std::string()) + l;
  }
  scn += "\n";
  safe_ut.write_text("xs/webConf.scn", scn);
  enhance_text("xs/webConf.scn", "xs/webConf.txt");
  enhance_text((in + "/doc/sample_1").c_str(), "xs/coref.txt");
  return 0;
}

void DocDes::enhance_to_htm(std::list<std::string>* starts, const char* from, const char* to,
                            const char* startMark, bool wrap) {
  enter("DocDes.enhance_to_htm");
  escape_file(from, "x_escape");
  std::string t = safe_ut.read_text("x_escape");
  safe_ut.remove_file("x_escape");
  size_t pos = 0;
  // A text document begins at its first mark "!!-": what stands ahead of
  // it is for its authors, and the block behind it is dropped up to "!!+".
  if (strcasecmp(base_of(slashes(to)).c_str(), "webConf.htm") != 0) {
    size_t k = t.find("\n!!-");
    if (k != std::string::npos) pos = k;
  }
  if (startMark && *startMark) {
    size_t k = t.find(startMark, pos);
    if (k != std::string::npos) pos = k + strlen(startMark);
  }
  // The pictures of placeholders: the first folder "pic" up the path.
  std::string pic;
  for (std::string d = folder_of(slashes(from));; d = folder_of(d)) {
    std::string cand = d + "/pic";
    if (safe_ut.ok_is_a(cand.c_str()) == 'd') {
      pic = cand;
      break;
    }
    if (d == "." || d == "/" || d.empty()) break;
  }
  printf("\nFind pictures for document %s", from);

  std::string out;
  out.reserve(t.size() * 2);
  if (wrap) out += "\n<body><aa><pre>";
  bool raw = false, heading = false, blank = true, dot_before = false;
  int empties = 0;
  std::string last_number;
  size_t i = pos;
  if (i < t.size() && t[i] == '\n') i++;
  while (i < t.size()) {
    size_t j = t.find('\n', i);
    if (j == std::string::npos) j = t.size();
    std::string line = t.substr(i, j - i);
    i = j + 1;
    // Raw text between the marks; text behind a mark on its line belongs
    // to the raw block.
    if (raw) {
      if (begins(line, "[?-]")) raw = false;
      else out += "\n" + line;
      continue;
    }
    if (begins(line, "[?+]")) {
      raw = true;
      if (line.size() > 4) out += "\n" + line.substr(4);
      continue;
    }
    size_t f = line.find_first_not_of(" \t\r");
    if (f == std::string::npos) {
      empties++;
      continue;
    }
    if (empties) {
      blank = true;
      if (!heading) out += std::string("<br><br><br><br>").substr(0, 4 * std::min(empties, 4));
      empties = 0;
    }
    std::string text = rtrim(line);
    if (starts && (text[f] == '.' || text[f] == '-' || dot_before)) out += "<br>";
    dot_before = !text.empty() && text.back() == '.';

    if (!text.compare(f, 5, "EJECT")) {
      out += "\n<br>";
      heading = false;
      blank = false;
      continue;
    }
    std::string number;
    if (isdigit((unsigned char)text[f])) {
      size_t k = f;
      while (k < text.size() && (isdigit((unsigned char)text[k]) || text[k] == '.')) k++;
      number = text.substr(f, k - f);
      if (k >= text.size() || text[k] != ' ') number.clear();
    }
    if (!text.compare(f, 3, "!!-")) {
      // Dropped up to the line of "!!+"; without it the page ends here.
      size_t k = t.find("!!+", i);
      out += "\n<aa>";
      if (k == std::string::npos) break;
      size_t le = t.find('\n', k);
      i = le == std::string::npos ? t.size() : le + 1;
      continue;
    }
    if (!text.compare(f, 6, "!!=toc")) {
      out += "\n<br><aa><br>";
      continue;
    }
    size_t ph = text.find("&lt;&lt; Platzhalter");
    if (ph != std::string::npos) {
      size_t b = find_nocase(text, ".bmp", ph);
      if (b != std::string::npos) {
        size_t a = text.find_last_of(" \t", b);
        std::string name = text.substr(a == std::string::npos ? 0 : a + 1, b + 4 - (a + 1));
        std::string file = pic.empty() ? "" : safe_ut.real_name((pic + "/" + name).c_str());
        if (!file.empty() && safe_ut.ok_is_a(file.c_str()) == 'f') {
          safe_ut.ensure_dir("xs/pic");
          safe_ut.copy_file(("xs/pic/" + name).c_str(), file.c_str());
          out += "\n<img src=\"../pic/" + name + "\">";
          continue;
        }
        printf("\nW a r n i n g : cannot find picture %s", name.c_str());
        printf("\ngrep %s alles", name.c_str());
      }
    }
    bool is_heading = false;
    if (blank && starts) {
      std::string whole = trim(text);
      for (const std::string& s : *starts)
        if (!s.empty() && (s.back() == ':' ? whole == s : begins(whole, s.c_str()))) {
          is_heading = true;
          break;
        }
    }
    if (!is_heading && !number.empty() && number > last_number) {
      is_heading = true;
      last_number = number;
    }
    blank = false;
    if (is_heading) {
      out += "\n</pre><h2>" + trim(text) + "</h2><pre>";
      heading = true;
      continue;
    }
    heading = false;
    if (text.size() >= 2 && text[text.size() - 2] == ' ' &&
        (text.back() == ':' || text.back() == '.' || text.back() == ',')) {
      char last = text.back();
      text = rtrim(text.substr(0, text.size() - 1)) + last;
    }
    bool bold = text.back() == ':' && !islower((unsigned char)text[f]);
    out += "\n<br>";
    if (bold) out += "<b>";
    out += text;
    if (bold) out += "</b>";
    if (bold && starts) out += "<br>";
  }
  out += "\n</p></span></font></pre></body></html>\n";
  safe_ut.write_text(to, out);
  if (starts) starts->clear();
}
