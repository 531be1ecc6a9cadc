// Readers of the constructs that are not single words: quoted texts,
// REFERENCE texts (skipped), brace-enclosed lists and parenthesised subtypes.
// Each leaves the word that follows the construct, and its code, for the
// caller.  Every string and list record they return lives in the parse's
// arena.
#include <cstdlib>
#include <cstring>
#include <string>

#include "mib2trap.h"
#include "parse.h"
#include "tokenizer_state.h"

namespace {

constexpr size_t QUOTED_MAX = 4096;   // longest quoted text kept
static_assert(TRAP_TOKEN_BUF < QUOTED_MAX, "a first word and its blank fit in a quoted text");
constexpr size_t ITEM_MAX = 1023;     // longest quoted list item
constexpr size_t SUBTYPE_MAX = 1023;  // longest subtype text kept

// Once a reader goes on reading a text directly from the stream after its
// first word, the character that ended that word is part of the text: it is
// taken from the push-back here (a newline counted at once), so that it is
// neither counted late nor read again as a word after the text.
void ConsumePushBack(int* pLine) {
    if (chLast == '\n') CountLine(pLine);
    chLast = ' ';
}

// A quoted text is read in runs up to its closing quote or the next newline.
constexpr MibSource::EitherOf kQuoteOrNewline{'"', '\n'};

// Reads up to and including the next double quote, counting newlines.
// Returns false at end of input.
bool SkipToQuote(MibSource& in, int* pLine) {
    for (;;) {
        in.SkipRun(kQuoteOrNewline);
        const int c = in.Take();
        if (c == EOF) return false;
        if (c == '"') return true;
        CountLine(pLine);
    }
}

tagBracedList* NewItem(CMib2Trap& mib, const char* text, size_t len) {
    tagBracedList* item = static_cast<tagBracedList*>(mib.AllocRecord(sizeof(tagBracedList)));
    if (item == nullptr) return nullptr;
    item->szString = mib.CopyRecordText(text, len);
    return item->szString ? item : nullptr;
}

// The text of a list item, built in place: a quoted item of ITEM_MAX
// characters, a blank and a second word fit; anything longer, which the
// reader never builds, would be cut.
class ItemText {
public:
    void Assign(const char* text) {
        m_len = 0;
        Append(text);
    }
    void Append(const char* text) {
        const size_t room = sizeof m_text - 1 - m_len;
        const size_t n = strnlen(text, room);
        memcpy(m_text + m_len, text, n);
        m_len += n;
    }
    void Push(char c) {
        if (m_len < sizeof m_text - 1) m_text[m_len++] = c;
    }
    void PopBack() { --m_len; }
    bool Empty() const { return m_len == 0; }
    char Back() const { return m_text[m_len - 1]; }
    size_t Size() const { return m_len; }
    const char* Data() const { return m_text; }

private:
    char m_text[ITEM_MAX + 1 + TRAP_TOKEN_BUF + 1];
    size_t m_len = 0;
};

}  // namespace

char* CMib2Trap::GetQuotedText(FILE* pFile, char* szToken) {
    GetToken(pFile, szToken, 0);
    if (szToken[0] != '"') {
        DisplayMsg(125, szToken);
        return nullptr;
    }

    // Built in place: at most QUOTED_MAX characters are kept.
    char text[QUOTED_MAX];
    size_t len = 0;
    const char* first = szToken + 1;
    const char* quote = strchr(first, '"');
    bool cut = false;
    if (quote != nullptr) {
        // The text ends inside its first word; anything glued after the
        // closing quote is dropped, and the push-back is the genuine next
        // character of the stream.
        len = static_cast<size_t>(quote - first);
        memcpy(text, first, len);
    } else {
        // A word is shorter than the kept text, so the word and the blank
        // after it always fit.
        len = strlen(first);
        memcpy(text, first, len);
        // One blank stands for the character that ended the first word.
        ConsumePushBack(&m_nLine);
        text[len++] = ' ';
        for (;;) {
            len += m_source.CopyRun(text + len, QUOTED_MAX - len, kQuoteOrNewline);
            const int c = m_source.Take();
            if (c == '"') break;
            if (c == EOF) {
                DisplayMsg(126);
                return nullptr;
            }
            if (len >= QUOTED_MAX) {
                // Too long: the text is cut here and the rest skipped below.
                if (c == '\n') CountLine(&m_nLine);
                cut = true;
                break;
            }
            // A newline, since the run stopped short of its room: kept, and
            // the indentation of the next line dropped.
            CountLine(&m_nLine);
            text[len++] = '\n';
            m_source.SkipRun(LineBlanksEnd{});
        }
    }
    if (cut) SkipToQuote(m_source, &m_nLine);
    return CopyRecordText(text, len);
}

bool CMib2Trap::SkipRefText(char* szToken) {
    GetToken(m_pInFile, szToken, 0);
    if (szToken[0] != '"') {
        DisplayMsg(204);
        return false;
    }
    const size_t len = strlen(szToken);
    if (len == 1 || szToken[len - 1] != '"') {
        ConsumePushBack(&m_nLine);
        if (!SkipToQuote(m_source, &m_nLine)) {
            DisplayMsg(205);
            return false;
        }
    }
    return true;
}

tagBracedList* CMib2Trap::GetBracedList(FILE* pFile, int flag, int* type, char* szToken) {
    if (*type == TOK_DEFVAL) {
        // The value is skipped, nested braces included; a placeholder item
        // tells the caller that a value was there.
        *type = GetToken(pFile, szToken, 0);
        if (szToken[0] != '{') return nullptr;
        int depth = 1;
        while (depth > 0) {
            if (GetToken(pFile, szToken, GT_COMMA) == TOK_EOF) break;
            if (szToken[0] == '{')
                ++depth;
            else if (szToken[0] == '}')
                --depth;
        }
        *type = GetToken(pFile, szToken, flag);
        return NewItem(*this, "", 0);
    }

    const bool bSequence = (*type == TOK_SEQUENCE);
    int code = GetToken(pFile, szToken, 0);
    *type = code;
    if (code != TOK_BRACE || strcmp(szToken, "{") != 0) return nullptr;

    tagBracedList* head = nullptr;
    tagBracedList* tail = nullptr;
    bool bCommaExpected = false;
    int implied_cnt = 0;
    // The items read so far stay behind in the arena.
    auto fail = [&]() -> tagBracedList* {
        *type = 0;
        return nullptr;
    };

    code = GetToken(pFile, szToken, GT_COMMA);
    for (;;) {
        if (code == TOK_BRACE || szToken[0] == '}') {
            if (!bCommaExpected && head != nullptr) DisplayMsg(132, szToken);
            *type = GetToken(pFile, szToken, flag);
            return head;
        }
        if (code == TOK_EOF) return fail();
        if (implied_cnt > 0) {
            DisplayMsg(127);
            return fail();
        }

        ItemText item;
        if (szToken[0] == '"') {
            // A quoted item runs over further words up to the one that ends
            // with the closing quote.
            item.Assign(szToken + 1);
            while (item.Empty() || item.Back() != '"') {
                code = GetToken(pFile, szToken, 0);
                if (code == TOK_EOF) break;
                if (item.Size() + 1 + strlen(szToken) > ITEM_MAX) {
                    DisplayMsg(128, szToken);
                    return fail();
                }
                item.Push(' ');
                item.Append(szToken);
            }
            if (!item.Empty()) item.PopBack();
        } else {
            item.Assign(szToken);
        }

        const bool bImplied = strcmp(szToken, "IMPLIED") == 0;
        if (bImplied) ++implied_cnt;

        if (bCommaExpected) {
            if (code == TOK_COMMA)
                code = GetToken(pFile, szToken, GT_COMMA);
            else
                DisplayMsg(130, szToken);
            bCommaExpected = false;
            continue;
        }
        if (code == TOK_COMMA) {
            DisplayMsg(131, szToken);
            code = GetToken(pFile, szToken, GT_COMMA);
            continue;
        }

        if (bImplied || bSequence) {
            // IMPLIED and SEQUENCE items take a second word: the indexed
            // object, or the member's type (whose subtype is dropped).
            item.Push(' ');
            code = GetToken(pFile, szToken, GT_COMMA);
            if (code == TOK_COMMA) {
                DisplayMsg(131, szToken);
                code = GetToken(pFile, szToken, GT_COMMA);
            }
            item.Append(szToken);
            DropText(GetSubtypeString(pFile, szToken, &code, nullptr));
        } else {
            code = GetToken(pFile, szToken, GT_COMMA);
        }

        tagBracedList* rec = NewItem(*this, item.Data(), item.Size());
        if (rec == nullptr) return fail();
        if (tail != nullptr)
            tail->pNext = rec;
        else
            head = rec;
        tail = rec;
        bCommaExpected = true;
    }
}

char* CMib2Trap::GetSubtypeString(FILE* pFile, char* szToken, int* type, node* np) {
    *type = GetToken(pFile, szToken, GT_COMMA | GT_PARENS);
    if (szToken[0] != '(') return nullptr;

    // Kept to SUBTYPE_MAX characters; a longer text is cut there, but reading
    // still goes on to the balancing ")" so that the parse stays in step.
    std::string text("(");
    int depth = 1;
    while (depth > 0) {
        const int code = GetToken(pFile, szToken, GT_PARENS);
        if (code == TOK_EOF) break;
        if (code == TOK_PAREN) {
            if (szToken[0] == '(')
                ++depth;
            else
                --depth;
        }
        if (text.size() < SUBTYPE_MAX)
            text.append(szToken, strnlen(szToken, SUBTYPE_MAX - text.size()));
    }
    *type = GetToken(pFile, szToken, GT_COMMA);

    std::string packed;
    packed.reserve(text.size());
    for (char ch : text)
        if (!IsMibSpace(static_cast<unsigned char>(ch))) packed += ch;

    if (np != nullptr) {
        // A single fixed size, SIZE(6), SIZE('06'H) or SIZE('110'B), gives
        // the record's fixed length; ranges and choices do not.
        const size_t at = packed.find("SIZE(");
        if (at != std::string::npos) {
            const size_t start = at + 5;
            size_t i = start;
            while (i < packed.size()) {
                const char ch = packed[i];
                if ((ch >= '0' && ch <= '9') || ch == '\'' || ch == 'H' || ch == 'h' ||
                    ch == 'B' || ch == 'b')
                    ++i;
                else
                    break;
            }
            if (i < packed.size() && packed[i] == ')') {
                // The decimal form relies on the number being stored although
                // ")" follows it.
                std::string value = packed.substr(start);
                int32_t v = np->fixed_len;
                ParseEnumValue(&value[0], &v);
                np->fixed_len = v;
            }
        }
    }
    return CopyRecordText(packed.data(), packed.size());
}
