// FirstByLabel: records by label, keeping the first record stored for each
// label.  The writer's queue finds a record's parent with it.
#ifndef TRAPSMITH_FIRST_BY_LABEL_H
#define TRAPSMITH_FIRST_BY_LABEL_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "flat_hash.h"

struct node;

namespace flat {

// A slot is the record pointer alone, its label the key, with 32 bits of the
// label's hash beside it: most other labels differ there, so few labels are
// compared.  The records, and their labels, must stay in place while the
// table is used.
class FirstByLabel {
public:
    void Clear();
    // Makes room for n records, so that storing them does not rehash.
    void Reserve(size_t n);
    // Stores np under its label unless that label is there already.
    void Emplace(node* np);
    // The first record stored with this label, or nullptr.
    node* Find(const char* szLabel) const;

private:
    void Rehash(size_t capacity);
    std::vector<node*> m_slots;
    std::vector<uint32_t> m_hashes;
    size_t m_size = 0;
};

}  // namespace flat

#endif  // TRAPSMITH_FIRST_BY_LABEL_H
