// The C# and PHP pages: what the readers mark on a page, the rows they give
// the web (class maps, entry points, namespaces, classes with members), and
// the example trees built by the command.
#include <gtest/gtest.h>

#include <filesystem>

#include "codeweb/cs_reader.h"
#include "codeweb/php_reader.h"
#include "tests/codeweb/codeweb_util.h"

using namespace testutil;
using cwtest::build;

namespace {

std::string cs_page(cs_reader& r, const std::string& src) { return r.page_of(src, "app/Shop.cs", 7); }

std::string keys(const std::vector<cs_reader::row>& rows) {
  std::string s;
  for (auto& r : rows) s += r.first + "|";
  return s;
}

}  // namespace

// Visibility decides: a member without it is plain text and has no row, a
// field has no anchor, a method gets its mark and anchor, Main is an entry.
TEST(CsReader, VisibilityMarksMembersAndEntryPoints) {
  cs_reader r;
  std::string p = cs_page(r, "namespace Shop {\npublic class Cart : Base, IList<int> {\n  private int x;\n"
                             "  int Hidden() { return x; }\n  protected Cart(int n) { }\n"
                             "  public static void Main(string[] args) { }\n  public int Size { get; set; }\n"
                             "  public List<Dictionary<string,int>> Pairs() => null;\n}\n}\n");
  EXPECT_EQ(keys(r.members), "Cart :: Cart|Cart :: Main|Cart :: Pairs|") << p;
  EXPECT_TRUE(has(p, "<font class=kw>3 int</font> x;")) << p;
  EXPECT_TRUE(has(p, "\n  int Hidden() { <font class=kw>return</font> x; }"));
  EXPECT_TRUE(has(p, "<font class=kw>2</font> <a id="));
  EXPECT_TRUE(has(p, "<font class=kw>. void</font> <a id=3></a><a href=#eof>Main</a>(string[] args)")) << p;
  EXPECT_TRUE(has(p, "<font class=kw>. int</font> Size { get; set; }"));
  ASSERT_EQ(r.mains.size(), 1u);
  EXPECT_EQ(r.mains[0], "0/7.htm#3");
  EXPECT_EQ(keys(r.classes), "Cart|");
  ASSERT_EQ(r.supers.size(), 2u);
  EXPECT_EQ(r.supers[1].second, "IList");
  EXPECT_TRUE(has(keys(r.namespaces), "Shop . Cart~Main|"));
  EXPECT_TRUE(has(p, "<a id='Shop.Cart'></a><b>Shop . Cart</b><br>\nCart . <a href=#2>Cart</a><br>\nCart . <a href=#3>Main</a><br>")) << p;
}

// Today's forms are read as the nearest known ones and never break the
// page: strings of every kind, attributes, generic constraints, records,
// regions, summaries and an operator.
TEST(CsReader, ModernFormsStayText) {
  cs_reader r;
  std::string p = cs_page(r, "namespace N;\n[Serializable]\npublic record Point(int X, int Y);\n"
                             "#region Parts\nclass Box<T> where T : class {\n"
                             "  /// <summary>\n  /// Makes it.\n  /// </summary>\n  /// <param name=\"v\">the value</param>\n"
                             "  public string Show(T v) { return $\"{v} \\\"{(v == null ? \"-\" : \"+\")}\" + @\"a\"\"class b\" + \"\"\"raw public\"\"\"; }\n"
                             "  public static Box<T> operator +(Box<T> a, Box<T> b) => a;\n}\n#endregion\n");
  EXPECT_EQ(keys(r.classes), "Point|Box|") << p;
  EXPECT_EQ(keys(r.members), "Box :: Show|");
  EXPECT_TRUE(has(p, "<b><font class=kw size=+1>#region</font></b> Parts"));
  EXPECT_TRUE(has(p, "<font class=co>/// Makes it.</font>")) << p;
  EXPECT_TRUE(has(p, "<font class=co>/// par: v: the value</font>"));
  EXPECT_FALSE(has(p, "summary"));
  EXPECT_TRUE(has(p, "<font class=kw>@\"a\"\"class b\"</font>"));
  EXPECT_TRUE(has(p, "<font class=kw>\"\"\"raw public\"\"\"</font>"));
  EXPECT_TRUE(has(p, "where T : class {"));
  EXPECT_TRUE(has(p, "</BODY></HTML>\n"));
}

// A C# tree: its class gets a map page, Main is listed as an entry point,
// namespaces reach packages.htm, and csfs.htm (linked by cs.htm) lists the
// files.
TEST(CsWeb, ClassMapsEntryPointsAndNamespaces) {
  TempDir t;
  write_file("src/a/Shop.cs", "namespace Shop.Core {\n  public class Cart : Basket {\n"
                              "    public static void Main(string[] args) { }\n  }\n}\n");
  write_file("src/B.java", "package b;\npublic class B {\n}\n");
  std::string entry;
  build("src", nullptr, [&](Java2Htm& web) {
    Btree_st st;
    if (web.cppMains.Get("0/1.htm#2", st)) entry = st.c;
  });
  EXPECT_EQ(entry, "main Shop.cs");
  std::string cls = read_file("src/j2h/class.htm");
  EXPECT_TRUE(has(cls, "<a href=0/1.htm#1>Cart</a>")) << cls;
  bool mapped = false;
  for (auto& e : std::filesystem::directory_iterator("src/j2h/m"))
    mapped = mapped || has(read_file(e.path().string()), "Cart");
  EXPECT_TRUE(mapped);
  std::string pk = read_file("src/j2h/packages.htm");
  EXPECT_TRUE(has(pk, "\n<br>C# &nbsp; <a href=\"p2.htm\" TARGET=\"frame2\">Shop.Core</a>")) << pk;
  EXPECT_TRUE(has(pk, "</BODY></HTML>\n"));
  EXPECT_TRUE(has(read_file("src/j2h/p1.htm"), "Java Classes"));
  EXPECT_TRUE(has(read_file("src/j2h/p2.htm"), "<a href=\"0/1.htm#2\" TARGET=\"frame3\">Main</a>"));
  EXPECT_TRUE(has(read_file("src/j2h/csfs.htm"), "<a href=\"0/1.htm\" TARGET=\"frame3\">Shop.cs</a>"));
  EXPECT_TRUE(has(read_file("src/j2h/docu.htm"), "<a href=cs.htm>C#</a>"));
  EXPECT_TRUE(has(read_file("src/j2h/ALL_cscode"), "namespace Shop.Core"));
}

// The text before "<?" is a comment, echo strings carry their quotes as
// character references, "?>" in a string or heredoc ends nothing, and a
// seam between two code blocks goes.
TEST(PhpReader, CommentStringsAndModes) {
  php_reader r;
  std::string p = r.page_of("Intro <b>text</b>\n<?php\necho \"say \\\"hi\\\" <now>\";\n$s = '?>';\n"
                            "$h = <<<'EOT'\n?> still\nEOT;\n?>\n<?php\n$x = 1; ?>\n<p>html</p>\n<? echo 2 ?>",
                            "site/a.php");
  EXPECT_TRUE(has(p, "<pre><font class=co>Intro &lt;b&gt;text&lt;/b&gt;\n</font></pre>")) << p;
  EXPECT_TRUE(has(p, "echo <span class=str>&#34;say \\&#34;hi\\&#34; &lt;now&gt;&#34;</span>;"));
  EXPECT_TRUE(has(p, "<font class=str>'?&gt;'</font>"));
  EXPECT_TRUE(has(p, "<font class=str>&lt;&lt;&lt;'EOT'\n?&gt; still\nEOT</font>"));
  EXPECT_EQ(count_of(p, "&lt;?php"), 1);  // the seam went
  EXPECT_TRUE(has(p, "<font class=\"str\"><pre>\n&lt;p&gt;html&lt;/p&gt;\n</pre></font>"));
  EXPECT_EQ(r.members.size(), 3u);  // the globals $s, $h, $x
}

// Classes, functions inside and outside them, with section heads; require
// links through the resolver only when it finds the file.
TEST(PhpReader, MembersPerClassAndRequireLinks) {
  php_reader r;
  std::vector<std::string> asked;
  r.resolve = [&](const std::string& name) {
    asked.push_back(name);
    php_reader::target t;
    if (name == "lib/db.php") t = {5, "../0/5.htm"};
    return t;
  };
  std::string p = r.page_of("<?php\nrequire_once 'lib/db.php';\nINCLUDE(\"none.php\");\n"
                            "abstract class Repo extends Base {\n  const LIMIT = 10;\n  private static ?int $count = 0;\n"
                            "  public static function find($id) { $z = 1; return function() {}; }\n"
                            "  $notAProperty = 1;\n}\nfunction helper() {}\n$y = Repo::class;\nconst TOP = 1;\n",
                            "site/a.php");
  EXPECT_EQ(asked, (std::vector<std::string>{"lib/db.php", "none.php"}));
  EXPECT_TRUE(has(p, "<font class=kw>require_once</font> 'lib/<a href=../0/5.htm>db.php</a>';")) << p;
  EXPECT_TRUE(has(p, "INCLUDE(<font class=str>\"none.php\"</font>);"));
  EXPECT_EQ(r.reached, std::vector<int>{5});
  std::vector<std::string> m;
  for (auto& x : r.members) m.push_back(x.kind + ":" + x.cls + ":" + x.name);
  EXPECT_EQ(m, (std::vector<std::string>{"class::Repo", "const:Repo:LIMIT", "var:Repo:$count", "function:Repo:find",
                                          "function::helper", "global::$y", "const::TOP"}));
  EXPECT_TRUE(has(p, "\n  <a name=c2></a>const LIMIT = 10;\n  <font color=#0000FF>private static</font> ?int "
                     "<a name=v3></a>$count = 0;")) << p;
  EXPECT_TRUE(has(p, "<a name=f4></a><font color=#0000FF>public static</font> <font size=+0>function <b>find</b>"));
  EXPECT_TRUE(has(p, "<font color=#0000FF>abstract</font> <font size=+1>class <b>Repo</b>"));
}

// A PHP tree: the require link resolves relative to the page, phc.htm lists
// the members under their class, and the console names each file found.
TEST(PhpWeb, LinksResolveAndClassesListTheirMembers) {
  TempDir t;
  write_file("src/index.php", "<?php\nrequire 'lib/Cart.php';\n?>\n");
  write_file("src/lib/Cart.php", "<?php\nclass Cart {\n  function add($x) {}\n  const MAX = 3;\n}\n");
  std::string out = build("src");
  EXPECT_TRUE(has(out, "\nphp_fNr 2 = "));
  std::string page = read_file("src/j2h/php/0/1.htm");
  EXPECT_TRUE(has(page, "<a href=../0/2.htm>Cart.php</a>")) << page;
  EXPECT_TRUE(std::filesystem::exists("src/j2h/php/0/2.htm"));
  std::string phc = read_file("src/j2h/phc.htm");
  EXPECT_TRUE(has(phc, "<a href=\"php/0/2.htm#c1\" TARGET=\"frame3\"><b>Cart</b></a>\n<br>&nbsp; . "
                       "<a href=\"php/0/2.htm#f2\" TARGET=\"frame3\">Cart. add</a>\n<br>&nbsp; . "
                       "<a href=\"php/0/2.htm#c3\" TARGET=\"frame3\">Cart. MAX</a>")) << phc;
  EXPECT_TRUE(has(read_file("src/j2h/phpdep.htm"), "<a href=\"php/0/2.htm\" TARGET=\"frame3\">/lib/Cart.php</a>"));
  EXPECT_TRUE(has(read_file("src/j2h/php.htm"), "<a href=\"php/0/1.htm\" TARGET=\"frame3\">/index.php</a>"));
}

// With the root "." a require that climbs out of its folder still finds
// its file.
TEST(PhpWeb, RequireWithDotsResolvesWhenTheRootIsTheCurrentFolder) {
  TempDir t;
  write_file("app/x/index.php", "<?php\nrequire '../lib/Cart.php';\n?>\n");
  write_file("app/lib/Cart.php", "<?php\nclass Cart {}\n");
  build(".");
  std::string page = read_file("j2h/php/0/2.htm");
  EXPECT_TRUE(has(page, "<a href=../0/1.htm>Cart.php</a>")) << page;
}

// The example trees build with the command and end well.
TEST(CsPhpExamples, BuildFromTheCommandLine) {
  for (const char* lang : {"cs", "php"}) {
    TempDir t;
    std::filesystem::copy(std::string(BRELMOT_SOURCE_ROOT) + "/examples/trees/" + lang, lang,
                          std::filesystem::copy_options::recursive);
    auto r = cwtest::run_j2h(lang);
    EXPECT_EQ(r.status, 0) << lang << r.out;
    EXPECT_TRUE(has(r.out, "o k  -  see 1.bat")) << lang;
  }
}
