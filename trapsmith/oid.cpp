// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
int CMib2Trap::GetOid(subid*, int) { return 0; }
node* CMib2Trap::ParseObjectId(char*) { return nullptr; }
