// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
importFilesList* importFiles = nullptr;
void ResetImportFiles() {}
ModListNode* CMib2Trap::Parse(int) { return nullptr; }
bool CMib2Trap::ParseDefinitions(char*) { return false; }
void CMib2Trap::ResolveObjTypeRefs(MibTokenList*, MibTokenList*) {}
