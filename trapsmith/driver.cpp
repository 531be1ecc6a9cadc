// Placeholder: replaced by the real implementation.
#include "driver.h"
int TrapsmithMain(int, char**) { return 0; }
void cleanup(char*) {}
void RotateBackups(const char*) {}
bool CopyFileBlocks(FILE*, FILE*) { return false; }
