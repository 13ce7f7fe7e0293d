// A tree of named nodes, each with at most one father, fed with son-father
// pairs in any order.  It writes itself as a sorted list of paths, reads
// that list back as a flat menu, and writes the menu as a page of
// collapsible outline: the navigation pages of the web are such menus.
#pragma once

#include <cstdio>

#include "runtime/str_set.h"
#include "store/Btree.h"

class StrTrees : public virtual Btree {
 public:
  static constexpr int L_menu = 10000;  // menu entries, the closing one included
  static constexpr int L_depth = 100;   // longest path

  // The record kept as the data of a node's key.  Its pointers are valid
  // for one run only: such trees are never kept in a file.
  struct node {
    const char* name;
    const char* father;
    int level;
  };
  struct menu_entry {
    const char* name;
    int level;
    int w;
  };

  StrTrees();
  ~StrTrees() override = default;

  const char* son(const char* son, const char* father);
  const char* father_of(const char* k);
  node rec(const char* k);
  int level(const char* k);
  int set_levels();
  void path(FILE* out, const char* k, const char** stack, int depth);
  int sorted();
  void read_menu();
  void write_divs(FILE* out, const char* head_from, Btree* hrefs, int* id);
  void write_tables(FILE* out, const char* head_from, Btree* hrefs, int* id, int width_step = 20);

  str_set names;
  menu_entry menu[L_menu];
  int anz = -1;

 private:
  bool find_rec(const char* k, node& r);
  void put_rec(char mode, const node& r);
  void write_head(FILE* out, const char* head_from, bool divs);
  void write_menu(FILE* out, const char* head_from, Btree* hrefs, int* id, bool divs,
                  int width_step);
  const char* link_of(Btree* hrefs, const char* name, Btree_st& s);
};
