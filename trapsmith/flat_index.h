// Small open-addressing tables for the writer's lookups: one slot array per
// table, no allocation per entry, linear probing, at most half full.
#ifndef TRAPSMITH_FLAT_INDEX_H
#define TRAPSMITH_FLAT_INDEX_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace flat {

inline uint64_t HashText(std::string_view text) {
    uint64_t h = 1469598103934665603ull;  // FNV-1a
    for (unsigned char c : text) {
        h ^= c;
        h *= 1099511628211ull;
    }
    return h;
}

inline uint64_t HashPointer(const void* p) {
    uint64_t h = reinterpret_cast<uintptr_t>(p);
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdull;
    h ^= h >> 33;
    return h;
}

// Text -> value; the first value stored for a text is kept.  The texts are
// viewed, not copied: they must outlive the table's use of them.
template <class Value>
class FirstByName {
public:
    void Clear() {
        m_slots.clear();
        m_size = 0;
    }
    void Reserve(size_t n) {
        size_t want = 16;
        while (want < 2 * n) want *= 2;
        if (want > m_slots.size()) Rehash(want);
    }
    // Stores value under text unless text is there already.
    void Emplace(std::string_view text, Value value) {
        if (2 * (m_size + 1) > m_slots.size()) Rehash(m_slots.empty() ? 16 : 2 * m_slots.size());
        Slot& slot = Probe(text, HashText(text));
        if (slot.used) return;
        slot = Slot{text, value, true};
        ++m_size;
    }
    // The value stored for text, or nullptr.
    const Value* Find(std::string_view text) const {
        if (m_size == 0) return nullptr;
        const size_t mask = m_slots.size() - 1;
        for (size_t i = HashText(text) & mask;; i = (i + 1) & mask) {
            const Slot& slot = m_slots[i];
            if (!slot.used) return nullptr;
            if (slot.text == text) return &slot.value;
        }
    }

private:
    struct Slot {
        std::string_view text;
        Value value{};
        bool used = false;
    };
    Slot& Probe(std::string_view text, uint64_t hash) {
        const size_t mask = m_slots.size() - 1;
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            Slot& slot = m_slots[i];
            if (!slot.used || slot.text == text) return slot;
        }
    }
    void Rehash(size_t capacity) {
        std::vector<Slot> old(capacity);
        old.swap(m_slots);
        for (const Slot& slot : old)
            if (slot.used) Probe(slot.text, HashText(slot.text)) = slot;
    }
    std::vector<Slot> m_slots;
    size_t m_size = 0;
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
        size_t want = 16;
        while (want < 2 * n) want *= 2;
        if (want > m_slots.size()) Rehash(want);
    }
    void Insert(const void* p) {
        if (p == nullptr) return;
        if (2 * (m_size + 1) > m_slots.size()) Rehash(m_slots.empty() ? 16 : 2 * m_slots.size());
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

}  // namespace flat

#endif  // TRAPSMITH_FLAT_INDEX_H
