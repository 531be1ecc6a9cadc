// User types: plain type assignments ("Name ::= syntax") and TEXTUAL-CONVENTION
// macros, the MibUserType records that hold them and the user-type list
// m_pUserTypeList on which a later SYNTAX clause finds them by name.
#include <cstdlib>
#include <cstring>

#include "mib2trap.h"

namespace {

bool SameText(const char* a, const char* b) {
    if (!a || !b) return a == b;
    return strcmp(a, b) == 0;
}

}  // namespace

int CMib2Trap::ParseUserType(char* szToken, char* szName, node* cur_np) {
    node* np = CreateNode(TOK_LABEL);
    np->szLabel = CopyLabel(szName);
    np->def_line = m_nNameLine;

    int type = GetToken(m_pInFile, szToken, GT_PARENS);
    if (type == TOK_TEXTUAL_CONVENTION) {
        type = ParseTextualConvention(szToken, szName, np);
        if (type == 0) return 0;
    } else if (!GetSyntax(szToken, &type, np)) {
        return 0;
    }

    if (np->syntax == TOK_SEQUENCE || np->syntax == TOK_OF) {
        // A SEQUENCE or SEQUENCE OF assignment describes the row or table
        // structure of the definition before it and is no user type.  The
        // scratch node is hung on that definition, replacing one stored there
        // earlier.  With no definition before it there is nothing to attach
        // it to.
        if (cur_np) cur_np->userDefinedSequence = np;
        return type;
    }

    // The new record takes heap copies, since user types outlive the parse;
    // the scratch node stays behind in the arena.
    MibUserType* utp =
        CreateUserTypeElement(szName, np->syntax, np->enums, np->szUserDef, np->szSubtype);
    if (!AppendUserTypeOnTokenList(utp, &m_pUserTypeList)) return 0;
    return type;
}

int CMib2Trap::ParseTextualConvention(char* szToken, char* /*szName*/, node* np) {
    int type = GetToken(m_pInFile, szToken, 0);
    if (type == TOK_DISPLAY_HINT) {
        DropText(GetQuotedText(m_pInFile, szToken));
        type = GetToken(m_pInFile, szToken, 0);
    }
    if (type != TOK_STATUS) {
        DisplayMsg(139, szToken);
        return 0;
    }
    GetToken(m_pInFile, szToken, 0);  // the status value; any word will do
    type = GetToken(m_pInFile, szToken, 0);
    if (type != TOK_DESCRIPTION) {
        DisplayMsg(140, szToken);
        return 0;
    }
    DropText(GetQuotedText(m_pInFile, szToken));
    type = GetToken(m_pInFile, szToken, 0);
    if (type == TOK_REFERENCE) {
        DropText(GetQuotedText(m_pInFile, szToken));
        type = GetToken(m_pInFile, szToken, 0);
    }
    if (type != TOK_SYNTAX) {
        DisplayMsg(141, szToken);
        return 0;
    }
    type = 0;
    if (!GetSyntax(szToken, &type, np)) return 0;
    return type;
}

MibUserType* CMib2Trap::CreateUserTypeElement(const char* szName, int type, MibEnumList* enums,
                                              const char* szUserDef, const char* szSubtype) {
    MibUserType* utp = NewHeapRecord<MibUserType>();
    utp->type = type;
    try {
        utp->szName = CopyText(szName);
        utp->szUserDef = CopyText(szUserDef);
        utp->szSubtype = CopyText(szSubtype);
        utp->enums = DupEnumList(enums);
    } catch (...) {
        FreeUserTypeElement(utp);  // the parts made so far
        throw;
    }
    return utp;
}

// The list takes over utp, or releases it when it is refused or memory runs
// out.
bool CMib2Trap::AppendUserTypeOnTokenList(MibUserType* utp, MibTokenList** p_utlist) {
    if (!utp || !p_utlist) return false;
    // The index follows the compiler's own list, however that list is handed in.
    const bool bOwnList =
        p_utlist == &m_pUserTypeList || (*p_utlist && *p_utlist == m_pUserTypeList);

    MibUserType* existing = FindUserTypeOnTokenList(utp->szName, *p_utlist);
    if (existing) {
        if (CompareUserTypes(existing, utp)) {
            // An identical repeat (say, in a second module of the file) is
            // dropped; the first definition keeps its place.
            FreeUserTypeElement(utp);
            return true;
        }
        DisplayMsg(203, utp->szName);
        FreeUserTypeElement(utp);
        return false;
    }

    // A new list on the member starts a new index: whatever the index held
    // belonged to a list that has since been released.
    if (bOwnList && !*p_utlist) m_userTypeIndex.clear();
    auto indexed = m_userTypeIndex.end();
    try {
        CreateTokenListHead(p_utlist);
        if (bOwnList && utp->szName) indexed = m_userTypeIndex.emplace(utp->szName, utp).first;
        InsertTokenIntoQueue(reinterpret_cast<char*>(utp), *p_utlist);
    } catch (...) {
        if (indexed != m_userTypeIndex.end()) m_userTypeIndex.erase(indexed);
        FreeUserTypeElement(utp);
        throw;
    }
    return true;
}

bool CMib2Trap::CompareUserTypes(MibUserType* utp1, MibUserType* utp2) {
    if (!utp1 || !utp2) return false;
    if (!SameText(utp1->szName, utp2->szName) || utp1->type != utp2->type) return false;
    // The subtype is deliberately left out: definitions that differ only in
    // their constraint count as the same type.
    if (!SameText(utp1->szUserDef, utp2->szUserDef)) return false;
    const MibEnumList* e1 = utp1->enums;
    const MibEnumList* e2 = utp2->enums;
    for (; e1 && e2; e1 = e1->next, e2 = e2->next) {
        if (e1->value != e2->value || !SameText(e1->szLabel, e2->szLabel)) return false;
    }
    return !e1 && !e2;
}

MibUserType* CMib2Trap::FindUserTypeOnTokenList(const char* szName, MibTokenList* userTypeList) {
    if (!userTypeList || !szName) return nullptr;
    if (userTypeList == m_pUserTypeList) {
        // The compiler's own list is looked up through its index, so that a
        // module with many types costs no walk per lookup.
        auto it = m_userTypeIndex.find(szName);
        return it == m_userTypeIndex.end() ? nullptr : it->second;
    }
    // Any other list (the writer keeps one of the types already written) is
    // walked from the first element back to the head.
    for (MibTokenList* tl = userTypeList->forw; tl && tl != userTypeList; tl = tl->forw) {
        MibUserType* utp = reinterpret_cast<MibUserType*>(tl->szToken);
        if (utp && utp->szName && strcmp(utp->szName, szName) == 0) return utp;
    }
    return nullptr;
}

MibEnumList* CMib2Trap::DupEnumList(MibEnumList* oldEp) {
    MibEnumList* head = nullptr;
    MibEnumList** tail = &head;
    try {
        for (const MibEnumList* ep = oldEp; ep; ep = ep->next) {
            MibEnumList* item = NewHeapRecord<MibEnumList>();
            *tail = item;
            tail = &item->next;
            item->value = ep->value;
            item->szLabel = CopyText(ep->szLabel);
        }
    } catch (...) {
        FreeEnumList(head);
        throw;
    }
    return head;
}

void CMib2Trap::AppendObjDefnOnTokenList(node* pObjDefn, MibTokenList** pObjList) {
    if (!pObjDefn || !pObjList) return;
    CreateTokenListHead(pObjList);
    InsertTokenIntoQueue(reinterpret_cast<char*>(pObjDefn), *pObjList);
}

void CMib2Trap::FreeUserTypeElement(MibUserType* utp) {
    if (!utp) return;
    FreeHeap(utp->szName);
    FreeHeap(utp->szUserDef);
    FreeEnumList(utp->enums);
    FreeHeap(utp->szSubtype);
    FreeHeap(utp);
}

void CMib2Trap::ReleaseUserTypeList() {
    // The records stay alive: a record that has been written is still
    // referenced by the writer's list of written types.
    FreeObjDefnOnTokenList(m_pUserTypeList);
    FreeTokenList(m_pUserTypeList);
    m_pUserTypeList = nullptr;
    m_userTypeIndex.clear();
}
