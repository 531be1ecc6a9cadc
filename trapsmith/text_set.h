// TextSet: a set of texts, viewed not copied.  The written-names lists and
// the import resolver's expanded labels are kept in one.
#ifndef TRAPSMITH_TEXT_SET_H
#define TRAPSMITH_TEXT_SET_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "flat_hash.h"

namespace flat {

// Each text must stay in place while it is in the set.  The caller hands in
// the text's HashText, which it usually needs for both a lookup and an
// insertion.  Beside each slot a tag byte of the hash (never 0, which marks
// an empty slot) spares most text comparisons.  Lookups and insertions are
// inline: the writers make one for every name they write.
class TextSet {
public:
    void Clear();
    bool Contains(const char* text, uint64_t hash) const {
        if (m_size == 0) return false;
        const uint8_t tag = Tag(hash);
        const size_t mask = m_slots.size() - 1;
        for (size_t i = hash & mask; m_tags[i] != 0; i = (i + 1) & mask)
            if (m_tags[i] == tag && std::strcmp(m_slots[i], text) == 0) return true;
        return false;
    }
    // Adds a text that is not in the set.
    void InsertNew(const char* text, uint64_t hash) {
        if (MustGrow(m_size, m_slots.size())) Rehash(CapacityFor(m_size + 1));
        Place(text, hash);
        ++m_size;
    }

private:
    static uint8_t Tag(uint64_t hash) { return static_cast<uint8_t>((hash >> 56) | 1u); }
    void Place(const char* text, uint64_t hash) {
        const size_t mask = m_slots.size() - 1;
        size_t i = hash & mask;
        while (m_tags[i] != 0) i = (i + 1) & mask;
        m_slots[i] = text;
        m_tags[i] = Tag(hash);
    }
    void Rehash(size_t capacity);
    std::vector<const char*> m_slots;
    std::vector<uint8_t> m_tags;
    size_t m_size = 0;
};

}  // namespace flat

#endif  // TRAPSMITH_TEXT_SET_H
