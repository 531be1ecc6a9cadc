// Conversion of decimal, 'xx'H and 'xx'B literals.
#include <cstdio>

#include <gtest/gtest.h>

#include "parse.h"

TEST(Numeric, ValueTable) {
    constexpr int32_t kNone = 12345;  // nothing may be stored
    const struct {
        const char* token;
        bool ok;
        int32_t value;
    } cases[] = {
        {"5", true, 5}, {"+5", true, 5}, {"-5", true, -5}, {" \t007", true, 7}, {"5 ", false, 5},
        {"5x", false, 5}, {"6))", false, 6}, {"", false, kNone}, {"-", false, kNone},
        {"+-5", false, kNone}, {"2147483647", true, INT32_MAX}, {"-2147483648", true, INT32_MIN},
        // Outside the 32-bit range: accepted, low 32 bits of the value
        // saturated to the 64-bit range.
        {"2147483648", true, INT32_MIN}, {"-2147483649", true, INT32_MAX},
        {"4294967295", true, -1}, {"-4294967295", true, 1}, {"4294967296", true, 0},
        {"-4294967296", true, 0}, {"4294967301x", false, 5},
        {"9223372036854775807", true, -1}, {"9223372036854775808", true, -1},
        {"-9223372036854775808", true, 0}, {"-9223372036854775809", true, 0},
        {"99999999999999999999", true, -1}, {"-99999999999999999999", true, 0},
        {"184467440737095516161844674407370955161", true, -1},

        {"'0A'H", true, 10}, {"'0a'h", true, 10}, {"'0x0A'H", true, 10}, {"'0A'Hxyz", true, 10},
        {"'0000000000FF'H", true, 255}, {"'FFFFFFFF'H", true, -1}, {"'1FFFFFFFF'H", false, kNone},
        {"''H", false, kNone}, {"'0x'H", false, kNone}, {"'0G'H", false, 0},
        {"' 1'H", false, kNone}, {"'-1'H", false, kNone},

        {"'1010'B", true, 10}, {"'1010'b", true, 10}, {"''B", true, 0}, {"'102'B", false, kNone},
        {"'011111111111111111111111111111111'B", true, -1},  // 33 digits, the leading 0 dropped
        {"'111111111111111111111111111111111'B", false, kNone},

        {"'0A'", false, kNone}, {"'0A'X", false, kNone}, {"'0A", false, kNone},
    };
    for (const auto& c : cases) {
        char token[64];
        snprintf(token, sizeof token, "%s", c.token);
        int32_t v = kNone;
        EXPECT_EQ(ParseEnumValue(token, &v) != 0, c.ok) << c.token;
        EXPECT_EQ(v, c.value) << c.token;
        EXPECT_STREQ(token, c.token);  // the token is unchanged on return
    }
}

// Decimal texts give what the C library's "%d" conversion stores, in and out
// of the 32-bit range.
TEST(Numeric, DecimalMatchesScanf) {
    const char* texts[] = {"0", "-0", "+17", "2147483647", "2147483648", "-2147483648", "-2147483649",
                           "3000000000", "4294967295", "4294967296", "12345678901", "-12345678901",
                           "9223372036854775806", "9223372036854775807", "9223372036854775808",
                           "-9223372036854775807", "-9223372036854775808", "-9223372036854775809",
                           "18446744073709551615", "18446744073709551616", "99999999999999999999",
                           "-99999999999999999999", "000000000000000000000000004294967295"};
    for (const char* text : texts) {
        int expected = 0;
        ASSERT_EQ(sscanf(text, "%d", &expected), 1) << text;
        int32_t v = 0;
        EXPECT_EQ(parseDecVal(text, &v), 1) << text;
        EXPECT_EQ(v, expected) << text;
    }
}
