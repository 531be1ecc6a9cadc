// The message catalog routines: LoadString copies a message text out of the
// catalog, DisplayMsg prints it with the current input line number.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "mib2msg.h"
#include "mib2trap.h"

// Returns a copy of the text of message ID, to be released with free(); null
// for an id outside 101..230 (or when memory runs out).
char* CMib2Trap::LoadString(unsigned int ID) {
    if (ID < MSG_FIRST_ID || ID > MSG_LAST_ID) return nullptr;
    return strdup(messageStrings[ID - MSG_FIRST_ID]);
}

// Prints "\nLine: <m_nLine>: " and message nID formatted with the further
// arguments; no line end follows.  An id outside the catalog prints nothing.
// The text is used as the format straight from the catalog, with no copy, so
// that printing needs no memory: message 101 reports that memory ran out.
void CMib2Trap::DisplayMsg(unsigned int nID, ...) {
    ++m_nMessages;
    if (nID < MSG_FIRST_ID || nID > MSG_LAST_ID) return;
    printf("\nLine: %d: ", m_nLine);
    va_list ap;
    va_start(ap, nID);
    vprintf(messageStrings[nID - MSG_FIRST_ID], ap);
    va_end(ap);
}
