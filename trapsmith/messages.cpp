// The message catalog routines: LoadString copies a message text out of the
// catalog, DisplayMsg prints it with the current input line number.
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>

#include "mib2msg.h"
#include "mib2trap.h"

namespace {

// printf-style formatting into a string sized to fit, so that no message is
// ever cut short whatever its arguments.
std::string FormatV(const char* fmt, va_list ap) {
    va_list probe;
    va_copy(probe, ap);
    int n = vsnprintf(nullptr, 0, fmt, probe);
    va_end(probe);
    if (n <= 0) return std::string();
    std::string out(static_cast<size_t>(n) + 1, '\0');
    vsnprintf(&out[0], out.size(), fmt, ap);
    out.resize(static_cast<size_t>(n));
    return out;
}

}  // namespace

// Returns a copy of the text of message ID, to be released with free(); null
// for an id outside 101..230 (or when memory runs out).
char* CMib2Trap::LoadString(unsigned int ID) {
    if (ID < MSG_FIRST_ID || ID > MSG_LAST_ID) return nullptr;
    return strdup(messageStrings[ID - MSG_FIRST_ID]);
}

// Prints "\nLine: <m_nLine>: " and message nID formatted with the further
// arguments; no line end follows.  An id outside the catalog prints nothing.
void CMib2Trap::DisplayMsg(unsigned int nID, ...) {
    ++m_nMessages;
    char* szText = LoadString(nID);
    if (!szText) return;

    // The text becomes part of the format, so its placeholders are filled
    // from the arguments; the line number itself holds no '%'.
    std::string format = "Line: " + std::to_string(m_nLine) + ": " + szText;
    free(szText);

    va_list ap;
    va_start(ap, nID);
    std::string message = FormatV(format.c_str(), ap);
    va_end(ap);

    printf("\n%s", message.c_str());
}
