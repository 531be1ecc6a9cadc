// What the batch reads from the compiler's output and writes to its report.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "outcome.h"

namespace {

// Import files are reported under the path of the file behind the link, and
// line 55 of the SMI module is its macro definition.
batch::CompilerOutput Read(const std::string& text) {
    return batch::ReadCompilerOutput(
        text, [](const std::string& link) { return "tree/" + link.substr(0, link.size() - 4); },
        [](const std::string& file, int line, const std::string& symbol) {
            return file == "tree/SNMPv2-SMI" && line == 55 && symbol == "MODULE-IDENTITY";
        });
}

const char kBanner[] = "\nQuorvane Mib Compiler, Version 1.0\nCopyright (c) Quorvane\n\nCompiling X-MIB.mib\n";

TEST(BatchOutcome, SuccessWithImportsThatStoppedOrWereMissing) {
    auto out = Read(std::string(kBanner) +
                    "\nProcessing import file: SNMPv2-SMI.mib"
                    "\nLine: 55: Error defining object: expected a label, found reserved symbol MODULE-IDENTITY"
                    "\nProcessing import file: VENDOR-SMI.mib"
                    "\nLine: 3: Warning: unknown keyword FOO ignored"
                    "\nLine: 887: Error defining MIB Module: Missing keyword END"
                    "\nLine: 900: Error that follows the stop"
                    "\nFailed to open import file: nope-mib.mib"
                    "\ncould not compile module NOPE-MIB\n"
                    "\nMib file compilation completed with warnings");
    EXPECT_FALSE(out.success);
    EXPECT_TRUE(out.withWarnings);
    EXPECT_EQ(out.firstDiagnostic, "");
    EXPECT_THAT(out.failedImports, ::testing::ElementsAre("NOPE-MIB"));
    // The macro stop of the SMI module and the warning are not listed.
    EXPECT_EQ(batch::ImportsColumn(out.imports),
              "VENDOR-SMI: Line: 887: Error defining MIB Module: Missing keyword END (tree/VENDOR-SMI); "
              "NOPE-MIB: not found");
}

TEST(BatchOutcome, FailureNamesTheFirstDiagnosticOfTheModule) {
    auto out = Read(std::string(kBanner) +
                    "\nLine: 7: Warning: token longer than allowed maximum, truncating"
                    "\nLine: 9: Error defining object: found SEQUENCE"
                    "\nMib compilation failed.\n");
    EXPECT_EQ(out.firstDiagnostic, "Line: 7: Warning: token longer than allowed maximum, truncating");
    EXPECT_FALSE(out.success);
    // The driver's own messages count as diagnostics too.
    EXPECT_EQ(Read(std::string(kBanner) + "\ncould not open X-MIB.imports for output\n").firstDiagnostic,
              "could not open X-MIB.imports for output");
    // Output without the "Compiling" line is nothing the compiler printed.
    EXPECT_EQ(Read("Line: 1: garbage\n").firstDiagnostic, "");
}

TEST(BatchOutcome, MacroDefinitionLine) {
    const std::string text = "A\nOBJECT-TYPE MACRO ::=\n  MODULE-IDENTITY\tMACRO\nOBJECT-TYPEX MACRO\nx OBJECT-TYPE\n";
    EXPECT_TRUE(batch::IsMacroDefinition(text, 2, "OBJECT-TYPE"));
    EXPECT_TRUE(batch::IsMacroDefinition(text, 3, "MODULE-IDENTITY"));
    EXPECT_FALSE(batch::IsMacroDefinition(text, 4, "OBJECT-TYPE"));
    EXPECT_FALSE(batch::IsMacroDefinition(text, 5, "OBJECT-TYPE"));
    EXPECT_FALSE(batch::IsMacroDefinition(text, 9, "OBJECT-TYPE"));
    EXPECT_FALSE(batch::IsMacroDefinition(text, 0, "OBJECT-TYPE"));
}

TEST(BatchOutcome, TrapCountAndFields) {
    EXPECT_EQ(batch::CountTraps("a TRAP-TYPE\n\tENTERPRISE x\n-- b TRAP-TYPE\nc TRAP-TYPE\n\td TRAP-TYPE\nTRAP-TYPE\n"),
              2);
    EXPECT_EQ(batch::CountTraps("last TRAP-TYPE"), 1);
    EXPECT_EQ(batch::Field("a\tb\nc\x01"), "a b c ");
    std::string longText(1000, 'x');
    EXPECT_EQ(batch::Field(longText).size(), 403u);
}

}  // namespace

#include "runner.h"

namespace {

TEST(BatchOutcome, ResultNamedAfterTheCompilersBaseName) {
    EXPECT_EQ(batch::CompilerBaseName("IF-MIB.mib"), "IF-MIB");
    EXPECT_EQ(batch::CompilerBaseName("A.v2.mib"), "A");
    EXPECT_EQ(batch::CompilerBaseName("..hidden.mib"), "..hidden");
    EXPECT_EQ(batch::CompilerBaseName("..."), "...");
}

}  // namespace
