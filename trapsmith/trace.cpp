// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
void CMib2Trap::Trace(const char*, ...) {}
