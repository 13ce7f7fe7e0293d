// Section pages and the document pipeline (still to come).
//
// Here the engine will cut each cleaned and marked document (the work file
// "<n>.neu" of link creation) into numbered section pages
// xs/<n>/<page>.htm, counting max_page over the whole web, and drive the
// passes over all pages of all documents: collecting definitions, making
// hotspots, glossary pages, the index and the menus, and reporting the
// references that stay open (make_pages, close_check).  It reads and
// extends the web model (engine/web_model.h) that the web builder hands it.
