// Writes a tree file whose keys are the lines of standard input (empty
// data), as the outside step that lists a model's classes would: the
// benchmark of the documentation-against-code page needs one.
//
//   btree_keys FILE < names
#include <cstdio>
#include <iostream>
#include <string>

#include "runtime/exec_ut.h"
#include "store/Btree.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: btree_keys FILE < names\n");
    return 1;
  }
  try {
    Btree t(argv[1], 1);
    std::string line;
    while (std::getline(std::cin, line))
      if (!line.empty() && line.size() <= 250) t.StrIns('e', line.c_str(), "");
    t.commit();
  } catch (const char*) {
    return 1;
  }
  return 0;
}
