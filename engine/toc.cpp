// Tables of contents (still to come).
//
// Here the engine will write on each document's head page the table of its
// sections, the deep table at the end of a section with sub-pages, and the
// list of pictures that closes the head page; the work file "tmp_toc"
// keeps one line per section for references by name.
