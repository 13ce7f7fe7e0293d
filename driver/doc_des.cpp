// The web builder: construction and destruction, the installation folder,
// and what every stage shares.  The stages have their own sources (see
// driver/doc_des.h).
#include "driver/doc_des.h"

#include <cerrno>
#include <string>

#include "driver/brelmot.h"
#include "driver/des_text.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

namespace {

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

}  // namespace

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

DocDes::DocDes() {
  enter("DocDes.DocDes");
  started = safe_uts::now();
  const char* nt = safe_uts::env_lookup("is_NT");
  web.copy_flags = nt && nt[0] == '1' ? "/S/E/V > NUL" : "/S/E/C/H/R/Y > NUL";
  web.today = ::today;
  web.date_banner = ::date_banner;
  prepare_tree(visited, "visited");
  prepare_tree(closure_targets, "closure_targets");
  stops.insert("</tr>");
  stops.insert("_");
  ut = std::make_unique<ut_htm>(web);
  web.inst = find_installation();
  if (web.inst.empty())
    exut.fail(__LINE__, SRC, "User: Installation folder ut_brelmot is not subfolder of a PATH folder.");
}

DocDes::~DocDes() {
  // The trees of the model are emptied by the model.
  empty_tree(visited);
  empty_tree(closure_targets);
}

void DocDes::count_error() { web.errors++; }
