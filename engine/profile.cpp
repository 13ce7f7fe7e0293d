// Web profile and change reports (still to come).
//
// Here the engine will record, per document and section, the text size in
// the dated profile of the run, keep the last version of each section in
// "secLU", and compare profiles of different dates into change reports and
// document lists.
