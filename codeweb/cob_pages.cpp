// The pages of COBOL sources and their relation (phase 21): cob.htm lists
// the files, each file gets cob/<n/100>/<n%100>.htm from the reader of
// codeweb/cob_reader.h, then the embedded SQL of all readers (tables.xxx)
// completes the relation, which is closed and shown (cob_relation.cpp,
// cob_lists.cpp).  In phase 22 the CALL and COPY marks of the pages become
// links to their definitions.
#include <algorithm>
#include <cstring>

#include "codeweb/cob_reader.h"
#include "codeweb/java2htm.h"
#include "engine/escape.h"
#include "runtime/safe_uts.h"

namespace {
const char* const SRC = "cob_pages";

std::string lower(std::string s) {
  for (char& c : s) c = (char)safe_uts::to_lower_char((unsigned char)c);
  return s;
}
std::string upper(std::string s) {
  for (char& c : s) c = (char)safe_uts::to_upper_char((unsigned char)c);
  return s;
}

}  // namespace

void Java2Htm::phase21_cobol() {
  std::vector<std::pair<std::string, int>> files;
  for (int n = 1; n <= cfNr; n++)
    if (fKind[n] == k_cobol) files.push_back({fPath[n], n});
  std::sort(files.begin(), files.end());
  FILE* cob = open_page(j2h + "/cob.htm", "COBOL Sources");
  fputs("<a href=cobp.htm>Entry Points</a> . <a href=cobs.htm>Storage</a> . <a href=cobe.htm>Definitions</a>"
        " . <a href=cobt.htm>Tables</a> . <a href=curs.htm>Cursors</a> . <a href=cobfp.htm>Files</a><br>",
        cob);
  int commands = 0;
  {
    held_appends hold(*this);
    for (auto& [key, n] : files) {
      commands += COB_to_htm(n);
      std::string path = fReal[n].empty() ? fPath[n] : fReal[n];
      fprintf(cob, "\n<br><a href=cob/%s.htm>%s</a>", nr2(n), html_text(shown(path)).c_str());
    }
    hold.release();
  }
  fprintf(cob, "\n<br><br><font size=1>%zu Files, %i cob Commands</font>\n</font></BODY></HTML>\n", files.size(),
          commands);
  safe_ut.close_FILE(&cob, SRC, __LINE__);
  see_EXEC_SQL_sections(root + "/tables.xxx");
  see_table_synonyms();
  complete_cobUses();
  cob_entity_pages();
  DB_Cursors();
  cob_file_dependencies();
  cob_data_dependencies();
  cob_entry_points();
  hide_the_forget_files(cob_multiples());
  cob_no_sources();
}

int Java2Htm::COB_to_htm(int fNr) {
  if (!cobDone.insert(fPath[fNr]).second) return 0;  // erledigt
  std::string real = fReal[fNr].empty() ? fPath[fNr] : fReal[fNr];
  cob_reader reader(*this);
  std::string file = j2h + "/" + strNr2(fNr, "cob/") + ".htm";
  if (safe_ut.ok_is_a(file.c_str()) == 'f') return 0;
  printf("\ncall_nr = %i, cob = %s", ++cobCalls, real.c_str());
  std::string rel = shown(real);
  std::string page = reader.page_of(safe_ut.read_text(real.c_str()), fNr, rel);
  dir_with_css(j2h + "/cob/" + std::to_string(fNr / 100));
  safe_ut.write_text(file.c_str(), page);
  Btree_st st;
  if (!reader.stem.empty() && !codef.Get(reader.stem.substr(0, 252).c_str(), st))
    tree_put(codef, reader.stem, "p " + reader.page);
  for (auto& d : reader.defs) {
    tree_put(codef, d.name, std::string(1, d.tag) + " " + reader.page + "#" + std::to_string(d.anchor));
    zu_codef(std::string(1, d.tag) + " .. " + d.name, rel, reader.page, d.anchor);
  }
  for (auto& u : reader.uses) {
    tree_put(cobUses, u.key, "1~" + reader.page + "#" + std::to_string(u.anchor));
    if (u.key.find("~s .. ") != std::string::npos) tree_put(codef, reader.page, "?../..~COPY");
  }
  if (!reader.sql.empty()) {
    append_text(root + "/tables.xxx", reader.sql);
  }
  for (auto& n : reader.notes) printf("\ncob note: %s: %s", rel.c_str(), n.c_str());
  return reader.commands;
}

void Java2Htm::zu_codef(const std::string& entity, const std::string& relPath, const std::string& page, int anchor) {
  if (entity.size() <= 5) return;
  if (anchor >= 10000) exut.fail(__LINE__, SRC, "User: posNr: an anchor of 10000 or more in %s\n", relPath.c_str());
  std::string key = entity.substr(0, 238);
  Btree_st st;
  if (cobDefs.Get(key.c_str(), st)) {
    printf("\ndoppelt: %s", key.c_str());
    if (lower(key) == "p .. main")
      exut.fail(__LINE__, SRC, "User: p .. main a second time in %s\n", relPath.c_str());
    key += ", redundant?";
  }
  std::string data = page + "#" + std::to_string(anchor) + "~" + relPath;
  if (data.size() > 250)
    exut.fail(__LINE__, SRC, "User: the data of a code row is longer than 250 bytes: %s\n", data.c_str());
  tree_put(cobDefs, key, data);
}

std::string Java2Htm::in_index(const std::string& name) {
  Btree_st st;
  for (const std::string& n : {name, upper(name), lower(name)})
    if (!n.empty() && codef.Get(n.substr(0, 252).c_str(), st)) return st.c;
  return "";
}

void Java2Htm::see_EXEC_SQL_sections(const std::string& tablesFile) {
  if (safe_ut.ok_is_a(tablesFile.c_str()) != 'f') return;
  sql_rows rows;
  read_exec_sql(safe_ut.read_text(tablesFile.c_str()), rows, tablesFile);
  for (auto& w : rows.warnings) printf("\n%s", w.c_str());
  for (auto& [key, data] : rows.uses) {
    tree_put(cobUses, key, data);
    size_t c = key.find("~c .. ");
    if (c != std::string::npos) tree_put(cursorsIn, key.substr(c + 1) + "~" + key.substr(0, c), data.substr(2));
  }
  for (auto& [cursor, link] : rows.cursors) tree_put(cursorsTo, cursor, link);
}

// Schema text: "CREATE SYNONYM <name> FOR [<schema>.]<table>".  A tree
// without it has no synonyms (one console line; platform rule for control
// files a tree may lack).
void Java2Htm::see_table_synonyms() {
  std::string file = root + "/tables.sch";
  if (safe_ut.ok_is_a(file.c_str()) != 'f') {
    printf("\nno synonyms: not found: %s", file.c_str());
    return;
  }
  std::string t = safe_ut.read_text(file.c_str()), u = upper(t);
  auto word = [&](size_t& s) {
    while (s < u.size() && (u[s] == ' ' || u[s] == '\t' || u[s] == '\n')) s++;
    size_t b = s;
    while (s < u.size() && u[s] != ' ' && u[s] != '\t' && u[s] != '\n' && u[s] != ';') s++;
    return u.substr(b, s - b);
  };
  for (size_t s = u.find("CREATE SYNONYM "); s != std::string::npos; s = u.find("CREATE SYNONYM ", s)) {
    s += 15;
    std::string name = word(s);
    size_t save = s;
    if (word(s) != "FOR") {
      s = save;
      continue;
    }
    std::string table = word(s);
    for (std::string* x : {&name, &table}) {
      size_t dot = x->rfind('.');
      if (dot != std::string::npos) x->erase(0, dot + 1);
    }
    if (!name.empty() && !table.empty()) tree_put(synonyms, name, table);
  }
  printf("\nsynonyms = %i", synonyms.number_of_elements());
}

// Phase 22: each ">CALL <name>" and ">COPY <name>" of a COBOL page becomes a
// link to the definition of the name.
void Java2Htm::add_htm_entry_Links() {
  for (int n = 1; n <= cfNr; n++) {
    if (fKind[n] != k_cobol) continue;
    std::string file = j2h + "/" + strNr2(n, "cob/") + ".htm";
    safe_ut.edit_text(file.c_str(), [&](std::string& p) { p = entry_links_of(p); });
  }
}

std::string Java2Htm::entry_links_of(const std::string& p) {
  std::string out;
  out.reserve(p.size() + 1000);
  size_t s = 0;
  // Only the code is linked, not the section list behind "eof".
  size_t eof = std::min(p.size(), p.find("<a name=eof>"));
  for (size_t m = p.find(">C", s); m < eof; m = p.find(">C", s)) {
    if (p.compare(m, 6, ">CALL ") != 0 && p.compare(m, 6, ">COPY ") != 0) {
      out.append(p, s, m + 2 - s);
      s = m + 2;
      continue;
    }
    size_t b = m + 6, e = p.find_first_of("< \n\t", b);
    if (e == std::string::npos) e = p.size();
    std::string name = p.substr(b, e - b), def = in_index(name);
    out.append(p, s, b - s);
    if (def.size() > 7)
      out += "<a href=../../" + def.substr(2) + ">" + name + "</a>";
    else {
      printf("\nnoCodeFor: %s", name.c_str());
      out += name;
    }
    s = e;
  }
  out.append(p, s, std::string::npos);
  return out;
}
