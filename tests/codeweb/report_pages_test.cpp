// The report pages of a code web: the lists of what the C and C++ reader
// collected with their count lines, the sizes, the files not analysed, the
// main() lists, the import pages, and the metrics against the class
// documentation.
#include <gtest/gtest.h>

#include <filesystem>

#include "runtime/exec_ut.h"
#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;

namespace {

const char* const cpp_main =
    "#define MAX_LINES 80\n"
    "static int counter = 0;\n"
    "int main(int argc, char** argv) {\n"
    "  void* h = LoadLibrary(\"Print.dll\");\n"
    "  if (!h) throw PrintException(\"no printer\");\n"
    "  return 0;\n"
    "}\n";

}  // namespace

TEST(ReportNumbers, SizesAreGroupedWithDotsAndBoundedAtNineDigits) {
  EXPECT_EQ(Java2Htm::dotted_size(1234567), "1.234.567");
  EXPECT_EQ(Java2Htm::dotted_size(0), "0");
  EXPECT_EQ(Java2Htm::dotted_size(999), "999");
  EXPECT_EQ(Java2Htm::dotted_size(1000), "1.000");
  EXPECT_EQ(Java2Htm::dotted_size(1000001), "1.000.001");
  EXPECT_EQ(Java2Htm::dotted_size(999999999), "999.999.999");
  std::string r = failure_of([] { Java2Htm::dotted_size(1000000000); });
  EXPECT_TRUE(has(r, "Assertion: L:")) << r;
  EXPECT_TRUE(has(r, "999.999.999")) << r;
}

TEST(ReportPages, ListsOfTheCReaderWithTheirCountLines) {
  TempDir t;
  write_file("src/app/main.cpp", cpp_main);
  write_file("src/app/README", "read me\n");
  write_file("src/app/notes.txt", "notes\n");
  build("src");
  std::string mains = read_file("src/j2h/cppmains.htm");
  EXPECT_TRUE(has(mains, "C++ Main Entry Points"));
  EXPECT_TRUE(has(mains, "\n<br><br>These are 1 main programs.")) << mains;
  EXPECT_TRUE(has(mains, "\n<br>p .. <a href=0/1.htm#")) << mains;
  EXPECT_TRUE(has(read_file("src/j2h/defines.htm"), "MAX_LINES"));
  std::string dlls = read_file("src/j2h/DLLs.htm");
  EXPECT_TRUE(has(dlls, "Where DLLs are loaded"));
  EXPECT_TRUE(has(dlls, "\n[ <a href=0/1.htm#")) << dlls;
  EXPECT_TRUE(has(dlls, "</a> ] PRINT.DLL<br>") || has(dlls, "</a> ] Print.DLL<br>")) << dlls;
  EXPECT_TRUE(has(dlls, "\n<br><font size=1>1 DLL Calls in total:</font>"));
  std::string exps = read_file("src/j2h/exps.htm");
  EXPECT_TRUE(has(exps, "Is to show all calls ... Exception( ... in C++"));
  EXPECT_TRUE(has(exps, ">PrintException</a>: ")) << exps;
  EXPECT_TRUE(has(exps, "\n<br><font size=1>1 Exceptions thrown, 0 Assertions</font>")) << exps;
  std::string stat = read_file("src/j2h/stat.htm");
  EXPECT_TRUE(has(stat, ">counter</a>")) << stat;
  EXPECT_TRUE(has(stat, "\n<br><font size=1>1 Statics</font>"));
  std::string docu = read_file("src/j2h/docu.htm");
  for (const char* e : {"<a href=DLLs.htm>", "<a href=exps.htm>", "<a href=stat.htm>"}) EXPECT_TRUE(has(docu, e)) << e;
  // The files no reader takes, but not the run's own concatenations.
  std::string notA = read_file("src/j2h/notA.htm");
  EXPECT_TRUE(has(notA, "Files not Analysed"));
  EXPECT_TRUE(has(notA, "/app/README"));
  EXPECT_TRUE(has(notA, "/app/notes.txt"));
  EXPECT_FALSE(has(notA, "alles_")) << notA;
  std::string alles = read_file("src/j2h/alles.htm");
  EXPECT_TRUE(has(alles, "Size of ALL Content"));
  char row[64];
  snprintf(row, sizeof row, "\nalles_%-5s %12s", "cpp", std::to_string(strlen(cpp_main)).c_str());
  EXPECT_TRUE(has(alles, row)) << alles;
}

TEST(ReportPages, EmptyTreesStillWriteThePagesTheMenusLink) {
  TempDir t;
  write_file("src/a/A.java", "package a;\npublic class A {\n  public static void main(String[] s) { }\n}\n");
  build("src");
  for (const char* p : {"cppmains", "defines", "ddxcode", "alles", "des", "DLLs", "exps", "stat", "notA", "meter"})
    EXPECT_TRUE(std::filesystem::exists(std::string("src/j2h/") + p + ".htm")) << p;
  EXPECT_TRUE(has(read_file("src/j2h/DLLs.htm"), "\n<br><font size=1>0 DLL Calls in total:</font>"));
  std::string docu = read_file("src/j2h/docu.htm");
  EXPECT_FALSE(has(docu, "DLLs.htm")) << docu;
  EXPECT_FALSE(has(docu, "stat.htm"));
  std::string exe = read_file("src/j2h/exe.htm");
  EXPECT_TRUE(has(exe, "The 1 main() Methods"));
  EXPECT_TRUE(has(exe, " target=frame3>a.A.main()</a>")) << exe;
  EXPECT_TRUE(has(read_file("src/j2h/exes.htm"), " target=frame3>A.main()</a>"));
  // Without class documentation the metrics page has its title only.
  std::string meter = read_file("src/j2h/meter.htm");
  EXPECT_TRUE(has(meter, "Quality Metrics"));
  EXPECT_FALSE(has(meter, "meter/"));
  EXPECT_TRUE(std::filesystem::exists("src/j2h/meter/j2h.css"));
}

TEST(ReportPages, ImportsGiveUsePagesAndTheUnimportedList) {
  TempDir t;
  write_file("src/a/A.java", "package a;\nimport b.B;\npublic class A {\n  B b;\n}\n");
  write_file("src/b/B.java", "package b;\npublic class B {\n}\n");
  write_file("src/c/C.java", "package c;\nimport b.*;\npublic class C {\n}\n");
  build("src");
  std::string uses = read_file("src/j2h/uses/0.htm");
  EXPECT_TRUE(has(uses, "Where Java uses ..."));
  EXPECT_TRUE(has(uses, ">b.B</a>")) << uses;
  EXPECT_TRUE(has(uses, ">b.*</a>")) << uses;
  // Every "use" link of a class row leads to a page; B's names both importers.
  std::string a;
  for (auto& e : std::filesystem::directory_iterator("src/j2h"))
    if (e.path().filename().string()[0] == 'c' && has(read_file(e.path().string()), "import</font> b.B"))
      a = read_file(e.path().string());
  size_t at = a.find("<a href=\"u/");
  ASSERT_NE(at, std::string::npos) << a;
  std::string link = a.substr(at + 9, a.find('"', at + 9) - at - 9);
  EXPECT_TRUE(std::filesystem::exists("src/j2h/" + link)) << link;
  bool found = false;
  for (auto& e : std::filesystem::directory_iterator("src/j2h/u")) {
    std::string u = read_file(e.path().string());
    if (!has(u, ">B</font>")) continue;
    found = true;
    EXPECT_TRUE(has(u, "is imported to:"));
    EXPECT_TRUE(has(u, "\n<br>. &nbsp; <a href=\"../c0")) << u;
    EXPECT_TRUE(has(u, ".htm\">a<a>\n")) << u;
    EXPECT_TRUE(has(u, ">c<a> as b.*")) << u;
  }
  EXPECT_TRUE(found);
  std::string nn = read_file("src/j2h/nn.htm");
  EXPECT_TRUE(has(nn, "Not imported anywhere:"));
  EXPECT_TRUE(has(nn, ">a.A</a>"));
  EXPECT_FALSE(has(nn, ">b.B</a>")) << nn;
}

TEST(Metrics, CodeAgainstClassDocumentation) {
  TempDir t;
  write_file("src/a/Invoice.java", "package a;\npublic class Invoice {\n}\n");
  write_file("src/a/Order.java", "package a;\npublic class Order {\n}\n");
  write_file("src/class_documentation", "-c Invoice The bill~\n-c Ghost Documented only~\n-c " + std::string(300, 'L') +
                                            " A long name~\n-c A<&\"B Odd characters~\n");
  build("src");
  std::string meter = read_file("src/j2h/meter.htm");
  EXPECT_TRUE(has(meter, "\n<br><a href=meter/code_ccom_diff.htm>Code vs Class Documentation</a>")) << meter;
  std::string d = read_file("src/j2h/meter/code_ccom_diff.htm");
  EXPECT_TRUE(has(d, "Code vs Class Documentation"));
  for (const char* s : {"2 classes found in Code\n", "4 classes found in Class Documentation\n",
                        "1 classes found in both\n", "\nonly in Code\nonly in Class Documentation\n"})
    EXPECT_TRUE(has(d, s)) << s << "\n" << d;
  // A class the code defines links to its page; one documented only does not.
  EXPECT_TRUE(has(d, " class <a href=../c0")) << d;
  EXPECT_TRUE(has(d, " class Ghost\n"));
  EXPECT_TRUE(has(d, " class A&lt;&amp;\"B\n")) << d;  // text, never mark-up
  EXPECT_FALSE(std::filesystem::exists("xx_ccom"));
  EXPECT_TRUE(std::filesystem::exists("code_ccom_diff"));
}

TEST(Metrics, ADiffWithoutItsTailsFailsAndTheModelDiffGivesGrepLines) {
  TempDir t;
  write_file("src/a/A.java", "package a;\npublic class A {\n}\n");
  build("src");
  write_file("broken_diff", "1 classes found in x\n class A\n0 classes found in y\n0 classes found in both\n");
  std::string r = failure_of([] {
    Java2Htm web;
    web.make_htm_dir("j2h", "src", nullptr, nullptr);
    FILE* f = web.open_page(web.j2h + "/meter.htm", "Quality Metrics");
    web.diff_to_htm(f, "broken_diff", "Class Documentation");
  });
  EXPECT_TRUE(has(r, "only xx")) << r;
  // The accepted shape of a model difference: mark, blank, "class ", name;
  // a linked name is a class of the code.
  testing::internal::CaptureStdout();
  {
    Java2Htm web;
    web.make_htm_dir("j2h", "src", nullptr, nullptr);
    write_file("src/j2h/meter/code_rose_diff.htm",
               "> class Customer\n> class <a href=../m/1.htm>A</a>\n< class Order\n> class X;del&\"%P%\n");
    web.check_code_rose_diff();
  }
  testing::internal::GetCapturedStdout();
  // A name a shell could read otherwise is one quoted word of text.
  EXPECT_EQ(read_file("src/j2h/not_in_code.bat"),
            "\n: UML Classes not found in Code (?):\n\n  grep Customer ../alles_x\n  grep \"X;del&\"\"%%P%%\" ../alles_x");
}

TEST(ReportPages, MakeFilesAndDialogsFromTheConcatenations) {
  TempDir t;
  write_file("src/app/app.mak",
             "# a comment with x.obj\nPROJ=app\nALL : \"$(OUTDIR)\\app.exe\"\n"
             "LINK32_OBJS= \\\n\t\"$(INTDIR)\\main.obj\" \\\n\t\"$(INTDIR)\\view.obj\"\n"
             "\"$(INTDIR)\\main.obj\" : main.cpp\n");
  write_file("src/lib/core.mak", "PROJ=core\nALL : \"$(OUTDIR)\\core.dll\"\nOBJS= main.obj\n");
  write_file("src/app/app.rc",
             "#include \"resource.h\"\nIDD_ABOUTBOX DIALOGEX 0, 0, 235, 55\nBEGIN\n    LTEXT \"A < B\",-1\nEND\n"
             "IDD_MAIN DIALOG 0, 0, 100, 50\nBEGIN\nEND\nIDR_MENU MENU\nBEGIN\nEND\n");
  std::string out = build("src");
  EXPECT_TRUE(has(out, "\ncomp: main.obj = app")) << out;
  EXPECT_TRUE(has(out, "\ncomp: main.obj = core"));
  EXPECT_FALSE(has(out, "comp: x.obj"));
  std::string maks = read_file("src/j2h/maks.htm");
  EXPECT_TRUE(has(maks, "Binary Code Structure"));
  EXPECT_TRUE(has(maks, "<td>main.obj</td><td>app</td><td>$(OUTDIR)\\app.exe</td>")) << maks;
  EXPECT_TRUE(has(maks, "\n</table>\n<font size=1> 2 obj files, 2 mak files</font>")) << maks;
  std::string bins = read_file("src/j2h/bins.htm");
  EXPECT_TRUE(has(bins, "Make File Results: DLL, LIB, EXE"));
  EXPECT_TRUE(has(bins, "\n</table>\n<font size=1> 2 obj files, 2 make files</font>"));
  std::string d = read_file("src/j2h/dialogs.htm");
  EXPECT_TRUE(has(d, "There are 2 Dialogs:")) << d;
  EXPECT_TRUE(has(d, "\nDialog &nbsp; <a href=#IDD_ABOUTBOX>IDD_ABOUTBOX</a><br>"));
  EXPECT_TRUE(has(d, "LTEXT \"A &lt; B\",-1\nEND</pre>")) << d;
  EXPECT_FALSE(has(d, "IDR_MENU"));
  EXPECT_TRUE(has(d, "\n<br><font size=1>2 Dialogs</font>"));
}

TEST(ReportPages, ModulesMessageHandlersUserInterfaceAndWrongImports) {
  TempDir t;
  write_file("src/alles_dep", "noise\n+ App\n+ CoreCLI\nCore < App\nCoreCLI < App\n");
  write_file("src/ui_main/frame.cpp",
             "#include \"view.h\"\nBEGIN_MESSAGE_MAP(CFrame, CWnd)\n  ON_COMMAND(ID_FILE_SAVE, OnFileSave)\n"
             "  ON_COMMAND(IDOK, OnOK)\n  ON_COMMAND(ID_HELP_INDEX, OnHelp)\nEND_MESSAGE_MAP()\n");
  write_file("src/ui_main/view.h", "class CView {\n};\n");
  write_file("src/a/A.java", "package a;\nimport a.Missing;\nimport a.B;\nimport java.util.List;\npublic class A {\n}\n");
  write_file("src/a/B.java", "package a;\npublic class B {\n}\n");
  std::string out = build("src");
  std::string m = read_file("src/j2h/MoDep.htm");
  EXPECT_TRUE(has(m, "Modules in the Sense of MS Studio"));
  EXPECT_TRUE(has(m, "SM &lt; <b>LM</b> means: <b>LM</b> depends on SM"));
  EXPECT_TRUE(has(m, "Command Line Interface Modules are:<br>\n[ <a href=#BCoreCLI>&lt;&lt;</a> ] [\n"
                     "<a href=#UCoreCLI>&gt;&gt;</a> ] <a href=#CoreCLI>CoreCLI</a><br>")) << m;
  EXPECT_TRUE(has(m, "There are 2 Modules in the sense of MS Studio:"));
  EXPECT_TRUE(has(m, "<a name=\"UApp\"></a>\n&lt; <a href=#Core>Core</a><br>")) << m;
  EXPECT_TRUE(has(m, "\n<br><font size=1>3 Modules in total</font><br>"));
  EXPECT_TRUE(has(read_file("src/j2h/docu.htm"), "<a href=MoDep.htm>"));
  EXPECT_EQ(read_file("messMap"), "\n+OnFileSave~ID_FILE_SAVE\n-OnOK~IDOK\n-OnHelp~ID_HELP_INDEX");
  EXPECT_TRUE(has(out, "\nUI: ")) << out;
  EXPECT_TRUE(has(out, "view.h")) << out;
  EXPECT_TRUE(has(out, "\nfalsch: a.Missing in c0")) << out;
  EXPECT_FALSE(has(out, "falsch: a.B"));
  EXPECT_FALSE(has(out, "falsch: java.util.List"));
}

TEST(ReportPages, AnOptionOfPlusListsThePackagesForCopying) {
  TempDir t;
  write_file("src/a/b/X.java", "package a.b;\npublic class X {\n}\n");
  testing::internal::CaptureStdout();
  {
    Java2Htm web;
    web.make_htm_dir("j2h", "src", "+", nullptr);
  }
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(read_file("packages.bat"), "\n call cptree a/b\n call cptree a.b\n");
  EXPECT_TRUE(has(out, "\no k  -  see the file packages\n")) << out;
  EXPECT_FALSE(has(out, "Not on PATH")) << out;  // the script is for a person
}
