// The portal's document table: the table of xs/docs_R.htm put into
// xs/1/1.htm, its links one folder up, and the head page of each linked
// document reduced to its contents.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

void DocDes::ersetze_1_htm() {
  enter("DocDes.ersetze_1_htm");
  const char* portal = "xs/1/1.htm";
  if (safe_ut.ok_is_a(portal) != 'f' || safe_ut.ok_is_a("xs/docs_R.htm") != 'f') return;
  std::string page = safe_ut.read_text(portal);
  size_t at = page.find("\n<deepTo");
  if (at == std::string::npos) return;
  std::string lists = safe_ut.read_text("xs/docs_R.htm");
  size_t a = lists.find("\n<table>"), b = lists.find("</table>", a == std::string::npos ? 0 : a);
  if (a == std::string::npos || b == std::string::npos) return;
  std::string table = lists.substr(a, b + 8 - a);
  std::string out;
  const std::string cell = "<td><a href=";
  size_t k = 0;
  while (true) {
    size_t h = table.find(cell, k);
    if (h == std::string::npos) break;
    out += table.substr(k, h - k) + "<td><a href=\"../";
    size_t t = h + cell.size();
    if (t < table.size() && table[t] == '"') t++;
    size_t end = table.find_first_of("\" >", t);
    if (end == std::string::npos) end = table.size();
    std::string target = table.substr(t, end - t);
    BFE_Norm(target);
    out += target;
    k = end;
  }
  out += table.substr(k);
  safe_ut.write_text("tmp_1htm", page.substr(0, at) + out + page.substr(at));
  safe_ut.move_file("tmp_1htm", portal);
}

// The head page of a document, as the portal links it: its body keeps only
// the contents behind the document head.
void DocDes::BFE_Norm(const std::string& target) {
  if (ends_nocase(target, ".pdf")) return;
  size_t hash = target.find('#');
  if (hash == std::string::npos)
    exut.fail(__LINE__, SRC, "System: BFE_Norm: no # in %s\n", target.c_str());
  std::string file = "xs/" + target.substr(0, hash);
  if (safe_ut.ok_is_a(file.c_str()) != 'f') return;
  std::string page = safe_ut.read_text(file.c_str());
  size_t body = page.find("<body>");
  if (body == std::string::npos) return;
  std::string out = page.substr(0, body + 6);
  size_t p = body + 6;
  // Tags up to "<di" or "<aa>" go.
  while (p < page.size() && page.compare(p, 3, "<di") != 0 && page.compare(p, 4, "<aa>") != 0) {
    if (page[p] == '<') {
      size_t gt = page.find('>', p);
      if (gt == std::string::npos) break;
      p = gt + 1;
    } else {
      out += page[p++];
    }
  }
  std::string rest = page.substr(p);
  // Room behind the contents link and behind the menu.  Behind ">TOC<" the
  // breaks go after the link's end tag, so that the tag stays whole.
  for (const char* mark : {">TOC<", "<aa>"}) {
    size_t m = rest.find(mark);
    if (m == std::string::npos) continue;
    size_t at = m + strlen(mark);
    if (mark[1] == 'T') {
      size_t gt = rest.find('>', at);
      at = gt == std::string::npos ? at : gt + 1;
    }
    rest.insert(at, "<br><br><br>");
  }
  size_t typ = rest.find("Typ"), version = rest.find("Version");
  if (typ != std::string::npos && version != std::string::npos && version < typ) {
    size_t end = rest.find("</table>", typ);
    size_t toc = rest.find("<!-- ourToc --");
    std::string rows = end == std::string::npos ? "" : rest.substr(typ, end - typ);
    size_t row = rest.rfind("<tr", rest.rfind("Do", typ));
    if (row != std::string::npos && row > version) rows = rest.substr(row, end - row);
    rest = rest.substr(0, version) + "<center><br><br>" + rows + "</table></center>" +
           (toc == std::string::npos ? "" : rest.substr(toc));
  }
  safe_ut.write_text("tmp_norm", out + rest);
  safe_ut.move_file("tmp_norm", file.c_str());
}

bool DocDes::found_as_inc(const char* file, const char* word) {
  if (!file || !word || !*word || safe_ut.ok_is_a(file) != 'f') return false;
  std::string text = safe_ut.read_text(file);
  size_t n = strlen(word);
  for (size_t k = text.find(word); k != std::string::npos; k = text.find(word, k + 1)) {
    bool before = k > 0 && isalnum((unsigned char)text[k - 1]);
    bool after = k + n < text.size() && isalnum((unsigned char)text[k + n]);
    if (!before && !after) return true;
  }
  return false;
}
