// The page of one C or C++ source and the rows it leaves in the code web's
// trees, read through a sink over maps.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "codeweb/cpp_reader.h"
#include "tests/test_util.h"

using testutil::count_of;
using testutil::failure_of;
using testutil::has;

namespace {

struct map_sink : cpp_sink {
  std::map<std::string, std::string> t[(int)ctree::count_];
  std::map<std::string, int> names;
  std::vector<std::string> includes;
  std::string sql_text;
  void put(ctree tree, const std::string& key, const std::string& data) override { t[(int)tree][key] = data; }
  bool get(ctree tree, const std::string& key, std::string* data) override {
    auto it = t[(int)tree].find(key);
    if (it == t[(int)tree].end()) return false;
    *data = it->second;
    return true;
  }
  std::string include(const std::string& d) override {
    includes.push_back(d);
    return "[inc]";
  }
  int name_nr(const std::string& name) override {
    std::string base = name.substr(0, name.find('<'));
    if (!names.count(base)) names[base] = (int)names.size() + 1;
    names[name] = names[base];
    return names[base];
  }
  void sql(const std::string& text) override { sql_text += text; }
  std::vector<std::string> selected;  // traced names
  bool traced(const std::string& name) override {
    return std::find(selected.begin(), selected.end(), name) != selected.end();
  }
  std::map<std::string, std::string>& operator[](ctree c) { return t[(int)c]; }
};

std::string page(map_sink& web, const std::string& text, const std::string& src = "src/a/x.cpp") {
  return cpp_reader(web).page_of(text, src, 103);
}

// The code part of a page: from its title to its tail.
std::string code_of(const std::string& p) { return p.substr(p.find("<pre"), p.find("<a name=eof>") - p.find("<pre")); }

TEST(CppPage, HiddenTextIsLeftOutAndCounted) {
  map_sink web;
  std::string p = page(web,
                       "/* the file's banner\n * (c) someone */\n#include \"x.h\"\nvoid A::f()\n{\n"
                       "  ASSERT(a > 0 &&\n         b);\n\n  _ASSERT(c);\n  VERIFY(d);\n}\n"
                       "// ----- a house-style banner\nint g;\n// -- kept\n//## generated\n// and its tail\nint h;\n"
                       "#ifdef AFX_DATA\n#undef AFX_DATA\n\nEJECT page\n__ int k;\n");
  std::string code = code_of(p);
  EXPECT_FALSE(has(p, "ASSERT(")) << code;
  EXPECT_FALSE(has(p, "banner")) << code;
  EXPECT_FALSE(has(p, "generated") || has(p, "its tail")) << code;
  EXPECT_TRUE(has(code, "// -- kept")) << code;
  EXPECT_TRUE(has(code, "VERIFY(d);")) << code;
  EXPECT_FALSE(has(code, "AFX_DATA") || has(code, "EJECT")) << code;
  EXPECT_TRUE(has(code, "\nint h;\n\n   int k;\n")) << code;
  EXPECT_EQ(web.includes, std::vector<std::string>{"#include \"x.h\""});
  // The file comment, two ASSERTs, one banner line, two generated lines.
  EXPECT_EQ(web.LoHiddenComm, 6);
}

TEST(CppPage, MethodRowsAreVersionedAndClassRowsComeFromHeads) {
  map_sink web;
  page(web,
       "class X;\nclass A : public B, private ns::C<int> {\n  friend class Y;\n};\n"
       "class D : virtual public E {\n};\ntemplate <class T> class V {\n};\n"
       "int A::f(int a) {\n  return a;\n}\nint A::f(void) {\n  return 0;\n}\n"
       "template <class T> void V<T>::run() {\n}\n");
  auto& secs = web[ctree::secs];
  EXPECT_EQ(secs["A :: f"], "m1/3.htm#4");
  EXPECT_EQ(secs["A :: f . 2"], "m1/3.htm#5");
  EXPECT_EQ(secs["V :: run"], "m1/3.htm#6");
  EXPECT_EQ(secs["V"], "c1/3.htm#3");
  EXPECT_EQ(secs["A"], "c1/3.htm#1");
  EXPECT_EQ(secs.count("X") + secs.count("Y"), 0u);
  std::map<std::string, std::string> supers(web[ctree::supers]);
  EXPECT_EQ(supers, (std::map<std::string, std::string>{
                        {"A~B", "-- class"}, {"A~C<int>", "-- class"}, {"D~E", "-- class"}}));
  EXPECT_EQ(web[ctree::methods].count("A :: f . 2 : src/a/x.cpp~1/3.htm#5"), 1u);
  EXPECT_EQ(web.names.count("V<T>"), 1u);  // the template form shares V's number
}

TEST(CppPage, HeadsShowTheirParametersAsATable) {
  map_sink web;
  std::string code = code_of(page(web,
                                  "int A::f( void )\n{\n}\nSTDMETHODIMP_(ULONG) CFoo::AddRef()\n{\n}\n"
                                  "long A::g(int a,      // the first\n"
                                  "          // a line of its own\n"
                                  "          const char* name /* the second */,\n"
                                  "          int n = 3)\n  : base(a)\n{\n  x;\n}\n"));
  EXPECT_TRUE(has(code, "<a href=../m/1.htm>f</a></font><hr>\n<pre class=c><font size=2>()\n   LB_")) << code;
  EXPECT_TRUE(has(code, "STDMETHODIMP_(ULONG) CFoo ::\n<font size=4><a href=../m/2.htm>AddRef</a>")) << code;
  EXPECT_EQ(web[ctree::secs].count("CFoo :: AddRef"), 1u);
  EXPECT_TRUE(has(code, "(\n        int      a  <font class=co>// the first</font>"
                        "\n                    <font class=co>// a line of its own</font>"
                        "\nconst char*   name  <font class=co>/* the second */</font>"
                        "\n        int  n = 3  \n)\n: base(a)   LB_\n{\n    x;\n}\n   LE_"))
      << code;
}

TEST(CppPage, PreparedFilesKeepTheirLayout) {
  map_sink web;
  std::string body = "void A::f()\n{\nif (a)\n{\nx;\n}\n}\n";
  EXPECT_TRUE(has(page(web, body), "\n    {\n        x;")) << page(web, body);
  std::string code = code_of(page(web, "int i;\n/* public: f  LB_( */\n" + body));
  EXPECT_TRUE(has(code, "\nif (a)\n{\nx;\n}")) << code;
}

TEST(CppPage, MarksOfDllsDebugBlocksTypesAndMacros) {
  map_sink web;
  std::string code = code_of(page(web,
                                  "void f() {\n  h = LoadLibrary(\"Helper.dll\");\n#ifdef _DEBUG\n"
                                  "  debug_only();\n#if X\n#else\n#endif\n#else\n  release();\n#endif\n}\n"
                                  "typedef struct {\n  int a;\n} Pair, *PPair;\ntypedef int (*cb)(int);\n"
                                  "typedef unsigned long ULONG;\n#define MAX(a, b) \\\n  ((a) > (b) ? (a) : (b))\n"
                                  "#define MAX 2\n#define FOO_H\nstatic const char* name = \"n\";\n"));
  EXPECT_TRUE(has(code, "<font color=#FF00FF><b>[ DLL ]</b></font><font class=kw>\"Helper.dll\"</font>")) << code;
  EXPECT_EQ(web[ctree::dlls].count("Helper.DLL~1/3.htm#2"), 1u);
  EXPECT_FALSE(has(code, "debug_only"));
  EXPECT_TRUE(has(code, "release();")) << code;
  EXPECT_EQ(web[ctree::types]["PPair"], "1/3.htm#3");
  EXPECT_EQ(web[ctree::types].count("cb") + web[ctree::types].count("ULONG"), 2u);
  EXPECT_EQ(web[ctree::defines]["MAX"], "1/3.htm#6");
  EXPECT_EQ(web[ctree::defines]["MAX . 2"], "1/3.htm#7");
  EXPECT_EQ(web[ctree::defines].count("FOO_H"), 0u);
  EXPECT_TRUE(has(code, "<u>MAX</u>(a, b) \\\n  ((a) > (b) ? (a) : (b))")) << code;
  EXPECT_EQ(web[ctree::statics].count("name~1/3.htm#8"), 1u);
  // f is a C function: its codef and cobDefs rows.
  EXPECT_EQ(web[ctree::codef]["f"], "p cob/../1/3.htm#1");
  EXPECT_EQ(web[ctree::cobDefs]["p .. f"], "1/3.htm#1~src/a/x.cpp");
}

TEST(CppPage, BracesThatDoNotBalanceGiveThePageItsSyntaxTail) {
  const std::string error = "There seem to be syntax errors ( at least one missing \" ).";
  for (const char* text : {"void f() {\n  if (a) {\n}\n", "}\nint x;\n", "void f() {\n  s = \"open\n}\n",
                           "int a;\n/* open comment {\n", "int open;\n/*"}) {
    map_sink web;
    testing::internal::CaptureStdout();
    std::string p = page(web, text);
    testing::internal::GetCapturedStdout();
    bool balanced = std::string(text).find("open") != std::string::npos;
    EXPECT_EQ(has(p, error), !balanced) << text << p;
    EXPECT_TRUE(has(p, "Include-structure of<br>x.cpp<br><br>")) << p;
  }
}

TEST(CppPage, InputThatCannotBeReadEndsNamingFileAndLine) {
  map_sink web;
  std::string r = failure_of([&] { page(web, "int a;\nvoid A::f(int a\n#ifdef X\n , int b\n) {\n}\n"); });
  EXPECT_TRUE(has(r, "an unbalanced #if inside a head in src/a/x.cpp, line 2")) << r;
  r = failure_of([&] { page(web, "void f() {\n EXEC SQL select x from t\n}\n"); });
  EXPECT_TRUE(has(r, "EXEC SQL without")) << r;
  // A balanced "#if" in a head leaves the text as code.
  map_sink ok;
  page(ok, "void A::f(int a\n#ifdef X\n , int b\n#endif\n) {\n}\n");
  EXPECT_TRUE(ok[ctree::secs].empty());
}

TEST(CppPage, TodaysCppAndOddBytesAreRead) {
  map_sink web;
  std::string code = code_of(page(web,
                                  "namespace app {\nnamespace {\nconstexpr int k = 1'000;\n}\n"
                                  "[[nodiscard]] auto Foo::size() const noexcept -> int {\n"
                                  "  auto l = [&](int x) { return x + k; };\n"
                                  "  const char* r = R\"x(a \"{\" <b>)x\";\n  return l(1);\n}\n"
                                  "enum class Color : int { red };\nclass Bar final : public Foo {\n"
                                  "  void run() override;\n};\n}\n"));
  EXPECT_EQ(web[ctree::secs].count("Foo :: size"), 1u);
  EXPECT_EQ(web[ctree::supers].count("Bar~Foo"), 1u);
  EXPECT_EQ(web[ctree::supers].size(), 1u);  // "enum class" is no class
  EXPECT_TRUE(has(code, "R<font class=kw>\"x(a \"{\" &lt;b&gt;)x\"</font>")) << code;
  EXPECT_FALSE(has(code, "syntax errors"));
  // NUL bytes and CR-only line ends.
  map_sink odd;
  code = code_of(page(odd, std::string("int A::f()\r{\r  x\0y;\r}\r", 22), "src/a/x.h"));
  EXPECT_TRUE(has(code, "x y;")) << code;
}

TEST(CppPage, AGeneratedFileTakesLinearTime) {
  auto generated = [](int n) {
    std::string text;
    for (int i = 0; i < n; i++) text += "static int f" + std::to_string(i) + "(int a) {\n  return g(a, \"s\") + 1;\n}\n";
    return text;
  };
  map_sink web;
  std::string r = failure_of([&] { page(web, generated(40000)); });  // more anchors than a codef row may have
  EXPECT_TRUE(has(r, "posNr")) << r;
  map_sink fresh;
  std::string p = page(fresh, generated(5000));
  EXPECT_EQ(count_of(p, "   LE_"), 5000);
}

TEST(CppPage, ReindentAndTidyUp) {
  // Bodies are re-indented by their braces; a level below 0 or 40 levels
  // deep is reported once per file.
  std::string in = "<pre>x\n{\n  a;\n{\n b;\n}\n}\n\n\n;\n}\n}\n\n<pre-tail";
  testing::internal::CaptureStdout();
  std::string out = cpp_reader::pretty(in, "f.cpp");
  std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out, "<pre>x\n{\n    a;\n    {\n        b;\n    }\n}\n;\n}\n}\ntail");
  EXPECT_EQ(printed, "\nBracket Error(-): f.cpp");
  testing::internal::CaptureStdout();
  cpp_reader::pretty("<pre>" + std::string(41, '{') + "\n<pre-", "g.cpp");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nBracket Error(+): g.cpp");
  // A comment line goes under the comment of the code line above it.
  EXPECT_EQ(cpp_reader::better("  x = 1;   <font class=co>// one</font>\n  <font class=co>// two</font>\n\n\n"
                               "__ y\n\n, z"),
            "  x = 1;   <font class=co>// one</font>\n           <font class=co>// two</font>\n\ny, z");
}

TEST(CppPage, RowsOfStaticsExceptionsMessageMapsAndSql) {
  map_sink web;
  std::string code = code_of(page(web,
                                  "static int count;\nstatic char buf[10] = \"\";\nstatic void helper(int);\n"
                                  "BEGIN_MESSAGE_MAP(CDlg, CDialog)\nEND_MESSAGE_MAP()\n"
                                  "void CDlg::DoDataExchange(CDataExchange* p)\n{\n  DDX_Text(p, 1, m_s);\n"
                                  "  throw new CUserException(\"bad input\");\n  EXEC SQL SELECT a\n FROM t;\n}\n"));
  std::map<std::string, std::string> statics(web[ctree::statics]);
  EXPECT_EQ(statics, (std::map<std::string, std::string>{
                         {"count~1/3.htm#1", ""}, {"buf~1/3.htm#2", ""}, {"helper~1/3.htm#3", ""}}));
  EXPECT_TRUE(has(code, "<a name=1></a><font class=kw>static </font>int count;")) << code;
  EXPECT_EQ(web[ctree::exceptions].count("CUserException(\"bad input\"~1/3.htm#5"), 1u);
  EXPECT_EQ(web[ctree::msgMaps].count("1/3.htm"), 1u);
  EXPECT_EQ(web[ctree::ddxFiles].count("1/3.htm"), 1u);
  EXPECT_EQ(web.dialogCode, web.neLoCode);
  EXPECT_EQ(web.sql_text, "\n p .. x.cpp [1/3.htm#6]\n\nEXEC SQL SELECT a\n FROM t;\n\n");
}

}  // namespace

TEST(CppPage, MethodBannersOfTheHouseStyleBecomeHeads) {
  map_sink web;
  const std::string banner =
      "/* public: int Customer::load(/\n * Loads the customer\n * from the store.\n"
      "//----------------------------------------------------------------*/\n";
  std::string code = code_of(page(web, "#include \"c.h\"\n" + banner +
                                           "   const char* key,   // the key\n   int flags\n)\n{\n  return 0;\n}\n" +
                                           banner + ")\n{\n}\n/* public: not a banner */\nint k;\n"
                                           "/* private: ~Customer(/\n no rule line follows\n*/\n"));
  EXPECT_EQ(web[ctree::secs]["Customer :: load"], "m1/3.htm#1");
  EXPECT_EQ(web[ctree::secs]["Customer :: load . 2"], "m1/3.htm#2");
  EXPECT_EQ(web[ctree::methods].count("Customer :: load : src/a/x.cpp~1/3.htm#1"), 1u);
  // The banner text under the head, the parameters as a table, the body.
  EXPECT_TRUE(has(code, "int Customer ::\n<font size=4><a href=../m/1.htm>load</a></font>\n<br><font class=co>"
                        "Loads the customer<br>from the store.</font><hr>\n<pre class=c><font size=2>(\n"
                        "const char*    key  <font class=co>// the key</font>\n        int  flags  \n)\n   LB_\n{\n"
                        "    return 0;\n}\n   LE_"))
      << code;
  EXPECT_TRUE(has(code, "load</a></font>\n<br><font class=co>Loads the customer<br>from the store.</font><hr>\n"
                        "<pre class=c><font size=2>()\n   LB_"))
      << code;
  EXPECT_FALSE(has(code, "//---") || has(code, "load(/")) << code;
  // Without "(/" or without its "//-" line a comment stays a comment.
  EXPECT_TRUE(has(code, "<font class=\"co\">/* public: not a banner */</font>")) << code;
  EXPECT_TRUE(has(code, "/* private: ~Customer(/\n no rule line follows\n*/</font>")) << code;
}

TEST(CppPage, CallsOfTracedNamesAreMarkedInBodiesOfImplementationFiles) {
  const std::string text =
      "int g = Save(3);\nvoid Doc::OnSave()\n{\n  Save (1);\n  Load(2);\n  if (x) Save(4);\n}\n"
      "int run(void)\n{\n  return Save(5);\n}\n";
  map_sink web;
  web.selected = {"Save"};
  std::string code = code_of(page(web, text));
  const std::string mark = "<font color=#FF00FF><b>[]</b></font>";
  EXPECT_EQ(count_of(code, mark), 3) << code;
  EXPECT_TRUE(has(code, "<a name=2></a>" + mark + "Save (1);")) << code;
  std::map<std::string, std::string> rows = {{"Save~1/3.htm#2", "Doc :: OnSave"},
                                             {"Save~1/3.htm#3", "Doc :: OnSave"},
                                             {"Save~1/3.htm#5", "run"}};
  EXPECT_EQ(web[ctree::traceMarks], rows);
  // A header has no bodies of its own to trace; nothing is selected: no mark.
  map_sink header, none;
  header.selected = {"Save"};
  EXPECT_FALSE(has(page(header, text, "src/a/x.h"), mark));
  EXPECT_FALSE(has(page(none, text), mark));
  EXPECT_TRUE(header[ctree::traceMarks].empty() && none[ctree::traceMarks].empty());
}
