// The tokenizer's one-character push-back, shared with the text readers that
// read the rest of a text directly from the input after its first word.
#ifndef TRAPSMITH_TOKENIZER_STATE_H
#define TRAPSMITH_TOKENIZER_STATE_H

#include <climits>
#include <cstdint>

#include "mibsource.h"

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

// Stop tests of runs (see MibSource): white space within a line, such as
// indentation, ends at a newline or at anything but white space; a word cut
// for its length is skipped up to white space.
struct LineBlanksEnd {
    bool operator()(unsigned char c) const { return c != ' ' && (c != '\t' && (c < '\v' || c > '\r')); }
#if defined(__SSE2__)
    static unsigned Candidates(__m128i v) { return MibSource::Equal(v, ' ') ^ 0xFFFFu; }
#endif
    bool NoneIn(uint64_t v) const { return v == MibSource::Eight(' '); }
};
struct SpaceStop {
    bool operator()(unsigned char c) const { return IsMibSpace(c); }
#if defined(__SSE2__)
    static unsigned Candidates(__m128i v) { return MibSource::Outside(v, ' ' + 1, 127); }
#endif
    bool NoneIn(uint64_t v) const { return !MibSource::AnyBelow(v, '\r' + 1) && !MibSource::AnyZero(v ^ MibSource::Eight(' ')); }
};

#endif  // TRAPSMITH_TOKENIZER_STATE_H
