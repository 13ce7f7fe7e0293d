// Page menus and headers (still to come).
//
// Here the engine will write the two blocks every generated page begins
// with: the top line with its navigation and the web's menu, and the
// fixed style sheets that give them a face (xs/j2h.css among them).
