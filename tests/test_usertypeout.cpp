// PrintUserTypes: the text of the base types no end-to-end case defines, and
// the emptied list.
#include <string>

#include "test_util.h"

namespace {

class UserTypeOut : public ::testing::Test {
protected:
    void SetUp() override { ResetUserTypeWriterState(); }
    void TearDown() override {
        fclose(out);
        ResetUserTypeWriterState();
    }
    // Adds a type to the compiler's list as the type parsers do.
    static void Define(CMib2Trap& mib, const char* name, int type, const char* subtype = nullptr) {
        MibUserType* utp = CMib2Trap::CreateUserTypeElement(name, type, nullptr, nullptr, subtype);
        ASSERT_TRUE(mib.AppendUserTypeOnTokenList(utp, &mib.m_pUserTypeList));
    }
    FILE* out = std::tmpfile();
};

TEST_F(UserTypeOut, WritesTextualConventionsAndSizedBitsAndEmptiesTheList) {
    CMib2Trap mib;
    Define(mib, "Mask", TOK_BITS, "(SIZE(2))");
    Define(mib, "Addr", TOK_TADDRESS, "(SIZE(1..255))");
    Define(mib, "Row", TOK_ROWSTATUS);
    EXPECT_TRUE(mib.PrintUserTypes(out));
    EXPECT_EQ(nullptr, mib.m_pUserTypeList);
    EXPECT_TRUE(mib.PrintUserTypes(out));  // nothing left to write
    EXPECT_EQ("\nMask ::=\n\tOCTET STRING (SIZE(2))\n\nAddr ::=\n\tTAddress (SIZE(1..255))\n\nRow ::=\n\tRowStatus\n",
              ReadStream(out));
}

}  // namespace
