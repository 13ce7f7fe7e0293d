// Class maps: the pages made from the trees superClasses, cppsecs and
// nameNr, filled here by hand in the row forms of the Java reader
// ("c0001.htm#3" for classes and methods, kinds as data of superClasses)
// and of the C and C++ reader ("c3/7.htm#2" for a class head, "m3/8.htm#4"
// for a method, superClasses rows without kind, templates in nameNr under
// both names).  The last test runs j2h on a Java tree.
#include <gtest/gtest.h>


#include "tests/codeweb/codeweb_util.h"

using namespace testutil;

namespace {

void put(Btree& t, const std::string& k, const std::string& d) { Java2Htm::tree_put(t, k, d); }

// A web whose pages go to ./j2h; the trees are filled by the caller.
struct map_web {
  Java2Htm web;
  map_web() {
    web.root = ".";
    web.j2h = "j2h";
    std::filesystem::create_directories("j2h/index");
    write_file("j2h/index/to_code", "");
  }
  void cls(const std::string& name, const std::string& link) {
    put(web.cppsecs, name, link);
    web.defNameNr(name.c_str());
  }
  std::string nr(const std::string& name) {
    Btree_st st;
    return web.nameNr.Get(name.c_str(), st) ? st.c : "?";
  }
  std::string map_of(const std::string& name) { return read_file("j2h/m/" + nr(name) + ".htm"); }
  void run() {
    testing::internal::CaptureStdout();
    web.phase14_class_pages();
    web.phase15_types();
    web.show_rootClasses();
    console = testing::internal::GetCapturedStdout();
  }
  std::string console;
};

// Java: A extends B implements I, C extends B; B and I have no bases.
void java_hierarchy(map_web& w) {
  w.cls("A", "c0001.htm#0");
  put(w.web.cppsecs, "A :: A", "c0001.htm#1");
  put(w.web.cppsecs, "A :: f", "c0001.htm#2");
  put(w.web.cppsecs, "A :: getX", "c0001.htm#3");
  w.cls("B", "c0002.htm#0");
  put(w.web.cppsecs, "B :: g", "c0002.htm#1");
  w.cls("C", "c0003.htm#0");
  w.cls("I", "c0004.htm#0");
  put(w.web.superClasses, "A~B", "-- class");
  put(w.web.superClasses, "A~I", "-- class");
  put(w.web.superClasses, "C~B", "-- class");
  put(w.web.javaKinds, "I", "-- interface");
}

}  // namespace

TEST(ClassMaps, JavaMapShowsMethodsBasesIndentedAndSubclasses) {
  TempDir t;
  map_web w;
  java_hierarchy(w);
  write_file("root_fz", "\nroot[ ? ] Legacy\nroot[ A ] B\n");  // the list of an earlier run
  w.run();
  std::string a = w.map_of("A");
  EXPECT_TRUE(has(a, "Class <a href=../c0001.htm#0>A</a>")) << a;
  EXPECT_TRUE(has(a, "<br><br><a href=../c0001.htm#0>A</a>\n<br><a href=../c0001.htm#1>A</a>")) << a;
  EXPECT_TRUE(has(a, "\n<br><a href=../c0001.htm#3>getX</a>")) << a;
  // The bases one level in, the interface with its kind.
  EXPECT_TRUE(has(a, "<br><br>. &nbsp; <a href=../c0002.htm#0>B</a>\n<br>. &nbsp; <a href=../c0002.htm#1>g</a>")) << a;
  EXPECT_TRUE(has(a, "<br><br>. &nbsp; <a href=../c0004.htm#0>I</a> -- interface")) << a;
  // The three forms of the count line.
  EXPECT_TRUE(has(a, "are:</b><br>\n<br><font size=1>0 subclasses</font>")) << a;
  std::string b = w.map_of("B");
  EXPECT_TRUE(has(b, "\n<br>sc . &nbsp; <a href=../c0001.htm#0>A</a>\n<br>sc . &nbsp; <a href=../c0003.htm#0>C</a>"))
      << b;
  EXPECT_TRUE(has(b, "\n<br><br><font size=1>2 subclasses</font>")) << b;
  EXPECT_TRUE(has(w.map_of("I"), "\n<br><br><font size=1>1 subclass</font>"));
  // The list of maps, its alphabet and the bases of each class.
  std::string list = read_file("j2h/class.htm");
  EXPECT_TRUE(has(list, "<a href=\"#A_0\">A</a>")) << list;
  EXPECT_TRUE(has(list, "\n<a name=\"A_0\"></a>\n<br>[ <a href=m/" + w.nr("A") +
                            ".htm>toc</a> ] &nbsp; \n"
                            "<a href=c0001.htm#0>A</a>\n<br> " +
                            std::string(w.web.filler + 27 * 7 - 49) + ": B"))
      << list;
  // Roots, and the console's new root_fz.
  std::string roots = read_file("j2h/roots.htm");
  EXPECT_TRUE(has(roots, "\n<br>B\n<br>I\n<br>Legacy")) << roots;
  EXPECT_FALSE(has(roots, "<br>A")) << roots;
  EXPECT_TRUE(
      has(w.console, "\nroot[ A ] B\nroot[ A ] I\nroot[ ? ] Legacy\n|\nend of new Version of root_fz, 3 rootClasses"))
      << w.console;
}

TEST(ClassMaps, MethodListsLeaveOutGettersAndKeepConstructorsApart) {
  TempDir t;
  map_web w;
  java_hierarchy(w);
  w.run();
  std::string all = read_file("j2h/ALLMe.htm");
  EXPECT_TRUE(has(all, "\n<a name='F'></a><br>|\n<br><a href=c0001.htm#2>f</a> -- A :: f")) << all;
  EXPECT_TRUE(has(all, "<a href='#F'>F</a>")) << all;
  EXPECT_FALSE(has(all, "getX")) << all;
  EXPECT_FALSE(has(all, ">A</a>")) << all;
  std::string ctors = read_file("j2h/constructors.htm");
  EXPECT_TRUE(has(ctors, "\n<br><a href=c0001.htm#1>A :: A</a>")) << ctors;
  EXPECT_FALSE(has(ctors, ":: f")) << ctors;
  // Each map is announced to the documents and to the model comparison.
  std::string to_code = read_file("j2h/index/to_code");
  EXPECT_TRUE(has(to_code, "\n~A~m/" + w.nr("A") + ".htm~\n~B~m/")) << to_code;
  EXPECT_TRUE(has(read_file("xx_code_mo"), "\nclass A\nclass B\nclass C\nclass I")) << read_file("xx_code_mo");
  std::string types = read_file("j2h/types.htm");
  EXPECT_TRUE(has(types, "\n<br><a href=m/" + w.nr("C") + ".htm>C</a>")) << types;
}

TEST(ClassMaps, CppRowsTemplatesAndSubclassesWithoutPage) {
  TempDir t;
  map_web w;
  w.cls("X", "c3/7.htm#2");
  put(w.web.nameNr, "X<T>", w.nr("X"));
  put(w.web.cppsecs, "X :: size", "m3/8.htm#4");
  w.cls("Y", "c3/9.htm#0");
  put(w.web.superClasses, "Y~X<T>", "");
  put(w.web.superClasses, "Z~X", "");  // Z has no page
  put(w.web.cppsecs, "main", "m4/1.htm#0");
  put(w.web.cppsecs, "Q :: run", "m4/2.htm#3");  // a class never seen
  put(w.web.types, "Handle", "3/7.htm#5");
  w.cls("V<K>", "c5/1.htm#0");  // a class head entered with its template part
  put(w.web.nameNr, "V", w.nr("V<K>"));
  put(w.web.cppsecs, "V<K> :: at", "m5/1.htm#2");
  w.run();
  EXPECT_TRUE(has(read_file("j2h/class.htm"), "<a href=5/1.htm#0>V &lt; K</a>")) << read_file("j2h/class.htm");
  EXPECT_TRUE(has(w.map_of("V"), "<a href=../5/1.htm#0>V &lt; K</a>\n<br><a href=../5/1.htm#2>at</a>"))
      << w.map_of("V");
  std::string y = w.map_of("Y");
  EXPECT_TRUE(has(y, "<br><br>. &nbsp; <a href=../3/7.htm#2>X &lt; T</a>\n<br>. &nbsp; <a href=../3/8.htm#4>size</a>"))
      << y;
  // The template base counts for X by its name before "<"; Z is passed over.
  std::string x = w.map_of("X");
  EXPECT_TRUE(has(x, "\n<br>sc . &nbsp; <a href=../3/9.htm#0>Y</a>\n<br><br><font size=1>1 subclass</font>")) << x;
  EXPECT_FALSE(has(x, ">Z<")) << x;
  std::string funcs = read_file("j2h/funcs.htm");
  EXPECT_TRUE(has(funcs, "<a href=4/1.htm#0>main</a>")) << funcs;
  EXPECT_TRUE(has(funcs, "<a href=4/2.htm#3>Q :: run</a>")) << funcs;
  EXPECT_FALSE(has(funcs, ">size<")) << funcs;
  std::string types = read_file("j2h/types.htm");
  EXPECT_TRUE(has(types, "\n<br><a href=3/7.htm#5>Handle</a>")) << types;
  EXPECT_TRUE(has(types, "\n<br><a href=m/" + w.nr("X") + ".htm>X</a>")) << types;
  // X<T> has no base of its own but is the base Y names.
  EXPECT_TRUE(has(read_file("j2h/roots.htm"), "<br>X")) << read_file("j2h/roots.htm");
}

// Text heuristics can make a cycle; a real tree can be deeper than every
// indent string.  Both end quickly, and the indent stops at its end.
TEST(ClassMaps, CyclesAndDeepHierarchiesEnd) {
  TempDir t;
  map_web w;
  w.cls("A", "c0001.htm#0");
  w.cls("B", "c0002.htm#0");
  put(w.web.superClasses, "A~B", "-- class");
  put(w.web.superClasses, "B~A", "-- class");
  const int deep = 1000;
  for (int i = 0; i < deep; i++) {
    std::string n = "D" + std::to_string(10000 + i);
    w.cls(n, "c" + std::to_string(10 + i) + "/1.htm#0");
    if (i + 1 < deep) put(w.web.superClasses, n + "~D" + std::to_string(10001 + i), "");
  }
  w.run();
  std::string a = w.map_of("A");
  EXPECT_EQ(count_of(a, "<a href=../c0001.htm#0>A</a>"), 2) << a;  // the head and the map, no repeat
  EXPECT_TRUE(has(a, "\n<br>sc . &nbsp; <a href=../c0002.htm#0>B</a>\n<br><br><font size=1>1 subclass</font>")) << a;
  std::string d = w.map_of("D10000");
  std::string widest;
  for (int i = 0; i < 40; i++) widest += ". &nbsp; ";
  EXPECT_TRUE(has(d, "<br><br>" + widest + "<a href=../1009/1.htm#0>D10999</a>")) << d.substr(0, 2000);
  EXPECT_FALSE(has(d, ". &nbsp; " + widest)) << d.substr(0, 2000);
  EXPECT_TRUE(has(w.map_of("D10999"), "<font size=1>999 subclasses</font>"));
}

// A Java tree through j2h: the map of a class the documents describe links
// back to its section, and index/to_code names the map.
TEST(ClassMaps, MapLinksBackToTheClassDocumentation) {
  TempDir t;
  write_file("src/shop/Customer.java",
             "package shop;\npublic class Customer extends Person {\n  public Customer() {\n  }\n"
             "  public String getName() {\n    return n;\n  }\n  void pay(int a) {\n  }\n}\n");
  write_file("src/shop/Person.java", "package shop;\npublic class Person {\n}\n");
  write_file("src/index/to_docu", "~Customer~1/3.htm#e2~\n");
  write_file("src/class_documentation", "-c Customer Someone who buys.~\n");
  std::string out = cwtest::build("src");
  std::string to_code = read_file("src/j2h/index/to_code");
  size_t at = to_code.find("\n~Customer~m/");
  ASSERT_NE(at, std::string::npos) << to_code;
  std::string map = read_file("src/j2h/" + to_code.substr(at + 11, to_code.find('~', at + 11) - at - 11));
  EXPECT_TRUE(has(map, "<br>Someone who buys.<br><a href=../../1/3.htm#e2>See also class documentation.</a>")) << map;
  EXPECT_TRUE(has(map, ">getName</a>")) << map;
  EXPECT_TRUE(has(map, ">Person</a>")) << map;
  EXPECT_FALSE(has(read_file("src/j2h/ALLMe.htm"), "getName"));
  EXPECT_TRUE(has(read_file("src/j2h/ALLMe.htm"), ">pay</a> -- Customer :: pay"));
  EXPECT_TRUE(has(read_file("src/j2h/roots.htm"), "<br>Person"));
}
