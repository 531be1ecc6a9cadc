// Circular doubly linked lists without a separate head: each record links
// to the next through `forw` and to the previous through `back`, the last
// back to the first; a list is known by its first record, null while empty.
#ifndef TRAPSMITH_RING_H
#define TRAPSMITH_RING_H

// Joins two such lists into one, the records of `second` after the last of
// `first`; returns the first record of the whole.
template <class T>
T* JoinRings(T* first, T* second) {
    if (!first) return second;
    if (!second) return first;
    T* firstLast = first->back;
    T* secondLast = second->back;
    firstLast->forw = second;
    second->back = firstLast;
    secondLast->forw = first;
    first->back = secondLast;
    return first;
}

#endif  // TRAPSMITH_RING_H
