// The tokenizer's one-character push-back, shared with the text readers that
// read the rest of a text directly from the stream after its first word.
#ifndef TRAPSMITH_TOKENIZER_STATE_H
#define TRAPSMITH_TOKENIZER_STATE_H

#include <climits>
#include <cstdio>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

// Runs of ordinary characters are taken straight from the stream's buffer:
// getc_unlocked hands out glibc's buffered bytes one at a time from
// _IO_read_ptr up to _IO_read_end (a character given back by ungetc
// included), so a loop may take several of them and move _IO_read_ptr past
// them.  Only bytes already buffered are taken: refilling stays with
// ReadMibChar.  Elsewhere no bytes are seen as buffered and every character
// goes through ReadMibChar.
struct BufferedBytes {
    const unsigned char* begin;
    const unsigned char* end;
};
inline BufferedBytes Buffered(FILE* fp) {
#if defined(__GLIBC__)
    return {reinterpret_cast<const unsigned char*>(fp->_IO_read_ptr),
            reinterpret_cast<const unsigned char*>(fp->_IO_read_end)};
#else
    (void)fp;
    return {nullptr, nullptr};
#endif
}
inline void Consume(FILE* fp, size_t n) {
#if defined(__GLIBC__)
    fp->_IO_read_ptr += n;
#else
    (void)fp;
    (void)n;
#endif
}

// Consumes the buffered characters of a word, up to `room` of them, and
// copies them to dst; returns how many.  A word ends at white space, a dash,
// a brace and, when asked, a comma or a parenthesis.  Where the processor
// allows, sixteen characters are tested and copied at a time: dst must then
// have room for all `room` characters, as the last block may be stored
// whole.
inline size_t TakeWord(FILE* fp, char* dst, size_t room, bool bCommaEnds, bool bParensEnd) {
    const BufferedBytes bytes = Buffered(fp);
    const unsigned char* end = bytes.end;
    if (static_cast<size_t>(end - bytes.begin) > room) end = bytes.begin + room;
    const unsigned char* q = bytes.begin;
#if defined(__SSE2__)
    const __m128i nine = _mm_set1_epi8(9), four = _mm_set1_epi8(4);
    while (end - q >= 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
        const __m128i fromTab = _mm_sub_epi8(v, nine);  // tab .. carriage return: 0 .. 4
        __m128i stop = _mm_cmpeq_epi8(_mm_min_epu8(fromTab, four), fromTab);
        stop = _mm_or_si128(stop, _mm_cmpeq_epi8(v, _mm_set1_epi8(' ')));
        stop = _mm_or_si128(stop, _mm_cmpeq_epi8(v, _mm_set1_epi8('-')));
        stop = _mm_or_si128(stop, _mm_cmpeq_epi8(v, _mm_set1_epi8('{')));
        stop = _mm_or_si128(stop, _mm_cmpeq_epi8(v, _mm_set1_epi8('}')));
        if (bCommaEnds) stop = _mm_or_si128(stop, _mm_cmpeq_epi8(v, _mm_set1_epi8(',')));
        if (bParensEnd) {
            stop = _mm_or_si128(stop, _mm_cmpeq_epi8(v, _mm_set1_epi8('(')));
            stop = _mm_or_si128(stop, _mm_cmpeq_epi8(v, _mm_set1_epi8(')')));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), v);
        const int mask = _mm_movemask_epi8(stop);
        if (mask != 0) {
            const int n = __builtin_ctz(static_cast<unsigned>(mask));
            q += n;
            dst += n;
            const size_t taken = static_cast<size_t>(q - bytes.begin);
            Consume(fp, taken);
            return taken;
        }
        q += 16;
        dst += 16;
    }
#endif
    for (; q != end; ++q) {
        const unsigned char c = *q;
        if (IsMibSpace(c) || c == '-' || c == '{' || c == '}' || (bCommaEnds && c == ',') ||
            (bParensEnd && (c == '(' || c == ')')))
            break;
        *dst++ = static_cast<char>(c);
    }
    const size_t taken = static_cast<size_t>(q - bytes.begin);
    Consume(fp, taken);
    return taken;
}

// Consumes the buffered characters for which keep() holds.
template <class Keep>
inline void SkipRun(FILE* fp, Keep keep) {
    const BufferedBytes bytes = Buffered(fp);
    const unsigned char* q = bytes.begin;
    while (q != bytes.end && keep(*q)) ++q;
    Consume(fp, static_cast<size_t>(q - bytes.begin));
}

// The first of p .. end-1 that is a or b, or end; sixteen bytes at a time
// where the processor allows.
inline const unsigned char* FindEither(const unsigned char* p, const unsigned char* end, unsigned char a,
                                       unsigned char b) {
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(static_cast<char>(a));
    const __m128i vb = _mm_set1_epi8(static_cast<char>(b));
    while (end - p >= 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb)));
        if (mask != 0) return p + __builtin_ctz(static_cast<unsigned>(mask));
        p += 16;
    }
#endif
    while (p != end && *p != a && *p != b) ++p;
    return p;
}

// Consumes the buffered characters up to the next a or b, at most `room` of
// them, and copies them to dst; returns how many.
inline size_t TakeUntil(FILE* fp, char* dst, size_t room, unsigned char a, unsigned char b) {
    const BufferedBytes bytes = Buffered(fp);
    const unsigned char* end = bytes.end;
    if (static_cast<size_t>(end - bytes.begin) > room) end = bytes.begin + room;
    const size_t n = static_cast<size_t>(FindEither(bytes.begin, end, a, b) - bytes.begin);
    if (n != 0) {
        memcpy(dst, bytes.begin, n);
        Consume(fp, n);
    }
    return n;
}

// Consumes the buffered characters up to the next a or b.
inline void SkipUntil(FILE* fp, unsigned char a, unsigned char b) {
    const BufferedBytes bytes = Buffered(fp);
    Consume(fp, static_cast<size_t>(FindEither(bytes.begin, bytes.end, a, b) - bytes.begin));
}

// Consumes the buffered white space, counting its newlines; runs of blanks
// go sixteen at a time where the processor allows.
inline void SkipSpaces(FILE* fp, int* pLine) {
    const BufferedBytes bytes = Buffered(fp);
    const unsigned char* q = bytes.begin;
    for (;;) {
#if defined(__SSE2__)
        const __m128i blank = _mm_set1_epi8(' ');
        while (bytes.end - q >= 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
            const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, blank)));
            if (mask != 0xFFFFu) {
                q += __builtin_ctz(~mask);
                break;
            }
            q += 16;
        }
#endif
        if (q == bytes.end || !IsMibSpace(*q)) break;
        if (*q == '\n') CountLine(pLine);
        ++q;
    }
    Consume(fp, static_cast<size_t>(q - bytes.begin));
}

#endif  // TRAPSMITH_TOKENIZER_STATE_H
