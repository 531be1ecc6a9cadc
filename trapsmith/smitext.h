// Pieces of SMIv1 text shared by the definition writer and the type writer.
#ifndef TRAPSMITH_SMITEXT_H
#define TRAPSMITH_SMITEXT_H

#include <cstdio>
#include <cstring>

#include "mib2trap.h"

namespace smitext {

// Unformatted output: the writers and the trace write their texts piece by
// piece, without the C library's formatter.  The pieces are gathered in a
// buffer of the writer's own and go to the stream in large writes: when the
// buffer is full, and when the Out goes out of scope.  Nothing else writes
// to the stream while an Out for it holds text.
class Out {
public:
    explicit Out(FILE* stream) : m_stream(stream) {}
    ~Out() { Flush(); }
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;

    FILE* Stream() const { return m_stream; }

    void Put(const char* text, size_t len) {
        if (len > sizeof m_buf - m_len) {
            Flush();
            if (len > sizeof m_buf) {
                fwrite(text, 1, len, m_stream);
                return;
            }
        }
        char* const to = m_buf + m_len;
        if (len <= 16) {
            // Most pieces are a few characters: two overlapping fixed-size
            // moves copy them without a call.
            if (len >= 8) {
                memcpy(to, text, 8);
                memcpy(to + len - 8, text + len - 8, 8);
            } else if (len >= 4) {
                memcpy(to, text, 4);
                memcpy(to + len - 4, text + len - 4, 4);
            } else if (len != 0) {
                to[0] = text[0];
                to[len / 2] = text[len / 2];
                to[len - 1] = text[len - 1];
            }
        } else {
            memcpy(to, text, len);
        }
        m_len += len;
    }
    void Put(const char* text) { Put(text, strlen(text)); }
    void Put(char c) {
        if (m_len == sizeof m_buf) Flush();
        m_buf[m_len++] = c;
    }
    // A decimal int, as "%d" writes it.
    void PutInt(int value) {
        char digits[12];
        char* end = digits + sizeof digits;
        char* p = end;
        unsigned int magnitude =
            value < 0 ? 0u - static_cast<unsigned int>(value) : static_cast<unsigned int>(value);
        do {
            *--p = static_cast<char>('0' + magnitude % 10);
            magnitude /= 10;
        } while (magnitude != 0);
        if (value < 0) *--p = '-';
        Put(p, static_cast<size_t>(end - p));
    }
    // Writes what the buffer holds; errors show in the stream's state, which
    // the code that closes it reports.
    void Flush() {
        if (m_len != 0) fwrite(m_buf, 1, m_len, m_stream);
        m_len = 0;
    }

private:
    FILE* const m_stream;
    size_t m_len = 0;
    char m_buf[4096];
};

// Absent texts are written as the empty string rather than dereferenced.
inline const char* Text(const char* sz) { return sz ? sz : ""; }

// Names of the textual-convention syntaxes MacAddress (97) to TAddress (110).
inline constexpr const char* kTextualConventionNames[] = {
    "MacAddress",   "TruthValue",  "TestAndIncr",  "AutonomousType", "InstancePointer",
    "VariablePointer", "RowPointer", "RowStatus", "TimeStamp",   "TimeInterval",
    "DateAndTime",  "StorageType", "TDomain",      "TAddress",
};

// A type name followed by its subtype when there is one.
inline void WriteNamed(Out& out, const char* szName, const char* szSubtype) {
    out.Put(szName);
    if (szSubtype) {
        out.Put(' ');
        out.Put(szSubtype);
    }
    out.Put('\n');
}

// An enumeration "opener\tname(value),\n\t...\n\t}\n".
inline void WriteEnums(Out& out, const char* szOpener, const MibEnumList* ep) {
    out.Put(szOpener);
    for (const MibEnumList* e = ep; e; e = e->next) {
        out.Put(e == ep ? "\t" : ",\n\t");
        out.Put(Text(e->szLabel));
        out.Put('(');
        out.PutInt(e->value);
        out.Put(')');
    }
    out.Put("\n\t}\n");
}

}  // namespace smitext

#endif  // TRAPSMITH_SMITEXT_H
