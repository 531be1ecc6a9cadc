// The tokenizer's one-character push-back, shared with the text readers that
// read the rest of a text directly from the stream after its first word.
#ifndef TRAPSMITH_TOKENIZER_STATE_H
#define TRAPSMITH_TOKENIZER_STATE_H

#include <climits>
#include <cstdio>

// The character that ended the last word and has not been consumed yet; the
// next GetToken starts with it.  Always a byte value (0 to 255), never EOF:
// end of input leaves a blank.  One for the whole process.
extern int chLast;

// White space as the C locale defines it: blank, tab, newline, vertical tab,
// form feed, carriage return.
constexpr bool IsMibSpace(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Counts one line; the counter stops at its maximum instead of overflowing on
// an absurdly long input.
inline void CountLine(int* pLine) {
    if (*pLine < INT_MAX) ++*pLine;
}

// One character of a MIB stream.  The compiler runs on one thread, so the
// stream lock getc would take for every character is skipped.
inline int ReadMibChar(FILE* fp) { return getc_unlocked(fp); }

#endif  // TRAPSMITH_TOKENIZER_STATE_H
