// Link creation (still to come).
//
// Here the web builder will resolve the references of each document against
// the names that cards define and the links of the configuration
// (href_creator), in a first pass that writes index/to_docu for the code
// web and a second whose output goes to the engine's section pass.
