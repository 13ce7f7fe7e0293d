// Topic folders and cross-web search (still to come).
//
// Here the engine will file the titles of the web under the topics of
// "iconf.txt" (the logical folders xs/Lo_fo<web>.htm, xs/fo_<folder>.htm)
// and search the titles of a group of webs (xs/s.htm, xs/fo<n>.htm), from
// the topic records of the web model.
