// PrintUserTypes: the text of each base type and the once-per-process rule.
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
    static void Define(CMib2Trap& mib, const char* name, int type, const char* subtype = nullptr,
                       MibEnumList* items = nullptr) {
        MibUserType* utp = CMib2Trap::CreateUserTypeElement(name, type, items, nullptr, subtype);
        ASSERT_TRUE(mib.AppendUserTypeOnTokenList(utp, &mib.m_pUserTypeList));
    }
    FILE* out = std::tmpfile();
};

TEST_F(UserTypeOut, WritesEachBaseTypeAndEmptiesTheList) {
    CMib2Trap mib;
    MibEnumList down{nullptr, -2, const_cast<char*>("down")}, up{&down, 1, const_cast<char*>("up")};
    Define(mib, "Status", TOK_INTEGER, "(1..2)", &up);  // the items win over the subtype
    Define(mib, "Small", TOK_INTEGER, "(0..7)");
    Define(mib, "Oid", TOK_OBJECT_IDENTIFIER);
    Define(mib, "Gauge32Based", TOK_GAUGE, "(0..9)");  // written without its subtype
    Define(mib, "Text", TOK_DISPLAYSTRING, "(SIZE(0..32))");
    Define(mib, "Flags", TOK_BITS, nullptr, &down);
    Define(mib, "Mask", TOK_BITS, "(SIZE(2))");
    Define(mib, "Addr", TOK_TADDRESS, "(SIZE(1..255))");
    Define(mib, "Row", TOK_ROWSTATUS);
    Define(mib, "Big", TOK_COUNTER64);
    Define(mib, "Unsigned", TOK_UNSIGNED32, "(0..5)");

    EXPECT_TRUE(mib.PrintUserTypes(out));
    EXPECT_EQ(nullptr, mib.m_pUserTypeList);
    EXPECT_TRUE(mib.PrintUserTypes(out));  // nothing left to write
    EXPECT_EQ("\nStatus ::=\n\tINTEGER {\n\tup(1),\n\tdown(-2)\n\t}\n"
              "\nSmall ::=\n\tINTEGER (0..7)\n"
              "\nOid ::=\n\tOBJECT IDENTIFIER\n"
              "\nGauge32Based ::=\n\tGauge\n"
              "\nText ::=\n\tDisplayString (SIZE(0..32))\n"
              "\nFlags ::=\n\tOCTET STRING {\n\tdown(-2)\n\t}\n"
              "\nMask ::=\n\tOCTET STRING (SIZE(2))\n"
              "\nAddr ::=\n\tTAddress (SIZE(1..255))\n"
              "\nRow ::=\n\tRowStatus\n"
              "\nBig ::=\n\tOCTET STRING\n"
              "\nUnsigned ::=\n\tOCTET STRING\n",
              ReadStream(out));
}

TEST_F(UserTypeOut, WritesEachNameOncePerProcess) {
    CMib2Trap first, second;
    Define(first, "DisplayString", TOK_DISPLAYSTRING, "(SIZE(0..255))");
    Define(second, "DisplayString", TOK_OCTET_STRING);  // released, not written
    Define(second, "Other", TOK_TIMETICKS);
    first.PrintUserTypes(out);
    second.PrintUserTypes(out);
    EXPECT_EQ(nullptr, second.m_pUserTypeList);
    EXPECT_EQ("\nDisplayString ::=\n\tDisplayString (SIZE(0..255))\n\nOther ::=\n\tTimeTicks\n", ReadStream(out));
}

}  // namespace
