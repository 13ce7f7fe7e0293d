// Include expansion of a web configuration: every line "-i <file>" is
// replaced by the text of that file.
#pragma once

// Copies `from` to `to` and puts in place of each line "-i <file>" the text
// of the file, from its first `startMark` (when given) up to its first
// `stopMark` behind that (when given).  Includes do not nest: lines "-i" of
// an included text stay as they are.  With `archive` each included file is
// also copied into the folder of `archive`.  An include name that is not
// absolute is looked for beside `from` first, then as it stands.
// Returns 0, or 1 after "Cannot find include file" was printed for each
// include that does not exist (`to` is then written without them).
int exp_mi(const char* from, const char* to, const char* startMark, const char* stopMark,
           const char* archive);
