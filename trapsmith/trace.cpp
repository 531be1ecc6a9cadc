// The trace helper: every trace record is written through Trace.
#include <cstdarg>

#include "mib2trap.h"

// Writes one printf-style record to the trace file.  Without an open trace
// file (before Initialize, or after the compile closed it) the record is
// dropped; write errors on the trace file are ignored.
void CMib2Trap::Trace(const char* fmt, ...) {
    if (!m_pTrapFile) return;
    va_list ap;
    va_start(ap, fmt);
    vfprintf(m_pTrapFile, fmt, ap);
    va_end(ap);
}
