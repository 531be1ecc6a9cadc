// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
tok g_tokens[NUM_KEYWORDS + 1] = {};
int32_t KeywordHash(const char*) { return 0; }
void CMib2Trap::HashInit() {}
