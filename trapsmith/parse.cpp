// Placeholder: replaced by the real implementation.
#include "parse.h"
int ParseEnumValue(char*, int32_t*) { return 0; }
int parseDecVal(const char*, int32_t*) { return 0; }
int parseHexVal(const char*, int32_t*) { return 0; }
int parseBinVal(const char*, int32_t*) { return 0; }
