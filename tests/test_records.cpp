// Parse records: the release of everything a record or a module list owns
// (leaks and double frees show in the sanitizer run).
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "mib2trap.h"

static char* Dup(const char* s) {
    size_t n = std::strlen(s) + 1;
    return static_cast<char*>(std::memcpy(std::malloc(n), s, n));
}

template <typename T>
static T* Zeroed() {
    return static_cast<T*>(std::calloc(1, sizeof(T)));
}

// A record with every owned field filled.
static node* FullNode(CMib2Trap& mib) {
    node* np = mib.CreateNode(TOK_TRAP_TYPE);
    np->szUserDef = Dup("T");
    np->szDescr = Dup("d");
    np->szUnits = Dup("s");
    np->szSubtype = Dup("(0..7)");
    np->szEnterprise = Dup("acme");
    np->enums = Zeroed<MibEnumList>();
    np->enums->szLabel = Dup("up");
    np->enums->next = Zeroed<MibEnumList>();  // an item without a label
    CMib2Trap::CreateTokenListHead(&np->index_names);
    CMib2Trap::InsertTokenIntoQueue(Dup("ifIndex"), np->index_names);
    CMib2Trap::CreateTokenListHead(&np->augment_name);
    CMib2Trap::InsertTokenIntoQueue(Dup("ifEntry"), np->augment_name);
    np->sequence = Zeroed<tagBracedList>();
    np->sequence->szString = Dup("fooIndex INTEGER");
    for (int i = 0; i < 2; ++i) {  // annotation lines: one string as name and value
        keyword* kp = Zeroed<keyword>();
        kp->szLabel = kp->szValue = Dup("#SEVERITY MAJOR");
        kp->next = np->keyword;
        np->keyword = kp;
    }
    np->userDefinedSequence = mib.CreateNode(TOK_LABEL);
    np->userDefinedSequence->userDefinedSequence = mib.CreateNode(TOK_LABEL);
    return np;
}

TEST(Records, FreeingReleasesEverythingOwned) {
    CMib2Trap mib;
    CMib2Trap::FreeNode(FullNode(mib));
    CMib2Trap::FreeModList(nullptr);
    // Two modules, the first one empty.
    ModListNode* second = Zeroed<ModListNode>();
    second->node = FullNode(mib);
    second->node->next = mib.CreateNode(TOK_OBJECT_IDENTIFIER);
    ModListNode* first = Zeroed<ModListNode>();
    first->next_mod = second;
    CMib2Trap::FreeModList(first);
}
