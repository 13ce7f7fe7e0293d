// Glossary (still to come).
//
// Here the engine will turn the two-column glossary tables of the documents
// into the pages xs/glossar<n>.htm and link every use of a term to its
// entry.
