// The document and source tree lines of the web configuration: each "-e",
// "-a", "-A", "-n", "-U" line becomes a record of the web model with its
// folder xs/<n> and its title lines; each "-j" line a source tree or a
// setting of the code web.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

namespace {

const char portal_lines[] = "\n-e 0/doc/WebRoot.rtf\n   This Project's Web Portal Page\n";

}  // namespace

// Puts the portal document ahead of the line at `p` when the first document
// is another one; returns true when it did, the line is then read again.
bool DocDes::portal_first(const std::string& rest, size_t p) {
  if (web.docs != 1 || clean || portal_done) return false;
  portal_done = true;
  if (find_nocase(rest, "WebRoot.rtf") != std::string::npos) return false;
  cfg.insert(p, std::string(portal_lines, sizeof portal_lines - 2));
  at = p;
  return true;
}

// ------------------------------------------------------------------- -j

void DocDes::command_j(const std::string& line, const std::string& rest, size_t p) {
  for (const char* word : {"srcRoot=", "sqlData=", "er1Data="})
    if (begins(rest, word)) {
      command_j_word(word, rest);
      return;
    }
  size_t k;
  long n = leading_number(rest, &k);
  if (k > 0 && k < rest.size() && rest[k] == '/' && n < web_model::max_prefixes &&
      web.prefix_set[n]) {
    if (!portal_first(rest, p)) command_j_tree(rest);
    return;
  }
  if (begins(rest, "Links=")) {
    command_j_links(rest);
    return;
  }
  if (begins(rest, "TestReport=")) {
    std::string v = trim(rest.substr(11));
    size_t slash = v.find('/');
    const char* env =
        slash == std::string::npos ? nullptr : safe_uts::env_lookup(v.substr(0, slash).c_str());
    web.test_report = env ? "file://" + std::string(env) + "/" + v.substr(slash + 1) : v;
    return;
  }
  printf("\nSyntax error: -%s does not use an abbreviation to prefix the path with.\n",
         line.substr(1).c_str());
  count_error();
}

// "srcRoot=", "sqlData=", "er1Data=": settings of the code web.  These
// words switch the clean mode off for the run.
void DocDes::command_j_word(const char* word, const std::string& rest) {
  clean = false;
  std::string v = trim(rest.substr(strlen(word)));
  if (!strcmp(word, "er1Data=")) {
    errno = err::unsupported_exception;
    exut.fail(__LINE__, SRC, "System: not yet supported: er1Data = %s", v.c_str());
  }
  std::optional<std::string> full = abs_path(v.c_str(), web.remarks);
  if (!full) return;
  if (!strcmp(word, "sqlData=")) {
    command_j_sql(v, *full);
    return;
  }
  if (safe_ut.ok_is_a(full->c_str()) != 'd') {
    printf("\nContent error: No such folder: [%s]\n", full->c_str());
    count_error();
    return;
  }
  web.srcRoot = *full;
}

// "sqlData=": the data model is made into pages by the outside tool.
void DocDes::command_j_sql(const std::string& v, const std::string& full) {
  if (safe_ut.ok_is_a(full.c_str()) != 'f') {
    printf("\nApp error: -j sqlData=%s does not exist", v.c_str());
    count_error();
    return;
  }
  std::string stem = full.substr(0, full.size() - ext_of(full).size());
  snprintf(comm_buf, sizeof comm_buf, "tormel SQL \"%s\" \"%s\"", full.c_str(), stem.c_str());
  safe_ut.system(comm_buf);
  std::string er1 = stem + ".er1.htm";
  if (safe_ut.ok_is_a(er1.c_str()) != 'f')
    exut.fail(__LINE__, SRC, "System: not found: %s", er1.c_str());
  web.sqlData = full;
}

// "-j <n>/<path>": a source tree, with its title on the next line.
void DocDes::command_j_tree(const std::string& rest) {
  std::optional<std::string> full = abs_path(rest.c_str(), web.remarks);
  if (!full) return;
  int nr = web.docs;
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
  web.comms.push_back(r);
  web.docs++;
}

void DocDes::command_j_links(const std::string& rest) {
  std::string v = trim(rest.substr(6));
  std::optional<std::string> full = abs_path(v.c_str(), web.remarks);
  if (!full) return;
  if (safe_ut.ok_is_a(full->c_str()) != 'f') {
    printf("\nUser's error: does not exist: %s", full->c_str());
    count_error();
    return;
  }
  web.links_file = *full;
}

// ------------------------------------------------------- document lines

void DocDes::command_doc(char c, const std::string& line, const std::string& rest, size_t p) {
  if (portal_first(rest, p)) return;
  int n = web.docs;
  std::string dir = "xs/" + std::to_string(n);
  safe_ut.ensure_dir(dir.c_str());

  std::optional<std::string> full = abs_path(rest.c_str(), web.remarks);
  if (!full) {
    // The line cannot be read on; its number goes to the next document.
    safe_ut.rm_tree(dir.c_str());
    return;
  }
  web.comms.push_back(comm{});
  web.docs++;
  comm& r = web.comms[n];
  r.com = c;
  r.nr = std::to_string(n);
  r.src = *full;
  bool is_web = web_address(r.src);
  // A fragment "#..." is kept with the source but plays no part in finding
  // its file.
  std::string fragment;
  if (!is_web && r.src.find('#') != std::string::npos) {
    fragment = r.src.substr(r.src.find('#'));
    r.src.erase(r.src.find('#'));
  }
  // A web address is a document only to be linked.
  if (is_web && r.com == 'e') r.com = 'n';
  if (!document_line(n, c, line, rest, is_web)) return;  // the record is gone
  comm& kept = web.comms[n];
  if (!fragment.empty()) {
    kept.frag = kept.src.size();
    kept.src += fragment;
  }
}

// The rest of a document line.  False when the line was dropped with its
// record.
bool DocDes::document_line(int n, char c, const std::string& line, const std::string& rest,
                           bool is_web) {
  std::string ext;
  if (!source_found(n, c, line, rest, is_web) || !known_extension(n, c, line, rest, is_web, &ext))
    return true;
  comm& r = web.comms[n];
  std::string file = is_web ? r.src : base_of(r.src);
  std::string lext = lower(ext);
  if (!is_web) copy_direct_view(n, file, lext);
  if (r.com == 'A') {
    web.arch = file;
    r.com = 'e';
  }
  r.target = file;
  if (c != 'n' && !document_kind(n, c, rest, file, lext)) return false;
  if (clean) return true;
  title_lines(n, c, line);
  return true;
}

// The source of a document line must be a file (a web address is not
// tested); a folder pattern or a page is first brought to xs/<n>.  False
// after an error, whose title lines are then read.
bool DocDes::source_found(int n, char c, const std::string& line, const std::string& rest,
                          bool is_web) {
  comm& r = web.comms[n];
  if (is_web) return true;
  if (safe_ut.ok_is_a(r.src.c_str()) == 'd') {
    printf("\nApp error: -%c %s\n           not a file but a folder: %s\n", c, rest.c_str(),
           r.src.c_str());
    count_error();
    title_lines(n, c, line);
    return false;
  }
  if (!clean && c != 'n' && c != 'U' && !ends_nocase(r.src, ".vsd")) {
    std::string title_line;
    if (at < cfg.size()) {
      size_t le = cfg.find('\n', at + 1);
      title_line =
          trim(cfg.substr(at + 1, le == std::string::npos ? std::string::npos : le - at - 1));
    }
    std::string src = ensure_src(n, r.src, title_line, "xs/" + r.nr);
    web.comms[n].src = src;
  }
  comm& s = web.comms[n];
  if (safe_ut.ok_is_a(s.src.c_str()) != 'f') {
    printf("\nApp error: -%c %s\n           not found: %s\n", c, rest.c_str(), s.src.c_str());
    count_error();
    title_lines(n, c, line);
    return false;
  }
  if (c == 'U') s.src = fetch_htm_closure(n, s.src);
  char date[40];
  safe_ut.file_date(s.src.c_str(), date, 1);
  s.date = date;
  return true;
}

// The extension of the source; a drawing stands for its page.  False after
// an error, whose title lines are then read.
bool DocDes::known_extension(int n, char c, const std::string& line, const std::string& rest,
                             bool is_web, std::string* ext) {
  comm& r = web.comms[n];
  *ext = ext_of(r.src);
  if (ext->empty() && !is_web) {
    printf("\nApp_error: no extension in path %s\n", r.src.c_str());
    count_error();
    title_lines(n, c, line);
    return false;
  }
  if (lower(*ext) != ".vsd") return true;
  std::string htm = r.src.substr(0, r.src.size() - 4) + ".htm";
  if (safe_ut.ok_is_a(htm.c_str()) != 'f') {
    printf("\nApp error: -%c %s\n           Viso file not yet htm:\n           not found: %s\n", c,
           rest.c_str(), htm.c_str());
    count_error();
    title_lines(n, c, line);
    return false;
  }
  r.src = htm;
  *ext = ".htm";
  return true;
}

// A presentation or pdf is copied to xs/<n> and viewed directly.
void DocDes::copy_direct_view(int n, const std::string& file, const std::string& lext) {
  if (lext != ".ppt" && lext != ".pptx" && lext != ".pdf") return;
  comm& r = web.comms[n];
  std::string to = "xs/" + r.nr + "/" + file;
  safe_ut.copy_file(to.c_str(), r.src.c_str());
  if (lext == ".pdf") {
    r.pdf = file;
    web.pdfs++;
  } else {
    r.ppt = file;
    web.ppts++;
  }
  r.direct = 1;
}

// A Word document gets its snapshot; any other file is a target of the
// engine, once.  False when the line is dropped as a repetition.
bool DocDes::document_kind(int n, char c, const std::string& rest, const std::string& file,
                           const std::string& lext) {
  comm& r = web.comms[n];
  if (r.com == 'e' && lext != ".rtf" && lext != ".doc" && lext != ".htm" && lext != ".html" &&
      lext != ".sum")
    r.com = 'n';
  if (r.com == 'e') {
    r.target = "doc" + r.nr + lext;
    take_snapshot(n, c, rest);
    return true;
  }
  std::string key = "D_(" + file + ")";
  if (tree_holds(web.targets, key)) {
    printf("\nW a r n i n g :  More than once: %s", file.c_str());
    std::string dir = "xs/" + r.nr;
    web.comms.pop_back();
    web.docs--;
    safe_ut.rm_tree(dir.c_str());
    return false;
  }
  if (r.com != 'a') tree_put(web.targets, key, r.nr + "/" + file);
  return true;
}

void DocDes::title_lines(int n, char c, const std::string& line) {
  comm& r = web.comms[n];
  bool any = false;
  std::string text;
  while (sub_line(&text)) {
    if (clean) continue;
    if (text[0] == '=') {
      r.direct = 1;
      text = trim(text.substr(1));
      if (text.empty()) continue;
    } else if (begins(text, "k ")) {
      web.aliases.push_back(r.nr + "~" + trim(text.substr(2)));
      continue;
    } else if (begins(text, "s ")) {
      r.starts.push_front(text.substr(2));
      continue;
    }
    if (!r.pdf.empty()) text += " (pdf)";
    if (tree_holds(web.titles, text)) {
      printf("\nAppError, used more than once: %s\n", text.c_str());
      count_error();
      text += " [" + r.nr + "]";
    }
    tree_put(web.titles, text, std::to_string(n));
    if (r.title == "?") r.title = text;
    any = true;
  }
  if (!any && !clean) {
    printf("\nApp error: -%c %s\n           No semi title for this file.\n", c,
           trim(line.substr(2)).c_str());
    tree_put(web.remarks, line, "?No semi title");
  }
}
