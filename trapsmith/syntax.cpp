// SYNTAX clauses: the one reader of a written type (GetSyntax) and the reader
// of the named-number lists of INTEGER and BITS (ParseEnums).
#include <cstdlib>
#include <cstring>
#include <string>

#include "mib2trap.h"
#include "parse.h"

namespace {

// Base types written as one keyword, optionally followed by a subtype.
bool IsPlainBaseType(int code) {
    switch (code) {
    case TOK_OBJECT_IDENTIFIER:
    case TOK_OCTET_STRING:
    case TOK_NETWORKADDRESS:
    case TOK_IPADDRESS:
    case TOK_COUNTER:
    case TOK_GAUGE:
    case TOK_TIMETICKS:
    case TOK_OPAQUE:
    case TOK_NULL:
    case TOK_DISPLAYSTRING:
    case TOK_PHYSADDRESS:
    case TOK_COUNTER64:
    case TOK_UNSIGNED32:
        return true;
    default:
        // The textual-convention keywords keep their own codes here; they
        // are not looked up among the user types.
        return code >= TOK_MACADDRESS && code <= TOK_TADDRESS;
    }
}

bool IsOpeningBrace(int code, const char* szToken) {
    return code == TOK_BRACE && strcmp(szToken, "{") == 0;
}

}  // namespace

bool CMib2Trap::GetSyntax(char* szToken, int* type, node* np) {
    // Reads an enumeration into the record's list, replacing what it held;
    // without a record the items are read and dropped (they stay in the
    // parse's arena).  Returns the code of the word after the closing brace,
    // or 0 on failure.
    auto ParseEnumsInto = [this](node* rec, char* szWord) {
        MibEnumList* scratch = nullptr;
        MibEnumList** target = &scratch;
        if (rec) {
            rec->enums = nullptr;
            target = &rec->enums;
        }
        return ParseEnums(szWord, target);
    };

    if (*type == 0) *type = GetToken(m_pInFile, szToken, GT_PARENS);
    if (np) np->syntax = *type;

    if (*type == TOK_LABEL) {
        // The subtype reader reuses the token buffer, so keep the name.
        char szTypeName[TOKEN_BUF];
        CopyInto(szTypeName, szToken);
        if (np) np->szUserDef = CopyRecordText(szTypeName);
        Trace("#-OBJECT_SYNTAX: %s\n", szTypeName);
        MibUserType* utp = FindUserTypeOnTokenList(szTypeName, m_pUserTypeList);
        char* szSubtype = GetSubtypeString(m_pInFile, szToken, type, np);
        if (!np) {
            DropText(szSubtype);
            return true;
        }
        np->szSubtype = szSubtype;
        if (utp) {
            // A known type lends the object its base type, a copy of its
            // enumerations and, unless the object has its own, its subtype;
            // szUserDef keeps the type's name.
            np->syntax = utp->type;
            if (utp->enums) np->enums = CopyRecordEnums(utp->enums);
            if (!np->szSubtype && utp->szSubtype) np->szSubtype = CopyRecordText(utp->szSubtype);
            return true;
        }
        if (np->type == TOK_LABEL) {
            // A type can only be defined in terms of a type defined before it.
            DisplayMsg(201, szTypeName);
            return false;
        }
        // An object naming a type not defined yet keeps syntax TOK_LABEL and
        // the name; the module parser queues it for binding at the end of the
        // parse when it appends the object to its module.
        return true;
    }

    if (*type == TOK_INTEGER) {
        Trace("#-OBJECT_SYNTAX: %s ", szToken);
        char* szSubtype = GetSubtypeString(m_pInFile, szToken, type, np);
        if (szSubtype) Trace(" %s", szSubtype);
        if (np)
            np->szSubtype = szSubtype;
        else
            DropText(szSubtype);
        if (IsOpeningBrace(*type, szToken)) {
            Trace("{ ");
            *type = ParseEnumsInto(np, szToken);
            // The list is closed in the trace even when it failed; only the
            // line end is then missing.
            Trace(" }");
            if (*type == 0) return false;
        }
        Trace("\n");
        return true;
    }

    if (*type == TOK_BITS) {
        // BITS writes no record of its own; ParseEnums echoes its items.
        *type = GetToken(m_pInFile, szToken, 0);
        if (IsOpeningBrace(*type, szToken)) {
            *type = ParseEnumsInto(np, szToken);
            if (*type == 0) return false;
        }
        return true;
    }

    if (*type == TOK_SEQUENCE) {
        tagBracedList* list = GetBracedList(m_pInFile, GT_COMMA, type, szToken);
        if (*type == TOK_EOF) return false;
        if (list) {
            if (np) {
                np->syntax = TOK_SEQUENCE;
                np->sequence = list;
            }
            return true;
        }
        // No braced list: either SEQUENCE OF, or the braces were empty and
        // the word after them stands here and is reported.
        if (*type != TOK_OF) {
            DisplayMsg(200, szToken);
            return false;
        }
        GetToken(m_pInFile, szToken, 0);  // the entry type, whatever it is
        std::string text = "SEQUENCE OF ";
        text += szToken;
        *type = GetToken(m_pInFile, szToken, 0);
        Trace("#-OBJCET_SYNTAX: %s\n", text.c_str());
        if (np) {
            np->syntax = TOK_OF;
            np->szUserDef = CopyRecordText(text.data(), text.size());
        }
        return true;
    }

    if (IsPlainBaseType(*type)) {
        Trace("#-OBJECT_SYNTAX: %s", szToken);
        char* szSubtype = GetSubtypeString(m_pInFile, szToken, type, np);
        if (szSubtype) Trace(" %s", szSubtype);
        Trace("\n");
        if (np)
            np->szSubtype = szSubtype;
        else
            DropText(szSubtype);
        return true;
    }

    DisplayMsg(202, szToken);
    return false;
}

int CMib2Trap::ParseEnums(char* szToken, MibEnumList** enums) {
    // Items are appended through a tail pointer.  The list is empty on entry;
    // a list handed in with items is walked once to find its end.
    MibEnumList** tail = enums;
    while (*tail) tail = &(*tail)->next;

    int code = GetToken(m_pInFile, szToken, 0);
    Trace(" %s", szToken);

    // One word may hold several items (one(1),two(2) is a single word when
    // neither commas nor parentheses end words), so the scan keeps its
    // position inside the current word.
    const char* p = szToken;

    // Moves past a parenthesis found at `at` in the current word, or read as
    // the next word when `at` is null (message `msg` when the next word is
    // something else); returns what follows it, reading the next word when
    // the current one ends there, or null on failure.
    auto PassPunctuation = [&](const char* at, char punct, int msg) -> const char* {
        if (!at) {
            code = GetToken(m_pInFile, szToken, 0);
            if (code != TOK_LABEL || szToken[0] != punct) {
                DisplayMsg(msg, szToken);
                return nullptr;
            }
            at = szToken;
        }
        if (at[1] != '\0') return at + 1;
        code = GetToken(m_pInFile, szToken, 0);
        return szToken;
    };

    while (code != TOK_EOF) {
        if (code == TOK_ACCESS) {
            DisplayMsg(206, szToken);
            return 0;
        }
        if (code == TOK_BRACE && strcmp(p, "}") == 0) break;
        if (*p == ',') {
            if (p[1] == '\0') {
                code = GetToken(m_pInFile, szToken, 0);
                Trace(" %s", szToken);
                p = szToken;
                continue;
            }
            ++p;
        }

        MibEnumList* item = static_cast<MibEnumList*>(AllocRecord(sizeof(MibEnumList)));
        if (!item) return 0;
        *tail = item;
        tail = &item->next;
        const char* paren = strchr(p, '(');
        size_t labelLen = paren ? static_cast<size_t>(paren - p) : strlen(p);
        item->szLabel = CopyRecordText(p, labelLen);
        if (!item->szLabel) return 0;

        p = PassPunctuation(paren, '(', 207);
        if (!p) return 0;

        const char* close = strchr(p, ')');
        char szValue[TOKEN_BUF];
        size_t valueLen = close ? static_cast<size_t>(close - p) : strlen(p);
        if (valueLen >= sizeof szValue) valueLen = sizeof szValue - 1;
        memcpy(szValue, p, valueLen);
        szValue[valueLen] = '\0';
        int32_t value = 0;
        if (!ParseEnumValue(szValue, &value)) {
            DisplayMsg(208, szValue);
            return 0;
        }
        item->value = value;

        p = PassPunctuation(close, ')', 209);
        if (!p) return 0;
    }
    if (code == TOK_EOF) {
        DisplayMsg(210);
        return 0;
    }
    return GetToken(m_pInFile, szToken, 0);
}
