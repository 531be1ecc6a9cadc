// The readers of quoted texts, REFERENCE texts, braced lists and subtypes.
#include "test_util.h"

namespace {

std::string Msg(int line, const std::string& text) {
    return "\nLine: " + std::to_string(line) + ": " + text;
}

// One reader call on `text`, summed up as "result|code:word|line" followed by
// what it printed; code and word are those of the next word the caller reads.
// `entry` is the code of the clause word that introduces a braced list.
enum Reader { QUOTED, REFERENCE, LIST, SUBTYPE };
std::string Read(Reader reader, const std::string& text, int entry = TOK_INDEX) {
    MibFixture f(text);
    FILE* in = f.mib.m_pInFile;
    char word[TOKEN_BUF] = "";
    int code = entry;
    std::string result, out;
    node np{};
    CAPTURE_STDOUT(out, {
        char* s = nullptr;
        if (reader == QUOTED) s = f.mib.GetQuotedText(in, word);
        if (reader == SUBTYPE) s = f.mib.GetSubtypeString(in, word, &code, &np);
        if (reader == QUOTED || reader == SUBTYPE) result = s ? s : "null";
        f.mib.DropText(s);
        if (reader == REFERENCE) result = f.mib.SkipRefText(word) ? "true" : "false";
        if (reader == LIST) {
            tagBracedList* list = f.mib.GetBracedList(in, GT_COMMA, &code, word);
            if (!list) result = "null";
            for (tagBracedList* p = list; p; p = p->pNext)
                result += "[" + std::string(p->szString) + "]";
        }
    });
    if (np.fixed_len) result += "=" + std::to_string(np.fixed_len);
    if (reader == QUOTED || reader == REFERENCE) code = f.mib.GetToken(in, word, 0);
    return result + "|" + std::to_string(code) + ":" + word + "|" + std::to_string(f.mib.m_nLine) +
           out;
}

}  // namespace

TEST(Readers, QuotedText) {
    // Continuation lines lose their indentation; blank lines stay.
    EXPECT_EQ(Read(QUOTED, "\"First line\n      second\n\n   last\" END "), "First line\nsecond\n\nlast|36:END|4");
    // A one-word text drops what is glued after it; the "}" that ended that
    // word is still the next word.
    EXPECT_EQ(Read(QUOTED, "\"one\"x} "), "one|26:}|1");
    // Read on past the first word, the character that ended it is taken by
    // the text: a brace does not come back, a newline is counted once.
    EXPECT_EQ(Read(QUOTED, "\"a{b c\" END "), "a b c|36:END|1");
    EXPECT_EQ(Read(QUOTED, "\"x\ny\" END "), "x y|36:END|2");
    // Cut at 4,096 characters and skipped to the closing quote; exactly
    // 4,096 characters are kept whole.  Byte 255 is an ordinary character.
    EXPECT_EQ(Read(QUOTED, "\"a " + std::string(5000, 'b') + "\nc\" END "),
              "a " + std::string(4094, 'b') + "|36:END|2");
    EXPECT_EQ(Read(QUOTED, "\"a " + std::string(4094, '\xff') + "\" END "),
              "a " + std::string(4094, '\xff') + "|36:END|1");
    EXPECT_EQ(Read(QUOTED, "\"never\nclosed"),
              "null|0:|2" + Msg(2, "Error defining quoted text: missing closing quote"));
}

TEST(Readers, ReferenceText) {
    EXPECT_EQ(Read(REFERENCE, "\"one\" x "), "true|1:x|1");
    EXPECT_EQ(Read(REFERENCE, "\"two\nlines\" x "), "true|1:x|2");
    EXPECT_EQ(Read(REFERENCE, "\" \" x "), "true|1:x|1");  // the quote alone opens the text
    EXPECT_EQ(Read(REFERENCE, "x y "), "false|1:y|1" + Msg(1, "Error defining REFERENCE: Missing REFERENCE text"));
    EXPECT_EQ(Read(REFERENCE, "\"open\n"), "false|0:|2" + Msg(2, "Error defining REFERENCE: missing closing quote"));
}

TEST(Readers, BracedLists) {
    EXPECT_EQ(Read(LIST, "{ a b } x "), "[a][b]|1:x|1" + Msg(1, "Warning: Expected comma, found b"));
    EXPECT_EQ(Read(LIST, "{ a, } x "), "[a]|1:x|1" + Msg(1, "Warning: Extra comma found before }"));
    EXPECT_EQ(Read(LIST, "{ , a } x "), "[a]|1:x|1" + Msg(1, "Warning: Skipping unexpected comma ,"));
    // A quoted item's further words are read with commas inside them.
    EXPECT_EQ(Read(LIST, "{ \"a b\" , \"c\", d } x "), "[a b][c][d]|1:x|1");
    EXPECT_EQ(Read(LIST, "{ \"a b\", c\" } x "), "[a b\", c]|1:x|1");
    std::string quoted = "{ \"";
    for (char ch : std::string("qrstv")) quoted += std::string(250, ch) + " ";
    const std::string v(250, 'v');
    EXPECT_EQ(Read(LIST, quoted + "\" } "), "null|0:" + v + "|1" + Msg(1, "Error: Quoted text too long at " + v));

    // Missing, empty and unfinished lists: told apart by the code left behind.
    EXPECT_EQ(Read(LIST, "DEFVAL { a } "), "null|33:DEFVAL|1");
    EXPECT_EQ(Read(LIST, "{ } ::= "), "null|27:::=|1");
    EXPECT_EQ(Read(LIST, "{ a, b "), "null|0:|1");
    EXPECT_EQ(Read(LIST, "{ { a, b }, {c} } ::= ", TOK_DEFVAL), "[]|27:::=|1");
}

TEST(Readers, Subtypes) {
    EXPECT_EQ(Read(SUBTYPE, "( 1 | 3 ),"), "(1|3)|72:,|1");
    EXPECT_EQ(Read(SUBTYPE, "(SIZE ( 6 )) x "), "(SIZE(6))=6|1:x|1");
    EXPECT_EQ(Read(SUBTYPE, "(SIZE('06'H)) x "), "(SIZE('06'H))=6|1:x|1");
    EXPECT_EQ(Read(SUBTYPE, "(SIZE('110'B)) x "), "(SIZE('110'B))=6|1:x|1");
    EXPECT_EQ(Read(SUBTYPE, "(SIZE(4 | 8)) x "), "(SIZE(4|8))|1:x|1");
    EXPECT_EQ(Read(SUBTYPE, "(SIZE(a,b)) x "), "(SIZE(a,b))|1:x|1");
    EXPECT_EQ(Read(SUBTYPE, ", x "), "null|72:,|1");
    // Cut at 1,023 characters, but read on to the balancing parenthesis.
    std::string body, expected = "(";
    for (int i = 0; i < 600; ++i) body += " 1 |", expected += "1|";
    EXPECT_EQ(Read(SUBTYPE, "(" + body + "(2)) x "), expected.substr(0, 1023) + "|1:x|1");
}
