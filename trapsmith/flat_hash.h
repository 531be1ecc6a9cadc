// What the open-addressing tables of the writers and the import resolver
// share (first_by_label.h, all_by_label.h, pointer_set.h, text_set.h): the
// hashes of texts and pointers and the capacity of a table for a number of
// entries.  Each table is one slot array probed linearly, with no
// allocation per entry.
#ifndef TRAPSMITH_FLAT_HASH_H
#define TRAPSMITH_FLAT_HASH_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace flat {

// Hash of a terminated text, eight bytes at a time.
inline uint64_t HashText(const char* text) {
    const size_t len = std::strlen(text);
    uint64_t h = 0x9e3779b97f4a7c15ull ^ len;
    auto mix = [&h](uint64_t word) {
        h = (h ^ word) * 0xff51afd7ed558ccdull;
        h ^= h >> 32;
    };
    size_t i = 0;
    for (; i + 8 <= len; i += 8) {
        uint64_t word;
        std::memcpy(&word, text + i, 8);
        mix(word);
    }
    if (i < len) {
        uint64_t word = 0;
        for (size_t shift = 0; i < len; ++i, shift += 8) word |= uint64_t{static_cast<unsigned char>(text[i])} << shift;
        mix(word);
    }
    return h ^ (h >> 29);
}

inline uint64_t HashPointer(const void* p) {
    uint64_t h = reinterpret_cast<uintptr_t>(p);
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdull;
    h ^= h >> 33;
    return h;
}

// Capacity for n entries: a power of two, at least 16, with the entries
// filling at most three quarters of it.
inline size_t CapacityFor(size_t n) {
    size_t capacity = 16;
    while (capacity - capacity / 4 < n) capacity *= 2;
    return capacity;
}

// Whether a table of `capacity` slots (none yet: 0) holding `size` entries
// must grow before it takes one more.
inline bool MustGrow(size_t size, size_t capacity) { return size + 1 > capacity - capacity / 4; }

}  // namespace flat

#endif  // TRAPSMITH_FLAT_HASH_H
