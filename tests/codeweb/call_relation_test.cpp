// The call relation: which body calls which name, the selection, the call
// trees and the pages of callers, read from a concatenation of sources.
#include <gtest/gtest.h>


#include "tests/codeweb/codeweb_util.h"

using namespace testutil;

namespace {

// A code web object over the root "r" with its j2h folder; the relation is
// run on `alles` (the concatenation) after `prepare` filled what the C++
// reader would have (cppsecs).  Returns what it printed.
struct calls {
  TempDir dir;
  Java2Htm web;
  std::string out;

  explicit calls(const std::string& alles, const std::string* traceUs = nullptr,
                 const std::function<void(Java2Htm&)>& prepare = nullptr) {
    std::filesystem::create_directories("r/j2h");
    write_file("r/alles_cpp", alles);
    if (traceUs) write_file("r/traceUs", *traceUs);
    web.root = "r";
    web.j2h = "r/j2h";
    web.rootLen = 1;
    if (prepare) prepare(web);
    testing::internal::CaptureStdout();
    web.seeAufrufe();
    web.show_Aufrufe();
    out = testing::internal::GetCapturedStdout();
  }
  bool calls_(const std::string& callee, const std::string& caller) {
    return web.aufrufe->contains((callee + "~" + caller).c_str()) != 0;
  }
  std::string page(const std::string& name) { return read_file("r/j2h/" + name); }
};

std::string file(const std::string& path, const std::string& text) { return "\nfile: " + path + "\n" + text; }

}  // namespace

TEST(CallRelation, CallsInBodiesAndTheNamesNeverCounted) {
  calls c(file("r/a.cpp",
               "void A::f(int x) {\n"
               "  printf(\"x\");\n"
               "  fprintf(stderr, \"y\");\n"
               "  sprintf(buf, \"%d\", x);\n"
               "  if (a) b();\n"
               "  while (x) x--;\n"
               "  c = 3 * (x + 1);\n"
               "  // g(); in a comment\n"
               "  /* h(); */ s = \"k();\";\n"
               "#if defined(X)\n"
               "  Base::init(x);\n"
               "}\n"
               "int decl(int);\n"
               "void free_fn() { a.get()->put( 1 ); }\n"));
  EXPECT_TRUE(c.calls_("printf", "A :: f"));
  EXPECT_TRUE(c.calls_("b", "A :: f"));
  EXPECT_TRUE(c.calls_("Base :: init", "A :: f"));
  EXPECT_TRUE(c.calls_("get", "free_fn"));
  EXPECT_TRUE(c.calls_("put", "free_fn"));
  for (const char* never : {"fprintf", "sprintf", "if", "while", "g", "h", "k", "defined", "decl"})
    for (const char* by : {"A :: f", "free_fn"}) EXPECT_FALSE(c.calls_(never, by)) << never;
  // The selection is empty, so every name called is a candidate.
  std::string none = read_file("r/No_trace_for");
  EXPECT_EQ(none.substr(0, 16), "\n No trace for:\n");
  EXPECT_TRUE(has(none, "\n printf\n"));
  EXPECT_EQ(c.page("ALL_funcs"), "\n ALL Methods:\n A :: f\n free_fn\n");
  EXPECT_EQ(c.page("aufrufe"),
            "\nBase :: init~A :: f\nb~A :: f\nget~free_fn\nprintf~A :: f\nput~free_fn\n");
}

TEST(CallRelation, SqlTextLoadLibAndClientCallersStandApart) {
  calls c(file("r/db.cpp",
                "void Db::read() {\n  run(\"SELECT a FROM t\");\n  h = LoadLibrary(\"x.dll\");\n}\n") +
          file("r/CLI/db.cpp", "void Db::read() { send(); }\n"));
  EXPECT_TRUE(c.calls_("SQL", "Db :: read"));
  EXPECT_TRUE(c.calls_("run", "Db :: read"));
  EXPECT_TRUE(has(c.out, "\nLoadLib in Db :: read"));
  EXPECT_TRUE(c.calls_("send", "Db :: read_CLI"));
  EXPECT_FALSE(c.calls_("send", "Db :: read"));
  // Both bodies under one name on ALLf.htm, each on the shared subpage.
  EXPECT_TRUE(has(c.page("ALLf.htm"), "\n<a href=ALLf/1.htm>read</a><br>"));
  EXPECT_TRUE(has(c.page("ALLf/1.htm"), "\nDb :: read<br>\nDb :: read_CLI<br>"));
}

TEST(CallRelation, ModernHeadsAndProcessedPagesFindTheirBodies) {
  calls c(file("r/m.cc",
               "namespace n {\n"
               "auto S::size() const noexcept -> int { return count(); }\n"
               "S::S(int a) : x_(a), v_{1, 2} { setup(); }\n"
               "template <class T> void T2<T>::go() override { std::sort(b, e); }\n"
               "const char* r = R\"(a(b\" c)\";\n"
               "void lam() { auto l = [](int q) { return twice(q); }; l(2); }\n"
               "S::~S() { m = ~mask(1); }\n"
               "}\n") +
          file("r/old.cpp", "void P::run()\n   LB_( run\n  step();\n   LE_\nvoid after() { done(); }\n"));
  EXPECT_TRUE(c.calls_("count", "S :: size"));
  EXPECT_TRUE(c.calls_("setup", "S :: S"));
  EXPECT_FALSE(c.calls_("x_", "S :: S"));
  EXPECT_TRUE(c.calls_("std :: sort", "T2 :: go"));
  EXPECT_TRUE(c.calls_("twice", "lam"));
  EXPECT_TRUE(c.calls_("step", "P :: run"));
  EXPECT_TRUE(c.calls_("done", "after"));
  EXPECT_FALSE(c.calls_("done", "P :: run"));
  // A destructor keeps its "~"; a "~" in front of a call is an operator.
  EXPECT_TRUE(c.calls_("mask", "S :: ~S"));
  EXPECT_TRUE(has(c.page("ALLf.htm"), ">~S</a><br>"));
  EXPECT_TRUE(has(c.page("ALL_funcs"), "\n S :: ~S\n"));
}

TEST(CallRelation, DefaultSelectionFromHandlersAndTheGuiApiSplit) {
  std::string src =
      "BEGIN_MESSAGE_MAP(CMainView, CView)\n"
      "  ON_COMMAND(ID_OPEN, OnOpen)\n  ON_COMMAND(ID_X, OnCancel)\n"
      "  ON_COMMAND(ID_Y, OnAbout)\n  ON_COMMAND(ID_Z, OnPaint)\n  ON_COMMAND(ID_S, OnSave)\n"
      "END_MESSAGE_MAP()\n"
      "void CMainView::OnOpen() { load(); }\n"
      "void CDoc::OnSave() { store(); }\n"
      "void CMainView::OnPaint() { draw(); }\n"
      "void load() { parse(); }\n"
      "void parse() { scan(); }\n"
      "void scan() { deeper(); }\n";
  calls c(file("r/v.cpp", src));
  EXPECT_EQ(read_file("r/traceUs"), "\n+OnOpen\n+OnCancel\n+OnAbout\n+OnPaint\n+OnSave\n");
  EXPECT_EQ(c.page("traceUs"), "\n traceUs:\nOnOpen\nOnCancel\nOnAbout\nOnPaint\nOnSave\n");
  std::string gui = c.page("rufGUI.htm"), api = c.page("rufAPI.htm");
  EXPECT_TRUE(has(gui, ">OnOpen</a><font size=1> CMainView, /v.cpp</font><br>"));
  EXPECT_TRUE(has(gui, "\n<br><font size=1>1 GUI Methods</font>"));
  EXPECT_TRUE(has(api, ">OnSave</a><font size=1> CDoc, /v.cpp</font><br>"));
  EXPECT_TRUE(has(api, "\n<br><font size=1>1 API Methods</font>"));
  for (const char* left : {"OnCancel", "OnAbout", "OnPaint"}) {
    EXPECT_FALSE(has(gui + api, ">" + std::string(left) + "<")) << left;
    EXPECT_TRUE(has(c.page("rufe.htm"), ">" + std::string(left) + "</a>")) << left;
  }
  EXPECT_TRUE(has(c.page("rufe.htm"), "\n<br><font size=1>5 Selected Methods</font>"));
  // Selected names sorted: OnAbout 1, OnCancel 2, OnOpen 3.  The tree is cut
  // two levels below the method: scan is shown, deeper is not.
  std::string tree = c.page("rufe/3.htm");
  EXPECT_TRUE(has(tree, "Calls done by <b>OnOpen</b> :<br><br>\n. &nbsp load<br>. &nbsp . &nbsp parse<br>"));
  EXPECT_FALSE(has(tree, "scan"));
  EXPECT_TRUE(has(c.page("trus.htm"), "\n<a href=rufe/3.htm>OnOpen</a><br>"));
  // What the handlers reach is traced; the rest is a candidate still.
  std::string none = read_file("r/No_trace_for");
  EXPECT_FALSE(has(none, " load\n"));
  EXPECT_TRUE(has(none, " parse\n"));
  // The default selection made by this run goes with the run.
  c.web.calls_closing();
  EXPECT_FALSE(file_exists("r/traceUs"));
}

TEST(CallRelation, OwnSelectionAndRecursionEnd) {
  std::string sel = "\n+a   \nnot selected\n+Q :: b\n";
  calls c(file("r/x.cpp", "void a() { b(); }\nvoid Q::b() { a(); }\nvoid b() { a(); }\n"), &sel);
  EXPECT_EQ(c.page("traceUs"), "\n traceUs:\na\nQ :: b\n");
  // Sorted: "Q :: b" is 1, "a" is 2.  a -> b -> a: the second "a" is
  // printed and not followed.
  std::string t = c.page("rufe/2.htm");
  EXPECT_TRUE(has(t, ":<br><br>\n. &nbsp b<br>. &nbsp . &nbsp a<br>")) << t;
  EXPECT_TRUE(has(c.page("rufe/1.htm"), ":<br><br>\n. &nbsp a<br>. &nbsp . &nbsp b<br>"));
  // A selected "Q :: b" is the body of class Q only, a plain name every body.
  std::string rufe = c.page("rufe.htm");
  EXPECT_TRUE(has(rufe, "\n<a href=rufe/1.htm>Q :: b</a><font size=1>, Q :: b</font><br>")) << rufe;
  EXPECT_TRUE(has(rufe, "\n<a href=rufe/2.htm>a</a><font size=1>, a</font><br>"));
  EXPECT_TRUE(has(c.page("rufAPI.htm"), ">Q :: b</a><font size=1> Q, /x.cpp</font><br>"));
  c.web.calls_closing();
  EXPECT_TRUE(file_exists("r/traceUs"));  // the user's own selection stays
}

TEST(CallRelation, CallersLinkToTheirCodeAndUndefinedNamesStayPlain) {
  calls c(file("C:\\shop\\cust\\a.cpp", "void A::f() { g(); ext(); }\nvoid g() { ext(); }\n"), nullptr,
          [](Java2Htm& w) {
            w.cppsecs.StrIns('i', "A :: f", "m0/1.htm#3");
            w.cppsecs.StrIns('i', "A", "c0/1.htm#1");
            w.callCut = "/cust/";
          });
  // The file name with "/" for "\", cut behind the customer folder.
  Btree_st st;
  ASSERT_TRUE(c.web.funcBodies->Get("g~g", st));
  EXPECT_STREQ(st.c, "a.cpp");
  std::string a = c.page("rufA.htm");
  EXPECT_TRUE(has(a, "\n<br>ext")) << a;
  EXPECT_FALSE(has(a, ">ext</a>"));
  EXPECT_TRUE(has(a, "\n<br><a href=rufA/1.htm>g</a>"));
  EXPECT_TRUE(has(a, "\n<br><br><font size=1>2 Functions actually called</font>"));
  EXPECT_EQ(c.page("rufA/1.htm").substr(c.page("rufA/1.htm").find("</table>\n") + 9),
            "\n<br><a href=../0/1.htm#3>A :: f</a>\n<br><br><font size=1>Only these 1 Methods call</font>\n<br><b>g</b>"
            "\n</font></BODY></HTML>\n");
  EXPECT_TRUE(has(c.page("ALLf/1.htm"), "\n<a href=../0/1.htm#3>A :: f</a><br>"));
}

TEST(CallRelation, MissingConcatenationWritesNothing) {
  TempDir dir;
  std::filesystem::create_directories("r/j2h");
  Java2Htm web;
  web.root = "r";
  web.j2h = "r/j2h";
  web.seeAufrufe();
  web.show_Aufrufe();
  EXPECT_FALSE(file_exists("r/j2h/rufe.htm"));
  EXPECT_FALSE(file_exists("r/traceUs"));
}

TEST(CallRelation, LongAndBrokenTextEndsInLinearTime) {
  // A body of 200,000 nested calls, an unclosed body, an open string and
  // an open comment: the scan ends and keeps what it found.
  std::string deep = "void big() {\n";
  for (int i = 0; i < 200000; i++) deep += "f" + std::to_string(i % 7) + "(";
  deep += "\n}\n";
  std::string parens(300000, '(');
  calls c(file("r/big.c", deep) + file("r/p.c", parens) + file("r/open.c", "void o() { x(\"abc\n y(); /* z();") +
          file("r/next.c", "void n() { w(); }\n"));
  EXPECT_TRUE(c.calls_("f3", "big"));
  EXPECT_TRUE(c.calls_("y", "o"));
  EXPECT_FALSE(c.calls_("z", "o"));
  EXPECT_TRUE(c.calls_("w", "n"));
}

TEST(CallRelation, WholeRunOnACTreeMakesTheCallPages) {
  TempDir dir;
  write_file("src/lib/util.c", "static int\ntwice (int x)\n{\n  return add (x, x);\n}\n");
  write_file("src/app/main.cc", "int main() { return twice(2); }\n");
  write_file("src/app/main.h", "int hidden() { return never(); }\n");
  write_file("src/app/gui.cxx", "void CView::OnDraw() { paint(); }\n");
  std::string out = cwtest::build("src");
  EXPECT_TRUE(has(out, "    found: src/j2h/rufe.htm")) << out;
  std::string funcs = read_file("src/j2h/ALL_funcs");
  for (const char* f : {" twice\n", " main\n", " CView :: OnDraw\n"}) EXPECT_TRUE(has(funcs, f)) << f;
  EXPECT_FALSE(has(funcs, "hidden"));  // headers are no implementation files
  std::string calls_ = read_file("src/j2h/aufrufe");
  EXPECT_TRUE(has(calls_, "\nadd~twice\n") && has(calls_, "\ntwice~main\n")) << calls_;
  for (const char* p : {"rufe.htm", "rufA.htm", "rufGUI.htm", "rufAPI.htm", "trus.htm", "ALLf.htm"})
    EXPECT_TRUE(file_exists(std::string("src/j2h/") + p)) << p;
  EXPECT_FALSE(file_exists("src/traceUs"));  // made from the handlers, gone with the run
  // A second run writes the same pages.
  auto first = cwtest::tree_of("src/j2h");
  cwtest::build("src");
  EXPECT_TRUE(first == cwtest::tree_of("src/j2h"));
}
