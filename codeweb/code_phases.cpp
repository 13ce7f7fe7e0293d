// The phases of a code web that talk to its surroundings: the link tables
// with the documents, the Java pages, ourDoc.htm, 1.bat, the closing
// message, and the files the destructor leaves.
#include <cstring>

#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "code_phases";

bool exists(const std::string& p) { return safe_ut.ok_is_a(p.c_str()) != 'n'; }
}  // namespace

// The index folder of the documents is <root>/index, or <folder>/index
// when <root>/index/to_web names "web=<folder>".  It is copied into
// <j2h>/index; to_docu is read, to_code begun.
void Java2Htm::phase6_documents() {
  std::string index = root + "/index";
  std::string to_web = index + "/to_web";
  if (safe_ut.ok_is_a(to_web.c_str()) == 'f') {
    std::string t = "\n" + safe_ut.read_text(to_web.c_str());
    size_t at = t.find("\nweb=");
    if (at != std::string::npos) {
      size_t e = t.find('\n', at + 5);
      std::string folder = t.substr(at + 5, e == std::string::npos ? e : e - at - 5);
      while (!folder.empty() && (folder.back() == ' ' || folder.back() == '/')) folder.pop_back();
      if (!folder.empty()) index = folder + "/index";
    }
  }
  if (safe_ut.ok_is_a(index.c_str()) == 'd') safe_ut.copy_tree((j2h + "/index").c_str(), index.c_str(), 0);
  std::string docu = j2h + "/index/to_docu";
  if (safe_ut.ok_is_a(docu.c_str()) == 'f') {
    to_docu = std::make_unique<Btree>();
    to_docu->quiet = 1;
    to_docu->init(nullptr, 0);
    std::string t = safe_ut.read_text(docu.c_str());
    for (size_t a = 0; a < t.size();) {
      size_t e = t.find('\n', a);
      if (e == std::string::npos) e = t.size();
      std::string l = t.substr(a, e - a);
      a = e + 1;
      size_t t1 = l.find('~'), t2 = l.find('~', t1 + 1);
      if (t1 != 0 || t2 == std::string::npos) continue;
      size_t t3 = l.find('~', t2 + 1);
      tree_put(*to_docu, l.substr(1, t2 - 1), l.substr(t2 + 1, t3 == std::string::npos ? t3 : t3 - t2 - 1));
    }
  }
  safe_ut.write_text((j2h + "/index/to_code").c_str(), "");
}

void Java2Htm::phase7_java() {
  extract_from_mak();
  show_maks();
  check_jnt = safe_ut.create("check.jnt");
  for (int n = 1; n <= cfNr; n++) {
    if (fKind[n] != k_java) continue;
    const std::string& key = fPath[n];
    std::string page = key.substr(0, key.find('.'));
    if (key[0] == 'p') {
      def_sample(key, key);
      continue;
    }
    fprintf(check_jnt, "\n%s", fReal[n].c_str());
    java_page(*this, n, fReal[n], j2h + "/" + page + ".htm");
    if (key.find("abstractentity") != std::string::npos) sample_pages[0] = page;
    if (key.find("abstractsessio") != std::string::npos) sample_pages[1] = page;
  }
  safe_ut.close_FILE(&check_jnt, SRC, __LINE__);
  for (const char* f : {"__j1", "__j2"})
    if (safe_ut.ok_is_a(f) == 'f') safe_ut.remove_file(f);
}

void Java2Htm::phase16_ourDoc() { create_ourDoc(); }

void Java2Htm::create_ourDoc() {
  FILE* f = open_page(j2h + "/ourDoc.htm", "Code Documentation:");
  for (auto& d : docs)
    fprintf(f, "\n<br><a href=\"%s\" TARGET=\"frame3\">%s</a>", html_attr(d.first).c_str(), html_text(d.second).c_str());
  fputs("\n</font></BODY></HTML>\n", f);
  safe_ut.close_FILE(&f, SRC, __LINE__);
}

// 1.bat in the working folder, for a person on Windows: never run here.
void Java2Htm::phase19_bat() {
  std::string win = root + "/j2h/1.htm";
  for (char& c : win)
    if (c == '/') c = '\\';
  std::string t = "\n\"" + win + "\"";
  for (const char* f : {"x_show", "xx_*", "incsme", "x8", "xNUL*"}) t += "\nrm \"" + root + "/" + f + "\"";
  safe_ut.write_text("1.bat", t + "\n");
}

void Java2Htm::phase22_closing() {
  auto fd = [](const std::string& p) { return exists(p) ? "    found" : "not found"; };
  const char* r = root.c_str();
  const char* j = j2h.c_str();
  printf("\n\no k  -  see 1.bat\n            |\n            %s/j2h/ALL_methods\n            %s/j2h/traceUs\n"
         "            %s/j2h/no_trace_for\n            |\n",
         r, r, r);
  printf("   %s: %s/rufe.htm\n   %s: %s/traceUs\n   %s: %s/alles_dep\n   %s: %s/alles_cpp\n",
         fd(j2h + "/rufe.htm"), j, fd(j2h + "/traceUs"), j, fd(root + "/alles_dep"), r, fd(root + "/alles_cpp"), r);
  printf("   %s: UMLDesComp - use rose_1.exe to create it\n   %s: noAutoComment\n   %s: %s/classComm.htm\n\n",
         fd(root + "/UMLDesComp"), fd(root + "/noAutoComment"), fd(j2h + "/classComm.htm"), j);
  ended = true;
}

// packages.bat in the working folder: a copy command per package of the
// tree, with its folder form ("a/b") and its dotted form ("a.b").  Package
// names come from the sources: each is written as one word of text.
void Java2Htm::List_our_packages() {
  std::string bat;
  Btree_st st;
  for (unsigned ok = ourPackages.GetFirst(st); ok; ok = ourPackages.Next(st)) {
    std::string dotted(st.k, st.k_L), folder = dotted;
    for (char& c : folder)
      if (c == '.') c = '/';
    bat += "\n call cptree " + bat_word(folder) + "\n call cptree " + bat_word(dotted);
  }
  safe_ut.write_text("packages.bat", bat + "\n");
}

void Java2Htm::name_ALL_code_docu_files() {
  safe_ut.write_text((j2h + "/docu_files").c_str(), "\n- J2EE EJB 2.0~tips.htm~=tip~\n");
}

// What the destructor writes: cppsecs, docu_files, the LOC line, and the
// removal of the run's files beside the sources.
void Java2Htm::closing_files() {
  if (safe_ut.ok_is_a(j2h.c_str()) == 'd') {
    std::string t;
    Btree_st st;
    for (unsigned ok = cppsecs.GetFirst(st); ok; ok = cppsecs.Next(st))
      t += "\n" + std::string(st.k, st.k_L) + "~" + st.c;
    safe_ut.write_text((j2h + "/cppsecs").c_str(), t + "\n");
  } else {
    exut.show_str("j2h", j2h.c_str());
  }
  if (dvcAtStart) {
    safe_ut.system("+diffsm M xx_src xx_dvc > src_dvc_diff");
    printf("\no k  -  see src_dvc_diff\n");
  }
  see_server_API();
  name_ALL_code_docu_files();
  for (const char* f : {"__j1", "__j2"})
    if (safe_ut.ok_is_a(f) == 'f') safe_ut.remove_file(f);
  printf("\n%8sLOC = %li, %i main() methods\n", "", locTotal, mNr);
  // An option string beginning "+" asks for the list of the tree's own
  // packages.  Platform: the command "packages" runs packages.bat on
  // Windows; here it is named as that script, and a script runs nothing.
  if (!opt.empty() && opt[0] == '+') {
    List_our_packages();
    safe_ut.system("packages.bat");
  }
  // The concatenations and marks of this run beside the sources.
  for (const std::string& name : safe_ut.list_dir(root.c_str())) {
    bool alles = name.compare(0, 6, "alles_") == 0;
    bool xxx = name.size() > 4 && name.compare(name.size() - 4, 4, ".xxx") == 0;
    std::string p = root + "/" + name;
    if ((alles || xxx) && safe_ut.ok_is_a(p.c_str()) == 'f') safe_ut.remove_file(p.c_str());
  }
  printf("\no k  -  see the file packages\n");
  if (safe_ut.ok_is_a("tempNr") == 'd') safe_ut.rm_tree("tempNr");
  show_messMap();
  calls_closing();
}
