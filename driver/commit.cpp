// Web assembly and commit (still to come).
//
// Here the web builder will write the picture and presentation pages, the
// portal page and the Docu-UML-Code page, publish each code tree into
// xs/app<i>/j2h, move xs to the web position xs_<name>, run the link check
// over it, and print the closing report of the run.
