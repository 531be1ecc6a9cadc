// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
bool CMib2Trap::GetSyntax(char*, int*, node*) { return false; }
int CMib2Trap::ParseEnums(char*, MibEnumList**) { return 0; }
