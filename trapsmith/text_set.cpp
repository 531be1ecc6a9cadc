// TextSet: see text_set.h.
#include "text_set.h"

namespace flat {

void TextSet::Clear() {
    m_slots.clear();
    m_tags.clear();
    m_size = 0;
}

void TextSet::Rehash(size_t capacity) {
    std::vector<const char*> slots(capacity, nullptr);
    std::vector<uint8_t> tags(capacity, 0);
    slots.swap(m_slots);
    tags.swap(m_tags);
    for (size_t i = 0; i < slots.size(); ++i)
        if (tags[i] != 0) Place(slots[i], HashText(slots[i]));
}

}  // namespace flat
