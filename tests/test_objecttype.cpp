// OBJECT-TYPE refusals, read through the real tokenizer and readers: one
// message each and the trace record closed.
#include <algorithm>

#include "test_util.h"

namespace {

// Parses the clauses of object "o" from `text`, capturing stdout.
struct ObjectRun : MibFixture {
    node* np = nullptr;
    std::string out;
    explicit ObjectRun(const std::string& text) : MibFixture(text + " ") {
        char name[] = "o";
        CAPTURE_STDOUT(out, np = mib.ParseObjectType(name));
    }
};

TEST(ObjectType, FailuresPrintOneMessageAndCloseTheTrace) {
    const std::string head = "SYNTAX Later MAX-ACCESS read-only STATUS current ";
    const std::string lastToken = "\nLine: 1: Error defining OBJECT-TYPE: last token ACCESS";
    struct { std::string text, message; bool withLine; } cases[] = {
        {"ACCESS read-only", "Error defining OBJECT-TYPE: Expected 'SYNTAX', found ACCESS", true},
        {"SYNTAX ACCESS", "Error defining SYNTAX: Invalid keyword ACCESS" + lastToken, true},
        {"SYNTAX Later STATUS current", "Error defining OBJECT-TYPE: Expected 'MAX-ACCESS', found STATUS", false},
        {"SYNTAX Later ACCESS read-only ::=", "Error defining OBJECT-TYPE: Expected 'STATUS', found ::=", false},
        {"SYNTAX Later ACCESS read-only STATUS bogus", "Error defining OBJECT-TYPE: Invalid STATUS type bogus", false},
        {head + "AUGMENTS { a, b } ::=", "Error defining AUGMENTS: More than one value specified", false},
        {head + "AUGMENTS { } ::=", "Error defining OBJECT-TYPE: Expected '::=', found ::=", false},
        {head + "AUGMENTS ::=", "Error defining OBJECT-TYPE: Expected '::=', found ::=", false},
        {head + "DEFVAL 5 ::=", "Error defining DEFVAL: No default value specified", false},
    };
    for (const auto& c : cases) {
        ObjectRun r(c.text);
        EXPECT_EQ(r.np, nullptr) << c.text;
        EXPECT_EQ(r.out, "\nLine: 1: " + c.message) << c.text;
        std::string trace = r.TraceText();
        const std::string end = c.withLine ? "#-END_OBJECTNAME: o\nLINE: 1\n" : "#-END_OBJECTNAME: o\n\n";
        EXPECT_EQ(trace.substr(trace.size() - std::min(trace.size(), end.size())), end) << c.text;
    }
}

}  // namespace
