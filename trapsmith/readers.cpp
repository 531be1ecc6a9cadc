// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
char* CMib2Trap::GetQuotedText(FILE*, char*) { return nullptr; }
bool CMib2Trap::SkipRefText(char*) { return false; }
tagBracedList* CMib2Trap::GetBracedList(FILE*, int, int* type, char*) { *type = 0; return nullptr; }
char* CMib2Trap::GetSubtypeString(FILE*, char*, int* type, node*) { *type = 0; return nullptr; }
