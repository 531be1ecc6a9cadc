// The SMIv2 macros that only register an OID: MODULE-IDENTITY,
// OBJECT-IDENTITY, OBJECT-GROUP, NOTIFICATION-GROUP, MODULE-COMPLIANCE and
// AGENT-CAPABILITIES.  Each parser checks the order of the macro's clauses,
// consumes and drops their contents, and stops after the "::=", leaving the
// value to the module parser.
#include <cstdlib>
#include <cstring>

#include "mib2trap.h"

namespace {

// The one-word look-ahead of a macro parser and the readers it uses.
class ClauseReader {
public:
    explicit ClauseReader(CMib2Trap* mib) : m_mib(mib) { m_szToken[0] = '\0'; }

    // Reads the next word; returns and keeps its code.
    int Next(int flags = 0) {
        m_type = m_mib->GetToken(m_mib->m_pInFile, m_szToken, flags);
        return m_type;
    }

    // Reads a quoted text and drops it.  A text that cannot be read has been
    // reported by the reader and does not end the macro.
    void SkipText() { m_mib->DropText(m_mib->GetQuotedText(m_mib->m_pInFile, m_szToken)); }

    // Reads a quoted text to keep (null when it cannot be read).
    char* KeepText() { return m_mib->GetQuotedText(m_mib->m_pInFile, m_szToken); }

    // Reads the braced list after the clause word `keyword` and drops it; the
    // word after the list, read with `flags`, becomes the current word.  A
    // missing or empty list is not an error in these macros.
    void SkipList(int keyword, int flags) {
        m_type = keyword;
        m_mib->GetBracedList(m_mib->m_pInFile, flags, &m_type, m_szToken);
    }

    // Reads a DEFVAL value in braces; false when no "{" follows.
    bool SkipDefval() {
        m_type = TOK_DEFVAL;
        return m_mib->GetBracedList(m_mib->m_pInFile, GT_COMMA, &m_type, m_szToken) != nullptr;
    }

    // Reads a SYNTAX or WRITE-SYNTAX type without storing it; on failure the
    // syntax reader has printed its message.
    bool SkipSyntax() {
        m_type = 0;
        return m_mib->GetSyntax(m_szToken, &m_type, nullptr);
    }

    // Prints message `id` with the current word and gives the parser's
    // failure result; the record made so far stays behind in the arena.
    node* Fail(unsigned int id) {
        m_mib->DisplayMsg(id, m_szToken);
        return nullptr;
    }

    int Type() const { return m_type; }
    const char* Text() const { return m_szToken; }

private:
    CMib2Trap* m_mib;
    char m_szToken[TOKEN_BUF];
    int m_type = TOK_EOF;
};

bool IsOneOf(const char* sz, const char* const* words, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (strcmp(sz, words[i]) == 0) return true;
    }
    return false;
}

// STATUS values of OBJECT-GROUP and NOTIFICATION-GROUP, SMIv1 and SMIv2.
bool IsGroupStatus(const char* sz) {
    static const char* const kStatus[] = {"current", "mandatory", "deprecated", "obsolete",
                                          "optional"};
    return IsOneOf(sz, kStatus, sizeof kStatus / sizeof kStatus[0]);
}

// ACCESS values of an AGENT-CAPABILITIES variation.  An agent may leave an
// object out ("not-implemented"), but "not-accessible" is no access an agent
// can claim for it.
bool IsVariationAccess(const char* sz) {
    static const char* const kAccess[] = {"read-only",   "read-write",
                                          "write-only",  "read-create",
                                          "accessible-for-notify", "not-implemented"};
    return IsOneOf(sz, kAccess, sizeof kAccess / sizeof kAccess[0]);
}

// Message ids of the clauses of a group macro.
struct GroupMessages {
    unsigned int list;
    unsigned int status;
    unsigned int statusValue;
    unsigned int description;
    unsigned int equals;
};

// OBJECT-GROUP and NOTIFICATION-GROUP: the member list, STATUS with a checked
// value, DESCRIPTION, an optional REFERENCE and "::=".
node* ParseGroupMacro(CMib2Trap* mib, int kind, int listKeyword, const GroupMessages& msg) {
    ClauseReader r(mib);
    node* np = mib->CreateNode(kind);
    if (!np) return nullptr;

    if (r.Next() != listKeyword) return r.Fail(msg.list);
    r.SkipList(listKeyword, GT_COMMA);
    if (r.Type() != TOK_STATUS) return r.Fail(msg.status);
    r.Next();
    if (!IsGroupStatus(r.Text())) return r.Fail(msg.statusValue);
    if (r.Next() != TOK_DESCRIPTION) return r.Fail(msg.description);
    r.SkipText();
    if (r.Next() == TOK_REFERENCE) {
        r.SkipText();
        r.Next();
    }
    if (r.Type() != TOK_EQUALS) return r.Fail(msg.equals);
    return np;
}

}  // namespace

node* CMib2Trap::ParseModuleIdentity(char* /*szName*/) {
    ClauseReader r(this);
    node* np = CreateNode(TOK_MODULE_IDENTITY);
    if (!np) return nullptr;

    if (r.Next() != TOK_LAST_UPDATED) return r.Fail(162);
    r.SkipText();
    if (r.Next() != TOK_ORGANIZATION) return r.Fail(163);
    r.SkipText();
    if (r.Next() != TOK_CONTACT_INFO) return r.Fail(164);
    r.SkipText();
    if (r.Next() != TOK_DESCRIPTION) return r.Fail(165);
    np->szDescr = r.KeepText();

    // Any number of REVISION clauses, each with its own DESCRIPTION; only the
    // module's description is kept.
    while (r.Next() == TOK_REVISION) {
        r.SkipText();
        if (r.Next() != TOK_DESCRIPTION) return r.Fail(165);
        r.SkipText();
    }
    if (r.Type() != TOK_EQUALS) return r.Fail(166);
    return np;
}

node* CMib2Trap::ParseObjectIdentity(char* /*szName*/) {
    ClauseReader r(this);
    node* np = CreateNode(TOK_OBJECT_IDENTITY);
    if (!np) return nullptr;

    if (r.Next() != TOK_STATUS) return r.Fail(167);
    r.Next();  // any status value
    if (r.Next() != TOK_DESCRIPTION) return r.Fail(168);
    np->szDescr = r.KeepText();
    if (r.Next() == TOK_REFERENCE) {
        r.SkipText();
        r.Next();
    }
    if (r.Type() != TOK_EQUALS) return r.Fail(169);
    return np;
}

node* CMib2Trap::ParseObjectGroup(char* /*szName*/) {
    static const GroupMessages kMessages = {178, 179, 180, 181, 182};
    return ParseGroupMacro(this, TOK_OBJECT_GROUP, TOK_OBJECTS, kMessages);
}

node* CMib2Trap::ParseNotificationGroup(char* /*szName*/) {
    static const GroupMessages kMessages = {173, 174, 175, 176, 177};
    return ParseGroupMacro(this, TOK_NOTIFICATION_GROUP, TOK_NOTIFICATIONS, kMessages);
}

node* CMib2Trap::ParseModuleCompliance(char* /*szName*/) {
    ClauseReader r(this);

    if (r.Next() != TOK_STATUS) return r.Fail(190);
    r.Next();  // any status value
    if (r.Next() != TOK_DESCRIPTION) return r.Fail(191);
    r.SkipText();
    if (r.Next() == TOK_REFERENCE) {
        r.SkipText();
        r.Next();
    }
    if (r.Type() != TOK_MODULE) return r.Fail(192);

    // Module sections.  Their words are read with GT_OBJECT, so that the
    // refinement keyword OBJECT does not begin "OBJECT IDENTIFIER".
    while (r.Type() == TOK_MODULE) {
        if (r.Next(GT_OBJECT) == TOK_LABEL) r.Next(GT_OBJECT);  // optional module name
        if (r.Type() == TOK_MANDATORY_GROUPS) r.SkipList(TOK_MANDATORY_GROUPS, GT_OBJECT);

        while (r.Type() == TOK_GROUP || r.Type() == TOK_OBJECT) {
            const bool isObject = (r.Type() == TOK_OBJECT);
            r.Next(GT_OBJECT);  // the group's or object's descriptor
            r.Next(GT_OBJECT);
            if (isObject) {
                if (r.Type() == TOK_SYNTAX && !r.SkipSyntax()) return nullptr;
                if (r.Type() == TOK_WRITE_SYNTAX && !r.SkipSyntax()) return nullptr;
                if (r.Type() == TOK_MIN_ACCESS) {
                    r.Next(GT_OBJECT);  // any access value
                    r.Next(GT_OBJECT);
                }
            }
            if (r.Type() != TOK_DESCRIPTION) return r.Fail(193);
            r.SkipText();
            r.Next(GT_OBJECT);
        }
        if (r.Type() != TOK_MODULE && r.Type() != TOK_EQUALS) return r.Fail(194);
    }

    // The record is made only once the whole macro has been read.
    return CreateNode(TOK_MODULE_COMPLIANCE);
}

node* CMib2Trap::ParseAgentCapabilities(char* /*szName*/) {
    ClauseReader r(this);
    node* np = CreateNode(TOK_AGENT_CAPABILITIES);
    if (!np) return nullptr;

    if (r.Next() != TOK_PRODUCT_RELEASE) return r.Fail(183);
    r.SkipText();
    if (r.Next() != TOK_STATUS) return r.Fail(184);
    r.Next();  // any status value
    if (r.Next() != TOK_DESCRIPTION) return r.Fail(185);
    r.SkipText();
    if (r.Next() == TOK_REFERENCE) {
        r.SkipText();
        r.Next();
    }

    while (r.Type() == TOK_SUPPORTS) {
        if (r.Next() == TOK_LABEL) r.Next();  // optional module name
        if (r.Type() != TOK_INCLUDES) return r.Fail(186);
        r.SkipList(TOK_INCLUDES, GT_COMMA);

        while (r.Type() == TOK_VARIATION) {
            r.Next();  // the object's descriptor
            r.Next();
            if (r.Type() == TOK_SYNTAX && !r.SkipSyntax()) return nullptr;
            if (r.Type() == TOK_WRITE_SYNTAX && !r.SkipSyntax()) return nullptr;
            if (r.Type() == TOK_ACCESS) {
                r.Next();
                if (!IsVariationAccess(r.Text())) return r.Fail(187);
                r.Next();
            }
            if (r.Type() == TOK_CREATION_REQUIRES) r.SkipList(TOK_CREATION_REQUIRES, GT_COMMA);
            if (r.Type() == TOK_DEFVAL && !r.SkipDefval()) {
                DisplayMsg(188);
                return nullptr;
            }
            if (r.Type() != TOK_DESCRIPTION) return r.Fail(185);
            r.SkipText();
            r.Next();
        }
    }
    if (r.Type() != TOK_EQUALS) return r.Fail(189);
    return np;
}
