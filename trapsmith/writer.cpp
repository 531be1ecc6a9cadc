// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
char* szMibModuleName = nullptr;
void ResetPrintMIBState() {}
bool CMib2Trap::PrintMIB(ModListNode*, FILE*) { return true; }
void CMib2Trap::AddToQueue(std::vector<node*>*, std::vector<node*>*, node*) {}
