// Parse records and their storage: the arena that holds every record of a
// parse, the one constructor of `node`, the copies of labels, texts, lists and
// enumerations that records hold, and the heap records that outlive a parse.
//
// This is the one file that allocates and releases records.  The records of a
// parse are never released one by one: a whole parse's arena goes at once,
// with its module list (FreeModList) or, when the parse fails, when it ends.
//
// Every allocation here throws std::bad_alloc when memory runs out, like the
// C++ library's: the compile then ends as out of memory (see driver.cpp), and
// no caller has to tell a missing record from a failed parse.
#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "mib2trap.h"

const char kNoLabel[] = "";

// ---------------------------------------------------------------------------
// The arena.
// ---------------------------------------------------------------------------

namespace {

// Records hold pointers and ints, nothing wider.
constexpr size_t kAlign = alignof(void*);
constexpr size_t kMinBlock = 16 * 1024;
constexpr size_t kHugePage = 2 * 1024 * 1024;
// Blocks from this size on are made of whole huge pages.
constexpr size_t kHugeFrom = kHugePage / 2;
constexpr size_t kMaxBlock = 8 * kHugePage;

size_t RoundUp(size_t n, size_t to) { return (n + to - 1) / to * to; }

}  // namespace

struct RecordArena::Block {
    Block* prev;
    size_t size;  // bytes of the whole block, this header included
    char* end;    // end of what was handed out of it, once it is full
};

void RecordArena::Reserve(size_t inputBytes) {
    // The records of a module take about as much memory as its text: texts
    // lose their indentation and comments are dropped, but every definition
    // costs a record of its own.  A first block of that size usually holds
    // the whole parse.
    if (m_last == nullptr) m_nextSize = inputBytes;
}

size_t RecordArena::BytesUsed() const {
    size_t used = 0;
    for (const Block* b = m_last; b; b = b->prev)
        used += static_cast<size_t>((b == m_last ? m_cur : b->end) - reinterpret_cast<const char*>(b));
    return used;
}

void RecordArena::Grow(size_t need) {
    size_t size = m_nextSize < kMinBlock ? kMinBlock : m_nextSize;
    if (size > kMaxBlock) size = kMaxBlock;
    const size_t header = RoundUp(sizeof(Block), kAlign);
    if (size < header + need) size = header + need;

    void* mem;
    if (size >= kHugeFrom) {
        // A block of whole huge pages, on a huge-page boundary, so that the
        // kernel can back it with huge pages and fault it in a few steps.
        size = RoundUp(size, kHugePage);
        mem = ::operator new(size, std::align_val_t{kHugePage});
        madvise(mem, size, MADV_HUGEPAGE);
    } else {
        size = RoundUp(size, 4096);
        mem = ::operator new(size);
    }

    Block* block = static_cast<Block*>(mem);
    block->prev = m_last;
    block->size = size;
    block->end = nullptr;
    if (m_last != nullptr) m_last->end = m_cur;
    m_last = block;
    m_cur = static_cast<char*>(mem) + header;
    m_end = static_cast<char*>(mem) + size;
    m_reserved += size;
    // Each further block is half of all the blocks so far, so a parse takes
    // few blocks whatever the first guess was, and at most a third of what
    // is reserved is left over.
    m_nextSize = m_reserved / 2;
}

char* RecordArena::AllocateRaw(size_t size, size_t align) {
    const size_t pad = static_cast<size_t>(-reinterpret_cast<uintptr_t>(m_cur)) & (align - 1);
    if (m_cur == nullptr || static_cast<size_t>(m_end - m_cur) < pad + size) {
        Grow(size);
        return AllocateRaw(size, align);  // a fresh block is aligned for anything
    }
    char* p = m_cur + pad;
    m_cur = p + size;
    m_lastAlloc = p;
    return p;
}

void* RecordArena::Allocate(size_t size) {
    // Blocks are not zero-filled: records are created zeroed.
    char* p = AllocateRaw(size, kAlign);
    std::memset(p, 0, size);
    return p;
}

void RecordArena::Adopt(RecordArena& from) {
    Release();
    m_last = from.m_last;
    m_cur = from.m_cur;
    m_end = from.m_end;
    m_lastAlloc = from.m_lastAlloc;
    m_nextSize = from.m_nextSize;
    m_reserved = from.m_reserved;
    from.m_last = nullptr;
    from.m_cur = from.m_end = from.m_lastAlloc = nullptr;
    from.m_nextSize = from.m_reserved = 0;
}

char* RecordArena::CopyText(const char* text, size_t len) {
    // Texts need no alignment and are written whole, so they are packed.
    char* copy = AllocateRaw(len + 1, 1);
    std::memcpy(copy, text, len);
    copy[len] = '\0';
    return copy;
}

void RecordArena::Unwind(void* p) {
    if (p != nullptr && p == m_lastAlloc) {
        m_cur = m_lastAlloc;
        m_lastAlloc = nullptr;
    }
}

void RecordArena::Release() {
    while (m_last != nullptr) {
        Block* prev = m_last->prev;
        if (m_last->size >= kHugeFrom)
            ::operator delete(m_last, std::align_val_t{kHugePage});
        else
            ::operator delete(m_last);
        m_last = prev;
    }
    m_cur = m_end = m_lastAlloc = nullptr;
    m_nextSize = 0;
    m_reserved = 0;
}

// ---------------------------------------------------------------------------
// Records of a parse.
// ---------------------------------------------------------------------------

node* CMib2Trap::CreateNode(int type) {
    node* np = static_cast<node*>(m_arena.Allocate(sizeof(node)));
    np->szLabel = kNoLabel;
    np->szParent = kNoLabel;
    np->subid = -1;
    np->smi_access = -1;
    np->type = type;
    return np;
}

ModListNode* CMib2Trap::CreateModule(const char* szModName, const char* szMibName) {
    ModListNode* mod = static_cast<ModListNode*>(m_arena.Allocate(sizeof(ModListNode)));
    CopyInto(mod->szModName, szModName);
    CopyInto(mod->szMibName, szMibName);
    return mod;
}

const char* CMib2Trap::CopyLabel(const char* szLabel) {
    const size_t len = strnlen(szLabel, LABEL_LEN - 1);
    if (len == 0) return kNoLabel;
    return m_arena.CopyText(szLabel, len);
}

char* CMib2Trap::CopyRecordText(const char* text, size_t len) { return m_arena.CopyText(text, len); }

char* CMib2Trap::CopyRecordText(const char* text) {
    return text ? m_arena.CopyText(text, std::strlen(text)) : nullptr;
}

MibEnumList* CMib2Trap::CopyRecordEnums(const MibEnumList* ep) {
    MibEnumList* head = nullptr;
    MibEnumList** tail = &head;
    for (; ep; ep = ep->next) {
        MibEnumList* item = static_cast<MibEnumList*>(m_arena.Allocate(sizeof(MibEnumList)));
        item->value = ep->value;
        item->szLabel = CopyRecordText(ep->szLabel);
        *tail = item;
        tail = &item->next;
    }
    return head;
}

MibTokenList* CMib2Trap::RecordTokenList(const tagBracedList* list) {
    MibTokenList* head = static_cast<MibTokenList*>(m_arena.Allocate(sizeof(MibTokenList)));
    head->forw = head->back = head;
    for (; list; list = list->pNext) {
        MibTokenList* elem = static_cast<MibTokenList*>(m_arena.Allocate(sizeof(MibTokenList)));
        // The item texts live in the same arena; they are shared, not copied.
        elem->szToken = list->szString;
        Insque(elem, head->back);
    }
    return head;
}

ModListNode* CMib2Trap::FinishParse(ModListNode* list) {
    if (list == nullptr) {
        m_arena.Release();
        return nullptr;
    }
    RecordArena* arena = new RecordArena;  // on failure m_arena keeps the blocks
    // The blocks move to a heap arena of their own, which the list's first
    // module record keeps; the compiler's arena starts empty again.
    arena->Adopt(m_arena);
    list->pArena = arena;
    return list;
}

void CMib2Trap::GenericZeroMemory(void* here, size_t len) {
    if (here == nullptr || len == 0) return;
    std::memset(here, 0, len);
}

// Releases a parse's module list: its arena holds every record of the list,
// the module records included.
void CMib2Trap::FreeModList(ModListNode* mod_list) {
    if (mod_list == nullptr) return;
    delete mod_list->pArena;
}

// ---------------------------------------------------------------------------
// Heap records: user types, the import list, the compiler's own lists.
// ---------------------------------------------------------------------------

char* CopyText(const char* text, size_t len) {
    char* copy = static_cast<char*>(::operator new(len + 1));
    std::memcpy(copy, text, len);
    copy[len] = '\0';
    return copy;
}

char* CopyText(const char* text) { return text ? CopyText(text, std::strlen(text)) : nullptr; }

void* AllocHeapRecord(size_t size) {
    void* p = ::operator new(size);
    std::memset(p, 0, size);
    return p;
}

void FreeHeap(void* p) { ::operator delete(p); }

// A user type's enumeration, which lives on the heap with the type.
void CMib2Trap::FreeEnumList(MibEnumList* ep) {
    while (ep != nullptr) {
        MibEnumList* next = ep->next;
        FreeHeap(ep->szLabel);
        FreeHeap(ep);
        ep = next;
    }
}

void ReleaseOidLabels(subid* oider, int count) {
    for (int i = 0; i < count; ++i) {
        FreeHeap(oider[i].szLabel);
        oider[i].szLabel = nullptr;
    }
}
