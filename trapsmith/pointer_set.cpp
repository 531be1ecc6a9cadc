// PointerSet: see pointer_set.h.
#include "pointer_set.h"

namespace flat {

void PointerSet::Clear() {
    m_slots.clear();
    m_size = 0;
}

void PointerSet::Reserve(size_t n) {
    if (CapacityFor(n) > m_slots.size()) Rehash(CapacityFor(n));
}

void PointerSet::Rehash(size_t capacity) {
    std::vector<const void*> old(capacity, nullptr);
    old.swap(m_slots);
    for (const void* p : old)
        if (p != nullptr) Probe(p) = p;
}

}  // namespace flat
