// Plain file and folder work shared by `safe_uts` and the built-in commands:
// sorted listings, tree walks, wildcards, copies that keep the modification
// time, tree removal.  None of it reports through the tracker: each operation
// returns whether it worked and leaves `errno` as the system set it, so that
// the caller decides between a failure report and a message of a command.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <string>
#include <vector>

class file_ops {
 public:
  // Order of names within a folder: bytes with ASCII letters folded to lower
  // case, ties by raw bytes.
  static bool name_less(const std::string& a, const std::string& b);
  // Order of menu lines: compared step by step between "/", each step as
  // `name_less` folds it; ties by raw bytes of the whole line.
  static bool line_less(const std::string& a, const std::string& b);

  // Whether what `st` describes can be read as an input: a regular file,
  // or the null device (the empty input).  A device, a pipe or a socket
  // would never end, or a pipe never begin, and is no input.
  static bool readable_input(const struct stat& st);

  static bool is_dir(const std::string& p);
  static bool is_file(const std::string& p);  // anything that is not a folder
  static bool exists(const std::string& p);

  // Names in a folder without "." and "..", sorted by `name_less`.  An
  // unreadable folder gives an empty list.
  static std::vector<std::string> list(const std::string& dir);

  // Pre-order walk below `dir`: every entry as "<dir>/<rel>", sorted per
  // folder.  `enter` decides whether a folder is entered.  Symbolic links to
  // folders are listed but not entered.
  static void walk(const std::string& dir,
                   const std::function<void(const std::string& path, bool is_dir)>& visit,
                   const std::function<bool(const std::string& name)>& enter);

  // The listing of the folder commands: every folder (and with `add_files`
  // every file) below `dir`, pre-order, sorted per folder, skipping "System
  // Volume Information" and not entering a folder named "j2h".  Returns the
  // number of entries visited.
  static int wfind(const std::string& dir, bool add_files,
                   const std::function<void(const std::string& path, bool is_dir)>& visit);

  // Wildcard match of one name: "*" and "?", ASCII letters without regard
  // to case, as the folder listings of the original platform matched them.
  static bool wild_match(const char* pattern, const char* name);
  static bool has_wild(const std::string& s);
  // All paths matching a pattern whose steps may hold wildcards, sorted per
  // folder; "*.*" means every name.  No match gives an empty list.
  static std::vector<std::string> glob(const std::string& pattern);

  // Copies one file: an existing target, also a read-only one, is replaced;
  // the copy gets the source's mode and modification time.
  static bool copy_file(const std::string& from, const std::string& to);
  // Copies a folder with everything in it, empty folders and dot files
  // included, into `to` (made when missing).  `err` receives a text for
  // each item that could not be copied, and for each target that would lie
  // outside `to` (a link in the target tree leading elsewhere): such a
  // target is refused, never written.
  static bool copy_tree(const std::string& from, const std::string& to, std::string* err);
  // Removes a file or a folder with all it holds; a missing name is fine.
  // Symbolic links are removed, never followed.
  static bool remove_tree(const std::string& p);
  // Whether `path` lies below the folder `root` once both are resolved:
  // its folder with every link followed, and, with `follow_last`, the name
  // itself too (what a write reaches); without, the name is judged where it
  // stands (what a removal reaches).  A path that cannot be resolved does
  // not lie below.
  static bool lies_below(const std::string& root, const std::string& path, bool follow_last);
  // Makes a folder and its parents.
  static bool make_dirs(const std::string& p);

  static std::string parent(const std::string& p);  // "." when there is none
  static std::string base(const std::string& p);
  static std::string join(const std::string& dir, const std::string& name);
};
