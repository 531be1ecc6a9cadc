// The trace helper: every trace record is written through Trace.
#include <cstdarg>
#include <cstring>

#include "mib2trap.h"
#include "smitext.h"

// Writes one printf-style record to the trace file.  Without an open trace
// file (before Initialize, or after the compile closed it) the record is
// dropped; write errors on the trace file are ignored.
//
// The records use only %s and %d, which are written here directly: the trace
// takes a record for nearly every clause of a MIB, and the C library's
// formatter costs several times the writing itself.  Any other conversion
// hands the rest of the format to the C library.
void CMib2Trap::Trace(const char* fmt, ...) {
    FILE* const file = m_pTrapFile;
    if (!file) return;
    va_list ap;
    va_start(ap, fmt);
    for (const char* p = fmt;;) {
        const char* pct = strchr(p, '%');
        if (!pct) {
            smitext::Put(file, p);
            break;
        }
        smitext::Put(file, p, static_cast<size_t>(pct - p));
        if (pct[1] == 's') {
            const char* s = va_arg(ap, const char*);
            smitext::Put(file, s ? s : "(null)");
        } else if (pct[1] == 'd') {
            smitext::PutInt(file, va_arg(ap, int));
        } else {
            vfprintf(file, pct, ap);
            break;
        }
        p = pct + 2;
    }
    va_end(ap);
}
