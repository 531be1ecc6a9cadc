// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
void ResetImportWriterState() {}
bool CMib2Trap::ProcessImports(importFilesList*, FILE*) { return false; }
NameValueList* CMib2Trap::ResolveParent(node*, const char*, NameValueList* list) { return list; }
NameValueList* NameValueList::put(NameValueList* list, const char*, const char*, int) { return list; }
void NameValueList::dump(FILE*) {}
void NameValueList::FreeList(NameValueList*) {}
