// What the portal shows of the index and the topics: the detail page of
// each configured topic and the link to the topic folders.
#include <string>

#include "engine/escape.h"
#include "engine/ut_htm.h"
#include "runtime/safe_uts.h"

int ut_htm::first_detail_page(const std::string& topic) const {
  if (topic.empty()) return -1;
  for (size_t n = 0; n < detName.size(); n++)
    if (detName[n].compare(0, topic.size(), topic) == 0) return (int)n;
  return -1;
}

// The topic folders of the web, when the web has any: its page of logical
// folders.
std::string ut_htm::topic_list() const {
  if (web.folders.empty() || web.web_name.empty()) return "";
  return "\n<p class=1><a href=\"../Lo_fo" + html_attr(web.web_name) + ".htm\">Topic Folders</a></p>";
}
