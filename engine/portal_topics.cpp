// What the portal shows of the index and the topics: the detail page of
// each configured topic and the list of topic folders.
#include <string>

#include "engine/ut_htm.h"

int ut_htm::first_detail_page(const std::string& topic) const {
  (void)topic;
  return -1;
}

std::string ut_htm::topic_list() const { return ""; }
