// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
char* CMib2Trap::LoadString(unsigned int) { return nullptr; }
void CMib2Trap::DisplayMsg(unsigned int, ...) {}
