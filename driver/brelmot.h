// The entry of the console program: prefixes, today's date, the usage text
// and the dispatch of the command words.
#pragma once

// Runs one command line; returns the exit status.
int brelmot_main(int argc, char** argv);

// Month names of the date line of the pages, index 1 to 12.
extern const char* const month_names[13];
// "%Y.%m.%d" of the run's start, and the banner "2011, Sep 20".
extern char today[200];
extern char date_banner[200];

// Commands whose bodies belong to the entry.
int clean_publish_folders(const char* dir);
int prune_configuration(const char* conf);
