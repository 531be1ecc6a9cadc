// OBJECT-TYPE: reads the clauses of one object definition, SMIv1 or SMIv2,
// up to and including the "::=" that introduces its value.
#include <cstdlib>
#include <cstring>

#include "mib2trap.h"

namespace {

// smi_access code of an access keyword, or -1 when the word is not one an
// object may carry ("not-implemented" belongs to other macros only).
int AccessCode(int token) {
    switch (token) {
    case TOK_READ_ONLY: return 0;
    case TOK_READ_WRITE: return 1;
    case TOK_WRITE_ONLY: return 2;
    case TOK_NOT_ACCESSIBLE: return 3;
    case TOK_READ_CREATE: return 4;
    case TOK_ACCESSIBLE_FOR_NOTIFY: return 5;
    default: return -1;
    }
}

bool IsStatusValue(int token) {
    return token == TOK_MANDATORY || token == TOK_STATUS_SPARE || token == TOK_OBSOLETE ||
           token == TOK_DEPRECATED;
}

}  // namespace

node* CMib2Trap::ParseObjectType(char* szName) {
    char szToken[TOKEN_BUF];
    szToken[0] = '\0';

    // A failed object is dropped (it stays behind in the arena).  Failures up
    // to the SYNTAX clause and an unreadable DESCRIPTION close the trace with
    // the line number, the others with an empty line.
    auto failWithLine = [&]() -> node* {
        Trace("#-END_OBJECTNAME: %s\nLINE: %d\n", szName, m_nLine);
        return nullptr;
    };
    auto fail = [&]() -> node* {
        Trace("#-END_OBJECTNAME: %s\n\n", szName);
        return nullptr;
    };

    Trace("#-START_OBJECTNAME: %s\n", szName);
    int type = GetToken(m_pInFile, szToken, 0);
    if (type != TOK_SYNTAX) {
        DisplayMsg(142, szToken);
        return failWithLine();
    }
    node* np = CreateNode(TOK_OBJECT_TYPE);
    if (!np) return failWithLine();
    type = 0;
    if (!GetSyntax(szToken, &type, np)) {
        DisplayMsg(143, szToken);
        return failWithLine();
    }

    if (type == TOK_UNITS) {
        // A missing UNITS text is tolerated: szUnits stays null.
        np->szUnits = GetQuotedText(m_pInFile, szToken);
        type = GetToken(m_pInFile, szToken, 0);
    }

    if (type != TOK_ACCESS) {
        DisplayMsg(144, szToken);
        return fail();
    }
    type = GetToken(m_pInFile, szToken, 0);
    int access = AccessCode(type);
    if (access < 0) {
        DisplayMsg(145, szToken);
        return fail();
    }
    Trace("#-OBJECT_ACCESS: %s\n", szToken);
    np->smi_access = access;

    type = GetToken(m_pInFile, szToken, 0);
    if (type != TOK_STATUS) {
        DisplayMsg(146, szToken);
        return fail();
    }
    type = GetToken(m_pInFile, szToken, 0);
    if (!IsStatusValue(type)) {
        DisplayMsg(147, szToken);
        return fail();
    }
    Trace("#-OBJECT_STATUS: %s\n", szToken);
    np->status = type;
    type = GetToken(m_pInFile, szToken, 0);

    if (type == TOK_DESCRIPTION) {
        np->szDescr = GetQuotedText(m_pInFile, szToken);
        if (!np->szDescr) return failWithLine();
        Trace("#-OBJECT_DESCRIPTION: \"%s\"\n", np->szDescr);
        type = GetToken(m_pInFile, szToken, 0);
    }

    if (type == TOK_REFERENCE) {
        if (!SkipRefText(szToken)) return fail();
        type = GetToken(m_pInFile, szToken, 0);
    }

    if (type == TOK_AUGMENTS) {
        tagBracedList* list = GetBracedList(m_pInFile, GT_COMMA, &type, szToken);
        if (!list) {
            // A missing or empty AUGMENTS list is reported like a missing
            // "::=", naming the word that stands where the list should be.
            DisplayMsg(150, szToken);
            return fail();
        }
        if (list->pNext) {
            DisplayMsg(148);
            return fail();
        }
        np->augment_name = RecordTokenList(list);
    } else if (type == TOK_INDEX) {
        tagBracedList* list = GetBracedList(m_pInFile, GT_COMMA, &type, szToken);
        // The list exists even when the braces held nothing.
        np->index_names = RecordTokenList(list);
    }

    if (type == TOK_DEFVAL) {
        // The value is skipped whole, nested braces included.
        tagBracedList* list = GetBracedList(m_pInFile, GT_COMMA, &type, szToken);
        if (!list) {
            DisplayMsg(149);
            return fail();
        }
    }

    if (type != TOK_EQUALS) {
        DisplayMsg(150, szToken);
        return fail();
    }
    return np;
}
