// Hotspots (still to come).
//
// Here the engine will find the definitions of typed names (C_Billing,
// D_( Some Title ), $PORT, ...) in a first pass over all pages and turn
// every use into a link in a second; what has no definition gets the hint
// "[?]" and a line on the problems page.
