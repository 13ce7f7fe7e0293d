// The code web as a command, for the executable j2h and for the command
// runner's built-in of the same name.
#include <cstdio>

#include "codeweb/java2htm.h"
#include "runtime/safe_uts.h"

int j2h_main(const std::vector<std::string>& args) {
  if (args.empty() || args[0].empty()) {
    printf("usage: j2h [title]root[=selection] | j2h root ourRoot (archive) | j2h <folder>.j2h "
           "(its file \"control\": lines -0 -1 -2 -3 titles, -A all, -D know-how, -L href + label, -s selection)\n");
    return 1;
  }
  bool ended = false;
  {
    Java2Htm web;
    web.make_htm_dir("j2h", args[0].c_str(), nullptr, args.size() > 1 ? args[1].c_str() : nullptr);
    ended = web.ended;
  }
  fflush(stdout);
  return ended ? 0 : 1;
}
