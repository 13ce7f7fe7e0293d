// The web configuration read into the web model: the entry of a build's
// reading, the loop over the command lines, the settings, the web position,
// the path prefixes, topic groups and link entries, and the outcome of the
// reading.  Document and source tree lines are in driver/conf_documents.cpp.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "driver/folders.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"
#include "runtime/ut_repl.h"

using namespace des;

int DocDes::read_webConfiguration(const char* conf, const char* p2, const char* p3) {
  enter("DocDes.read_webConfiguration");
  if (!conf) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: read_webConfiguration() without a configuration\n");
  }
  web.errors = 0;
  web.conf_name = conf;
  web.keep = p2 && p2[0] == '+';
  clean = p3 && !strcmp(p3, "clean");
  check = p3 && p3[0] == '?';
  if (web.inst.empty()) {
    printf("\nApp_error: Cannot find installation PATH/ut_brelmot\n");
    return 1;
  }
  printf("\nInstallation path = %s\n", folder_of(web.inst).c_str());
  web.prefix[0] = web.inst;
  web.prefix_set[0] = true;

  if (!strcmp(conf, "update")) {
    folders::command_ref(web.inst);
    return 0;
  }
  if (safe_ut.ok_is_a(conf) != 'f') {
    printf("\nUser's error: no such file: %s\n", conf);
    return 1;
  }
  printf("\nCreate Brelmot: descr = %s\n", conf);
  web.conf_dir = folder_of(slashes(conf));

  safe_ut.rm_and_make_dir("xs");
  safe_ut.ensure_dir("xs/0");
  ut->alias("xs/1.htm", "1/1.htm");

  int rc = enhance_webDescr(web.remarks, conf);
  if (rc) return rc;
  enhance_to_htm(nullptr, "xs/webConf.txt", "xs/webConf.htm", nullptr, true);
  safe_ut.link_to("webConf.htm", "xs/webconf.htm");

  // The expanded configuration is what is read from here on.
  cfg = "\n" + safe_ut.read_text("xs/webConf.scn");
  ut_repl::dos_to_win(cfg.data());
  web.comms.assign(1, comm{});
  web.docs = 1;
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
    cur_c = c;
    cur_line = line;
    command_line(c, line, trim(line.substr(line.size() > 1 ? 2 : 1)), p);
  }
  fflush(stdout);
  return reading_outcome();
}

// One command line, at position `p` of the text; `rest` is what follows
// the letter.
void DocDes::command_line(char c, const std::string& line, const std::string& rest, size_t p) {
  switch (c) {
    case 'w': command_w(rest); break;
    case '?': command_prefix(rest, p); break;
    case 'o': command_o(rest); break;
    case 'p': web.hotspots_off = safe_ut.atoi(rest.c_str(), SRC, __LINE__); break;
    case 'k': command_k(rest); break;
    case 'c': command_c(rest); break;
    case 'H': web.H_phrases.push_back(rest); break;
    case 'S': case 's': case 'F': case 'f': command_topic(c, rest); break;
    case 'e': case 'a': case 'A': case 'n': case 'U': command_doc(c, line, rest, p); break;
    case 'L': case 'R': case 'C': case 'T': command_link(c, rest); break;
    case 'j': command_j(line, rest, p); break;
    case 'D': web.docs_title = rest; break;
    case 'm': web.menu = 0; break;
    case 't': web.topics.push_back(rest); break;
    default:
      printf("\nSyntax error: -%c is an undefined command.\n", c ? c : ' ');
      count_error();
  }
}

// The end of the reading: the exit status and its message, or
// build_goes_on.
int DocDes::reading_outcome() {
  if (clean) {
    printf("\no k  -  all publish folders removed [ %s ]\n", web.conf_name.c_str());
    return 0;
  }
  if (web.errors) {
    printf("\n\nStop: Please correct %s,\nit contains %i errors described above.\n",
           web.conf_name.c_str(), web.errors);
    return 1;
  }
  if (check) {
    printf("\n\nWeb configuration %s seems  o k :\nall the files meant to be published exist.\n",
           web.conf_name.c_str());
    return 1;
  }
  if (web.docs == 1) {
    // A configuration of topics only: its topic pages are the web.
    ut->make_topicPages("xs");
    printf("\no k  -  Now call xs to open your web index\n");
    return 0;
  }
  registration_pass();
  return build_goes_on;
}

// ------------------------------------------------------------ sub-lines

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

// ------------------------------------------------------------- settings

void DocDes::command_o(const std::string& rest) {
  if (begins(rest, "oneDoc")) {
    web.oneDoc = 1;
  } else if (begins(rest, "noedit")) {
    web.edit = 0;
  } else if (begins(rest, "noCards")) {
    web.noCards = 1;
  } else {
    printf("\nSyntax error: -o %s is an undefined option.\n", rest.c_str());
    count_error();
  }
}

void DocDes::command_k(const std::string& rest) {
  size_t eq = rest.find('=');
  web.k_entries.push_back(trim(rest.substr(0, eq)));
  web.k_entries.push_back(eq == std::string::npos ? trim(rest) : trim(rest.substr(eq + 1)));
}

void DocDes::command_c(const std::string& rest) {
  size_t q = rest.find('?');
  std::string from = q == std::string::npos ? rest : trim(rest.substr(0, q));
  std::string to = q == std::string::npos ? "" : trim(rest.substr(q + 1));
  if (from.empty() || to.empty()) {
    printf("\nSyntax error: -c %s\n           is not of the form <from>?<to>\n", rest.c_str());
    count_error();
  } else {
    web.c_pairs.emplace_back(from, to);
  }
}

// ---------------------------------------------------------- web position

// The web position is one folder beside the configuration, named "xs_...":
// a name that holds "/", "\" or ".." would place the web, and the folders
// made and later moved for it, somewhere else.
void DocDes::command_w(const std::string& rest) {
  size_t t1 = rest.find('~');
  std::string name = trim(rest.substr(0, t1));
  if (!begins(rest, "xs_") || name.find_first_of("/\\") != std::string::npos ||
      name.find("..") != std::string::npos) {
    printf("\nApp error: -w %s\n           Web position must be named xs_...\n", rest.c_str());
    count_error();
    return;
  }
  for (char& ch : name)
    if (isspace((unsigned char)ch)) ch = '_';
  web.web_pos = name;
  web.web_name = name.substr(3);
  if (t1 != std::string::npos) {
    size_t t2 = rest.find('~', t1 + 1);
    web.web_title =
        trim(rest.substr(t1 + 1, t2 == std::string::npos ? std::string::npos : t2 - t1 - 1));
    if (t2 != std::string::npos) {
      std::string sub = rest.substr(t2 + 1);
      if (!sub.empty() && sub[0] == '+') {
        size_t b = sub.find(' ');
        sub = b == std::string::npos ? "" : sub.substr(b + 1);
      }
      web.web_subtitle = trim(sub.substr(0, sub.find('~')));
    }
  }
  if (clean) return;
  if (safe_ut.ok_is_a(web.web_pos.c_str()) == 'f')
    exut.fail(__LINE__, SRC, "System: u: cannot create dir %s", web.web_pos.c_str());
  safe_ut.ensure_dir(web.web_pos.c_str());
  // The finished web will take the place of this folder: one that cannot be
  // written is reported now, before the build, and stays as it is.
  if (!safe_ut.writable(web.web_pos.c_str()))
    exut.fail(__LINE__, SRC, "User: cannot write the web position %s: %s\n", web.web_pos.c_str(),
              strerror(errno));
}

// ---------------------------------------------------------- path prefixes

// At the first "-?" line the profiles of earlier versions of the web come
// along from the web position.
void DocDes::first_prefix_line(const std::string& rest) {
  first_prefix = false;
  std::string profs = web.web_pos + "/profs";
  if (web.web_pos.empty()) {
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

// "-? <d>=file://...": a network drive.  False when the line is no drive
// line at all.
bool DocDes::command_drive(const std::string& rest) {
  if (rest.empty() || !isalpha((unsigned char)rest[0]) || isdigit((unsigned char)rest[0]))
    return false;
  char d = (char)tolower((unsigned char)rest[0]);
  std::string v = rest.size() > 1 && rest[1] == '=' ? trim(rest.substr(2)) : "";
  if (rest.size() < 2 || rest[1] != '=' || !begins(v, "file://") || d < 'a' || d > 'z') {
    printf("\nSyntax error:\n-? %c.. is not a spec of a network drive", rest[0]);
    count_error();
    return true;
  }
  web.drives[d - 'a'] = v;
  return true;
}

void DocDes::command_prefix(const std::string& rest, size_t pos) {
  if (first_prefix) first_prefix_line(rest);
  if (command_drive(rest)) return;
  size_t k;
  long n = leading_number(rest, &k);
  if (k == 0 || k >= rest.size() || rest[k] != '=' || n < 1 || n > 99) {
    printf("\nSyntax error in %s,\n-? is not followed by a number in [1..100] followed by '='. pos = %i\n",
           web.conf_name.c_str(), (int)pos);
    count_error();
    return;
  }
  std::string path = slashes(trim(rest.substr(k + 1)));
  bool drive = path.size() > 1 && isalpha((unsigned char)path[0]) && path[1] == ':';
  bool url = begins(path, "file://");
  bool relative = begins(path, "..") || begins(path, "./") || path == ".";
  if (!drive && !url && !relative && !begins(path, "/")) {
    printf("\nSyntax error in %s,\n-? does not start with \"../\" or a drive letter.",
           web.conf_name.c_str());
    count_error();
    return;
  }
  // A relative prefix means a folder seen from the configuration's folder.
  if (relative) path = normal_path(web.conf_dir + "/" + path);
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  web.prefix[n] = path;
  web.prefix_set[n] = true;
  if (!url && safe_ut.ok_is_a(path.c_str()) == 'n') {
    printf("\nconf Error: not found: %s", path.c_str());
    count_error();
  }
}

// ----------------------------------------------------------- topic groups

void DocDes::command_topic(char c, const std::string& rest) {
  int group = ++groups;
  std::string key = std::to_string(group) + "/";
  std::string head = key, path, wname;
  if (c == 'F' || c == 'f') {
    tree_put(web.topic_tree, key, rest);
    head = rest.empty() ? key : rest;
  } else if (!topic_web(c, rest, key, &head, &path, &wname)) {
    return;
  }
  topic_sub_lines(c, group, head, path, wname);
}

// The web of a "-S" or "-s" line: its path made absolute and ensured, its
// name entered under "u.<group>/<Web>".  False when the path is wrong.
bool DocDes::topic_web(char c, const std::string& rest, const std::string& key, std::string* head,
                       std::string* path, std::string* wname) {
  size_t colon = rest.find(':', rest.size() > 2 ? 2 : 0);
  std::string given = trim(rest.substr(0, colon));
  if (colon != std::string::npos && !trim(rest.substr(colon + 1)).empty())
    *head = trim(rest.substr(colon + 1));
  std::optional<std::string> full = abs_path(given.c_str(), web.remarks);
  if (!full) return false;
  *path = *full;
  if (safe_ut.ok_is_a(path->c_str()) != 'd' && !clean) {
    safe_ut.ensure_dir(path->c_str());
    if (safe_ut.ok_is_a(path->c_str()) != 'd')
      exut.fail(__LINE__, SRC, "System: u: cannot create %s", path->c_str());
  }
  size_t x = path->rfind("xs_");
  if (x == std::string::npos) {
    printf("\nApp error: -%c\n           %s: %s\n", c, "not a web root xs_..", path->c_str());
    count_error();
    return true;
  }
  *wname = path->substr(x + 3);
  *wname = wname->substr(0, wname->find('/'));
  if (!wname->empty()) (*wname)[0] = (char)toupper((unsigned char)(*wname)[0]);
  tree_put(web.topic_tree, "u." + key + *wname, *path);
  return true;
}

// The sub-lines "   . <label>: <phrase>" of a topic group, one record each.
void DocDes::topic_sub_lines(char c, int group, const std::string& head, const std::string& path,
                             const std::string& wname) {
  std::string text;
  while (dot_line(&text)) {
    if (trim(text).empty()) continue;
    folder f;
    f.letter = c;
    f.web_key = std::to_string(group) + "/";
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
    if ((int)web.folders.size() >= web_model::max_folders) {
      exut.show_int("max_folders", web_model::max_folders);
      errno = err::no_space;
      exut.fail(__LINE__, SRC, "System: more than max_folders = %i topic records\n",
                web_model::max_folders);
    }
    web.folders.push_back(f);
  }
}

// ------------------------------------------------------------ link entries

void DocDes::command_link(char c, const std::string& rest) {
  std::string url = rest;
  // A path on a mapped drive is shown by the drive's prefix.
  if (url.size() > 1 && url[1] == ':' && isalpha((unsigned char)url[0])) {
    const std::string& d = web.drives[tolower((unsigned char)url[0]) - 'a'];
    if (!d.empty()) url = d + slashes(url.substr(2));
  }
  std::string text;
  bool any = false;
  while (sub_line(&text)) {
    tree_put(web.links, std::string(1, c) + " " + text, url);
    any = true;
  }
  if (!any) tree_put(web.links, std::string(1, c) + " " + url, url);
  if (c == 'C') web.C_links++;
  if (c == 'R') web.R_links++;
}
