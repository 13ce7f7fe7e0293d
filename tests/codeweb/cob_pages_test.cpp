// The COBOL pages: the page of one source, the embedded SQL reader, and the
// relation pages of a whole tree (above and below, definitions, multiple
// definitions and the forgotten duplicates, tables).
#include <gtest/gtest.h>

#include <filesystem>

#include "codeweb/cob_reader.h"
#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;

namespace {

struct page {
  ut_web frame;
  cob_reader reader{frame};
  std::string text;
  explicit page(const std::string& src, const std::string& path = "app/prog.cob") {
    text = reader.page_of(src, 205, path);
  }
  std::vector<std::string> uses() const {
    std::vector<std::string> v;
    for (auto& u : reader.uses) v.push_back(u.key);
    return v;
  }
  std::vector<std::string> defs() const {
    std::vector<std::string> v;
    for (auto& d : reader.defs) v.push_back(std::string(1, d.tag) + " .. " + d.name);
    return v;
  }
};

std::string code_of(const std::string& p) {
  size_t a = p.find("<pre"), e = p.find("<a name=eof>");
  return p.substr(a, e - a);
}

std::string rows_of(Btree& t) {
  std::string s;
  Btree_st st;
  for (unsigned x = t.GetFirst(st); x; x = t.Next(st)) s += std::string(st.k, st.k_L) + ";";
  return s;
}

}  // namespace

// CALL and COPY are upper case with their target as the mark the links are
// put on later; a DISPLAY line, a comment and a literal are copied as they
// stand, so the CALL words in them are not read.
TEST(CobReader, CallAndCopyAreMarkedAndDisplayLinesStayWhole) {
  page p("       PROGRAM-ID. Billing.\n"
         "       copy 'Addr.cpy'.\n"
         "       Call \"Tax-Calc\" using x.\n"
         "           Display 'CALL NOTME' < 3\n"
         "      * CALL NOTME2\n"
         "       MOVE 'CALL NOTME3' TO Y. *> call notme4\n");
  std::string c = code_of(p.text);
  EXPECT_TRUE(has(c, "<a href=#eof><b><font size=4>COPY Addr</font></b></a> .")) << c;
  EXPECT_TRUE(has(c, "<a href=#eof><b><font size=4>CALL Tax-Calc</font></b></a>  using x.")) << c;
  EXPECT_TRUE(has(c, "           Display 'CALL NOTME' &lt; 3\n")) << c;
  EXPECT_FALSE(has(c, "Call ") || has(c, "copy "));
  EXPECT_EQ(p.uses(), (std::vector<std::string>{"p .. BILLING~s .. ADDR", "p .. BILLING~p .. TAX-CALC"}));
  EXPECT_EQ(p.defs(), std::vector<std::string>{"p .. BILLING"});
  EXPECT_EQ(p.reader.page, "cob/2/5.htm");
  EXPECT_TRUE(has(p.text, "<br><a href=#2>COPY Addr</a>")) << p.text;
  EXPECT_TRUE(has(p.text, "<br><a href=#3>. CALL Tax-Calc</a>"));
}

// Fixed form with sequence numbers and free form in lower case give the same
// rows; ENTRY becomes the caller; "01 X." is storage, "01 X PIC" is not; the
// statement of an EXEC goes to the SQL rows without the sequence area.
TEST(CobReader, FixedAndFreeFormEntriesStorageAndExec) {
  const char* fixed =
      "000100 IDENTIFICATION DIVISION.\n"
      "000200 PROGRAM-ID. \"ORD-1\".\n"
      "000300*CALL 'HIDDEN'\n"
      "000400 WORKING-STORAGE SECTION.\n"
      "000500 01 WS-REC.\n"
      "000600 01 WS-FLAG PIC X.\n"
      "000610 05 WS-N PIC S9(4) COMP\n"  // no period on its line: the copy ends there
      "000620 01 WS-M.\n"
      "000625 05 WS-P PIC 9 COMP-3 VALUE <0>. 01 WS-NOT.\n"
      "000700 PROCEDURE DIVISION.\n"
      "000800 MAIN SECTION.\n"
      "000900     EXEC SQL SELECT A INTO :B\n"
      "001000          FROM E_X END-EXEC.\n"
      "001100     ENTRY 'ORD-2 extra' USING B.\n"
      "001200     CALL 'SUB1'.\n";
  std::string free = "program-id. ord-1.\nworking-storage section.\n01 ws-rec.\n01 ws-flag pic x.\n"
                     "05 ws-n pic s9(4) comp\n01 ws-m.\n05 ws-p pic 9 comp-3 value <0>. 01 ws-not.\n"
                     "procedure division.\nmain section.\nexec sql select a into :b\n from e_x end-exec.\n"
                     "entry 'ORD-2' using b.\ncall 'sub1'.\n";
  for (std::string src : {std::string(fixed), free}) {
    page p(src);
    EXPECT_EQ(p.defs(), (std::vector<std::string>{"p .. ORD-1", "s .. WS-REC", "s .. WS-M", "p .. ORD-2"}))
        << src;
    EXPECT_TRUE(has(p.text, "COMP-3 VALUE &lt;0&gt;. 01 WS-NOT.") || has(p.text, "comp-3 value &lt;0&gt;. 01 ws-not."));
    EXPECT_EQ(p.uses(), std::vector<std::string>{"p .. ORD-2~p .. SUB1"});
    EXPECT_TRUE(has(p.reader.sql, "\n p .. ORD-1 [cob/2/5.htm#")) << p.reader.sql;
    EXPECT_TRUE(has(p.reader.sql, " FROM E_X ;\n\n") || has(p.reader.sql, " from e_x ;\n\n")) << p.reader.sql;
    EXPECT_FALSE(has(p.reader.sql, "001000"));
    EXPECT_TRUE(has(p.text, "<b>WORKING-STORAGE SECTION</b>")) << p.text;
    EXPECT_TRUE(has(p.text, "<b>PROC MAIN</b>"));
    EXPECT_TRUE(p.reader.notes.empty());
  }
}

// Input that is not well formed still makes a page, with notes; a name
// that cannot be one ends in the tracker's report naming file and line.
TEST(CobReader, BadInputGivesNotesOrTheReportNamingTheFile) {
  std::string bin("PROGRAM-ID. LIB1.\n\x01\x02\0\0\xff<x>\n", 27);
  page b(bin, "lib/a.lib");
  EXPECT_TRUE(has(b.text, "&lt;x&gt;"));
  EXPECT_EQ(b.reader.notes, std::vector<std::string>{"NUL bytes read as blanks"});
  page q("PROGRAM-ID. Q.\n MOVE 'ABC TO X.\n EXEC SQL SELECT 1 FROM T1.\n CALL 'Z'.\n");
  EXPECT_TRUE(q.reader.quote_missing);
  EXPECT_TRUE(has(q.text, "There seem to be syntax errors ( at least one missing \" )."));
  EXPECT_TRUE(has(q.text, "note: EXEC without END-EXEC"));
  EXPECT_EQ(q.uses(), std::vector<std::string>{"p .. Q~p .. Z"});  // the scan goes on behind the period
  // A stray quote behind a name is no part of it.
  page s("PROGRAM-ID. A1\".\nPROGRAM-ID. 'B2\"'.\n CALL 'S'.\n");
  EXPECT_EQ(s.defs(), (std::vector<std::string>{"p .. A1", "p .. B2"}));
  EXPECT_TRUE(has(failure_of([] { page p("  PROGRAM-ID. 9LIVES.\n", "src/x.cbl"); }), "src/x.cbl, line 1"));
  EXPECT_TRUE(has(failure_of([] { page p("\n\n 01 1ST-REC.\n", "src/y.cpy"); }), "src/y.cpy, line 3"));
}

// The SQL of tables.xxx: cursors, views, tables of FROM lists with aliases
// and WHERE, sub-selects, synonyms left to the relation; a FROM in a
// "COMMENT ON" line is no table.
TEST(CobSql, RowsOfCursorsViewsAndTables) {
  sql_rows r;
  read_exec_sql("\n p .. P1 [cob/0/1.htm#2]\n\n"
                "EXEC SQL DECLARE C1 CURSOR FOR SELECT A FROM app.E_A x, E_B y WHERE x.k = y.k ORDER BY 1;\n\n"
                "EXEC SQL COMMENT ON TABLE E_A IS 'read FROM E_NOT';\n\n"
                "EXEC SQL FETCH C1 INTO :H;\n\n"
                "\np .. P2 [cob/0/2.htm#5]\n\n"
                "exec sql select b from e_c where k in (select k from e_d);\n\n"
                "EXEC SQL CREATE VIEW s.V_1 AS SELECT A FROM E_A JOIN E_E ON 1=1;\n\n"
                "EXEC SQL SELECT X FROM :DYN;\n\n",
                r, "tables.xxx");
  std::vector<std::string> keys;
  for (auto& [k, d] : r.uses) keys.push_back(k + " " + d);
  EXPECT_EQ(keys, (std::vector<std::string>{
                      "c .. C1~t .. E_A 1~cob/0/1.htm#2", "c .. C1~t .. E_B 1~cob/0/1.htm#2",
                      "p .. P1~c .. C1 1~cob/0/1.htm#2", "p .. P2~t .. E_C 1~cob/0/2.htm#5",
                      "p .. P2~t .. E_D 1~cob/0/2.htm#5", "v .. V_1~t .. E_A 1~cob/0/2.htm#5",
                      "v .. V_1~t .. E_E 1~cob/0/2.htm#5"}));
  ASSERT_EQ(r.cursors.size(), 1u);
  EXPECT_EQ(r.cursors[0].first + " " + r.cursors[0].second, "C1 cob/0/1.htm#2");
  ASSERT_EQ(r.warnings.size(), 1u);
  EXPECT_TRUE(has(r.warnings[0], "WARN: dynamic cursor def :DYN"));
}

TEST(CobSql, ACursorWithoutProgramAndShortTableNamesEndTheRun) {
  sql_rows r;
  EXPECT_TRUE(has(failure_of([&] { read_exec_sql("DECLARE C1 CURSOR FOR SELECT A FROM T;", r, "t.xxx"); }),
                  "cursor: a cursor without a program in t.xxx, line 1"));
  EXPECT_TRUE(has(failure_of([&] { read_exec_sql("\n p .. P [cob/0/1.htm#1]\nSELECT A\n FROM T;", r, "t.xxx"); }),
                  "fewer than 2 characters in t.xxx, line 4"));
  EXPECT_TRUE(has(failure_of([&] {
                    read_exec_sql("\np .. P [cob/0/1.htm#1]\nCREATE VIEW V AS SELECT A FROM TT;", r, "t.xxx");
                  }),
                  "a view table of fewer than 3"));
  // The statements of C pages are read as SQL of today: a short name is left out.
  sql_rows c;
  read_exec_sql("\n p .. main main.c [0/1.htm#2]\n\nselect a from t, tab;\n", c, "t.xxx");
  ASSERT_EQ(c.uses.size(), 1u);
  EXPECT_EQ(c.uses[0].first, "p .. main main.c~t .. TAB");
  EXPECT_EQ(c.warnings, std::vector<std::string>{"short table name left out: T"});
}

namespace {

// The example tree copied to the current folder as "src".
void copy_example() {
  std::filesystem::copy(std::string(BRELMOT_SOURCE_ROOT) + "/examples/trees/cobol", "src",
                        std::filesystem::copy_options::recursive);
}

}  // namespace

// The example tree: a chain ORDMAIN -> ORDCALC -> TAXRATE -> (synonym TAXES)
// -> E_TAX_RATE; the above and below pages show what the closure has.
TEST(CobWeb, AboveAndBelowPagesAgreeWithTheClosure) {
  TempDir t;
  copy_example();
  std::string tr;
  std::string out = build("src", nullptr, [&](Java2Htm& web) { tr = rows_of(web.cobUsesTr); });
  for (const char* row : {"p .. ORDMAIN~p .. ORDCALC;", "p .. ORDMAIN~p .. TAXRATE;", "p .. ORDMAIN~u .. TAXES;",
                          "p .. ORDMAIN~t .. E_TAX_RATE;", "p .. ORDCALC~t .. E_TAX_RATE;",
                          "p .. ORDMAIN~t .. E_ORDER;", "v .. V_OPEN_ORDERS~t .. E_ORDER;"})
    EXPECT_TRUE(has(tr, row)) << row << "\n" << tr;
  EXPECT_TRUE(has(out, "\nanz_elements( cobUses    ) = "));
  EXPECT_TRUE(has(out, "\nanz_elements( cobUses.tr ) = "));
  EXPECT_TRUE(has(out, "\ncall_nr = 1, cob = "));
  EXPECT_TRUE(has(out, "\ndoppelt: p .. TAXRATE"));
  std::string cobp = read_file("src/j2h/cobp.htm");
  // ORDMAIN needs all, nobody needs it: a below page only.
  EXPECT_TRUE(has(cobp, "<font color='#FFFFF'>above</font> . <a href=cobB/0/4.htm>below</a> .. p .. ORDMAIN")) << cobp;
  std::string below = read_file("src/j2h/cobB/0/4.htm"), above = read_file("src/j2h/cobA/0/11.htm");
  for (const char* e : {" .. p .. ORDCALC<", " .. p .. TAXRATE<", " .. t .. E_TAX_RATE<", " .. c .. ORDCUR<"})
    EXPECT_TRUE(has(below, e)) << e << below;
  EXPECT_TRUE(has(above, "t .. E_TAX_RATE")) << above;
  for (const char* e : {" .. p .. ORDMAIN<", " .. p .. ORDCALC<", " .. p .. TAXRATE<", " .. u .. TAXES<"})
    EXPECT_TRUE(has(above, e)) << e << above;
  // The CALL marks are linked to the definitions in phase 22; LOGRATE has none.
  EXPECT_TRUE(has(read_file("src/j2h/cob/0/5.htm"), ">CALL <a href=../../cob/0/4.htm#2>ORDCALC</a><"));
  EXPECT_TRUE(has(out, "\nnoCodeFor: LOGRATE"));
  std::string cobe = read_file("src/j2h/cobe.htm");
  EXPECT_TRUE(has(cobe, "<br><font color=black>p .. LOGRATE</font>"));
  EXPECT_TRUE(has(cobe, "These are 11 COBOL entry points or data structures\n(1 without source code)."));
  EXPECT_TRUE(has(read_file("src/j2h/cobns.htm"), "<br>p .. LOGRATE\n<br><br>These are 1 sections"));
  EXPECT_TRUE(has(read_file("src/j2h/curs/1.htm"), "p .. <a href=../cob/0/5.htm#13>ORDMAIN</a>"));
}

TEST(CobWeb, TableStatisticsAndDomainContradictions) {
  TempDir t;
  copy_example();
  write_file("src/batch/archive.c", "/* moves old rows to e_archive */\nint keep = 1; /* E_ARCHIVEX is another */\n");
  build("src");
  std::string cobt = read_file("src/j2h/cobt.htm");
  EXPECT_TRUE(has(cobt, "named in other code:</h3>\n<br>t .. E_ARCHIVE\n<br>&nbsp; . /batch/archive.c")) << cobt;
  EXPECT_TRUE(has(cobt, "Tables not detected in algorithmic code:</h3>\n<br>t .. E_ARCHIVE\n<a name=stat>")) << cobt;
  EXPECT_TRUE(has(cobt, "Number of Tables: 5\n<br>Number of Tables in the DB Schema: 5\n<br>Number of Tables "
                        "not referred to from Code: 1\n<br>Number of Tables referred to from Code: 4<br>"));
  EXPECT_TRUE(has(cobt, "<br>|<br><b>D_AMOUNT</b> : NUMBER(11,2) [E_ORDER.TOTAL]\n<br><b>D_AMOUNT</b> : "
                        "NUMBER(9,2) [E_PRICE.AMOUNT]"));
  EXPECT_FALSE(has(cobt, "D_CUSTNO"));  // one type given twice is no contradiction
  EXPECT_FALSE(has(cobt, "E_NOT") || has(cobt, "ALL"));  // the FROM of a COMMENT ON
  // Without the schema texts: no synonyms (one line), the tables page says so.
  std::filesystem::remove("src/tables.sch");
  std::filesystem::remove("src/tables.er1");
  std::string out = build("src");
  EXPECT_TRUE(has(out, "no synonyms: not found: src/tables.sch"));
  EXPECT_TRUE(has(read_file("src/j2h/cobt.htm"), "<br>Not found: src/tables.er1"));
}

// Two sources of TAXRATE: cobm.htm shows both, the one under patch/ wins;
// the second run does not read the other, which stays where it is.
TEST(CobWeb, TheLosingDuplicateIsSkippedInTheSecondRunAndNotRenamed) {
  TempDir t;
  copy_example();
  std::string out = build("src");
  std::string cobm = read_file("src/j2h/cobm.htm");
  EXPECT_TRUE(has(cobm, ">p .. TAXRATE</a> : /common/taxrate.cob\n<br><a href=cob/0/6.htm#2>p .. TAXRATE, "
                        "redundant?</a> : /patch/taxrate.cob\n<br><br>These are 1 multiply specified"))
      << cobm;
  EXPECT_TRUE(has(out, "\nja_forget: src/common/taxrate.cob\nno_forget: src/patch/taxrate.cob"));
  for (int run = 2; run <= 3; run++) {
    out = build("src");
    EXPECT_FALSE(has(out, "common/taxrate.cob")) << out;
    EXPECT_FALSE(has(out, "doppelt"));
    EXPECT_TRUE(has(read_file("src/j2h/cobm.htm"), "These are 0 multiply"));
    EXPECT_TRUE(file_exists("src/common/taxrate.cob"));
  }
  // A second "p .. main" ends the run, naming the file.
  write_file("src/x/main.cob", "PROGRAM-ID. main.\n");
  write_file("src/y/main.cob", "PROGRAM-ID. MAIN.\n");
  auto r = cwtest::run_j2h("src");
  EXPECT_EQ(r.status, 1) << r.out;
  EXPECT_TRUE(has(r.out, "p .. main a second time in /y/main.cob")) << r.out;
}
