// Index (still to come).
//
// Here the engine will gather all definitions into one sorted tree and write
// the index pages of the typed names, their detail pages det/<n>.htm, the
// problems page and the fixed pages of the web.
