// Cleaning of word-processor HTML on small hand-made inputs, the paragraph
// heads of norm_para, lengths in points, and the charset intake.
#include "engine/ut_htm.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "runtime/exec_ut.h"
#include "runtime/str_set.h"
#include "tests/test_util.h"

namespace {

using testutil::read_file;
using testutil::write_file;

const std::string head =
    "\n<html><head><LINK REL=stylesheet TYPE='text/css' href=1.css> "
    "<title></title></head>\n<body>\n";
const std::string bullet = "<span style='font-family:Wingdings'>&#167;</span>";
const std::string spacer = " &nbsp; &nbsp; &nbsp;";

// Cleans `text` as the file "doc.htm" and returns the result.
std::string clean(const std::string& text, int kind = 'd', const char* pairs = "") {
  write_file("doc.htm", text);
  ut_htm ut;
  testing::internal::CaptureStdout();
  ut.ers_schmutz("doc.htm", (long)text.size(), pairs, kind);
  testing::internal::GetCapturedStdout();
  return read_file("doc.htm");
}

// Cleans a body and returns what follows the page head.
std::string body(const std::string& inner, int kind = 'd') {
  std::string out = clean("<html><head></head><body lang=EN-GB>" + inner + "</body></html>", kind);
  EXPECT_EQ(out.compare(0, head.size(), head), 0) << out;
  return out.substr(head.size());
}

// Expects the cleaning to fail with `word` in the printed report.
void expect_failure(const std::string& text, const char* word, const char* pairs = "") {
  write_file("doc.htm", text);
  ut_htm ut;
  testing::internal::CaptureStdout();
  EXPECT_THROW(ut.ers_schmutz("doc.htm", 0, pairs, 'd'), const char*);
  std::string report = testing::internal::GetCapturedStdout();
  exut.reset_after_failure();
  EXPECT_NE(report.find(word), std::string::npos) << report;
}

TEST(UtHtmSpans, DeletedAndHiddenSpansGoWithTheirContents) {
  testutil::TempDir dir;
  EXPECT_EQ(body("<p>keep<span class=msoDel>gone <span lang=DE>inner</span> too</span> after"
                 "<span style='display: none'>hidden</span><span\nstyle='color:red;mso-hide:all'>x"
                 "</span>.</p>"),
            "<p>keep after.</p></body></html>\n");
}

TEST(UtHtmSpans, StyleKeepsFontAndColourDeclarations) {
  testutil::TempDir dir;
  EXPECT_EQ(
      body("<span lang=DE style='font-size:10.0pt;mso-bidi-font-size:12.0pt;mso-ansi-language:"
           "DE;color:red;mso-highlight:yellow'>a</span><span style='mso-spacerun:yes'>b</span>"
           "<span class=msoIns>c</span><span style=\"color:#FF0000\">d</span><span class=Code "
           "style='font-family:\"Times New Roman\"'>e</span>"),
      "<span lang=DE style='font-size:10.0pt;mso-bidi-font-size:12.0pt;color:red;'>a</span>"
      "<span>b</span><span>c</span><span style='color:#FF0000;'>d</span><span class=Code "
      "style='font-family:\"Arial\";'>e</span></body></html>\n");
}

TEST(UtHtmSpans, FileWithoutBodyIsCopiedAndTagged) {
  testutil::TempDir dir;
  EXPECT_EQ(clean("no body<o:p></o:p> in Verdana"), "no body in Arial\n");
}

TEST(UtHtmTags, WordOnlyMarkupIsDropped) {
  testutil::TempDir dir;
  EXPECT_EQ(
      body("<div class=WordSection1><p>a<del cite=x>b</del>c<strike>d</strike>e<o:p></o:p>"
           "<o:SmartTagType x>f</o:SmartTagType><o:lock v:ext=edit/>g<meta name=x><link rel=x>"
           "<ins cite=y>h</ins><w:Sdt id=1>i</w:Sdt><w:data>j</w:data><xml>k</xml>l&#133;"
           "<b style='x'>m</b><blockquote>n</p></div><ul>\n<li>one</li><li class=x>two</li>\n"
           "</ul>"),
      "<p>aceghilm</b>n</p></div>\n<p>" + bullet + "<span>" + spacer + "</span>one</p><p>" +
          bullet + "<span>" + spacer + "</span>two</p>\n</body></html>\n");
}

TEST(UtHtmTags, PicturesPointIntoPic) {
  testutil::TempDir dir;
  // A paragraph with a picture loses its text.
  EXPECT_EQ(body("<p class=MsoNormal>before<img width=10 height=20\nsrc=\"doc_files/image001.png\" "
                 "v:shapes=\"x\">after</p>"),
            "\n<p>\n<img width=10 height=20\nsrc=\"pic/image001.png\"></p></body></html>\n");
  EXPECT_EQ(body("<td><![if !vml]><span><img width=1 src=\"a/b/c.gif\"></span><![endif]></td>"
                 "<IMG SRC=\"IsoUsb.gif\" >"),
            "<td><br/><img width=1 src=\"pic/c.gif\"></td>\n<IMG SRC=\"pic/IsoUsb.gif\">"
            "</body></html>\n");
  EXPECT_EQ(body("<p class=MsoNormal><span><v:stroke joinstyle=\"miter\"/><v:shape id=\"s1\" "
                 "style='width:1pt'>\n <v:imagedata src=\"d_files/image002.jpg\" o:title=\"\"/>\n"
                 "</v:shape></span>tail</p>"),
            "<p class=MsoNormal><span><v:stroke joinstyle=\"miter\"/><v:shape id=\"s1\" "
            "style='width:1pt' src=\"pic/image002.jpg\"/></v:shape></p></body></html>\n");
  // Other picture elements go with their contents.
  EXPECT_EQ(body("[<v:group id=g><v:imagedata src=\"a.png\"/></v:group>]"), "[]</body></html>\n");
}

TEST(UtHtmTags, ParagraphsTablesAndSpaces) {
  testutil::TempDir dir;
  EXPECT_EQ(body("<p class=MsoToc1>1 Intro<span>2</span></p><p style='margin-left:10pt'>x</p>"
                 "<table class=MsoTableGrid style='margin-left:5.4pt;border-collapse:collapse'><tr>"
                 "<td>y</td></tr></table><pre><br/><span><br/>code</span></pre>"
                 "<p><span></span><span style=\"mso-spacerun:yes\">     </span>|<br clear=all "
                 "style='x'></p>"),
            "<p class=0 style='margin-left:10pt'>x</p><table class=MsoTableGrid "
            "style='border-collapse:collapse'><tr><td>y</td></tr></table><pre><span>code</span>"
            "</pre><p> &nbsp; &nbsp;&nbsp;|<br></p></body></html>\n");
}

TEST(UtHtmTags, AnchorsBoldFontsAndSemiTitles) {
  testutil::TempDir dir;
  EXPECT_EQ(body("<a name=\"_Toc123\"></a><a name=\"_Ref9\">Ref</a><a\nhref=\"x.htm\">l</a>"
                 "<A HREF=\"y.htm\">m</A> $a <b>$b</b> $c <font face=Verdana>v</font> "
                 "D_&#147; Order handling&#148; and D_&#148;Open</p>"),
            "<a name=\"_\">Ref</a><a href=\"x.htm\">l</a><a hREF=\"y.htm\">m</A> $a <b><$>$b</b> "
            "$c <font face=Arial>v</font> D_(Order handling) and D_(Open)</p></body></html>\n");
}

TEST(UtHtmTags, ConditionalBlocks) {
  testutil::TempDir dir;
  EXPECT_EQ(
      body("[<![if !supportLists]>1.<![endif]>|<![if !supportEmptyParas]>x<![endif]>|"
           "<![if !supportAnnotations]><a href=\"#c\">[AW1]</a><![endif]>|<![if !mso]>y"
           "<![endif]>|<!--[if gte vml 1]><v:shape><![if x]>i<![endif]></v:shape><![endif]-->|"
           "<!--[if supportFields]><span>PAGEREF x</span><![endif]-->8|<!--[if gte mso 9]><xml>"
           "<w:data>AB</w:data></xml><![endif]-->|<!--[if gte mso 10]><p>x</p><![endif]-->]"),
      "[1.|&nbsp;||y||8||-->]</body></html>\n");
}

TEST(UtHtmTags, KindAAndDescriptionComments) {
  testutil::TempDir dir;
  // Kind 'a' keeps nearly everything.
  EXPECT_EQ(body("<pre><br/>x</pre><o:p></o:p>Verdana <b>$</b>", 'a'),
            "<pre>x</pre><o:p></o:p>Verdana <b>$</b></body></html>\n");
  // Lines of a description that start with the first of a pair go.
  EXPECT_EQ(clean("# first\nline one\n# c1\n# c2\nline two\n/x - y\n", '-', "#\n/-"),
            "\nline one\nline two\n y\n");
}

TEST(UtHtmTags, HiddenHeadingStylesDropTheirHeadings) {
  testutil::TempDir dir;
  std::string doc =
      "<html><head><style>\n<!--\nh4 {display: none}\n /* Style Definitions */\nh2\n\t{display:"
      "none;}\np.MsoNormal, li.MsoNormal\n\t{margin:0cm}\nh1\n\t{color:red}\n-->\n</style></head>"
      "<body><h1>T</h1><h2 style='x'>secret</h2><h3>z</h3></body></html>";
  write_file("doc.htm", doc);
  ut_htm ut;
  str_set set("test");
  EXPECT_EQ(ut.hide_styles(set, "doc.htm"), 2);
  EXPECT_NE(set.find_el("<h2"), nullptr);
  EXPECT_NE(set.find_el("<h4"), nullptr);
  EXPECT_EQ(set.find_el("<h1"), nullptr);
  EXPECT_EQ(clean(doc), head + "<h1>T</h1><h3>z</h3></body></html>\n");
}

TEST(UtHtmFailures, DamagedFilesNameTheMissingToken) {
  testutil::TempDir dir;
  expect_failure("<body><p>a<del>never closed</p></body>", "</del>");
  expect_failure("<body><!--[if gte vml 1]><v:shape></body>", "<![endif]");
  expect_failure("<body><o:p>x</body>", "</o:p");
  expect_failure("<body><span class=msoDel>x</body>", "</span>");
  expect_failure("<body><![CDATA[ x ]]></body>", "<![CDATA[");
  expect_failure("<body>x</body>", "odd", "#");
}

TEST(UtHtmPoints, ToPoints) {
  EXPECT_EQ(ut_htm::to_points("12pt"), 12);
  EXPECT_EQ(ut_htm::to_points("2.9pt"), 2);
  EXPECT_EQ(ut_htm::to_points("1pc"), 12);
  EXPECT_EQ(ut_htm::to_points(".5in"), 36);
  EXPECT_EQ(ut_htm::to_points("-.25in"), -18);
  EXPECT_EQ(ut_htm::to_points("1cm"), 28);
  EXPECT_EQ(ut_htm::to_points("0"), 0);
  EXPECT_EQ(ut_htm::to_points("0em"), 0);
  testing::internal::CaptureStdout();
  EXPECT_THROW(ut_htm::to_points("3em"), const char*);
  testing::internal::GetCapturedStdout();
  exut.reset_after_failure();
}

// Runs norm_para on the rest of a paragraph head; `rest` gets the text
// where the caller goes on.
std::string norm(ut_htm& ut, const std::string& text, int margin, std::string* rest = nullptr) {
  std::string t = text;
  testutil::MemOut out;
  char* r = ut.norm_para(out.get(), t.data(), margin, t.data() + t.size());
  if (rest) *rest = r;
  return out.text();
}

TEST(UtHtmNormPara, MarginsBulletsAndLayout) {
  ut_htm ut;
  std::string rest;
  // 30pt round to 36pt: level 2, no bullet.
  EXPECT_EQ(norm(ut, " style='margin-left:30pt'><span>Text</span></p>", 0, &rest),
            " style='margin-left:.65in;text-indent:-.325in'>&nbsp;&nbsp;" + spacer);
  EXPECT_EQ(rest, "Text</span></p>");
  // A bullet entity and five fixed spaces: level 1 with the bullet.
  EXPECT_EQ(norm(ut, ">&#183;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;Item</p>", 0, &rest),
            " style='margin-left:.325in;text-indent:-.325in'>" + bullet + spacer);
  EXPECT_EQ(rest, "Item</p>");
  // Ten more steps behind the bullet: level 3.
  EXPECT_EQ(norm(ut,
                 ">&#150;" + std::string(15, ' ') +
                     "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;"
                     "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;x</p>",
                 0),
            " style='margin-left:.975in;text-indent:-.325in'>" + bullet + spacer);
  // A numbered item; the number stays.
  EXPECT_EQ(norm(ut, ">1) first</p>", 0, &rest),
            " style='margin-left:.325in;text-indent:-.325in'>" + bullet + spacer);
  EXPECT_EQ(rest, "1) first</p>");
  // Level 0: alignment, spacing and colour are kept, the font size is not;
  // the text starts again at its first character.
  EXPECT_EQ(norm(ut, " align=center style='margin-top:6.0pt;color:red;font-size:10pt'><b>x</b>", 0,
                 &rest),
            " style='text-align:center;margin-top:6.0pt;color:red'>");
  EXPECT_EQ(rest, "<b>x</b>");
  // The class's own margin counts too.
  EXPECT_EQ(norm(ut, ">x", 72),
            " style='margin-left:1.3in;text-indent:-.325in'>&nbsp;&nbsp;" + spacer);
  EXPECT_EQ(norm(ut, "><img src=x>", 0, &rest), ">");
  EXPECT_EQ(rest, "<img src=x>");
  testing::internal::CaptureStdout();
  EXPECT_THROW(norm(ut, " style='font-family:Arial'>x", 0), const char*);
  exut.reset_after_failure();
  EXPECT_THROW(norm(ut, "><span style='x' x", 0), const char*);
  testing::internal::GetCapturedStdout();
  exut.reset_after_failure();
}

TEST(UtHtmNormPara, AtMostTwoBlankParagraphsInARow) {
  ut_htm ut;
  EXPECT_EQ(norm(ut, ">&nbsp;</p>", 0), ">&nbsp;");
  EXPECT_EQ(norm(ut, "><span> </span></p>", 0), ">&nbsp;");
  EXPECT_EQ(norm(ut, "></p>", 0), ">");
  EXPECT_EQ(norm(ut, "></p>", 0), ">");
  EXPECT_EQ(norm(ut, ">text</p>", 0), ">");
  EXPECT_EQ(norm(ut, "></p>", 0), ">&nbsp;");
  // Behind a picture shape blank paragraphs keep a dot.
  std::string rest;
  EXPECT_EQ(norm(ut, "><v:shape style='width:1pt'/></p>", 0, &rest),
            "><v:shape style='width:1pt'/>");
  EXPECT_EQ(rest, "</p>");
  EXPECT_EQ(norm(ut, "></p>", 0), ">.");
}

// --------------------------------------------------------------- charsets

std::string utf16(const std::u16string& s, bool le) {
  std::string r = le ? "\xFF\xFE" : "\xFE\xFF";
  for (char16_t c : s) {
    char lo = (char)(c & 0xFF), hi = (char)(c >> 8);
    r += le ? lo : hi;
    r += le ? hi : lo;
  }
  return r;
}

TEST(UtHtmCharset, ConvertsToWindows1252) {
  testutil::TempDir dir;
  const std::string want = "<meta charset=windows-1252><body>\xE4\x80\x92&#20013;&#128512;</body>";
  for (bool le : {true, false}) {
    write_file("a.htm", utf16(u"<meta charset=unicode><body>ä€’中😀</body>", le));
    EXPECT_EQ(ut_htm::to_windows1252("a.htm"),
              le ? "utf-16le converted to windows-1252" : "utf-16be converted to windows-1252");
    EXPECT_EQ(read_file("a.htm"), want);
  }
  write_file("b.htm", "<meta content=\"text/html; charset=utf-8\"><body>ä€’中😀</body>");
  EXPECT_EQ(ut_htm::to_windows1252("b.htm"), "utf-8 converted to windows-1252");
  EXPECT_EQ(read_file("b.htm"),
            "<meta content=\"text/html; charset=windows-1252\"><body>\xE4\x80\x92&#20013;&#128512;"
            "</body>");
  // A byte-order mark alone says UTF-8; a byte that is no UTF-8 stays.
  write_file("c.htm", "\xEF\xBB\xBF<body>\xC3\xA4 \xE4</body>");
  ut_htm::to_windows1252("c.htm");
  EXPECT_EQ(read_file("c.htm"), "<body>\xE4 \xE4</body>");
  write_file("d.htm", "<meta charset=macintosh><body>\x8A\xD5\xF0</body>");
  EXPECT_EQ(ut_htm::to_windows1252("d.htm"), "macintosh converted to windows-1252");
  EXPECT_EQ(read_file("d.htm"), "<meta charset=windows-1252><body>\xE4\x92&#63743;</body>");
  // Files in windows-1252 and undeclared files are not touched.
  write_file("e.htm", "<meta charset=windows-1252><body>\xE4\x80</body>");
  EXPECT_EQ(ut_htm::to_windows1252("e.htm"), "charset windows-1252: left as it is");
  EXPECT_EQ(read_file("e.htm"), "<meta charset=windows-1252><body>\xE4\x80</body>");
  write_file("f.htm", "<body>\xE4</body>");
  EXPECT_EQ(ut_htm::to_windows1252("f.htm"), "charset not declared: left as it is");
}

TEST(UtHtmCharset, SequencesAcrossBlocks) {
  testutil::TempDir dir;
  // Multi-byte sequences and surrogate pairs on every position of the
  // one-megabyte reading blocks.
  std::string u8 = "<meta charset=utf-8>x", want8 = "<meta charset=windows-1252>x";
  std::u16string u16 = u"<meta charset=unicode>x";
  std::string want16 = "<meta charset=windows-1252>x";
  while (u8.size() < 2500000) {
    u8 += "ä€😀";
    want8 += "\xE4\x80&#128512;";
    u16 += u"ä😀";
    want16 += "\xE4&#128512;";
  }
  write_file("u8.htm", u8);
  ut_htm::to_windows1252("u8.htm");
  EXPECT_TRUE(read_file("u8.htm") == want8);
  write_file("u16.htm", utf16(u16, true));
  ut_htm::to_windows1252("u16.htm");
  EXPECT_TRUE(read_file("u16.htm") == want16);
}

}  // namespace
