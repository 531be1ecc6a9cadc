// Parse records: the one constructor of `node` and the routines that release
// records and the small lists that hang off them.
//
// Every record and every text a record owns lives on the C heap (malloc and
// friends) and is released with free().
#include <cstdlib>
#include <cstring>

#include "mib2trap.h"

node* CMib2Trap::CreateNode(int type) {
    node* np = static_cast<node*>(std::malloc(sizeof(node)));
    if (np == nullptr) return nullptr;  // callers treat a null record as failure
    GenericZeroMemory(np, sizeof(node));
    np->next = nullptr;
    np->szUserDef = nullptr;
    np->enums = nullptr;
    np->szDescr = nullptr;
    np->index_names = nullptr;
    np->pvEaObj = nullptr;
    np->szUnits = nullptr;
    np->szSubtype = nullptr;
    np->augment_name = nullptr;
    np->keyword = nullptr;
    np->sequence = nullptr;
    np->szEnterprise = nullptr;
    np->userDefinedSequence = nullptr;
    np->fixed_len = 0;
    np->syntax = 0;
    np->subid = -1;
    np->smi_access = -1;
    np->type = type;
    return np;
}

char* CopyText(const char* text, size_t len) {
    char* copy = static_cast<char*>(std::malloc(len + 1));
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, text, len);
    copy[len] = '\0';
    return copy;
}

char* CopyText(const char* text) { return text ? CopyText(text, std::strlen(text)) : nullptr; }

void CMib2Trap::GenericZeroMemory(void* here, size_t len) {
    if (here == nullptr || len == 0) return;
    std::memset(here, 0, len);
}

// Releases everything the record owns, then the record.  Besides the texts and
// lists of its clauses that includes the trap annotation list, the enterprise
// text, the SEQUENCE member list and the row/table structure record hung on it
// by a later type assignment, so that nothing a record refers to outlives it.
// The structure records are released in a loop rather than by recursion.
void CMib2Trap::FreeNode(node* np) {
    while (np != nullptr) {
        node* structure = np->userDefinedSequence;
        std::free(np->szUserDef);
        FreeEnumList(np->enums);
        std::free(np->szDescr);
        FreeTokenList(np->index_names);
        std::free(np->szUnits);
        std::free(np->szSubtype);
        FreeTokenList(np->augment_name);
        FreeKeywordList(np->keyword);
        std::free(np->szEnterprise);
        FreeBracedList(np->sequence);
        std::free(np);
        np = structure;
    }
}

void CMib2Trap::FreeNodeList(node* np) {
    while (np != nullptr) {
        node* next = np->next;
        FreeNode(np);
        np = next;
    }
}

void CMib2Trap::FreeModList(ModListNode* mod_list) {
    while (mod_list != nullptr) {
        ModListNode* next = mod_list->next_mod;
        FreeNodeList(mod_list->node);
        std::free(mod_list);
        mod_list = next;
    }
}

void CMib2Trap::FreeEnumList(MibEnumList* ep) {
    while (ep != nullptr) {
        MibEnumList* next = ep->next;
        std::free(ep->szLabel);
        std::free(ep);
        ep = next;
    }
}

void CMib2Trap::FreeBracedList(tagBracedList* blp) {
    while (blp != nullptr) {
        tagBracedList* next = blp->pNext;
        std::free(blp->szString);
        std::free(blp);
        blp = next;
    }
}

// An annotation record holds one string that serves as both its name and its
// value; it is released once.  A record whose value is a string of its own
// owns that one too.
void CMib2Trap::FreeKeywordList(keyword* kp) {
    while (kp != nullptr) {
        keyword* next = kp->next;
        if (kp->szValue != kp->szLabel) std::free(kp->szValue);
        std::free(kp->szLabel);
        std::free(kp);
        kp = next;
    }
}
