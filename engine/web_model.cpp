#include "engine/web_model.h"

#include <algorithm>
#include <cstring>

#include "runtime/exec_ut.h"

web_model::web_model() : comms(1) {
  prepare_tree(internet, "internet");
  prepare_tree(titles, "titles");
  prepare_tree(pic_folders, "pic_folders");
  prepare_tree(links, "links");
  prepare_tree(card_names, "card_names");
  prepare_tree(topic_tree, "topic_tree");
  prepare_tree(targets, "targets");
  prepare_tree(engine_keys, "engine_keys");
  prepare_tree(remarks, "remarks");
  prepare_tree(ndocs, "ndocs");
  prepare_tree(doc_tree, "doc_tree");
  prepare_tree(picNames, "picNames");
  prepare_tree(defined, "defined");
  prepare_tree(glossTerms, "glossTerms");
  prepare_tree(allIndex, "allIndex");
  prepare_tree(docDates, "docDates");
  prepare_tree(docsecs, "docsecs");
  prepare_tree(typedSecs, "typedSecs");
  prepare_tree(secDates, "secDates");
  prepare_tree(docNrs, "docNrs");
  prepare_tree(profOld, "profOld");
  prepare_tree(clogDocs, "clogDocs");
  prepare_tree(topicHits, "topicHits");
  prefix_set.fill(false);
}

web_model::~web_model() {
  for (Btree* t : {&internet, &titles, &pic_folders, &links, &card_names, &topic_tree, &targets,
                   &engine_keys, &remarks, &ndocs, &doc_tree, &picNames, &defined, &glossTerms,
                   &allIndex, &docDates, &docsecs, &typedSecs, &secDates, &docNrs, &profOld, &clogDocs, &topicHits})
    empty_tree(*t);
}

void prepare_tree(Btree& t, const char* name) {
  t.name = name;
  t.quiet = 1;
}

void empty_tree(Btree& t) {
  try {
    t.init(nullptr, 0);
  } catch (const char*) {
    exut.reset_after_failure();
  }
}

void tree_put(Btree& t, const std::string& k, const std::string& v) {
  std::string key = tree_key(k);
  if (key.empty()) return;
  std::string val = v.substr(0, std::min(strlen(v.c_str()), (size_t)Btree::max_data));
  t.StrIns('e', key.c_str(), val.c_str());
}

void tree_put(Btree& t, const std::string& k) {
  std::string key = tree_key(k);
  if (!key.empty()) t.StrIns('e', key.c_str());
}

bool tree_holds(Btree& t, const std::string& k) {
  std::string key = tree_key(k);
  return !key.empty() && t.contains(key.c_str()) != 0;
}

std::optional<std::string> tree_value(Btree& t, const std::string& k) {
  std::string key = tree_key(k);
  if (key.empty()) return std::nullopt;
  Btree_st st;
  if (!t.Get(key.c_str(), st)) return std::nullopt;
  return std::string(st.c);
}
