// Token lists: circular doubly linked lists with a head element, each element
// carrying one pointer that the list either owns (a heap string, released
// with FreeHeap) or borrows (a record that lives elsewhere).  These are the
// heap lists of the compiler object and the writers; the lists of parse
// records are made in the parse's arena (RecordTokenList).
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "mib2trap.h"
#include "ring.h"

// Makes the head of a list that does not exist yet.
void CMib2Trap::CreateTokenListHead(MibTokenList** tlh) {
    if (tlh == nullptr || *tlh != nullptr) return;
    MibTokenList* head = NewHeapRecord<MibTokenList>();
    head->forw = head;
    head->back = head;
    *tlh = head;
}

// Appends the payload at the tail; the payload is stored as given, not copied.
// Returns null, leaving the payload with the caller, when there is no list;
// so does running out of memory, by its exception.
MibTokenList* CMib2Trap::InsertTokenIntoQueue(char* szToken, MibTokenList* tlh) {
    if (tlh == nullptr) return nullptr;
    MibTokenList* elem = NewHeapRecord<MibTokenList>();
    elem->szToken = szToken;
    Insque(elem, tlh->back);
    return elem;
}

void CMib2Trap::Insque(MibTokenList* elem, MibTokenList* pred) {
    pred->forw->back = elem;
    elem->forw = pred->forw;
    elem->back = pred;
    pred->forw = elem;
}

// Unlinks elem from its neighbours; elem's own links are left as they were.
void CMib2Trap::Remque(MibTokenList* elem) {
    elem->forw->back = elem->back;
    elem->back->forw = elem->forw;
}

void CMib2Trap::FreeTokenElement(MibTokenList* tl) {
    if (tl == nullptr) return;
    FreeHeap(tl->szToken);
    FreeHeap(tl);
}

void CMib2Trap::FreeTokenList(MibTokenList* tlh) {
    if (tlh == nullptr) return;
    MibTokenList* elem = tlh->forw;
    while (elem != tlh) {
        MibTokenList* next = elem->forw;
        Remque(elem);
        FreeTokenElement(elem);
        elem = next;
    }
    FreeHeap(tlh);  // the head's payload is not consulted
}

// Detaches the borrowed payloads so that a following FreeTokenList releases
// only the list itself.
void CMib2Trap::FreeObjDefnOnTokenList(MibTokenList* tlh) {
    if (tlh == nullptr) return;
    for (MibTokenList* elem = tlh->forw; elem != tlh; elem = elem->forw) elem->szToken = nullptr;
}

void* WrittenNames::Take(size_t n) {
    constexpr size_t kAlign = alignof(MibTokenList);
    constexpr size_t kBlock = 64 * 1024;
    n = (n + kAlign - 1) / kAlign * kAlign;
    if (n > m_left) {
        const size_t size = n > kBlock ? n : kBlock;
        std::unique_ptr<char[]> block(new char[size]);
        m_blocks.push_back(std::move(block));
        m_cur = m_blocks.back().get();
        m_left = size;
    }
    void* p = m_cur;
    m_cur += n;
    m_left -= n;
    return p;
}

bool WrittenNames::Add(const char* szName) {
    const uint64_t hash = flat::HashText(szName);
    if (m_index.Contains(szName, hash)) return false;
    const size_t n = std::strlen(szName);
    MibTokenList* elem = new (Take(sizeof(MibTokenList))) MibTokenList{nullptr, nullptr, nullptr};
    char* copy = static_cast<char*>(Take(n + 1));
    std::memcpy(copy, szName, n + 1);
    elem->szToken = copy;
    m_index.InsertNew(copy, hash);
    elem->forw = elem->back = elem;
    list = JoinRings(list, elem);
    return true;
}

void WrittenNames::Clear() {
    list = nullptr;
    m_index.Clear();
    m_blocks.clear();
    m_cur = nullptr;
    m_left = 0;
}
