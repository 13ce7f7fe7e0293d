// The folder commands: small commands that work on folder trees rather than
// on webs.  Each takes the listing of a tree ("wfind <dir> > <list>", one
// path per line, pre-order, sorted per folder), reads it with rBuffer and
// prints on stdout.  Names that come from the listing are data: every
// deletion and copy is done directly on the path, never through a command
// line, and a deletion or an overwrite that a walk drives happens only below
// the root of that walk.
//
// Failures end in the tracker's report (exut.fail, exit status 1): a missing
// or unreadable folder, a file that the listing names and that cannot be
// read.  Faults of the user's content are printed and the command goes on.
#pragma once

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <unordered_set>

namespace folders {

// ------------------------------------------------------------ the listing

// The root as the listing writes it in front of every path: "\" as "/",
// trailing slashes cut.
std::string listing_root(const char* dir);
// Fails with "User: no such dir: <dir>" unless `dir` is a folder that can
// be listed.
void need_folder(const char* dir);
// Writes the listing of `dir` into the file `list`, as the built-in "wfind"
// writes it, announcing it with the runner's line "system: wfind <dir> >
// <list>".  With `folders`, the listed paths that are folders are kept
// there, so that a reader of the list needs to ask the file system nothing
// more for them.
void list_tree(const char* dir, const char* list,
               std::unordered_set<std::string>* folders = nullptr);
// Calls `line` for every path of the list file, in its order.
void for_each_listed(const char* list, const std::function<void(const std::string&)>& line);

// What a listed name is now, a symbolic link judged by what it leads to:
// 'f' a plain file, 'd' a folder, 'o' anything else (a device, a pipe, a
// socket: nothing to read), 'n' gone.  `size` gets the size.
char kind_of(const std::string& path, long long* size = nullptr);

// ------------------------------------------------------------- commands

// "brelmot wconf nr dir": a configuration include for every document of the
// tree on `out`; "doc.htm" inside a web folder "xs_..." is deleted.
int wconf_dir(int nr, const char* dir, FILE* out);
// "brelmot wconf_ADD from pre dir": the files listed in `from` below the
// path `pre` are copied to "0/<from>.dir" and written as an include.
int wconf_add(const char* from, const char* pre);
// "brelmot nopub dir": every folder named "publish" below dir is deleted.
int no_publish(const char* dir);
// "brelmot find word dir": every file of the tree that holds `word`.
int find_word(const char* word, const char* dir);
// "brelmot update_from from": every file of the current tree is replaced by
// the file of the same relative path below `from`.
int update_from(const char* from);
// "brelmot sort conf nr": the documents of prefix `nr` that the
// configuration names (+) beside those the tree holds (-).
int sort_conf(const char* conf, int nr);
// "brelmot pub_alle": each web of the fixed list built by this program.
int pub_alle();
// The configuration word "update": the command reference of the
// installation `inst` and its executable.
void command_ref(const std::string& inst);

// ------------------------------------------- readers of untrusted text

// The lines of `sort`: one entry per file, keyed so that a name and its
// folder meet once whatever their mark.
struct doc_list {
  // key "<name, 40 columns> + <folder>" -> the key with the entry's mark in
  // place of its "+"; the first character of the value is the mark.
  std::map<std::string, std::string> entries;
  // Adds the file `line` with `mark` unless its path lies in a folder that
  // is never published or its name begins with "~"; an entry already
  // present is kept.  Returns whether an entry was added.
  bool list_line(char mark, const std::string& line);
};

// The prefix `nr` of a configuration text ("-? nr=path"): the path with
// "\" as "/" and trailing slashes cut, a relative one ("./", "..") seen
// from `conf_dir`, the folder of the configuration, as the configuration
// reader sees it; false when the text lacks it.
bool prefix_of(const std::string& conf_text, int nr, const std::string& conf_dir,
              std::string* path);
// The document paths of prefix `nr` in a configuration text ("-x nr/rest"),
// with "nr" replaced by `path`.
void documents_of(const std::string& conf_text, int nr, const std::string& path,
                  const std::function<void(const std::string&)>& doc);

// A line of a list for wconf_ADD: the listed path (it begins where `pre`
// stands) and the part behind `pre`; false when the line lacks `pre` or the
// part would leave the target folder ("..", nothing).
bool add_line(const std::string& line, const std::string& pre, std::string* path,
              std::string* rest);

// The text of a sample configuration for the command reference: behind
// "/*" and two line ends, up to "\n--" (or the end); false without "/*".
bool sample_text(const std::string& text, std::string* out);

}  // namespace folders
