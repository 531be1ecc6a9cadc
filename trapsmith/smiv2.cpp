// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
node* CMib2Trap::ParseModuleIdentity(char*) { return nullptr; }
node* CMib2Trap::ParseObjectIdentity(char*) { return nullptr; }
node* CMib2Trap::ParseObjectGroup(char*) { return nullptr; }
node* CMib2Trap::ParseNotificationGroup(char*) { return nullptr; }
node* CMib2Trap::ParseModuleCompliance(char*) { return nullptr; }
node* CMib2Trap::ParseAgentCapabilities(char*) { return nullptr; }
