// AllByLabel: see all_by_label.h.
#include "all_by_label.h"

#include <cstring>

#include "mib2trap.h"

namespace flat {

void AllByLabel::Clear() {
    m_slots.clear();
    m_records.clear();
    m_next.clear();
    m_labels = 0;
}

void AllByLabel::Add(node* np) {
    if (m_records.size() >= kNone - 1) return;
    if (MustGrow(m_labels, m_slots.size())) Rehash(CapacityFor(m_labels + 1));
    const uint32_t index = static_cast<uint32_t>(m_records.size());
    m_records.push_back(np);
    m_next.push_back(kNone);
    const uint32_t hash = static_cast<uint32_t>(HashText(np->szLabel));
    const size_t mask = m_slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        Slot& slot = m_slots[i];
        if (slot.first == kNone) {
            slot = Slot{hash, index, index};
            ++m_labels;
            return;
        }
        if (slot.hash == hash && std::strcmp(m_records[slot.first]->szLabel, np->szLabel) == 0) {
            m_next[slot.last] = index;
            slot.last = index;
            return;
        }
    }
}

uint32_t AllByLabel::First(const char* szLabel) const {
    if (m_labels == 0) return kNone;
    const uint32_t hash = static_cast<uint32_t>(HashText(szLabel));
    const size_t mask = m_slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot& slot = m_slots[i];
        if (slot.first == kNone) return kNone;
        if (slot.hash == hash && std::strcmp(m_records[slot.first]->szLabel, szLabel) == 0) return slot.first;
    }
}

void AllByLabel::Rehash(size_t capacity) {
    std::vector<Slot> old(capacity);
    old.swap(m_slots);
    const size_t mask = m_slots.size() - 1;
    for (const Slot& slot : old) {
        if (slot.first == kNone) continue;
        size_t i = slot.hash & mask;
        while (m_slots[i].first != kNone) i = (i + 1) & mask;
        m_slots[i] = slot;
    }
}

}  // namespace flat
