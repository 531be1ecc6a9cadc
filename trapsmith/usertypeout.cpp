// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
void ResetUserTypeWriterState() {}
bool CMib2Trap::PrintUserTypes(FILE*) { return true; }
