// PointerSet: a set of non-null pointers.  The writer's queue keeps the
// records already queued, and the ancestors of a long chain, in it.
#ifndef TRAPSMITH_POINTER_SET_H
#define TRAPSMITH_POINTER_SET_H

#include <cstddef>
#include <vector>

#include "flat_hash.h"

namespace flat {

// A slot is the pointer itself, null when empty.  Lookups and insertions
// are inline: the writer makes several for every record it queues.
class PointerSet {
public:
    void Clear();
    size_t Size() const { return m_size; }
    bool Empty() const { return m_size == 0; }
    // Makes room for n pointers, so that inserting them does not rehash.
    void Reserve(size_t n);
    // Adds p; a null pointer or one already there changes nothing.
    void Insert(const void* p) {
        if (p == nullptr) return;
        if (MustGrow(m_size, m_slots.size())) Rehash(CapacityFor(m_size + 1));
        const void*& slot = Probe(p);
        if (slot == nullptr) {
            slot = p;
            ++m_size;
        }
    }
    bool Contains(const void* p) const {
        if (m_size == 0) return false;
        const size_t mask = m_slots.size() - 1;
        for (size_t i = HashPointer(p) & mask;; i = (i + 1) & mask) {
            if (m_slots[i] == p) return true;
            if (m_slots[i] == nullptr) return false;
        }
    }

private:
    // The slot that holds p, or the empty slot where it belongs.
    const void*& Probe(const void* p) {
        const size_t mask = m_slots.size() - 1;
        for (size_t i = HashPointer(p) & mask;; i = (i + 1) & mask)
            if (m_slots[i] == nullptr || m_slots[i] == p) return m_slots[i];
    }
    void Rehash(size_t capacity);
    std::vector<const void*> m_slots;
    size_t m_size = 0;
};

}  // namespace flat

#endif  // TRAPSMITH_POINTER_SET_H
