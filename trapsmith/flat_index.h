// Small open-addressing tables for the writer's lookups: one slot array per
// table, no allocation per entry, linear probing, at most half full.
#ifndef TRAPSMITH_FLAT_INDEX_H
#define TRAPSMITH_FLAT_INDEX_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

struct node;

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

// Capacity for n entries: a power of two, at most three quarters full.
inline size_t CapacityFor(size_t n) {
    size_t capacity = 16;
    while (capacity - capacity / 4 < n) capacity *= 2;
    return capacity;
}

// Records by label: the first record stored for a label is kept.  A slot is
// the record pointer alone; its label is the key.  The records must stay in
// place while the table is used.
class FirstByLabel {
public:
    void Clear() {
        m_slots.clear();
        m_hashes.clear();
        m_size = 0;
    }
    void Reserve(size_t n) {
        if (CapacityFor(n) > m_slots.size()) Rehash(CapacityFor(n));
    }
    // Stores np under its label unless that label is there already.
    void Emplace(node* np);
    // The first record stored with this label, or nullptr.
    node* Find(const char* szLabel) const;

private:
    void Rehash(size_t capacity);
    std::vector<node*> m_slots;
    std::vector<uint32_t> m_hashes;  // of each slot's label: most other labels differ
    size_t m_size = 0;
};

// Records by label, every record of a label in the order added.  Slots hold
// the label's hash and its first and last record; the records of one label
// are chained by index.
class AllByLabel {
public:
    static constexpr uint32_t kNone = 0xffffffffu;
    void Clear() {
        m_slots.clear();
        m_records.clear();
        m_next.clear();
        m_labels = 0;
    }
    // Appends np to the records of its label.  (More than four thousand
    // million records, which no module can hold, would not be added.)
    void Add(node* np);
    // The index of the first record of szLabel, or kNone; Next gives the
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

// A set of non-null pointers.
class PointerSet {
public:
    void Clear() {
        m_slots.clear();
        m_size = 0;
    }
    size_t Size() const { return m_size; }
    bool Empty() const { return m_size == 0; }
    void Reserve(size_t n) {
        if (CapacityFor(n) > m_slots.size()) Rehash(CapacityFor(n));
    }
    void Insert(const void* p) {
        if (p == nullptr) return;
        if (m_size + 1 > m_slots.size() - m_slots.size() / 4) Rehash(CapacityFor(m_size + 1));
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
    const void*& Probe(const void* p) {
        const size_t mask = m_slots.size() - 1;
        for (size_t i = HashPointer(p) & mask;; i = (i + 1) & mask)
            if (m_slots[i] == nullptr || m_slots[i] == p) return m_slots[i];
    }
    void Rehash(size_t capacity) {
        std::vector<const void*> old(capacity, nullptr);
        old.swap(m_slots);
        for (const void* p : old)
            if (p != nullptr) Probe(p) = p;
    }
    std::vector<const void*> m_slots;
    size_t m_size = 0;
};

// A set of texts, viewed not copied: each text must stay in place while it
// is in the set.  Beside each slot a tag byte of the text's hash spares most
// text comparisons.
class TextSet {
public:
    void Clear() {
        m_slots.clear();
        m_tags.clear();
        m_size = 0;
    }
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
        if (m_size + 1 > m_slots.size() - m_slots.size() / 4) Rehash(CapacityFor(m_size + 1));
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
    void Rehash(size_t capacity) {
        std::vector<const char*> slots(capacity, nullptr);
        std::vector<uint8_t> tags(capacity, 0);
        slots.swap(m_slots);
        tags.swap(m_tags);
        for (size_t i = 0; i < slots.size(); ++i)
            if (tags[i] != 0) Place(slots[i], HashText(slots[i]));
    }
    std::vector<const char*> m_slots;
    std::vector<uint8_t> m_tags;
    size_t m_size = 0;
};

}  // namespace flat

#endif  // TRAPSMITH_FLAT_INDEX_H
