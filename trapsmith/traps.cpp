// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
node* CMib2Trap::ParseTrapType(char*, node*) { return nullptr; }
node* CMib2Trap::ParseNotificationType(char*) { return nullptr; }
int CMib2Trap::FixTrapTypeNodes(node**) { return 0; }
