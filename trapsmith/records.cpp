// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
node* CMib2Trap::CreateNode(int) { return nullptr; }
void CMib2Trap::GenericZeroMemory(void*, size_t) {}
void CMib2Trap::FreeNode(node*) {}
void CMib2Trap::FreeNodeList(node*) {}
void CMib2Trap::FreeModList(ModListNode*) {}
void CMib2Trap::FreeEnumList(MibEnumList*) {}
void CMib2Trap::FreeBracedList(tagBracedList*) {}
void CMib2Trap::FreeKeywordList(keyword*) {}
