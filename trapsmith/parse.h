// Conversion of the numeric literals written in MIB texts: decimal (5, -1),
// hexadecimal strings ('0A'H) and binary strings ('1010'B), each into a 32-bit
// signed integer.  Every function returns non-zero on success and 0 on
// failure; they keep no state and print nothing.
#ifndef TRAPSMITH_PARSE_H
#define TRAPSMITH_PARSE_H

#include <cstdint>

// Any of the three notations; the token is unchanged on return.
int ParseEnumValue(char* token, int32_t* p_val);
// Decimal with optional leading white space and sign.  A number read at the
// start is stored even when other characters follow and the result is failure.
int parseDecVal(const char* s, int32_t* pv);
// The digits of a 'xx'H string (an optional 0x prefix is skipped).
int parseHexVal(const char* s, int32_t* pv);
// The digits of a 'xx'B string.
int parseBinVal(const char* s, int32_t* pv);

#endif  // TRAPSMITH_PARSE_H
