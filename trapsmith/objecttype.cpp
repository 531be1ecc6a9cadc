// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
node* CMib2Trap::ParseObjectType(char*) { return nullptr; }
