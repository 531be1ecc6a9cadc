// Conversion of decimal, 'xx'H and 'xx'B literals into 32-bit signed values.
// The converters are written by hand so that no input, however long or
// malformed, can overflow or reach undefined behaviour.
#include "parse.h"

#include <cstring>

namespace {

constexpr size_t HEX_MAX_DIGITS = 8;
constexpr size_t BIN_MAX_DIGITS = 32;

bool IsSpaceChar(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Drops leading zeros while more than `maxDigits` characters remain.
const char* TrimLeadingZeros(const char* s, size_t maxDigits) {
    size_t len = strlen(s);
    while (len > maxDigits && *s == '0') {
        ++s;
        --len;
    }
    return s;
}

}  // namespace

int ParseEnumValue(char* token, int32_t* p_val) {
    if (token == nullptr) return 0;
    if (token[0] != '\'') return parseDecVal(token, p_val);

    char* close = strchr(token + 1, '\'');
    if (close == nullptr) return 0;
    const char suffix = close[1];
    // The digits are handed over as a terminated text of their own; the
    // closing quote is put back so that the token is unchanged on return.
    *close = '\0';
    int ok = 0;
    if (suffix == 'H' || suffix == 'h')
        ok = parseHexVal(token + 1, p_val);
    else if (suffix == 'B' || suffix == 'b')
        ok = parseBinVal(token + 1, p_val);
    *close = '\'';
    return ok;
}

int parseDecVal(const char* s, int32_t* pv) {
    if (s == nullptr) return 0;
    while (IsSpaceChar(*s)) ++s;
    bool negative = false;
    if (*s == '+' || *s == '-') {
        negative = (*s == '-');
        ++s;
    }
    if (*s < '0' || *s > '9') return 0;

    // A value outside the 32-bit range is not rejected.  It is read as a
    // 64-bit value, saturated at the ends of that range as the C library
    // does, and its low 32 bits are stored: 4294967295 gives -1, as
    // 'FFFFFFFF'H does, and anything above 2^63 - 1 gives -1 as well.
    constexpr uint64_t kMaxMagnitude = UINT64_C(1) << 63;  // |INT64_MIN|
    uint64_t magnitude = 0;
    for (; *s >= '0' && *s <= '9'; ++s) {
        const uint64_t digit = static_cast<uint64_t>(*s - '0');
        // Past 2^63 the magnitude stays at 2^63 + 1, which saturates either way.
        magnitude = magnitude > (kMaxMagnitude - digit) / 10 ? kMaxMagnitude + 1 : magnitude * 10 + digit;
    }
    uint64_t bits;
    if (negative)
        bits = magnitude >= kMaxMagnitude ? kMaxMagnitude : (~magnitude + 1);  // INT64_MIN or -magnitude
    else
        bits = magnitude >= kMaxMagnitude ? kMaxMagnitude - 1 : magnitude;    // INT64_MAX or magnitude
    *pv = static_cast<int32_t>(static_cast<uint32_t>(bits));
    // The number is stored even when something follows it; only a number
    // that ends the text is a success.
    return *s == '\0' ? 1 : 0;
}

int parseHexVal(const char* s, int32_t* pv) {
    if (s == nullptr) return 0;
    if (s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) s += 2;
    s = TrimLeadingZeros(s, HEX_MAX_DIGITS);
    const size_t len = strlen(s);
    if (len == 0 || len > HEX_MAX_DIGITS) return 0;
    if (HexDigit(*s) < 0) return 0;

    uint32_t value = 0;
    for (; HexDigit(*s) >= 0; ++s) value = (value << 4) | static_cast<uint32_t>(HexDigit(*s));
    // Bit pattern: 'FFFFFFFF'H is -1.
    *pv = static_cast<int32_t>(value);
    return *s == '\0' ? 1 : 0;
}

int parseBinVal(const char* s, int32_t* pv) {
    if (s == nullptr) return 0;
    s = TrimLeadingZeros(s, BIN_MAX_DIGITS);
    if (strlen(s) > BIN_MAX_DIGITS) return 0;

    uint32_t value = 0;
    for (; *s != '\0'; ++s) {
        if (*s != '0' && *s != '1') return 0;
        value = (value << 1) | static_cast<uint32_t>(*s - '0');
    }
    *pv = static_cast<int32_t>(value);
    return 1;
}
