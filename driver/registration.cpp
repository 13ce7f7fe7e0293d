// Document registration: what follows the reading of the configuration.
// The documents are walked from last to first: each gets its files in
// xs/<n> (the source or its snapshot, the picture folder), its version in
// the web profile "ndocs", and its cards.  Then link creation hands every
// document to the engine's section pass; with a code root, a first round
// collects index/to_docu for the code web.  Last come the link pages and
// the portal's document table.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

namespace {

const char* const ndocs_file = "xs/profs/ndocs";

std::string file_date(const std::string& path) {
  char out[40];
  safe_ut.file_date(path.c_str(), out, 1);
  return std::string(out).substr(0, 10);
}

}  // namespace

void DocDes::registration_pass() {
  web.n = web.docs;
  std::string master = web.inst + "/xs_/" + web.web_name;
  if (web.web_name.empty())
    exut.fail(__LINE__, SRC, "System: confMaster is not set: the web has no name\n");
  safe_ut.ensure_dir(master.c_str());
  safe_ut.copy_file((master + "/confMaster").c_str(), web.conf_name.c_str());
  if (safe_ut.ok_is_a("xs/profs") != 'd')
    exut.fail(__LINE__, SRC, "System: the web profile path xs/profs is missing\n");
  read_ndocs();
  ut_htm::j2h_css("xs/j2h.css");

  for (int i = web.n - 1; i >= 1; i--) {
    char c = web.comms[i].com;
    if (c == 'j' && !web.last_code_tree) web.last_code_tree = i;
    if (c == 'a' || c == 'e' || c == 'n' || c == 'h') document_files(i);
  }
  write_ndocs();
  read_bullets();

  FILE* root = safe_ut.create("xs/root.bat");
  std::string profName = "xs/profs/" + web.today;
  FILE* profile = safe_ut.create(profName.c_str());
  if (!web.srcRoot.empty()) code_root_pass(root, profile);
  for (int i = 1; i < web.n; i++) href_creator(2, web.card_names, i, root, profile);
  // Until the web pass runs, the glossary pages and the search list end
  // with the last document, so that they are complete files.
  ut->close_glossPages();
  ut->close_search();
  if (web.to_docu) safe_ut.close_FILE(&web.to_docu, SRC, __LINE__);
  if (!web.srcRoot.empty() && safe_ut.ok_is_a("xs/index") == 'd')
    safe_ut.copy_tree((web.srcRoot + "/index").c_str(), "xs/index", 0);
  safe_ut.close_FILE(&root, SRC, __LINE__);
  safe_ut.close_FILE(&profile, SRC, __LINE__);
  snprintf(comm_buf, sizeof comm_buf, "copy \"%s\"         xs > NUL", web.conf_name.c_str());
  safe_ut.system(comm_buf);
  if (safe_ut.ok_is_a("keep_pic") == 'd') safe_ut.system("copy keep_pic/* xs > NUL");

  // secLU, the change reports against older profiles and the document
  // lists docs_R.htm and docs_A.htm.
  ut->change_log(profName.c_str());
  create_more_Links();
  if (web.redundant)
    printf("\n\nW a r n i n g : The cards in %s contain %i redundant definitions\n",
           web.conf_name.c_str(), web.redundant);
  ersetze_1_htm();
}

// ------------------------------------------------------------ ndocs

// The versions of earlier runs: "-s <date>:<size>,<title>".
void DocDes::read_ndocs() {
  if (safe_ut.ok_is_a(ndocs_file) != 'f') return;
  std::string text = safe_ut.read_text(ndocs_file);
  size_t i = 0;
  while ((i = text.find("\n-s ", i)) != std::string::npos) {
    size_t e = text.find('\n', i + 1);
    if (e == std::string::npos) e = text.size();
    std::string line = text.substr(i + 4, e - i - 4);
    i = e;
    if (line.size() > 11 && line[10] == ':') tree_put(web.ndocs, line.substr(11), line.substr(0, 10));
  }
}

void DocDes::write_ndocs() {
  FILE* f = safe_ut.create(ndocs_file);
  fprintf(f, "\n   Web Profile as of %s\n   ----------------------------\n\n   LastVersion:size,docName\n",
          web.today.c_str());
  Btree_st st;
  for (unsigned ok = web.ndocs.GetFirst(st); ok; ok = web.ndocs.Next(st))
    fprintf(f, "\n-s %s:%s", st.c, st.k);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// The version of a document with a source file: its size and title.  A
// version seen before keeps the date it was first seen with.  Every
// document with a source file is recorded, also one that has a snapshot,
// so that an unchanged Word document keeps its date as well.
void DocDes::record_version(int i) {
  comm& r = web.comms[i];
  if (safe_ut.ok_is_a(r.src.c_str()) != 'f') return;
  std::string key = std::to_string((unsigned)safe_ut.file_size(r.src.c_str())) + "," + r.title;
  std::optional<std::string> date = tree_value(web.ndocs, key);
  if (!date) {
    date = r.date.size() >= 10 ? r.date.substr(0, 10) : file_date(r.src);
    tree_put(web.ndocs, key, *date);
  }
  char line[64];
  snprintf(line, sizeof line, "%s:%10s:%i:", date->c_str(), "", i);
  tree_put(web.doc_tree, line + r.title, r.nr + "/" + r.target);
}

// ------------------------------------------------------ one document

void DocDes::document_files(int i) {
  comm& r = web.comms[i];
  std::string target = "xs/" + r.nr + "/" + r.target;
  if (r.com == 'a') {
    if (!r.htm.empty()) exut.fail(__LINE__, SRC, "System: text document %i has a snapshot\n", i);
    std::string page = "xs/x_" + r.nr + ".htm";
    enhance_to_htm(&r.starts, r.src.c_str(), page.c_str(), nullptr, true);
    r.htm = page;
    r.docHtm = page;
  }
  record_version(i);
  if (r.htm.empty() && r.com != 'n') {
    if (safe_ut.ok_is_a(target.c_str()) == 'f')
      printf("\nWarning: More than one %s (= %s)", target.c_str(), r.src.c_str());
    safe_ut.copy_file(target.c_str(), r.src.c_str());
  }
  if (r.htm.empty()) return;
  if (r.com == 'h') {
    tocMark_htm(r.htm.c_str(), target.c_str());
    r.docHtm = target;
  } else {
    safe_ut.copy_file(target.c_str(), r.htm.c_str());
  }
  picture_files(i);
  if (r.docHtm.empty()) {
    if (r.com == 'a') exut.fail(__LINE__, SRC, "System: text document %i has no page\n", i);
    r.docHtm = "xs/" + r.nr + "/doc" + r.nr + ".htm";
    safe_ut.copy_file(r.docHtm.c_str(), r.htm.c_str());
  }
  std::string tm1 = r.nr + ".tm1";
  prune_NL(r.docHtm.c_str(), tm1.c_str());
  r.htm = tm1;
  register_cards(i);
}

// The snapshot's picture folder "<stem>_files" or "<stem>-Dateien" goes to
// xs/<n>/pic; the snapshot joins xs/alles_doc_htm.
void DocDes::picture_files(int i) {
  comm& r = web.comms[i];
  std::string stem = r.htm;
  if (ends_nocase(stem, ".htm")) stem.resize(stem.size() - 4);
  std::string files = safe_ut.real_name((stem + "_files").c_str());
  std::string dateien = safe_ut.real_name((stem + "-Dateien").c_str());
  bool f1 = safe_ut.ok_is_a(files.c_str()) == 'd', f2 = safe_ut.ok_is_a(dateien.c_str()) == 'd';
  if (f1 && f2) {
    printf("\nAppError: Both folders exist, don't know which one to publish.\n%s\n%s\n",
           files.c_str(), dateien.c_str());
    fflush(stdout);
    safe_ut.done_exit(1);
  }
  if (f1 || f2) {
    snprintf(comm_buf, sizeof comm_buf, "-xcopy \"%s\" \"xs\\%i\\pic\\\" %s",
             (f1 ? files : dateien).c_str(), i, web.copy_flags.c_str());
    safe_ut.system(comm_buf);
  } else if (r.com != 'a') {
    printf("\nno such dir: %s", files.c_str());
    printf("\nno such dir: %s", dateien.c_str());
  }
  safe_ut.remove_file(("xs/" + r.nr + "/pic/filelist.xml").c_str());
  safe_ut.remove_file(("xs/" + r.nr + "/pic/header.htm").c_str());
  snprintf(comm_buf, sizeof comm_buf, "type \"%s\" >> xs/alles_doc_htm", r.htm.c_str());
  safe_ut.system(comm_buf);
  std::string base = base_of(stem);
  tree_put(web.pic_folders, base + "_files", "./" + r.nr + "_");
  tree_put(web.pic_folders, base + "-Dateien", "./" + r.nr + "_");
}

// The list style of keep/_bullets.htm: from "stops:list" up to the "["
// behind its third "!".  Only the first of the slots is ever taken.
void DocDes::read_bullets() {
  std::string file = web.inst + "/keep/_bullets.htm";
  if (safe_ut.ok_is_a(file.c_str()) != 'f') return;
  std::string text = safe_ut.read_text(file.c_str());
  size_t a = text.find("stops:list");
  if (a == std::string::npos) return;
  size_t k = a;
  for (int bang = 0; bang < 3 && k != std::string::npos; bang++) k = text.find('!', k + 1);
  if (k == std::string::npos) return;
  size_t b = text.find('[', k);
  if (b == std::string::npos) return;
  web.bullet_slots[0] = text.substr(a, b - a);
}

// ------------------------------------------------------------ code root

// With a code root, documents and code exchange index/to_docu and
// index/to_code.  The expensive first round of link creation runs only
// when to_docu is missing; the code web is built only when to_code is
// missing.  A program without a code web reports the missing to_code and
// goes on without it.
void DocDes::code_root_pass(FILE* root, FILE* profile) {
  std::string index = web.srcRoot + "/index";
  safe_ut.ensure_dir(index.c_str());
  safe_ut.copy_tree("xs/index", index.c_str(), 0);
  if (safe_ut.ok_is_a("xs/index/to_docu") != 'f') {
    safe_ut.ensure_dir("xs/index");
    if (!web.to_docu) web.to_docu = safe_ut.create("xs/index/to_docu");
    for (int i = 1; i < web.n; i++) href_creator(1, web.card_names, i, root, profile);
    if (web.to_docu) safe_ut.close_FILE(&web.to_docu, SRC, __LINE__);
    // The second round cuts the same pages again and files their titles
    // for the search anew.
    ut->close_search();
    if (safe_ut.ok_is_a("xs/profs/search") == 'f') safe_ut.remove_file("xs/profs/search");
    safe_ut.copy_file((index + "/to_docu").c_str(), "xs/index/to_docu");
    if (safe_ut.ok_is_a("xs/index/to_code") == 'f') safe_ut.remove_file("xs/index/to_code");
    web.max_page = 0;
  }
  if (safe_ut.ok_is_a("xs/index/to_code") != 'f') {
    // The code web writes <root>/j2h/index/to_code; it goes to the web and
    // on to the code root's index.
    if (run_code_web(web.srcRoot)) {
      std::string made = web.srcRoot + "/j2h/index/to_code";
      if (safe_ut.ok_is_a(made.c_str()) == 'f') {
        safe_ut.copy_file("xs/index/to_code", made.c_str());
        safe_ut.copy_file((index + "/to_code").c_str(), "xs/index/to_code");
      }
      for (const char* f : {"xs/index/to_docu", "xs/index/to_code"})
        if (safe_ut.ok_is_a(f) != 'f') exut.fail(__LINE__, SRC, "AppError: no file %s\n", f);
    } else {
      printf("\nno code web yet: %s", (index + "/to_code").c_str());
    }
  }
}
