// The batch's scanner of module headers and FROM clauses.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

batch::ScanResult Scan(const std::string& text) { return batch::ScanModules(text.data(), text.size()); }

TEST(BatchScan, FindsEveryModuleAndItsImportsInFileOrder) {
    auto r = Scan(
        "FIRST-MIB DEFINITIONS ::= BEGIN\n"
        "IMPORTS a, b FROM SNMPv2-SMI\n"
        "        c FROM SNMPv2-TC;\n"
        "x OBJECT IDENTIFIER ::= { a 1 }\n"
        "END\n"
        "SECOND-MIB\n  DEFINITIONS\n  ::=\n  BEGIN\n"
        "IMPORTS d FROM SNMPv2-SMI e FROM OTHER-MIB;\n"
        "END\n");
    EXPECT_THAT(r.modules, ElementsAre("FIRST-MIB", "SECOND-MIB"));
    // Each module named once, in the order first met.
    EXPECT_THAT(r.imports, ElementsAre("SNMPv2-SMI", "SNMPv2-TC", "OTHER-MIB"));
}

TEST(BatchScan, CommentsAndQuotedTextsHideHeadersAndClauses) {
    auto r = Scan(
        "-- OLD-MIB DEFINITIONS ::= BEGIN\n"
        "REAL-MIB DEFINITIONS ::= BEGIN -- a comment -- IMPORTS x FROM INLINE-MIB;\n"
        "y OBJECT-TYPE DESCRIPTION \"FAKE-MIB DEFINITIONS ::= BEGIN\n"
        " IMPORTS z FROM QUOTED-MIB;\" ::= { x 1 }\n"
        "END\n");
    EXPECT_THAT(r.modules, ElementsAre("REAL-MIB"));
    // The second "--" closed the comment, so the clause after it counts.
    EXPECT_THAT(r.imports, ElementsAre("INLINE-MIB"));
}

TEST(BatchScan, HeaderForms) {
    // A braced module identifier between the name and DEFINITIONS, written
    // apart or joined to the name, and "::=BEGIN" as one word.
    EXPECT_THAT(Scan("A-MIB { iso 3 6 } DEFINITIONS ::= BEGIN END").modules, ElementsAre("A-MIB"));
    EXPECT_THAT(Scan("B-MIB{iso 3} DEFINITIONS ::= BEGIN END").modules, ElementsAre("B-MIB"));
    EXPECT_THAT(Scan("C-MIB DEFINITIONS ::=BEGIN END").modules, ElementsAre("C-MIB"));
    // Not headers: no BEGIN, a name that cannot be a file name, a FROM
    // clause outside a module.
    EXPECT_THAT(Scan("D-MIB DEFINITIONS ::= START END").modules, IsEmpty());
    EXPECT_THAT(Scan("../x DEFINITIONS ::= BEGIN END").modules, IsEmpty());
    EXPECT_THAT(Scan("IMPORTS a FROM X-MIB;").imports, IsEmpty());
}

TEST(BatchScan, FromClauseEdges) {
    // The separator after the module name goes; a clause with no ";" runs to
    // the end of the file; a word glued to "--" ends before it.
    auto r = Scan("M DEFINITIONS ::= BEGIN IMPORTS a FROM X-MIB, b FROM Y-MIB--c\n FROM Z-MIB");
    EXPECT_THAT(r.imports, ElementsAre("X-MIB", "Y-MIB", "Z-MIB"));
    EXPECT_THAT(Scan("M DEFINITIONS ::= BEGIN IMPORTS a FROM").imports, IsEmpty());
}

TEST(BatchScan, TextOrBinary) {
    EXPECT_TRUE(batch::LooksLikeText("A-MIB DEFINITIONS\r\n\t::= BEGIN\f", 29));
    std::string latin = "DESCRIPTION \"caf\xe9 \xc3\xa9\"";
    EXPECT_TRUE(batch::LooksLikeText(latin.data(), latin.size()));
    EXPECT_FALSE(batch::LooksLikeText("abc\0def", 7));
    std::string controls(100, 'a');
    for (int i = 0; i < 10; ++i) controls[static_cast<size_t>(i * 10)] = '\x01';
    EXPECT_FALSE(batch::LooksLikeText(controls.data(), controls.size()));
    controls.assign(100, 'a');
    controls[50] = '\x1b';  // one stray escape in a text
    EXPECT_TRUE(batch::LooksLikeText(controls.data(), controls.size()));
}

TEST(BatchScan, UsableModuleNames) {
    for (const char* name : {"IF-MIB", "x", "RFC1155-SMI", ".hidden"}) EXPECT_TRUE(batch::UsableModuleName(name)) << name;
    for (const char* name : {"", ".", "..", "a/b", "/etc/passwd", "a\nb"}) EXPECT_FALSE(batch::UsableModuleName(name)) << name;
}

}  // namespace
