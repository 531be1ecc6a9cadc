// The trace helper: every trace record is written through Trace.
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "mib2trap.h"
#include "smitext.h"

// Writes one printf-style record to the trace file: into the parse's trace
// buffer while a parse is under way, at once otherwise.  Without an open
// trace file (before Initialize, or after the compile closed it) the record
// is dropped; write errors on the trace file are ignored.
//
// The records use only %s and %d, which are written here directly: the trace
// takes a record for nearly every clause of a MIB, and the C library's
// formatter costs several times the writing itself.  Any other conversion
// hands the rest of the format to the C library.
namespace {

// A format split once into its pieces: literal runs, and %s or %d.  The
// formats are string literals, so a format is known by its address; the
// table holds far more slots than there are formats, a format goes to the
// first free slot from the one its address picks, and a format that finds
// none within a few, has another conversion or more pieces is written the
// general way.
struct SplitFormat {
    static constexpr int kMaxPieces = 5;
    struct Piece {
        const char* text;  // a literal run, or null for a conversion
        uint32_t len;
        char conv;         // 's' or 'd'
    };
    const char* fmt;
    int nPieces;
    Piece pieces[kMaxPieces];
};

bool Split(const char* fmt, SplitFormat* out) {
    int n = 0;
    for (const char* p = fmt; *p != '\0';) {
        if (n == SplitFormat::kMaxPieces) return false;
        if (*p == '%') {
            if (p[1] != 's' && p[1] != 'd') return false;
            out->pieces[n++] = {nullptr, 0, p[1]};
            p += 2;
        } else {
            const char* pct = strchr(p, '%');
            const size_t len = pct ? static_cast<size_t>(pct - p) : strlen(p);
            out->pieces[n++] = {p, static_cast<uint32_t>(len), 0};
            p += len;
        }
    }
    out->nPieces = n;
    out->fmt = fmt;
    return true;
}

constexpr size_t kSlots = 256;
constexpr size_t kProbes = 8;
SplitFormat splitFormats[kSlots];

// The split of a format, or null when it cannot be split or finds no slot.
const SplitFormat* SplitOf(const char* fmt) {
    const uint64_t key = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(fmt)) * 0x9e3779b97f4a7c15ull;
    for (size_t i = key >> 56, n = 0; n < kProbes; i = (i + 1) % kSlots, ++n) {
        SplitFormat& slot = splitFormats[i];
        if (slot.fmt == fmt) return &slot;
        if (slot.fmt != nullptr) continue;
        SplitFormat split;
        if (strlen(fmt) > 0xffffu || !Split(fmt, &split)) return nullptr;
        slot = split;
        return &slot;
    }
    return nullptr;
}

// A record whose format is not split: %s and %d are written here, and any
// other conversion hands the rest of the format to the C library, after
// what out holds.
void WriteUnsplit(smitext::Out& out, FILE* file, const char* fmt, va_list ap) {
    for (const char* p = fmt;;) {
        const char* pct = strchr(p, '%');
        if (!pct) {
            out.Put(p);
            break;
        }
        out.Put(p, static_cast<size_t>(pct - p));
        if (pct[1] == 's') {
            const char* s = va_arg(ap, const char*);
            out.Put(s ? s : "(null)");
        } else if (pct[1] == 'd') {
            out.PutInt(va_arg(ap, int));
        } else {
            out.Flush();
            vfprintf(file, pct, ap);
            break;
        }
        p = pct + 2;
    }
}

// A record written while no parse gathers the trace: through a buffer of
// its own, written out at once.
void WriteAlone(FILE* file, const char* fmt, va_list ap) {
    smitext::Out out(file);
    WriteUnsplit(out, file, fmt, ap);
}

}  // namespace

void CMib2Trap::Trace(const char* fmt, ...) {
    FILE* const file = m_pTrapFile.get();
    if (!file) return;
    va_list ap;
    va_start(ap, fmt);
    smitext::Out* const out = m_traceOut;
    const SplitFormat* split;
    if (out == nullptr || out->Stream() != file) {
        WriteAlone(file, fmt, ap);
    } else if ((split = SplitOf(fmt)) == nullptr) {
        WriteUnsplit(*out, file, fmt, ap);
    } else {
        // The common case, written piece by piece into the parse's buffer.
        for (int i = 0; i < split->nPieces; ++i) {
            const SplitFormat::Piece& piece = split->pieces[i];
            if (piece.text) {
                out->Put(piece.text, piece.len);
            } else if (piece.conv == 's') {
                const char* text = va_arg(ap, const char*);
                out->Put(text ? text : "(null)");
            } else {
                out->PutInt(va_arg(ap, int));
            }
        }
    }
    va_end(ap);
}
