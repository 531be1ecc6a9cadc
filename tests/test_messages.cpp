// Message catalog: the slots, and the "Line: N: " prefix DisplayMsg puts
// ahead of every message.
#include <cstdlib>
#include <string>

#include "mib2msg.h"
#include "test_util.h"

namespace {

std::string Shown(CMib2Trap& mib, int line, unsigned int id, const char* arg = nullptr) {
    std::string out;
    mib.m_nLine = line;
    CAPTURE_STDOUT(out, mib.DisplayMsg(id, arg));
    return out;
}

}  // namespace

TEST(LoadString, EverySlotIsACopy) {
    for (unsigned int id = MSG_FIRST_ID; id <= MSG_LAST_ID; ++id) {
        char* text = CMib2Trap::LoadString(id);
        ASSERT_NE(text, nullptr) << id;
        EXPECT_NE(text, messageStrings[id - MSG_FIRST_ID]) << id;
        EXPECT_STREQ(text, messageStrings[id - MSG_FIRST_ID]) << id;
        free(text);
    }
    EXPECT_EQ(CMib2Trap::LoadString(100), nullptr);
    EXPECT_EQ(CMib2Trap::LoadString(231), nullptr);
}

TEST(DisplayMsg, PrefixesTheLineAndFillsPlaceholdersVerbatim) {
    CMib2Trap mib;
    EXPECT_EQ(Shown(mib, 42, 123), "\nLine: 42: Warning: token longer than allowed maximum, truncating");
    // A '%' in an argument is text, not a further placeholder.
    EXPECT_EQ(Shown(mib, 9, 115, "100%s%d%n"), "\nLine: 9: Error defining object: found 100%s%d%n");
    // Longer than any fixed message buffer: printed whole.
    std::string big(5000, 'x');
    EXPECT_EQ(Shown(mib, 1, 128, big.c_str()), "\nLine: 1: Error: Quoted text too long at " + big);
    EXPECT_EQ(Shown(mib, 1, 300, "x"), "");
}
