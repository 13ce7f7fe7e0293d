// The document engine: Word HTML in, section pages and all pages derived
// from them out.  It works on the web model that the web builder owns and
// hands it; an engine made without one (for the document commands) has an
// empty model of its own.
//
// Its methods live in one source per stage:
//   engine/clean.cpp        Word HTML cleaning: the two passes, spans
//   engine/clean_tags.cpp   Word HTML cleaning: the tags of pass two
//   engine/para_norm.cpp    a paragraph's layout as margin and bullet
//   engine/charset.cpp      snapshots in other character sets
//   engine/glossary.cpp     glossary pages from two-column tables
//   engine/profile.cpp      the dated web profile and "secLU"
//   engine/change_log.cpp   change reports and the document lists
//   engine/index.cpp        entries of the concept index
//   engine/topics.cpp       titles into the index, topics and "profs/search"
//   engine/sections.cpp     section pages: preparation, class table, scan
//   engine/section_*.cpp    the cut's marks, headings, closing a document
//   engine/toc.cpp          tables of contents
//   engine/menus.cpp, styles.cpp  page menus, heads and style sheets
//   engine/make_pages.cpp   the web pass: its steps, glossary terms, home menu
//   engine/hotspot_defs.cpp definitions and anchor names of all pages
//   engine/hotspots.cpp, hotspot_names.cpp, hotspot_links.cpp  hotspots
//   engine/index_pages.cpp  the index pages and detail pages
//   engine/index_defs.cpp   what the index lists: definitions, semi titles
//   engine/problems_page.cpp  the problems page and the fixed pages
//   engine/topic_pages.cpp  topic folders, the search over webs, context.htm
// The document utilities and the link checker are in the base class
// (engine/ut_htmst.h).
//
// The cleaning turns the HTML that a word processor saved into the small
// dialect that all later stages read: plain <p>, <hN>, <a>, <img> and
// <table> tags, pictures pointing into "pic", no hidden, deleted or
// office-only mark-up.  It also brings a snapshot in another character set
// to windows-1252 first, and reduces the layout of one paragraph to a
// margin and a bullet when the document is cut into pages.
#pragma once

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/ut_htmst.h"
#include "engine/web_model.h"

class rBuffer;
class str_set;
struct str_el;
class doc_splitter;
class StrTrees;

class ut_htm : public ut_htmst {
  // Set only when the engine was made without a model; declared ahead of
  // `web`, which may refer to it.
  std::unique_ptr<web_model> own_web_;

 public:
  // An engine on the web of a build.
  explicit ut_htm(web_model& web);
  // An engine with an empty model of its own.
  ut_htm();
  ~ut_htm() override;
  ut_htm(const ut_htm&) = delete;
  ut_htm& operator=(const ut_htm&) = delete;

  // Cleans `file` in place, by way of the work file "x_ers_schmutz".  Pass
  // one copies the body and rebuilds each <span> (hidden and deleted spans
  // go with their contents); pass two removes or rewrites the tags.
  // `textSize` is the caller's idea of the text's size, shown when the
  // result is unexpectedly empty.  `pairs` holds character pairs: a line
  // that starts with the first character of a pair is dropped through the
  // second.  `kind` is the document's kind letter; kind 'a' is left nearly
  // untouched.
  void ers_schmutz(const char* file, long textSize, const char* pairs, int kind);

  // Writes the rest of a paragraph's head.  `p` points behind the class of
  // a "<p class=N" tag, inside the text that ends at `end`; `classMargin`
  // is the class's left margin in points.  Writes the style (margin, text
  // indent, alignment, kept spacing and colour), the closing ">" and a
  // normalised bullet, and returns where the caller goes on copying: behind
  // the bullet that was replaced, at the first character of the text when
  // nothing was, at "</p" of an empty paragraph, at the <img> of a picture.
  // Empty paragraphs get "&nbsp;" while the counter `empties` allows it.
  char* norm_para(FILE* out, char* p, int classMargin, char* end);

  // Reads the style block in front of <body> of `file`.  Heading rules that
  // say "display:none" enter "<hN" into `set` (element number
  // `hidden_heading`), so that such headings are later dropped.  Returns the
  // number of rules without "display:none".
  int hide_styles(str_set& set, const char* file);

  // A CSS length as whole points: "pc" times 12, "pt" as it is, "cm" and
  // "in" converted; truncated.  0 for a number of 0; any other unit fails.
  static int to_points(const char* text);

  // The nesting check is switched off: prints that and returns.
  void htm_check(const char* label, const char* file);

  // Brings a snapshot to windows-1252 in place: UTF-16 with a byte-order
  // mark, UTF-8 (declared or with a mark) and macintosh are converted, a
  // character that windows-1252 lacks becomes "&#NNNN;", and the charset
  // declaration is changed.  windows-1252, iso-8859-1, us-ascii and
  // undeclared files are left alone.  Returns what was done, for the log.
  static std::string to_windows1252(const char* file);

  // ---- the derived pages: glossary, profile, change reports, index entries,
  // ---- titles for the search (engine/glossary.cpp, profile.cpp,
  // ---- change_log.cpp, index.cpp, topics.cpp)

  // Reads the closed section page `pageFile` ("<root>/<docNr>/<page>.<ext>")
  // as a glossary: each row of two cells whose first cell holds a new term
  // becomes an entry of the glossary pages; a row of three or more cells
  // ends the reading, so the rest of the table is refused.
  void glossar_table(const char* pageFile);
  // Writes the entry of `term` on its glossary page: the heading with the
  // anchor `target` ("<docNr>/<page>#G<n>") and the link back to the
  // section, then `definition`; enters the term into glossTerms.
  void glossar_entry(const char* target, const char* term, const char* definition);
  // Opens the ten glossary pages, unless open: skip 0 opens
  // "xs/glossar<k>.htm", skip 3 "glossar<k>.htm" from inside xs.
  void open_glossPages(int skip);
  // Ends and closes the glossary pages that are open, so that they are
  // complete pages; again callable.
  void close_glossPages();
  // The page a term goes to, 0 to 9, by its first character.
  static int gloss_page(const char* term);
  // The link part of a glossTerms value `data`: "<k>.htm#<data>".
  static std::string glossRef(const char* data);

  // Lines of the dated profile.  The document line "\n--<page>:<title>|<size>.<date>"
  // of the file `source`; the size line of one section page (the non-blank
  // text behind its first heading) returning that size; the end line of a
  // document with the sum (or the file size of a document without pages).
  void profile_doc_line(FILE* profile, int firstPage, const char* title, const char* source);
  unsigned page_size_line(FILE* profile, const char* pageFile);
  void profile_doc_end(FILE* profile, unsigned long total);
  // The section line of a heading's text: tags left out, line breaks
  // closed up, outer blanks trimmed.  The profile writes it; the cut keys
  // its sections by it.
  static std::string section_line(const std::string& heading);
  // The key of a section in docsecs, typedSecs and a read profile:
  // "<doc title>|<section line>", without the character 160.
  static std::string section_key(const std::string& doc, const std::string& line);
  // Reads the profile `file` (its last ten characters name its date) into
  // `allLines` (sections: "<doc>|<title>" -> "<date>:<size>,<title>") and
  // `docLines` ("<doc>" -> "<date>:<total>"); with `flag` every key is
  // prefixed "<n>." from 112 on, so the trees keep the order of the file.
  // Each document's sum goes to profOld as a bar.  Returns the documents read.
  int read_profile(Btree& allLines, Btree& docLines, const char* file, int flag);
  // Updates "secLU" beside `profile` from it: the last version and size of
  // each section (secDates, docNrs).
  void write_secLU(const char* profile);
  // "xs/CL.htm" with the change reports against the older profiles beside
  // `currentProfile`, and the document lists "xs/docs_R.htm", "xs/docs_A.htm".
  void change_log(const char* currentProfile);
  // One report "xs/CL1_<date>.htm" with its folder "xs/CL2_<date>" of the
  // changes since the profile `older`; 1 when nothing changed.
  int change_report(Btree& profOld, const char* current, const char* older);
  // The bar of a size difference `n`: "" at 0, "w" up to 50, ... "wwwwww".
  static const char* change_bar(long n);
  // The document lists; part of change_log.
  void docs_lists();
  // A title as the docs pages and the index show it: "--- " marks the rest,
  // "//" ends the title.
  static std::string warner(const char* text);

  // Enters `line` into allIndex under "<first character><key, 40 at most>
  // <number at the line's start>".
  void to_index(const char* key, const char* line);
  // Files `title` for the search: its words into the index, a line into
  // "xs/profs/search", and a hit for each topic whose search word it holds.
  // `target` is "<page>.htm..." of document `docNr`, or "<docNr>/<file>"
  // when `docNr` is 0 and the target names no page.
  void title_to_search(const char* title, const char* target, int docNr = 0);
  // Each capitalised word after a blank, except the first, into the index.
  void title_to_index(const char* title, const char* target);
  // Closes "xs/profs/search"; again callable.
  void close_search();

  // ---- end of the derived pages

  // Element number of the hidden headings in the stop set of pass two.
  static constexpr int hidden_heading = 99;

  // The model of the web being built.
  web_model& web;


  // ---- section pages (engine/sections.cpp, section_*.cpp) -------------
  static constexpr int max_pages = 2000;      // section pages of a web
  static constexpr int max_classes = 400;     // paragraph classes of a document
  static constexpr int max_footnotes = 400;   // footnotes of a document

  // Cuts the marked work file `neuFile` of document `docNr` into the
  // section pages <root>/<docNr>/<page>.htm.  `page` is the page counter of
  // the web: read, raised by the pages written and by the closing redirect
  // page.  `run` is 1 or 2; `rootFile` the open "xs/root.bat" of link
  // creation (or null; the cut writes nothing to it); `profile` the open
  // web profile (or null), which run 1 leaves alone.  `rec` gives kind, path, file name and pictures
  // expected; its first page is set.  The title tree and the list slots
  // are the web model's.  Returns the number of pages written.
  int split_doc(int run, const char* neuFile, const char* root, int& page, FILE* rootFile,
                int docNr, const char* title, FILE* profile, doc_record& rec);
  // Links the ERD page and the SQL page of the web to each other.
  void cross_link();
  // Writes a line of links into the code web for the names of `title`
  // that the tree `to_code` knows; nothing when it is empty.
  void code_links(FILE* out, const char* title);
  // Loads xs/index/to_code (lines "~class~page~" that the code web wrote)
  // into `to_code`, once it exists; until then the tree stays empty.
  void load_to_code();
  bool to_code_loaded = false;
  // Prints the references that stayed open; returns their count.
  int close_check();

  // ---- the web pass (engine/make_pages.cpp, hotspot_defs.cpp,
  // ---- hotspots.cpp, hotspot_names.cpp, hotspot_links.cpp) ------------
  // The run of the engine over all pages 1 .. maxPage, in the folder xs:
  // definitions, hotspots, glossary terms, the index, the home menu.
  // `menuTree` may be null.  Does nothing for maxPage below 1.
  void make_pages(int maxPage, StrTrees* menuTree);
  // First pass over <docNr>/<page>.htm: link texts into `defs`, anchor
  // names into ANam.
  void collect_defs(int page, Btree& defs);
  // Second pass over <docNr>/<page>.htm: typed names and keywords become
  // links or get the hint "[?]", definitions go into the index, the bottom
  // line is written.  Returns the number of typed names found.
  int make_hotspots(int page, str_set& hotSet, str_set& glossSet);
  // The typed names ("X_Name", "$name") of the paragraph that starts at `p`
  // (up to "</p", "In:" or "Out:", at most 100); tags are passed over.
  static std::vector<std::string> typed_names(const char* p, const char* end);
  // Enters `word` into the index, once per page (`pageWords`), under the
  // current `heading`, with the anchor e<anchor> of `page`.
  void word_to_index(Btree& pageWords, const std::string& word, const std::string& heading,
                     int page, int anchor);
  // A bold and underlined text starting at the tag `p`: a definition in
  // running text, entered into the index.  True, with hot_nr raised, when
  // the text is one.
  bool marked_to_index(int page, const char* p, const char* end);
  // The glossary sub-pass: each term of `glossSet` in the text of `from`
  // becomes a link to its glossary entry; writes `to`.
  void gloss_pass(const char* from, const char* to, str_set& glossSet);
  // References "#_<title>" of a page to the page of that section.
  void fix_secRefs(int page);
  // The page of a section by its key (lower-case letters of its title),
  // from "tmp_toc" or "../tmp_toc"; 0 when it is not there.
  int page_of_secRef(const char* key);
  // The target of a definition's data as seen from a page of document
  // `docNr`: "../<docNr of the target>/" in front when the target lies in
  // another document.
  std::string link_target(const std::string& data, int docNr) const;
  // The name by which "secLU" keys a section line.
  static std::string secLU_name(const std::string& line);
  // The hint behind a typed name without a definition; the form with words
  // is for a name that is no typed one.
  static constexpr const char* hint_text = "<font color=#FF3333><b>[?] </b></font>";
  static constexpr const char* hint_words = "<font color=#FF3333><b>[?] not yet specified </b></font>";

  // ---- index pages (engine/index_pages.cpp, index_defs.cpp,
  // ---- problems_page.cpp) ----------------------------------------------
  static constexpr int max_detail_pages = 800;  // detail pages det/<n>.htm of the index
  // The typed-name index pages, their detail pages, the problems page and
  // the fixed pages, in the folder xs (the working folder).
  void create_index();
  // The pages of each code document's "j2h/docu_files" into `index` as
  // "D_(NAME: text)", and the capitalised words of their texts into allIndex.
  void docu_files_index(Btree& index);
  // defs, secTitles and semis into `index`, each entry also under the key
  // its index page lists it by ("C_ Name", "D_(text)", "$_ name").
  void index_of_defs(Btree& index);
  // The alternatives of the semi title `key` ("D_(A, B and C of x)": one
  // per list member; "D_(More: x)": "D_(x)") into `index` with `data`,
  // where no entry of that key exists yet.
  void semi_variants(Btree& index, const char* key, const char* data);
  // "Problems.htm" from NoSp, less the names that `index`, semiKeys or
  // noProblem know, and "problems.htm" as a link to it.  Returns the number
  // of problems counted.
  int problems_page(Btree& index);
  // The fixed pages that nothing else wrote, and "quality.htm".
  void fixed_pages();

  // ---- topic pages and the search over webs (engine/topic_pages.cpp) ---
  // The topic folders (Lo_fo<web>.htm, fo_<folder>.htm), the pages over
  // all webs (s.htm, fo<n>.htm, with "xs.bat" beside the web) and the
  // concept index (context.htm, c<code>.htm).  `webRoot` is the web's
  // folder seen from the working folder: "xs" from the folder of the run
  // (as after the reading), "." from inside xs (as in the web pass).
  void make_topicPages(const char* webRoot = "xs");
  // The titles that the other webs of the topic records filed in their
  // "profs/search" go under this web's topics, with "<web number>:" in
  // front of their targets.  A path without such a file is reported once.
  void read_search();
  // read_search, then, when a record names a web, "s.htm" and the pages
  // "fo<n>.htm" of the titles of all webs, and "xs.bat".  With `file`, the
  // links to this web's folder pages are appended to that page first.
  void cross_search(const char* file, const char* webRoot = "xs");
  // The titles of record `n`'s web that hold its search word, as a page
  // part written to `out`.
  void search_in_web(FILE* out, int n, const char* webRoot = "xs");

  // ---- what the portal shows of them (engine/portal_topics.cpp) --------
  // The number of the first detail page whose name begins with `topic`, or
  // -1.
  int first_detail_page(const std::string& topic) const;
  // The list of the web's topics for the portal's contents.
  std::string topic_list() const;
  std::vector<std::string> detName;  // titles of the detail pages det/<n>.htm, by n

  // Page arrays, indexed by page (see max_pages).
  std::vector<int> page_doc, page_first, page_level;
  int e_nr = 0;      // anchor counter of the cut, never reset
  // Trees that the cut fills for the later passes (keys and data as the
  // engine's table of trees gives them).
  // (docsecs, typedSecs, docDates and picNames are the web model's.)
  Btree defs, semis, semiKeys, specs, docClasses, missRefs, to_code;
  // Trees of the web pass (keys and data as the engine's table of trees
  // gives them).
  Btree ANam, NoSp, noHot, noProblem, secTitles;
  Btree glossDefs;  // glossary term -> its definition as plain text
  // Counters of the web pass.
  int hot_nr = 0;           // anchors e<n> of the hotspots
  int hints = 0;            // "[?]" hints written
  int hot_links = 0;        // typed names that became links
  int sec_errors = 0;       // "</secLU" marks of unknown documents
  int secs_not_found = 0;   // sections missing in secDates
  int max_page_ = 0;        // the last page of the web pass
  std::string ourERD, ourSQL;  // "<docNr>/<page>.htm~<file>" of the ERD and SQL pages
  int unknown_semis = 0, open_refs = 0;  // content problems counted

  // ---- tables of contents (engine/toc.cpp) -----------------------------
  // The table of a document's sections from `ourToc`, on its head page.
  // `width` below 1: its absolute value, and no menu.
  void our_Toc(FILE* out, int width, int pictures, int docNr, int firstPage,
               const std::vector<std::string>& semiTitles, Btree& localNames, Btree& ourToc);
  // The list of pictures of the document, once per document.
  void our_AbbVz(FILE* out, Btree& localNames, int& calls);
  // The deep table that replaces "<deepToc K>" on a page with sub-pages.
  void deep_table(FILE* out, Btree& ourToc, const char* K);
  // A "#_Name" reference resolved by the lines of "tmp_toc": "<page>.htm".
  bool find_tocTarget(const char* ref, const char* linkText, std::string& result);
  // The capitalised words of a section title as index lines.
  void title_words(const char* title, const char* target);
  // Rebuilds the head page of a document of at most one section page from
  // its printable source.
  void print_page(int page, const char* printFile, int docNr);

  // ---- page menus and headers (engine/menus.cpp) -----------------------
  // `head` 0: no head; above 0 with "../" to the root; below 0 without.
  // `page` 0: no navigation; negative: the "ALL" form.
  void HeaderMenu(FILE* out, int head, int page, const char* title, const char* version);
  void ourMenu(int line, const char* file, FILE* out, int kind, const char* name,
               const char* anchor, int ups);
  void page_head(FILE* out, const std::vector<std::string>& semiTitles);
  // Returns the open file when `keepOpen`, else null.
  FILE* fixed_page(bool keepOpen, int ups, const char* file, const char* title,
                   const char* subtitle);
  static int page_rank(const char* name);
  // The navigation line behind a page; `lastOfDoc` adds the end line.
  void bottom_line(FILE* out, int page, bool lastOfDoc);
  // The fixed style sheet of the section pages.
  static void fixed_css(FILE* out);
  // Reduces the rules that the cut wrote to `css` and appends the fixed sheet.
  void reduce_css(const char* css);
  // Writes the code pages' sheet `file` (only "xs/j2h.css" or a "j2h.css"
  // of a folder) when it is missing.
  static void j2h_css(const char* file);
  // A web of one document: navigation without the portal and lists.
  bool one_doc_web() const;


  // State that spans paragraphs.
  bool bold = false;      // inside <b> ... </b>: a "$" gets "<$>" before it
  int empties = 2;        // blank paragraphs still allowed in a row
  int paras_in_cell = 0;  // paragraphs since the last table cell

 private:
  friend class doc_splitter;
  // Enters `title` under each topic whose search word it holds, with
  // `target` (engine/topics.cpp).
  void topic_hits(const std::string& title, const std::string& target);
  void init_sections();  // engine/sections.cpp
  void drop_sections();
  // engine/hotspot_defs.cpp
  void init_web_pass(bool build);
  void settle_defs();
  void clean_marked(const std::string& file);
  // engine/make_pages.cpp
  void gloss_to_index();
  void home_menu(StrTrees* menuTree);
  std::unique_ptr<std::map<std::string, int>> secRefs_;  // tmp_toc: section key -> page
  // engine/clean.cpp
  void spans_pass(const char* file, str_set& stops);
  void span_tag(rBuffer& rb, FILE* out);
  void drop_span(rBuffer& rb, int from);
  void drop_through(rBuffer& rb, int skip, const char* token);
  void drop_nested(rBuffer& rb, int skip);
  int tag_end(rBuffer& rb, int from, const char* what);
  void write_picture(rBuffer& rb, FILE* out, int img, const char* lead);
  // engine/clean_tags.cpp
  void tags_pass(const char* file, str_set& stops, const char* pairs, int kind);
  int at_tag(rBuffer& rb, FILE* out, const str_el* el);
  int at_pair_line(rBuffer& rb, FILE* out, int through);
  int at_dropped_tag(rBuffer& rb, int action);
  int at_table_tag(rBuffer& rb, FILE* out);
  int at_li_tag(rBuffer& rb, FILE* out);
  int at_ul_tag(rBuffer& rb);
  int at_hidden_heading(rBuffer& rb);
  int at_pre_tag(rBuffer& rb, FILE* out);
  int at_a(rBuffer& rb, FILE* out);
  int at_b_tag(rBuffer& rb, FILE* out);
  int at_cond_tag(rBuffer& rb, FILE* out);
  int at_comment(rBuffer& rb, FILE* out);
  void at_o_tag(rBuffer& rb);
  int at_v_tag(rBuffer& rb, FILE* out);
  int at_span_tag(rBuffer& rb, FILE* out);
  int at_p_tag(rBuffer& rb, FILE* out);
  void at_semi_title(rBuffer& rb, FILE* out);

  [[noreturn]] void missing(rBuffer& rb, const char* token);
  [[noreturn]] void unknown(rBuffer& rb);
  void make_sets();
  void big_buffer(FILE* out);

  // The derived pages' own files: closed (and ended) with the engine.
  struct derived_files {
    std::array<FILE*, 10> gloss{};  // the glossary pages, all open or none
    int gloss_count = 0;            // entries written since the pages opened
    FILE* search = nullptr;         // "xs/profs/search"
    std::string search_name;
    ~derived_files();
  };
  derived_files derived_;
  std::string profile_date(const char* file);
  void change_sections(Btree& cur, Btree& old, const std::string& docKey, int docNr,
                       const std::string& date, const std::string& text, int& changed);
  const char* file_ = "";           // the file being cleaned, for failure reports
  std::string scratch_, scratch2_;  // reused text of pass one
  bool drop_ins_class_ = true;      // pass one leaves out "class=msoIns"
  static constexpr int out_buf_size = 1 << 18;
  std::unique_ptr<char[]> out_buf_;  // output buffer of the pass that runs
  // Small search sets, made once: body tags, style block marks, span tags,
  // conditional-comment marks.
  std::unique_ptr<str_set> body_set_, style_set_, span_set_, cond_set_;
};
