// AllByLabel: records by label, every record of a label in the order added.
// The import resolver finds all the definitions of a label with it.
#ifndef TRAPSMITH_ALL_BY_LABEL_H
#define TRAPSMITH_ALL_BY_LABEL_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "flat_hash.h"

struct node;

namespace flat {

// The records are kept in the order added and numbered by that order; a slot
// holds a label's hash and the numbers of its first and last record, and the
// records of one label are chained by number.  The records, and their
// labels, must stay in place while the table is used.
class AllByLabel {
public:
    static constexpr uint32_t kNone = 0xffffffffu;
    void Clear();
    // Appends np to the records of its label.  (More than four thousand
    // million records, which no module can hold, would not be added.)
    void Add(node* np);
    // The number of the first record of szLabel, or kNone; Next gives the
    // following one of the same label.
    uint32_t First(const char* szLabel) const;
    uint32_t Next(uint32_t index) const { return m_next[index]; }
    node* Record(uint32_t index) const { return m_records[index]; }

private:
    struct Slot {
        uint32_t hash;
        uint32_t first = kNone;  // kNone: empty
        uint32_t last;
    };
    void Rehash(size_t capacity);
    std::vector<Slot> m_slots;
    std::vector<node*> m_records;
    std::vector<uint32_t> m_next;
    size_t m_labels = 0;
};

}  // namespace flat

#endif  // TRAPSMITH_ALL_BY_LABEL_H
