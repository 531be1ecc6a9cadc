// TRAP-TYPE and NOTIFICATION-TYPE statements, their "--#" annotation lines,
// and the placement of SMIv1 traps in the OID tree at the end of a module.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>

#include "mib2trap.h"

namespace {

// Reads a trap number the way strtoul does in base 10 (an optional sign, then
// digits, nothing left over), without overflowing.  The number must also fit
// the int that holds it: a negative sign wraps a non-zero value far beyond
// that, so of the negative forms only "-0" is accepted.
bool ParseTrapNumber(const char* sz, int* value) {
    const char* p = sz;
    bool negative = false;
    if (*p == '+' || *p == '-') {
        negative = (*p == '-');
        ++p;
    }
    if (*p < '0' || *p > '9') return false;
    long long n = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        n = n * 10 + (*p - '0');
        if (n > INT_MAX) return false;
    }
    if (*p != '\0') return false;
    if (negative && n != 0) return false;
    *value = static_cast<int>(n);
    return true;
}

// The SMIv1 generic traps, which SMIv2 places under snmpTraps numbered one
// higher than their generic-trap number.
bool IsGenericTrap(const node* np) {
    static const char* const kGeneric[] = {"coldStart", "warmStart", "linkDown",
                                           "linkUp", "authenticationFailure",
                                           "egpNeighborLoss"};
    if (strcmp(np->szParent, "snmp") != 0) return false;
    if (np->subid < 0 || np->subid > 5) return false;
    return strcmp(np->szLabel, kGeneric[np->subid]) == 0;
}

// Reads the clauses between a trap's DESCRIPTION text and its "::=": "--#"
// comment lines arrive whole in annotation mode and are kept, in input
// order, as keyword records whose name and value are one string; REFERENCE
// texts are skipped and every other word is ignored.  Stops at "::=" or at
// the end of the input and returns the code of that token, whose text is left
// in szTrapToken (TRAP_TOKEN_BUF bytes).
int ReadTrapAnnotations(CMib2Trap* mib, node* np, char* szTrapToken) {
    keyword** tail = &np->keyword;  // the record is fresh: its list is empty
    for (;;) {
        int type = mib->GetToken(mib->m_pInFile, szTrapToken, GT_TRAPKEYWORDS);
        if (type == TOK_EQUALS || type == TOK_EOF) return type;
        if (type == TOK_REFERENCE) {
            // A reference text that cannot be read has been reported by the
            // reader; the annotation lines after it are still collected.
            mib->DropText(mib->GetQuotedText(mib->m_pInFile, szTrapToken));
            continue;
        }
        if (szTrapToken[0] != '#') continue;
        keyword* kp = static_cast<keyword*>(mib->AllocRecord(sizeof(keyword)));
        char* text = kp ? mib->CopyRecordText(szTrapToken) : nullptr;
        if (!text) continue;
        kp->szLabel = text;
        kp->szValue = text;
        *tail = kp;
        tail = &kp->next;
        mib->Trace("%s\n", szTrapToken);
    }
}

}  // namespace

node* CMib2Trap::ParseTrapType(char* szName, node* /*nodes*/) {
    char szToken[TOKEN_BUF];
    char szTrapToken[TRAP_TOKEN_BUF];

    node* np = CreateNode(TOK_TRAP_TYPE);
    if (!np) return nullptr;
    np->szLabel = CopyLabel(szName);
    Trace("#-START_TRAPNAME: %s\n", szName);

    int type = GetToken(m_pInFile, szToken, 0);
    if (type != TOK_ENTERPRISE) {
        DisplayMsg(154, szToken);
        return nullptr;
    }

    type = GetToken(m_pInFile, szToken, 0);
    if (type == TOK_LABEL) {
        np->szParent = CopyLabel(szToken);
        np->szEnterprise = CopyRecordText(szToken);
        Trace("#-TRAP_ENTERPRISE: %s\n", szToken);
    } else if (type == TOK_BRACE && szToken[0] == '{') {
        // A registration in braces: the last word before "}" is the
        // enterprise.  At most 99 words may stand between the braces; the
        // empty word returned at the end of the input counts as one, so a
        // missing "}" always ends here.
        for (int count = 0;; ++count) {
            GetToken(m_pInFile, szToken, 0);
            size_t len = strlen(szToken);
            if (len > 0 && szToken[len - 1] == '}') break;
            if (count == 99) {
                DisplayMsg(155);
                return nullptr;
            }
            np->szParent = CopyLabel(szToken);
            np->szEnterprise = CopyRecordText(szToken);
        }
    } else {
        DisplayMsg(156, szToken);
        return nullptr;
    }

    type = GetToken(m_pInFile, szToken, 0);
    if (type == TOK_VARIABLES) {
        tagBracedList* list = GetBracedList(m_pInFile, GT_COMMA, &type, szToken);
        if (!list) {
            DisplayMsg(157, szToken);
            return nullptr;
        }
        int count = 0;
        for (tagBracedList* item = list; item; item = item->pNext) ++count;
        np->augment_name = RecordTokenList(list);
        Trace("#-VARBIND_COUNT: %d\n", count);
    }

    // The current token, either the plain one or the last one the annotation
    // loop read.
    const char* szCurrent = szToken;
    if (type == TOK_DESCRIPTION) {
        // A text that cannot be read has been reported by the reader; the
        // trap goes on without a description and its trace line shows an
        // empty text.
        np->szDescr = GetQuotedText(m_pInFile, szToken);
        Trace("DESCRIPTION: \"%s\"\n", np->szDescr ? np->szDescr : "");
        type = ReadTrapAnnotations(this, np, szTrapToken);
        szCurrent = szTrapToken;
    }
    if (type != TOK_EQUALS) {
        DisplayMsg(159, szCurrent);
        return nullptr;
    }

    type = GetToken(m_pInFile, szToken, 0);
    if (type != TOK_LABEL) {
        DisplayMsg(161, szToken);
        return nullptr;
    }
    np->def_line = m_nNameLine;
    int number = 0;
    if (!ParseTrapNumber(szToken, &number)) {
        // Also a number too large for the record's int, which would
        // otherwise wrap into a different trap number.
        DisplayMsg(160, szToken);
        return nullptr;
    }
    np->subid = number;

    Trace("#-TRAP_SPECIFIC_ID: %s\n", szToken);
    Trace("#-RULE_HANDLER: \n");
    Trace("#-NOTICE_HANDLER: \n");
    Trace("#-ENABLE: true\n");
    Trace("#-TRAPEND: %s\n\n", szName);
    return np;
}

node* CMib2Trap::ParseNotificationType(char* szName) {
    char szToken[TOKEN_BUF];
    char szTrapToken[TRAP_TOKEN_BUF];

    node* np = CreateNode(TOK_NOTIFICATION_TYPE);
    if (!np) return nullptr;
    Trace("TRAPSTART: %s\nLINE: %d\n", szName, m_nLine);

    int type = GetToken(m_pInFile, szToken, 0);
    if (type == TOK_OBJECTS) {
        // An absent or empty OBJECTS list is accepted; the word that follows
        // it is the current token either way.
        tagBracedList* list = GetBracedList(m_pInFile, GT_COMMA, &type, szToken);
        if (list) np->augment_name = RecordTokenList(list);
        for (tagBracedList* item = list; item; item = item->pNext)
            Trace("OBJECT: %s\n", item->szString ? item->szString : "");
    }

    if (type != TOK_STATUS) {
        DisplayMsg(170, szToken);
        return nullptr;
    }
    GetToken(m_pInFile, szToken, 0);  // status value, not kept
    type = GetToken(m_pInFile, szToken, 0);
    if (type != TOK_DESCRIPTION) {
        DisplayMsg(171, szToken);
        return nullptr;
    }
    // An unreadable text has been reported by the reader and is not fatal.
    np->szDescr = GetQuotedText(m_pInFile, szToken);

    type = ReadTrapAnnotations(this, np, szTrapToken);
    Trace("TRAPEND: %s\n", szName);
    if (type != TOK_EQUALS) {
        DisplayMsg(172, szTrapToken);
        return nullptr;
    }
    return np;
}

// Places every TRAP-TYPE of the module in the OID tree as SMIv2 does: the
// generic traps become children of snmpTraps, every other trap a child of
// its enterprise's child 0.  That child 0 is the first record of the module
// (of any kind, other than the trap itself) with subid 0 under the
// enterprise; when there is none, a registration named after the enterprise
// with "_Corvanta_v1traps_" appended is inserted directly before the trap, so
// that later traps of the same enterprise share it.
//
// The records numbered 0 are indexed once by parent, each with its position
// in the list (2*i for the i-th original record, 2*i-1 for a record inserted
// before it), and the index follows every rewrite of the walk.  The first
// suitable record is then the first entry under the enterprise, which keeps
// the repair linear in the size of the module.
//
// Returns non-zero, leaving the list consistent, when a generated label would
// not fit a label field: cutting it could merge the registrations of two
// enterprises.
int CMib2Trap::FixTrapTypeNodes(node** nodes) {
    if (!nodes || !*nodes) return 0;

    using Slot = std::pair<long, node*>;
    std::unordered_map<std::string, std::set<Slot>> childZero;
    long i = 0;
    for (node* np = *nodes; np; np = np->next, ++i) {
        if (np->subid == 0) childZero[np->szParent].insert(Slot(2 * i, np));
    }

    node* prev = nullptr;
    i = 0;
    for (node* np = *nodes; np; prev = np, np = np->next, ++i) {
        if (np->type != TOK_TRAP_TYPE) continue;
        const long pos = 2 * i;
        const std::string parent = np->szParent;

        if (IsGenericTrap(np)) {
            if (np->subid == 0) childZero[parent].erase(Slot(pos, np));
            np->szParent = "snmpTraps";
            np->subid += 1;
            continue;
        }

        node* target = nullptr;
        auto entry = childZero.find(parent);
        if (entry != childZero.end()) {
            for (const Slot& slot : entry->second) {
                if (slot.second != np) {
                    target = slot.second;
                    break;
                }
            }
        }

        if (!target) {
            char label[LABEL_LEN];
            int len = snprintf(label, sizeof label, "%s_Corvanta_v1traps_", np->szParent);
            if (len < 0 || len >= LABEL_LEN) return 1;
            target = CreateNode(0);
            if (!target) return 1;
            target->szLabel = CopyLabel(label);
            target->szParent = np->szParent;  // labels are never changed in place: shared
            target->subid = 0;
            target->def_line = m_nLine;
            target->next = np;
            if (prev)
                prev->next = target;
            else
                *nodes = target;
            childZero[parent].insert(Slot(pos - 1, target));
        }

        if (np->subid == 0) {
            childZero[parent].erase(Slot(pos, np));
            childZero[target->szLabel].insert(Slot(pos, np));
        }
        np->szParent = target->szLabel;
    }
    return 0;
}
