// FirstByLabel: see first_by_label.h.
#include "first_by_label.h"

#include <cstring>

#include "mib2trap.h"

namespace flat {

void FirstByLabel::Clear() {
    m_slots.clear();
    m_hashes.clear();
    m_size = 0;
}

void FirstByLabel::Reserve(size_t n) {
    if (CapacityFor(n) > m_slots.size()) Rehash(CapacityFor(n));
}

void FirstByLabel::Emplace(node* np) {
    if (MustGrow(m_size, m_slots.size())) Rehash(CapacityFor(m_size + 1));
    const uint32_t hash = static_cast<uint32_t>(HashText(np->szLabel));
    const size_t mask = m_slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        node*& slot = m_slots[i];
        if (slot == nullptr) {
            slot = np;
            m_hashes[i] = hash;
            ++m_size;
            return;
        }
        if (m_hashes[i] == hash && std::strcmp(slot->szLabel, np->szLabel) == 0) return;
    }
}

node* FirstByLabel::Find(const char* szLabel) const {
    if (m_size == 0) return nullptr;
    const uint32_t hash = static_cast<uint32_t>(HashText(szLabel));
    const size_t mask = m_slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        node* slot = m_slots[i];
        if (slot == nullptr || (m_hashes[i] == hash && std::strcmp(slot->szLabel, szLabel) == 0)) return slot;
    }
}

void FirstByLabel::Rehash(size_t capacity) {
    std::vector<node*> old(capacity, nullptr);
    std::vector<uint32_t> oldHashes(capacity, 0);
    old.swap(m_slots);
    oldHashes.swap(m_hashes);
    const size_t mask = m_slots.size() - 1;
    for (size_t j = 0; j < old.size(); ++j) {
        if (old[j] == nullptr) continue;
        size_t i = oldHashes[j] & mask;
        while (m_slots[i] != nullptr) i = (i + 1) & mask;
        m_slots[i] = old[j];
        m_hashes[i] = oldHashes[j];
    }
}

}  // namespace flat
