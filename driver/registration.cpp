// Document registration (still to come).
//
// Here the web builder will walk the documents of the web model from last
// to first once the configuration is read: give each its files in xs/<n>
// (copies, picture folders, the marked snapshot), keep the web profile of
// document versions ("ndocs" in the dated profile folder), copy the
// configuration to "confMaster" of the installation, register the cards of
// each document, and run link creation for each, once or twice when a code
// root exchanges index/to_docu and index/to_code with the code web.
