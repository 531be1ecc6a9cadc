// The tokenizer: splits a MIB stream into words, drops comments, counts lines,
// picks up the " START OF MIB:" name and, in annotation mode, returns "--"
// comment lines whole.
#include <array>
#include <bitset>
#include <cstdint>
#include <cstdlib>
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

// Character classes of the word loop: a character with none of the classes
// the current call stops on is simply part of the word.
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

// The first two characters of every keyword (a one-character keyword with
// its terminator): a word that starts otherwise, as nearly every label does,
// is known not to be a keyword without hashing it.
class KeywordStarts {
public:
    KeywordStarts() {
        for (const tok* t = g_tokens; t->szName != nullptr; ++t) m_starts.set(Key(t->szName));
    }
    bool MayStart(const char* word) const { return m_starts.test(Key(word)); }

private:
    static size_t Key(const char* s) {
        const unsigned char first = static_cast<unsigned char>(s[0]);
        return static_cast<size_t>(first) << 8 | (first != 0 ? static_cast<unsigned char>(s[1]) : 0u);
    }
    std::bitset<65536> m_starts;
};

// The keywords by name, so that a word that may be one is classified
// without hashing it and walking a chain.  The index gives exactly what the
// walk of the word's bucket gives: the entry of that name that comes first
// in its chain (HashInit puts later entries first), and nothing for an
// object whose buckets were never linked.
class KeywordIndex {
public:
    KeywordIndex() {
        for (const tok* t = g_tokens; t->szName != nullptr; ++t) {
            size_t i = Slot(t->szName, strlen(t->szName));
            while (m_slots[i] != nullptr && strcmp(m_slots[i]->szName, t->szName) != 0) i = (i + 1) & kMask;
            m_slots[i] = t;  // a later entry of the same name wins
        }
    }
    const tok* Find(const char* word) const {
        const size_t len = strlen(word);
        for (size_t i = Slot(word, len); m_slots[i] != nullptr; i = (i + 1) & kMask) {
            const tok* t = m_slots[i];
            if (static_cast<size_t>(t->nLen) == len && memcmp(t->szName, word, len) == 0) return t;
        }
        return nullptr;
    }

private:
    static constexpr size_t kMask = 511;
    // Only words that may be keywords, so at least one character, get here.
    static size_t Slot(const char* s, size_t len) {
        return (len * 37 + static_cast<unsigned char>(s[0]) * 11 + static_cast<unsigned char>(s[len - 1])) & kMask;
    }
    const tok* m_slots[kMask + 1] = {};
};

tok* FindKeyword(tok* const* buckets, const char* word) {
    static const KeywordStarts starts;
    if (!starts.MayStart(word)) return nullptr;
    static const KeywordIndex index;
    const tok* t = index.Find(word);
    if (t == nullptr || buckets[static_cast<uint32_t>(t->nHash) & 31u] == nullptr) return nullptr;
    return const_cast<tok*>(t);
}

}  // namespace

int CMib2Trap::GetToken(FILE* fp, char* szToken, int fFlag) {
    const bool bTrapKeywords = (fFlag & GT_TRAPKEYWORDS) != 0;
    const int cbMaxToken = bTrapKeywords ? TRAP_MAX_TOKEN : PLAIN_MAX_TOKEN;

    const bool bCommaEnds = (fFlag & GT_COMMA) != 0;
    const bool bParensEnd = (fFlag & GT_PARENS) != 0;
    const uint8_t stopClasses = static_cast<uint8_t>(CH_SPACE | CH_DASH | CH_BRACE | (bCommaEnds ? CH_COMMA : 0) |
                                                     (bParensEnd ? CH_PAREN : 0));

    // The word is built in the caller's buffer, which holds cbMaxToken
    // characters: a word that reaches that length is cut to cbMaxToken - 1
    // characters and its terminator before anything else is written.
    char* const token = szToken;
    int tokenLen = 0;
    char szComment[COMMENT_MAX + 1];
    int commentLen = 0;
    int dashcnt = 0;  // 0 text, 1 one "-" in text, -2 in a comment, -1 one "-" in a comment

    szToken[0] = '\0';
    if (fp == nullptr) return TOK_EOF;

    auto finish = [&](int code) {
        token[tokenLen] = '\0';
        return code;
    };
    // TOK_EOF always leaves the empty string.
    auto endOfInput = [&]() {
        chLast = ' ';
        szToken[0] = '\0';
        return TOK_EOF;
    };
    // Over-long word: warn once, skip the rest of it up to white space and
    // return its first cbMaxToken - 1 characters.  `next` is the first
    // character not yet examined.
    auto truncate = [&](int next) {
        DisplayMsg(123);
        while (next != EOF && !IsMibSpace(next)) next = ReadMibChar(fp);
        chLast = (next == EOF) ? ' ' : next;
        tokenLen = cbMaxToken - 1;
        return finish(TOK_LABEL);
    };
    // Braces always end a word; commas and parentheses only when asked for.
    // Tested character by character: this runs for every input byte.
    auto isTerminator = [&](int ch) {
        switch (ch) {
        case '{':
        case '}': return true;
        case ',': return bCommaEnds;
        case '(':
        case ')': return bParensEnd;
        default: return false;
        }
    };

    int c = chLast;
    while (IsMibSpace(c)) {
        if (c == '\n') CountLine(&m_nLine);
        SkipSpaces(fp, &m_nLine);
        c = ReadMibChar(fp);
    }
    if (c == EOF) return endOfInput();

    for (;;) {
        // Runs of ordinary characters are taken in tight loops; each does
        // exactly what the general step below does for those characters,
        // which then handles the character that ended the run.
        if (dashcnt == 0) {
            // The body of a word.
            auto inWord = [stopClasses](unsigned char b) { return (kCharClass[b] & stopClasses) == 0; };
            while (inWord(static_cast<unsigned char>(c))) {
                token[tokenLen++] = static_cast<char>(c);
                if (tokenLen >= cbMaxToken) return truncate(ReadMibChar(fp));
                tokenLen += static_cast<int>(TakeWord(fp, token + tokenLen, static_cast<size_t>(cbMaxToken - tokenLen),
                                                      bCommaEnds, bParensEnd));
                if (tokenLen >= cbMaxToken) return truncate(ReadMibChar(fp));
                c = ReadMibChar(fp);
                if (c == EOF) return endOfInput();
            }
        } else if (dashcnt == -2) {
            // The text of a comment: part of the word in annotation mode,
            // kept for the " START OF MIB:" check otherwise.
            while (c != '-' && c != '\n') {
                if (bTrapKeywords) {
                    token[tokenLen++] = static_cast<char>(c);
                    if (tokenLen >= cbMaxToken) return truncate(ReadMibChar(fp));
                    tokenLen += static_cast<int>(
                        TakeUntil(fp, token + tokenLen, static_cast<size_t>(cbMaxToken - tokenLen), '-', '\n'));
                    if (tokenLen >= cbMaxToken) return truncate(ReadMibChar(fp));
                } else {
                    if (commentLen < COMMENT_MAX) szComment[commentLen++] = static_cast<char>(c);
                    commentLen += static_cast<int>(
                        TakeUntil(fp, szComment + commentLen, static_cast<size_t>(COMMENT_MAX - commentLen), '-', '\n'));
                    // Past the kept length the comment is only skipped.
                    if (commentLen >= COMMENT_MAX) SkipUntil(fp, '-', '\n');
                }
                c = ReadMibChar(fp);
                if (c == EOF) return endOfInput();
            }
        }

        if (c == '-') {
            // "--" opens a comment in text and closes it inside a comment.
            if (++dashcnt > 1) dashcnt = -2;
        } else {
            if (dashcnt == 1) {
                // A single dash belongs to the word.
                token[tokenLen++] = '-';
                dashcnt = 0;
                if (tokenLen >= cbMaxToken) return truncate(c);
            } else if (dashcnt == -1) {
                // A single dash inside a comment is comment text.
                dashcnt = -2;
                if (bTrapKeywords) {
                    token[tokenLen++] = '-';
                    if (tokenLen >= cbMaxToken) return truncate(c);
                } else if (commentLen < COMMENT_MAX) {
                    szComment[commentLen++] = '-';
                }
            }

            const bool endsWord = (dashcnt == 0 && (IsMibSpace(c) || isTerminator(c))) ||
                                  (bTrapKeywords && dashcnt == -2 && c == '\n');
            if (endsWord) {
                if (tokenLen > 0) {
                    chLast = c;
                    token[tokenLen] = '\0';
                    if ((fFlag & GT_OBJECT) && strcmp(token, "OBJECT") == 0)
                        return finish(TOK_OBJECT);
                    const tok* kw = FindKeyword(m_pBuckets, token);
                    if (kw == nullptr) return finish(TOK_LABEL);
                    if (kw->nToken != TOK_CONTINUE) return finish(kw->nToken);
                    // "OBJECT" or "OCTET" right against a brace, comma or
                    // parenthesis: the punctuation is left for the next call
                    // and the word stands alone.
                    if (!IsMibSpace(c)) return finish(TOK_LABEL);
                    // Otherwise the white space is taken as the blank of the
                    // two-word keyword and the same word goes on.
                    if (c == '\n') CountLine(&m_nLine);
                    chLast = ' ';
                    token[tokenLen++] = ' ';
                    // A word that only reads as "OBJECT" because a NUL byte
                    // follows it takes a blank for every white space after
                    // it; it must not outgrow the word limit.
                    if (tokenLen >= cbMaxToken) return truncate(ReadMibChar(fp));
                } else if (!IsMibSpace(c)) {
                    chLast = ' ';
                    token[tokenLen++] = static_cast<char>(c);
                    if (c == ',') return finish(TOK_COMMA);
                    if (c == '(' || c == ')') return finish(TOK_PAREN);
                    return finish(TOK_BRACE);
                } else if (c == '\n') {
                    dashcnt = 0;
                    commentLen = 0;
                    CountLine(&m_nLine);
                    chLast = ' ';
                }
            } else if (dashcnt == 0 || bTrapKeywords) {
                // Text, or comment text in annotation mode: part of the word.
                token[tokenLen++] = static_cast<char>(c);
                if (tokenLen >= cbMaxToken) return truncate(ReadMibChar(fp));
            } else if (c == '\n') {
                // End of a comment line in plain mode.  A word begun before
                // the comment goes on with the next line.
                szComment[commentLen] = '\0';
                char* name = MibGetModFromLine(szComment, START_OF_MIB);
                if (name != nullptr) {
                    FreeHeap(m_szMibName);
                    m_szMibName = name;
                    m_mibStartLine = m_nLine;
                }
                CountLine(&m_nLine);
                dashcnt = 0;
                commentLen = 0;
            } else if (commentLen < COMMENT_MAX) {
                szComment[commentLen++] = static_cast<char>(c);
            }
        }

        c = ReadMibChar(fp);
        // End of input while a word is being built: the word is not
        // returned, so a file whose last word has no line break after it
        // ("END" at the very end) loses that word.
        if (c == EOF) return endOfInput();
    }
}

char* CMib2Trap::MibGetModFromLine(const char* szLine, const char* szMatch) {
    if (szLine == nullptr || szMatch == nullptr) return nullptr;
    const size_t matchLen = strlen(szMatch);
    if (strncmp(szLine, szMatch, matchLen) != 0) return nullptr;
    return CopyText(szLine + matchLen);
}
