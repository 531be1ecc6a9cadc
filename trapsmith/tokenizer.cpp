// The tokenizer: splits a MIB stream into words, drops comments, counts lines,
// picks up the " START OF MIB:" name and, in annotation mode, returns "--"
// comment lines whole.
#include <array>
#include <cstdint>
#include <cstring>

#include "mib2trap.h"
#include "tokenizer_state.h"

int chLast = ' ';

// Called whenever a parse starts on a new stream, so that a character pushed
// back by an earlier, abandoned parse cannot leak into the new file.
void ResetTokenizerState() { chLast = ' '; }

namespace {

constexpr int PLAIN_MAX_TOKEN = TOKEN_BUF;           // 256
constexpr int TRAP_MAX_TOKEN = TRAP_TOKEN_BUF - 1;   // 1024
constexpr int COMMENT_MAX = 1024;
constexpr char START_OF_MIB[] = " START OF MIB:";

// What a character is to the word being read.  Braces always end a word;
// commas and parentheses only when the call asks for it.
enum : uint8_t { CH_SPACE = 1, CH_DASH = 2, CH_BRACE = 4, CH_COMMA = 8, CH_PAREN = 16 };
constexpr std::array<uint8_t, 256> kCharClass = [] {
    std::array<uint8_t, 256> table{};
    for (int c = 0; c < 256; ++c)
        if (IsMibSpace(c)) table[static_cast<size_t>(c)] = CH_SPACE;
    table['-'] = CH_DASH;
    table['{'] = table['}'] = CH_BRACE;
    table[','] = CH_COMMA;
    table['('] = table[')'] = CH_PAREN;
    return table;
}();

// How the text of a "--" comment ended.
enum class CommentEnd : uint8_t {
    Line,    // at the newline, which is taken
    Closed,  // at a second "--": what follows is text again
    Full,    // the text filled its room
    Input,   // at the end of the input
};

constexpr MibSource::EitherOf kDashOrNewline{'-', '\n'};

// The end of a word's body: a character of the classes the call stops on.
// None of them lies between '0' and 'z', where nearly every character of a
// word does.
struct WordEnd {
    uint8_t stops;
    bool operator()(unsigned char c) const { return (kCharClass[c] & stops) != 0; }
#if defined(__SSE2__)
    static unsigned Candidates(__m128i v) { return MibSource::Outside(v, '0', 'z'); }
#endif
    static bool NoneIn(uint64_t v) { return !MibSource::AnyBelow(v, '0') && !MibSource::AnyAbove(v, 'z'); }
};

// Reads the text of a comment, from just after its opening "--", on to
// text + *len; *len never grows past cap.  A single dash is comment text.
// With bCutQuietly the characters that do not fit are skipped; otherwise the
// comment stops there as Full, with the next character still unread.
CommentEnd ReadCommentText(MibSource& in, char* text, int* len, int cap, bool bCutQuietly) {
    for (;;) {
        *len += static_cast<int>(in.CopyRun(text + *len, static_cast<size_t>(cap - *len), kDashOrNewline));
        if (*len >= cap) {
            if (!bCutQuietly) return CommentEnd::Full;
            in.SkipRun(kDashOrNewline);
        }
        const int c = in.Take();
        if (c == '\n') return CommentEnd::Line;
        if (c == EOF) return CommentEnd::Input;
        const int next = in.Take();  // c is a dash
        if (next == '-') return CommentEnd::Closed;
        if (next == EOF) return CommentEnd::Input;
        in.PutBack(next);
        if (*len < cap) text[(*len)++] = '-';
    }
}

// One GetToken call: the word it builds in the caller's buffer and the steps
// it is built with.  Each step returns the code GetToken returns, or
// TOK_CONTINUE when the word goes on with the next character.
class Lexer {
public:
    enum : int { kEnd = -1, kWord = 0 };  // classes of the end of input and of word characters

    Lexer(CMib2Trap& mib, char* word, int fFlag)
        : m_mib(mib),
          m_in(mib.m_source),
          m_word(word),
          m_flags(fFlag),
          m_cap((fFlag & GT_TRAPKEYWORDS) ? TRAP_MAX_TOKEN : PLAIN_MAX_TOKEN),
          m_stops(static_cast<uint8_t>(CH_SPACE | CH_DASH | CH_BRACE | ((fFlag & GT_COMMA) ? CH_COMMA : 0) |
                                       ((fFlag & GT_PARENS) ? CH_PAREN : 0))) {}

    // kEnd, kWord, or the class of a character that ends a word.
    int Class(int c) const { return c == EOF ? kEnd : kCharClass[static_cast<size_t>(c)] & m_stops; }
    bool Empty() const { return m_len == 0; }

    int Body(int c);
    int Dash();
    void SkipBlanks(int c);
    int EndWord(int c);
    int Punctuation(int c);
    int EndOfInput();

private:
    int Push(char c);
    int SkipComment();
    int ReadAnnotation();
    int Truncate(int next);

    CMib2Trap& m_mib;
    MibSource& m_in;
    // The word is built in the caller's buffer, which holds m_cap characters:
    // a word that reaches that length is cut to m_cap - 1 characters and its
    // terminator before anything else is written.
    char* const m_word;
    int m_len = 0;
    const int m_flags;
    const int m_cap;
    const uint8_t m_stops;  // the classes that end a word in this call
    // The comment text since the last newline, kept for the " START OF MIB:"
    // check in plain mode.
    char m_comment[COMMENT_MAX + 1];
    int m_commentLen = 0;
};

// A word character, and the rest of the word's body after it.
int Lexer::Body(int c) {
    m_word[m_len++] = static_cast<char>(c);
    m_len += static_cast<int>(m_in.CopyRun(m_word + m_len, static_cast<size_t>(m_cap - m_len), WordEnd{m_stops}));
    return m_len < m_cap ? TOK_CONTINUE : Truncate(m_in.Take());
}

// A dash: "--" opens a comment, which the next "--" or the end of the line
// closes; a single dash belongs to the word.  In annotation mode the
// comment's text is part of the word as well.
int Lexer::Dash() {
    const int next = m_in.Peek();
    if (next == EOF) return EndOfInput();
    if (next != '-') return Push('-');
    m_in.Take();
    return (m_flags & GT_TRAPKEYWORDS) ? ReadAnnotation() : SkipComment();
}

// White space before a word: skipped, counting its lines.  The next
// character is left unread.
void Lexer::SkipBlanks(int c) {
    for (;;) {
        if (c == '\n') {
            CountLine(&m_mib.m_nLine);
            m_commentLen = 0;
        }
        m_in.SkipRun(LineBlanksEnd{});
        if (m_in.Peek() != '\n') return;
        c = m_in.Take();
    }
}

// The word ends at c, white space or punctuation, which is pushed back.
int Lexer::EndWord(int c) {
    chLast = c;
    m_word[m_len] = '\0';
    if ((m_flags & GT_OBJECT) && strcmp(m_word, "OBJECT") == 0) return TOK_OBJECT;
    const tok* kw = m_mib.FindKeyword(m_word, static_cast<size_t>(m_len));
    if (kw == nullptr) return TOK_LABEL;
    if (kw->nToken != TOK_CONTINUE) return kw->nToken;
    // "OBJECT" or "OCTET" right against a brace, comma or parenthesis: the
    // punctuation is left for the next call and the word stands alone.
    if (!IsMibSpace(c)) return TOK_LABEL;
    // Otherwise the white space is taken as the blank of the two-word
    // keyword and the same word goes on.  A word that only reads as "OBJECT"
    // because a NUL byte follows it takes a blank for every white space after
    // it; Push keeps it within the word limit.
    if (c == '\n') CountLine(&m_mib.m_nLine);
    return Push(' ');
}

// Punctuation that ends no word is a word of its own.
int Lexer::Punctuation(int c) {
    chLast = ' ';
    m_word[0] = static_cast<char>(c);
    m_word[1] = '\0';
    if (c == ',') return TOK_COMMA;
    if (c == '(' || c == ')') return TOK_PAREN;
    return TOK_BRACE;
}

// TOK_EOF always leaves the empty string.
int Lexer::EndOfInput() {
    chLast = ' ';
    m_word[0] = '\0';
    return TOK_EOF;
}

int Lexer::Push(char c) {
    m_word[m_len++] = c;
    return m_len < m_cap ? TOK_CONTINUE : Truncate(m_in.Take());
}

// A comment in plain mode.  One that ends with its line may name the MIB
// that follows; a word begun before the comment goes on after it.
int Lexer::SkipComment() {
    const CommentEnd end = ReadCommentText(m_in, m_comment, &m_commentLen, COMMENT_MAX, true);
    if (end == CommentEnd::Input) return EndOfInput();
    if (end == CommentEnd::Line) {
        m_comment[m_commentLen] = '\0';
        if (char* name = m_mib.MibGetModFromLine(m_comment, START_OF_MIB)) {
            FreeHeap(m_mib.m_szMibName);
            m_mib.m_szMibName = name;
            m_mib.m_mibStartLine = m_mib.m_nLine;
        }
        CountLine(&m_mib.m_nLine);
        m_commentLen = 0;
    }
    return TOK_CONTINUE;
}

// A comment in annotation mode: its text is part of the word, and its
// newline ends the word.
int Lexer::ReadAnnotation() {
    for (;;) {
        switch (ReadCommentText(m_in, m_word, &m_len, m_cap, false)) {
            case CommentEnd::Input: return EndOfInput();
            case CommentEnd::Full: return Truncate(m_in.Take());
            case CommentEnd::Closed: return TOK_CONTINUE;
            case CommentEnd::Line: break;
        }
        if (m_len == 0) {
            CountLine(&m_mib.m_nLine);
            return TOK_CONTINUE;
        }
        // A two-word keyword goes on with the comment text of the next line.
        const int code = EndWord('\n');
        if (code != TOK_CONTINUE) return code;
    }
}

// Over-long word: warn once, skip the rest of it up to white space and
// return its first m_cap - 1 characters.  `next` is the first character not
// yet examined.
int Lexer::Truncate(int next) {
    m_mib.DisplayMsg(123);
    if (next != EOF && !IsMibSpace(next)) {
        m_in.SkipRun(SpaceStop{});
        next = m_in.Take();
    }
    chLast = (next == EOF) ? ' ' : next;
    m_len = m_cap - 1;
    m_word[m_len] = '\0';
    return TOK_LABEL;
}

}  // namespace

int CMib2Trap::GetToken(FILE* fp, char* szToken, int fFlag) {
    szToken[0] = '\0';
    if (fp == nullptr) return TOK_EOF;
    if (fp != m_source.Stream()) m_source.Attach(fp);
    Lexer lx(*this, szToken, fFlag);
    for (int c = chLast;; c = m_source.Take()) {
        int code = TOK_CONTINUE;
        switch (lx.Class(c)) {
            case Lexer::kEnd:
                // End of input while a word is being built: the word is not
                // returned, so a file whose last word has no line break after
                // it ("END" at the very end) loses that word.
                return lx.EndOfInput();
            case Lexer::kWord: code = lx.Body(c); break;
            case CH_DASH: code = lx.Dash(); break;
            case CH_SPACE:
                if (lx.Empty()) {
                    lx.SkipBlanks(c);
                    break;
                }
                code = lx.EndWord(c);
                break;
            default: code = lx.Empty() ? lx.Punctuation(c) : lx.EndWord(c); break;
        }
        if (code != TOK_CONTINUE) return code;
    }
}

char* CMib2Trap::MibGetModFromLine(const char* szLine, const char* szMatch) {
    if (szLine == nullptr || szMatch == nullptr) return nullptr;
    const size_t matchLen = strlen(szMatch);
    if (strncmp(szLine, szMatch, matchLen) != 0) return nullptr;
    return CopyText(szLine + matchLen);
}
