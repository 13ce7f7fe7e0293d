// Command line and program entry.  The first two arguments are compared, in a
// fixed order, with the command words; what is not a command word is a web
// configuration (or a folder holding one, "wconf") to build a web from.
#include "driver/brelmot.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/doc_des.h"
#include "driver/folders.h"
#include "engine/ut_htmst.h"
#include "runtime/exec_ut.h"
#include "runtime/rbuffer.h"
#include "runtime/safe_uts.h"
#include "runtime/signals.h"

const char* const month_names[13] = {"",    "Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dez"};
char today[200];
char date_banner[200];

namespace {

const char* const SRC = "brelmot";

const char usage_text[] =
    "\nbrelmot - documentation webs from a project's documents and source trees\n"
    "\n--  Syntax 1:  brelmot conf"
    "\n      create the web from configuration file conf"
    "\n    Ensure:"
    "\n      - file 'conf is the Brelmot Configuration file explained in ut_brelmot/brelmotWebs.rtf"
    "\n      - the installation folder ut_brelmot must be named in PATH"
    "\n      - files under ut_brelmot/keep must not be deleted"
    "\n      - a folder 'conf means 'conf/wconf"
    "\n    Effect:"
    "\n      - a second parameter other than a question mark creates or re-creates the web"
    "\n      - names of the form $_.. found in bold are documented as installation parameters"
    "\n      brelmot conf ?        only check the configuration file"
    "\n      brelmot conf +        create the web and keep the files xs/docNr/doc.htm"
    "\n      brelmot conf prune    write conf.see: conf without its licence comment blocks"
    "\n"
    "\n--  Syntax 2:  brelmot conf clean"
    "\n      only delete all publish folders named by conf"
    "\n      brelmot dir clean     delete all publish folders below dir"
    "\n      A *.htm snapshot is never updated by the generator: deciding when a new"
    "\n      snapshot replaces an existing one is the user's responsibility."
    "\n"
    "\n--  Syntax 3:  brelmot update"
    "\n      reinstall the documentation of the installation"
    "\n      brelmot update from   update the files of the current tree from the tree from"
    "\n"
    "\n--  Syntax 4:  brelmot publish tree"
    "\n      write the script exp_htm.js that saves all *.doc and *.rtf of the tree as publish/*.htm"
    "\n"
    "\n--  Syntax 5:  brelmot alias from to"
    "\n      make from.htm a page that redirects the browser to to"
    "\n"
    "\n--  Syntax 6:  brelmot headers f"
    "\n      list the section titles of f.htm in 'f.sec"
    "\n"
    "\n--  Syntax 7:  brelmot unite dir pre"
    "\n      concatenate dir/pre_*.htm to dir/pre.htm"
    "\n"
    "\n--  Syntax 8:  brelmot check dir"
    "\n      check each *.htm of the tree dir for targets that do not exist"
    "\n"
    "\n--  Syntax 9:  brelmot sort wconf dirNr"
    "\n      list on stdout the files that could be published from folder number dirNr;"
    "\n      + marks those published"
    "\n"
    "\n--  Syntax A:  brelmot wconf dirNr dir"
    "\n      write on stdout a wconf include for all documents of the tree dir;"
    "\n      delete doc.htm in webs found below"
    "\n      brelmot wconf_ADD from pre dir"
    "\n      copy the files listed in from to 0/from.dir and write a wconf include for them"
    "\n"
    "\n--  Syntax B:  brelmot nopub dir"
    "\n      delete all folders named publish in the tree dir"
    "\n      brelmot find word dir   list on stdout every file of the tree dir that contains word"
    "\n      brelmot pub_alle        rebuild the fixed list of webs, open the portal of the third"
    "\n"
    "\nbrelmot 1.0 for Linux, by the brelmot developers\n";

bool eq(const char* a, const char* b) { return a && b && strcmp(a, b) == 0; }

int syntax_error(const char* form) {
  printf("\nerror: not this Syntax: %s\n", form);
  return 1;
}

void set_today() {
  struct tm t = safe_uts::local(safe_uts::now());
  strftime(today, sizeof today, "%Y.%m.%d", &t);
  char year[8], day[8];
  strftime(year, sizeof year, "%Y", &t);
  strftime(day, sizeof day, "%d", &t);
  snprintf(date_banner, sizeof date_banner, "%s, %s %s", year, month_names[t.tm_mon + 1], day);
}

// The prefixes "showComm.", "traceMe." and "testMe." of the first argument,
// in this order and each once, set their flags; returns what follows them.
const char* strip_prefixes(const char* p1) {
  if (p1 && starts_with(p1, "showComm.")) {
    p1 += 9;
    showComm = 1;
  }
  if (p1 && starts_with(p1, "traceMe.")) {
    p1 += 8;
    traceMe = 1;
    showComm = 1;
  }
  if (p1 && starts_with(p1, "testMe.")) {
    p1 += 7;
    testMe = 1;
  }
  return p1;
}

// The folder commands "nopub", "wconf_ADD", "find" and "update_from"; -1
// for any other word.  wconf_ADD takes a third word, the tree the list was
// made from, for the reader of the command line only: the copies go to
// 0/<from>.dir in any case.
int folder_command(int argc, const char* p1, const char* p2, const char* p3) {
  if (eq(p1, "nopub")) return argc < 3 ? syntax_error("brelmot nopub dir") : folders::no_publish(p2);
  if (eq(p1, "wconf_ADD"))
    return argc < 4 ? syntax_error("brelmot wconf_ADD from pre dir") : folders::wconf_add(p2, p3);
  if (eq(p1, "find"))
    return argc < 4 ? syntax_error("brelmot find word dir") : folders::find_word(p2, p3);
  if (eq(p1, "update_from"))
    return argc < 3 ? syntax_error("brelmot update_from from") : folders::update_from(p2);
  return -1;
}

// Everything but the default build: each ends in its own report on failure.
int run_command(int argc, char** argv, const char* p1, const char* p2, const char* p3,
                bool* handled) {
  *handled = true;
  ut_htmst ut;
  if (eq(p1, "pub_alle")) return folders::pub_alle();
  if (eq(p1, "alias")) {
    if (!p2 || !p3) return syntax_error("brelmot alias from to");
    std::string file = p2;
    if (!safe_ut.ends_with(p2, ".htm") && !safe_ut.ends_with(p2, ".html")) file += ".htm";
    ut.alias(file.c_str(), p3);
    return 0;
  }
  if (eq(p2, "clean") && safe_ut.ok_is_a(p1) == 'd') return clean_publish_folders(p1);
  if (eq(p1, "check")) {
    ut.check_tree(p2, "", safe_uts::now());
    return 0;
  }
  if (eq(p1, "sort")) {
    if (argc < 4) return syntax_error("brelmot sort wconf dirNr");
    return folders::sort_conf(p2, atoi(p3));
  }
  if (eq(p1, "wconf")) {
    if (argc > 3 && p3 && isdigit((unsigned char)p2[0])) return folders::wconf_dir(atoi(p2), p3, stdout);
    printf("\nerror: not this Syntax: brelmot wconf dirNr dir\n");
    return 1;
  }
  if (int rc = folder_command(argc, p1, p2, p3); rc >= 0) return rc;
  if (eq(p1, "unite")) {
    if (argc < 4) return syntax_error("brelmot unite dir pre");
    ut.unite(p2, p3, false);
    return 0;
  }
  if (eq(p1, "headers")) {
    if (argc < 3) return syntax_error("brelmot headers f");
    std::string in = std::string(p2) + ".htm", out = std::string(p2) + ".hds";
    ut.headers(in.c_str(), out.c_str());
    printf("\no k  -  see result in %s\n", out.c_str());
    return 0;
  }
  if (eq(p1, "publish")) {
    if (argc < 3) return syntax_error("brelmot publish tree");
    int n = ut.publish(p2, "exp_htm.js");
    printf("\n\no k  -  the generated script is:  exp_htm.js  (%i docs).\n", n);
    return 0;
  }
  *handled = false;
  return 0;
}

}  // namespace

int clean_publish_folders(const char* dir) {
  // The folders come from the walk that "wfind" lists, by the names the file
  // system gives them; each is removed only when it lies below `dir`.
  printf("\nsystem: wfind %s > %s\n", dir, "xx_tmp");
  safe_ut.rm_folders_named(dir, "publish");
  printf("\no k  -  no publish in %s\n", dir);
  return 0;
}

int prune_configuration(const char* conf) {
  static const char start_mark[] = "/*\n * The Apache";
  static const char end_mark[] = "\n */";
  std::string see = std::string(conf) + ".see";
  FILE* out = safe_ut.create(see.c_str());
  rBuffer rb(conf, "");
  while (rb.find(0, start_mark, out)) {
    if (!rb.find(0, end_mark, nullptr)) {
      safe_ut.close_FILE(&out, SRC, __LINE__);
      exut.fail(__LINE__, SRC, "User: comment block without its end \" */\" in %s\n", conf);
    }
    rb.a += (int)strlen(end_mark);
  }
  safe_ut.close_FILE(&out, SRC, __LINE__);
  return 0;
}

int brelmot_main(int argc, char** argv) {
  errno = 0;
  call_nr = 2;
  program_name = argv[0];
  checkpoint = argv[0];
  if (!install_signal_handlers()) exut.fail(81, "main", "System: cannot install the signal handlers\n");

  const char* p1 = strip_prefixes(argc > 1 ? argv[1] : nullptr);
  const char* p2 = argc > 2 ? argv[2] : "-";
  const char* p3 = argc > 3 ? argv[3] : nullptr;
  set_today();

  if (!p1 || p1[0] == '?') {
    printf("%s", usage_text);
    return 1;
  }

  try {
    bool handled = false;
    int rc = run_command(argc, argv, p1, p2, p3, &handled);
    if (handled) return rc;

    // The default: a configuration file, or a folder that holds "wconf".
    std::string conf = p1;
    if (safe_ut.ok_is_a(p1) == 'd') conf = std::string(p1) + "/wconf";
    if (eq(p2, "prune")) return prune_configuration(conf.c_str());
    if (conf == "mkroot") exut.fail(__LINE__, SRC, "System: the command mkroot is closed\n");
  } catch (const char*) {
    printf("\n");
    fflush(stdout);
    return 1;
  }

  // The web build.
  try {
    std::string conf = p1;
    if (safe_ut.ok_is_a(p1) == 'd') conf = std::string(p1) + "/wconf";
    {
      DocDes des;
      int rc = des.read_webConfiguration(conf.c_str(), p2, p2);
      fflush(stdout);
      if (rc != DocDes::build_goes_on) return rc;
      des.finish_build(conf.c_str());
      des.closing_report();
    }
    if (strlen(exut.msg) > 13) printf("\nWarnings:\n%s", exut.msg);
    if (showComm) printf("\nexit %s\n", program_name);
    fflush(stdout);
    return 0;
  } catch (const char* report) {
    printf("%s       \n", report);
    fflush(stdout);
    return 1;
  }
}
