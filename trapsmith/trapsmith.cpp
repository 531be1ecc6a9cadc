// trapsmith: compiles one SNMP MIB module into a condensed SMIv1 ".cfg" file.
#include "driver.h"

int main(int argc, char** argv) { return TrapsmithMain(argc, argv); }
