// The tokenizer: dashes and comments, two-word keywords, the flags, the word
// length limits, line counting, annotation mode and the MIB name comment.
#include "test_util.h"

namespace {

// Every word up to end of input as "code:text", blank-separated.
std::string Lex(MibFixture& f, int flags = 0) {
    std::string out, word;
    for (int code; (code = f.Next(&word, flags)) != TOK_EOF;)
        out += (out.empty() ? "" : " ") + std::to_string(code) + ":" + word;
    return out;
}

std::string LexText(const std::string& text, int flags = 0) {
    MibFixture f(text + "\n");
    return Lex(f, flags);
}

const std::string kTooLong = "\nLine: 1: Warning: token longer than allowed maximum, truncating";

}  // namespace

TEST(Tokenizer, DashesCommentsAndPunctuation) {
    EXPECT_EQ(LexText("a-b - a--b\n c"), "1:a-b 1:- 1:a 1:c");
    EXPECT_EQ(LexText("-- x -- IMPORTS foo--x\nbar"), "37:IMPORTS 1:foobar");
    for (int n = 2; n <= 13; ++n)  // only lines of 5, 9 and 13 dashes leave a word
        EXPECT_EQ(LexText(std::string(n, '-') + "\nEND"),
                  (n == 5 || n == 9 || n == 13) ? "1:- 36:END" : "36:END") << n;

    EXPECT_EQ(LexText("{iso}x a,b(1)"), "26:{ 1:iso 26:} 1:x 1:a,b(1)");
    EXPECT_EQ(LexText("a,(b)", GT_COMMA | GT_PARENS), "1:a 72:, 76:( 1:b 76:)");
    EXPECT_EQ(LexText("a,(b)", GT_COMMA), "1:a 72:, 1:(b)");
}

// A word goes on over every byte that ends no word, whichever the flags;
// words of every length up to a few wide steps come back whole, and the
// byte that ends each is the next word or white space.
TEST(Tokenizer, WordsKeepEveryByteThatEndsNoWord) {
    const std::string bytes = "a.Z_|~\xff\x80\"!:=9;\x01+/";
    std::string text, expected, expectedSplit;
    for (size_t k = 1; k <= 40; ++k) {
        std::string word;
        for (size_t i = 0; i < k; ++i) word += bytes[(i * 7 + k) % bytes.size()];
        const std::string end = k % 3 == 0 ? "\t" : k % 3 == 1 ? "\n" : "}";
        text += word + ",(" + word + end;
        expected += " 1:" + word + ",(" + word + (end == "}" ? " 26:}" : "");
        expectedSplit += " 1:" + word + " 72:, 76:( 1:" + word + (end == "}" ? " 26:}" : "");
    }
    EXPECT_EQ(LexText(text), expected.substr(1));
    EXPECT_EQ(LexText(text, GT_COMMA | GT_PARENS), expectedSplit.substr(1));
}

TEST(Tokenizer, TwoWordKeywords) {
    EXPECT_EQ(LexText("OBJECT\tIDENTIFIER OCTET STRING"), "4:OBJECT IDENTIFIER 5:OCTET STRING");
    EXPECT_EQ(LexText("OBJECT  IDENTIFIER"), "1:OBJECT  1:IDENTIFIER");
    EXPECT_EQ(LexText("OBJECT ifType"), "1:OBJECT ifType");
    EXPECT_EQ(LexText("OBJECT ifType", GT_OBJECT), "74:OBJECT 1:ifType");
    // Against punctuation the first word stands alone and the punctuation
    // is the next word.
    EXPECT_EQ(LexText("OBJECT{x"), "1:OBJECT 26:{ 1:x");
    EXPECT_EQ(LexText("OCTET,x OCTET(", GT_COMMA | GT_PARENS), "1:OCTET 72:, 1:x 1:OCTET 76:(");
    EXPECT_EQ(LexText("OBJECT{", GT_OBJECT), "74:OBJECT 26:{");
}

TEST(Tokenizer, EndOfInputAndPushBackReset) {
    MibFixture f("a{b END abc");
    std::string word;
    EXPECT_EQ(f.Next(&word), TOK_LABEL);
    ResetTokenizerState();  // a new stream starts: the "{" that ended "a" is forgotten
    EXPECT_EQ(Lex(f), "1:b 36:END");  // "abc" was cut by the end of input
    EXPECT_EQ(f.Next(&word), TOK_EOF);
    EXPECT_EQ(word, "");

    // A word, a held-back dash or an annotation cut by the end of input is
    // not returned; neither is a word followed only by a comment, since a
    // comment does not end the word before it.
    MibFixture g("BEGIN END");
    EXPECT_EQ(Lex(g), "35:BEGIN");
    MibFixture h("a- b-- c");
    EXPECT_EQ(Lex(h), "1:a-");
    MibFixture k("x -");
    EXPECT_EQ(Lex(k), "1:x");
    MibFixture n("--#TYPE a\n--#SUMMARY b");
    EXPECT_EQ(Lex(n, GT_TRAPKEYWORDS), "1:#TYPE a");
    MibFixture m("END\n");
    EXPECT_EQ(Lex(m), "36:END");
}

TEST(Tokenizer, OverLongWordsAreCutOnceAndSkipped) {
    std::string out, lexed;
    MibFixture f(std::string(300, 'a') + "\nnext " + std::string(255, 'b') + "-c d ");
    CAPTURE_STDOUT(out, lexed = Lex(f));
    EXPECT_EQ(lexed, "1:" + std::string(255, 'a') + " 1:next 1:" + std::string(255, 'b') + " 1:d");
    EXPECT_EQ(out, kTooLong + "\nLine: 2: Warning: token longer than allowed maximum, truncating");
    EXPECT_EQ(f.mib.m_nLine, 2);

    // Annotation mode allows 1,023 characters.
    CAPTURE_STDOUT(out, lexed = LexText("--#" + std::string(1100, 'x') + " tail", GT_TRAPKEYWORDS));
    EXPECT_EQ(lexed, "1:#" + std::string(1022, 'x') + " 1:tail");
    EXPECT_EQ(out, kTooLong);
}

TEST(Tokenizer, AnnotationModeReturnsCommentLines) {
    const std::string text =
        "--#SEVERITY MAJOR\n  --#SUMMARY \"Power-supply failure\"\n--#TYPE\n-- remark\n"
        "--#HELP a--b c\n::= ";
    MibFixture f(text);
    EXPECT_EQ(Lex(f, GT_TRAPKEYWORDS),
              "1:#SEVERITY MAJOR 1:#SUMMARY \"Power-supply failure\" 82:#TYPE 1: remark "
              "1:#HELP ab 1:c 27:::=");
    EXPECT_EQ(f.mib.m_nLine, 6);
    EXPECT_EQ(LexText(text), "1:b 1:c 27:::=");  // plain mode: comments, closed by "--"
}

TEST(Tokenizer, CountsEveryNewlineOnce) {
    MibFixture f("a\n\n-- c1\n  -- c2 --  b\r\n\tOBJECT\nIDENTIFIER -- x\n--\n---\n-----\nz\n");
    EXPECT_EQ(Lex(f), "1:a 1:b 4:OBJECT IDENTIFIER 1:- 1:z");
    EXPECT_EQ(f.mib.m_nLine, 11);
}

TEST(Tokenizer, StartOfMibCommentNamesTheMib) {
    MibFixture f("x\n-- START OF MIB: A\n-- START OF MIB: RFC1213-MIB \n--START OF MIB: NO\ny\n");
    EXPECT_EQ(Lex(f), "1:x 1:y");
    ASSERT_NE(f.mib.m_szMibName, nullptr);
    EXPECT_STREQ(f.mib.m_szMibName, " RFC1213-MIB ");
    EXPECT_EQ(f.mib.m_mibStartLine, 3);

    MibFixture g("-- START OF MIB: A\nEND ");  // annotation mode never sets it
    Lex(g, GT_TRAPKEYWORDS);
    EXPECT_EQ(g.mib.m_szMibName, nullptr);
}

// The input is read in blocks of MibSource::kBlockSize bytes, and runs of
// characters are scanned block by block: words, comments, annotation lines,
// quoted texts and white space that straddle two blocks must read as they
// do within one.  The same text is read after blanks that put the block
// boundary at each of its first bytes in turn, alternating the flags and
// reading a quoted text after every DESCRIPTION.
TEST(Tokenizer, BlockBoundariesChangeNothing) {
    std::string text;
    for (int i = 0; i < 3; ++i) {
        text += "ifEntry" + std::to_string(i) + " OBJECT-TYPE\n\tSYNTAX  INTEGER { up(1), down(2) }\n";
        text += std::string(static_cast<size_t>(i * 7), ' ') + "-- a comment - with -dashes " +
                std::string(static_cast<size_t>(i * 9), 'c') + "\n";
        text += "  DESCRIPTION\n      \"line one\n\t\t   line two " + std::string(static_cast<size_t>(i * 11), 'd') +
                "\n\n   end\"\n";
        text += "--#SUMMARY \"x-y " + std::string(static_cast<size_t>(i * 5), 's') + "\"\n--#SEVERITY MAJOR\n";
        text += std::string(static_cast<size_t>(i * 13), 'w') + "-" + std::string(static_cast<size_t>(i * 3), 'v') +
                " OBJECT\n   IDENTIFIER ::= { a,b(3) 4 }\n";
    }
    text += "END\n";

    auto read = [&](size_t padding) {
        MibFixture f(std::string(padding, ' ') + text);
        const int flags[] = {0, GT_COMMA | GT_PARENS, GT_TRAPKEYWORDS, GT_OBJECT};
        std::string out, word, printed;
        CAPTURE_STDOUT(printed, {
            for (int n = 0;; ++n) {
                const int code = f.Next(&word, flags[n % 4]);
                if (code == TOK_EOF) break;
                out += std::to_string(code) + ":" + word + "@" + std::to_string(f.mib.m_nLine) + " ";
                if (code == TOK_DESCRIPTION) {
                    char buf[TRAP_TOKEN_BUF];
                    const char* quoted = f.mib.GetQuotedText(f.mib.m_pInFile, buf);
                    out += std::string("\"") + (quoted ? quoted : "null") + "\"@" +
                           std::to_string(f.mib.m_nLine) + " ";
                }
            }
        });
        return out + printed;
    };

    const std::string expected = read(0);
    EXPECT_NE(expected.find("\"line one\nline two dd"), std::string::npos);
    EXPECT_NE(expected.find(":#SUMMARY \"x-y ssssssssss\""), std::string::npos);
    ASSERT_LT(text.size(), MibSource::kBlockSize);
    for (size_t at = 0; at <= text.size(); ++at)
        ASSERT_EQ(read(MibSource::kBlockSize - at), expected) << "block boundary at byte " << at;
}
