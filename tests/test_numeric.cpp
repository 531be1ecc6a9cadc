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
        // Outside the 32-bit range: failure, nothing stored.
        {"2147483648", false, kNone}, {"-2147483649", false, kNone},
        {"99999999999999999999999", false, kNone},

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
