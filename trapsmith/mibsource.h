// The input of a compile: the bytes of the open MIB stream, read in large
// blocks, and the primitives the tokenizer and the text readers scan them
// with.  It counts nothing itself: lines are counted by whoever reads the
// newlines.
#ifndef TRAPSMITH_MIBSOURCE_H
#define TRAPSMITH_MIBSOURCE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

class MibSource {
public:
    static constexpr size_t kBlockSize = 64 * 1024;

    explicit MibSource(size_t blockSize = kBlockSize) : m_blockSize(blockSize != 0 ? blockSize : 1) {}
    MibSource(const MibSource&) = delete;
    MibSource& operator=(const MibSource&) = delete;

    // Reads fp from its current position on (null: no stream).  Bytes read
    // ahead from the stream attached before are dropped, so a stream closed
    // and another opened at the same address start clean once attached.  The
    // block goes too: a source holds one only while it reads, so that the
    // compiler objects of a run do not each keep one.
    void Attach(FILE* fp) {
        m_fp = fp;
        m_cur = m_end = nullptr;
        m_block.reset();
    }
    FILE* Stream() const { return m_fp; }

    // The next byte (0 to 255), taken, or EOF at the end of the input.
    int Take() {
        if (m_cur == m_end && !Refill()) return EOF;
        return *m_cur++;
    }
    // The next byte, or EOF, left for the next Take.
    int Peek() {
        if (m_cur == m_end && !Refill()) return EOF;
        return *m_cur;
    }
    // Gives back c, which the Take just before returned; EOF gives back
    // nothing.  The byte is still in the block: a Take never leaves the
    // position at the start of one.
    void PutBack(int c) {
        if (c != EOF) --m_cur;
    }

    // Run scanning.  A run is the bytes from the current position up to the
    // first that its stop test rejects, or the end of the input; the byte
    // that stops it is left for the next Take.  Runs go on across blocks.
    // A stop test is called as stop(byte), true when the byte ends the run,
    // and passes over long runs many bytes at a time with a wider test that
    // may name bytes that do not end the run but never misses one that does:
    // with SSE2, stop.Candidates(sixteen) gives a bit for each byte of the
    // sixteen that may end it; elsewhere stop.NoneIn(eight), with eight bytes
    // loaded from memory, is true only when none of them ends it.
    //
    // Takes at most `room` bytes of the run and copies them to dst; returns
    // how many.  Bytes of dst past those may be written, up to `room`.
    template <class Stop>
    size_t CopyRun(char* dst, size_t room, Stop stop) {
        char* out = dst;
        char* const limit = dst + room;
        while (out != limit && (m_cur != m_end || Refill())) {
            const unsigned char* const p = m_cur;
            const size_t avail = static_cast<size_t>(m_end - p);
            const size_t want = static_cast<size_t>(limit - out);
            m_cur = Scan<true>(p, p + (avail < want ? avail : want), out, stop);
            out += m_cur - p;
            if (m_cur != m_end) break;
        }
        return static_cast<size_t>(out - dst);
    }
    // Takes the whole run.
    template <class Stop>
    void SkipRun(Stop stop) {
        while (m_cur != m_end || Refill()) {
            m_cur = Scan<false>(m_cur, m_end, nullptr, stop);
            if (m_cur != m_end) return;
        }
    }

    // Eight copies of a byte, and tests of eight bytes at once, for the stop
    // tests: whether one of them is zero, below n (n at most 128) or above n
    // (n at most 127).  None of them is ever wrongly false.
    static constexpr uint64_t Eight(unsigned char b) { return 0x0101010101010101u * b; }
    static constexpr bool AnyZero(uint64_t v) { return ((v - Eight(1)) & ~v & Eight(0x80)) != 0; }
    static constexpr bool AnyBelow(uint64_t v, unsigned char n) { return ((v - Eight(n)) & ~v & Eight(0x80)) != 0; }
    static constexpr bool AnyAbove(uint64_t v, unsigned char n) {
        return (((v + Eight(static_cast<unsigned char>(127 - n))) | v) & Eight(0x80)) != 0;
    }
#if defined(__SSE2__)
    // The bits of the bytes of v equal to b.
    static unsigned Equal(__m128i v, char b) {
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8(b))));
    }
    // The bits of the bytes of v outside lo .. hi (both below 128); bytes
    // from 128 up are outside.
    static unsigned Outside(__m128i v, char lo, char hi) {
        const __m128i out = _mm_or_si128(_mm_cmplt_epi8(v, _mm_set1_epi8(lo)), _mm_cmpgt_epi8(v, _mm_set1_epi8(hi)));
        return static_cast<unsigned>(_mm_movemask_epi8(out));
    }
#endif

    // Runs that end at either of two bytes, such as a quoted text (quote or
    // newline) or a comment (dash or newline).
    struct EitherOf {
        unsigned char a, b;
        bool operator()(unsigned char c) const { return c == a || c == b; }
#if defined(__SSE2__)
        unsigned Candidates(__m128i v) const {
            return Equal(v, static_cast<char>(a)) | Equal(v, static_cast<char>(b));
        }
#endif
        bool NoneIn(uint64_t v) const { return !AnyZero(v ^ Eight(a)) && !AnyZero(v ^ Eight(b)); }
    };

private:
    // The first byte of p .. end-1 that stops a run, or end.  With kCopy the
    // bytes before it are copied to out, and bytes after them may be too, up
    // to out + (end - p).
    template <bool kCopy, class Stop>
    static const unsigned char* Scan(const unsigned char* p, const unsigned char* end, char* out, Stop stop) {
#if defined(__SSE2__)
        for (; end - p >= 16; p += 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            if (kCopy) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out), v);
                out += 16;
            }
            for (unsigned m = stop.Candidates(v); m != 0; m &= m - 1) {
                const unsigned char* const q = p + __builtin_ctz(m);
                if (stop(*q)) return q;
            }
        }
#else
        for (; end - p >= 8; p += 8) {
            uint64_t v;
            memcpy(&v, p, 8);
            if (!stop.NoneIn(v)) break;
            if (kCopy) {
                memcpy(out, &v, 8);
                out += 8;
            }
        }
#endif
        for (; p != end && !stop(*p); ++p)
            if (kCopy) *out++ = static_cast<char>(*p);
        return p;
    }
    // Reads the next block; false at the end of the input (or on a read
    // error, which ends the input as well).
    bool Refill();

    FILE* m_fp = nullptr;
    const size_t m_blockSize;
    std::unique_ptr<unsigned char[]> m_block;
    size_t m_blockLen = 0;  // the size of m_block: m_blockSize, or less for a short file
    const unsigned char* m_cur = nullptr;  // next byte of the block
    const unsigned char* m_end = nullptr;  // end of the bytes read into it
};

#endif  // TRAPSMITH_MIBSOURCE_H
