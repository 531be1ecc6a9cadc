// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
void CMib2Trap::CreateTokenListHead(MibTokenList**) {}
MibTokenList* CMib2Trap::InsertTokenIntoQueue(char*, MibTokenList*) { return nullptr; }
void CMib2Trap::Insque(MibTokenList*, MibTokenList*) {}
void CMib2Trap::Remque(MibTokenList*) {}
void CMib2Trap::FreeTokenElement(MibTokenList*) {}
void CMib2Trap::FreeTokenList(MibTokenList*) {}
void CMib2Trap::FreeObjDefnOnTokenList(MibTokenList*) {}
