// Pieces of SMIv1 text shared by the definition writer and the type writer.
#ifndef TRAPSMITH_SMITEXT_H
#define TRAPSMITH_SMITEXT_H

#include <cstdio>
#include <cstring>

#include "mib2trap.h"

namespace smitext {

// Unformatted output: the writers and the trace write their texts piece by
// piece, without the C library's formatter.  The compiler runs on one
// thread, so the stream lock is skipped.
//
// A piece that fits in the room left in the stream's buffer is copied
// straight into it, exactly as putc stores a single character (glibc keeps
// that room between _IO_write_ptr and _IO_write_end, and keeps it empty for
// line-buffered and unbuffered streams, so those still go through fwrite).
inline void Put(FILE* file, const char* text, size_t len) {
#if defined(__GLIBC__)
    if (len != 0 && static_cast<size_t>(file->_IO_write_end - file->_IO_write_ptr) >= len) {
        char* const out = file->_IO_write_ptr;
        if (len <= 16) {
            // Most pieces are a few characters: two overlapping fixed-size
            // moves copy them without a call.
            if (len >= 8) {
                memcpy(out, text, 8);
                memcpy(out + len - 8, text + len - 8, 8);
            } else if (len >= 4) {
                memcpy(out, text, 4);
                memcpy(out + len - 4, text + len - 4, 4);
            } else {
                out[0] = text[0];
                out[len / 2] = text[len / 2];
                out[len - 1] = text[len - 1];
            }
        } else {
            memcpy(out, text, len);
        }
        file->_IO_write_ptr = out + len;
        return;
    }
#endif
    fwrite_unlocked(text, 1, len, file);
}
inline void Put(FILE* file, const char* text) { Put(file, text, strlen(text)); }
inline void Put(FILE* file, char c) { putc_unlocked(c, file); }
// A decimal int, as "%d" writes it.
inline void PutInt(FILE* file, int value) {
    char digits[12];
    char* end = digits + sizeof digits;
    char* p = end;
    unsigned int magnitude = value < 0 ? 0u - static_cast<unsigned int>(value) : static_cast<unsigned int>(value);
    do {
        *--p = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0) *--p = '-';
    Put(file, p, static_cast<size_t>(end - p));
}

// Absent texts are written as the empty string rather than dereferenced.
inline const char* Text(const char* sz) { return sz ? sz : ""; }

// Names of the textual-convention syntaxes MacAddress (97) to TAddress (110).
inline constexpr const char* kTextualConventionNames[] = {
    "MacAddress",   "TruthValue",  "TestAndIncr",  "AutonomousType", "InstancePointer",
    "VariablePointer", "RowPointer", "RowStatus", "TimeStamp",   "TimeInterval",
    "DateAndTime",  "StorageType", "TDomain",      "TAddress",
};

// A type name followed by its subtype when there is one.
inline void WriteNamed(FILE* file, const char* szName, const char* szSubtype) {
    Put(file, szName);
    if (szSubtype) {
        Put(file, ' ');
        Put(file, szSubtype);
    }
    Put(file, '\n');
}

// An enumeration "opener\tname(value),\n\t...\n\t}\n".
inline void WriteEnums(FILE* file, const char* szOpener, const MibEnumList* ep) {
    Put(file, szOpener);
    for (const MibEnumList* e = ep; e; e = e->next) {
        Put(file, e == ep ? "\t" : ",\n\t");
        Put(file, Text(e->szLabel));
        Put(file, '(');
        PutInt(file, e->value);
        Put(file, ')');
    }
    Put(file, "\n\t}\n");
}

}  // namespace smitext

#endif  // TRAPSMITH_SMITEXT_H
