// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
void ResetTokenizerState() {}
int CMib2Trap::GetToken(FILE*, char* szToken, int) { szToken[0] = 0; return TOK_EOF; }
char* CMib2Trap::MibGetModFromLine(const char*, const char*) { return nullptr; }
