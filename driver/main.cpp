#include "driver/brelmot.h"
int main(int argc, char** argv) { return brelmot_main(argc, argv); }
