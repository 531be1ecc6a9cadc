// The reserved words of the MIB language and the 32-bucket hash that says
// which are keywords to a compiler object: the word's byte sum picks a
// bucket, and the bucket's chain holds the entry of the same sum and text.
// Only words whose first two characters begin some keyword are summed and
// looked up.
#include <bitset>
#include <cstring>

#include "mib2trap.h"

namespace {

constexpr int32_t TextLength(const char* s) {
    int32_t n = 0;
    while (s[n] != '\0') ++n;
    return n;
}

constexpr tok Keyword(const char* szName, int32_t nToken) {
    return tok{szName, TextLength(szName), nToken, 0, nullptr};
}

// The first two characters of every keyword (a one-character keyword with
// its terminator): a word that starts otherwise, as nearly every label does,
// is known not to be a keyword without looking it up.
class KeywordStarts {
public:
    explicit KeywordStarts(const tok* table) {
        for (const tok* t = table; t->szName != nullptr; ++t) m_starts.set(Key(t->szName));
    }
    bool MayStart(const char* word) const { return m_starts.test(Key(word)); }

private:
    static size_t Key(const char* s) {
        const unsigned char first = static_cast<unsigned char>(s[0]);
        return static_cast<size_t>(first) << 8 | (first != 0 ? static_cast<unsigned char>(s[1]) : 0u);
    }
    std::bitset<65536> m_starts;
};

// Whether the len bytes at a and b are the same, read in a few loads that
// stay within them: most words compared are keywords of a dozen characters.
bool SameBytes(const char* a, const char* b, size_t len) {
    auto load8 = [](const char* p) {
        uint64_t v;
        memcpy(&v, p, 8);
        return v;
    };
    auto load4 = [](const char* p) {
        uint32_t v;
        memcpy(&v, p, 4);
        return v;
    };
    if (len >= 8) {
        for (size_t i = 0; i + 8 < len; i += 8)
            if (load8(a + i) != load8(b + i)) return false;
        return load8(a + len - 8) == load8(b + len - 8);
    }
    if (len >= 4) return load4(a) == load4(b) && load4(a + len - 4) == load4(b + len - 4);
    return len == 0 || (a[0] == b[0] && a[len / 2] == b[len / 2] && a[len - 1] == b[len - 1]);
}

}  // namespace

// The order matters: HashInit pushes each entry on the head of its bucket, so
// later entries come first in a chain.  "OBJECT IDENTIFIER" and "OCTET STRING"
// hold exactly one blank; their first words are entries of their own that tell
// the tokenizer to read on.
tok g_tokens[NUM_KEYWORDS + 1] = {
    Keyword("obsolete", TOK_OBSOLETE),
    Keyword("Opaque", TOK_OPAQUE),
    Keyword("optional", TOK_OBSOLETE),
    Keyword("mandatory", TOK_MANDATORY),
    Keyword("deprecated", TOK_DEPRECATED),
    Keyword("not-accessible", TOK_NOT_ACCESSIBLE),
    Keyword("not-implemented", TOK_NOT_IMPLEMENTED),
    Keyword("write-only", TOK_WRITE_ONLY),
    Keyword("read-write", TOK_READ_WRITE),
    Keyword("TimeTicks", TOK_TIMETICKS),
    Keyword("OBJECT IDENTIFIER", TOK_OBJECT_IDENTIFIER),
    Keyword("OBJECT", TOK_CONTINUE),
    Keyword("NetworkAddress", TOK_NETWORKADDRESS),
    Keyword("Gauge", TOK_GAUGE),
    Keyword("OCTET STRING", TOK_OCTET_STRING),
    Keyword("DisplayString", TOK_DISPLAYSTRING),
    Keyword("OCTET", TOK_CONTINUE),
    Keyword("OF", TOK_OF),
    Keyword("SEQUENCE", TOK_SEQUENCE),
    Keyword("NULL", TOK_NULL),
    Keyword("IpAddress", TOK_IPADDRESS),
    Keyword("INTEGER", TOK_INTEGER),
    Keyword("Counter", TOK_COUNTER),
    Keyword("read-only", TOK_READ_ONLY),
    Keyword("ACCESS", TOK_ACCESS),
    Keyword("STATUS", TOK_STATUS),
    Keyword("SYNTAX", TOK_SYNTAX),
    Keyword("OBJECT-TYPE", TOK_OBJECT_TYPE),
    Keyword("{", TOK_BRACE),
    Keyword("}", TOK_BRACE),
    Keyword("::=", TOK_EQUALS),
    Keyword("DESCRIPTION", TOK_DESCRIPTION),
    Keyword("REFERENCE", TOK_REFERENCE),
    Keyword("INDEX", TOK_INDEX),
    Keyword("DEFVAL", TOK_DEFVAL),
    Keyword("DEFINITIONS", TOK_DEFINITIONS),
    Keyword("BEGIN", TOK_BEGIN),
    Keyword("END", TOK_END),
    Keyword("IMPORTS", TOK_IMPORTS),
    Keyword("EXPORTS", TOK_EXPORTS),
    Keyword("FROM", TOK_FROM),
    Keyword("PhysAddress", TOK_PHYSADDRESS),
    Keyword("TRAP-TYPE", TOK_TRAP_TYPE),
    Keyword("ENTERPRISE", TOK_ENTERPRISE),
    Keyword("VARIABLES", TOK_VARIABLES),
    Keyword("MODULE-IDENTITY", TOK_MODULE_IDENTITY),
    Keyword("LAST-UPDATED", TOK_LAST_UPDATED),
    Keyword("ORGANIZATION", TOK_ORGANIZATION),
    Keyword("CONTACT-INFO", TOK_CONTACT_INFO),
    Keyword("REVISION", TOK_REVISION),
    Keyword("OBJECT-IDENTITY", TOK_OBJECT_IDENTITY),
    Keyword("Integer32", TOK_INTEGER),
    Keyword("Counter64", TOK_COUNTER64),
    Keyword("Counter32", TOK_COUNTER),
    Keyword("Gauge32", TOK_GAUGE),
    Keyword("Unsigned32", TOK_UNSIGNED32),
    Keyword("UNITS", TOK_UNITS),
    Keyword("MAX-ACCESS", TOK_ACCESS),
    Keyword("read-create", TOK_READ_CREATE),
    Keyword("accessible-for-notify", TOK_ACCESSIBLE_FOR_NOTIFY),
    Keyword("current", TOK_MANDATORY),
    Keyword("AUGMENTS", TOK_AUGMENTS),
    Keyword("TEXTUAL-CONVENTION", TOK_TEXTUAL_CONVENTION),
    Keyword("OBJECTS", TOK_OBJECTS),
    Keyword("MODULE", TOK_MODULE),
    Keyword("MANDATORY-GROUPS", TOK_MANDATORY_GROUPS),
    Keyword("GROUP", TOK_GROUP),
    Keyword("WRITE-SYNTAX", TOK_WRITE_SYNTAX),
    Keyword("MIN-ACCESS", TOK_MIN_ACCESS),
    Keyword("NOTIFICATION-TYPE", TOK_NOTIFICATION_TYPE),
    Keyword("NOTIFICATION-GROUP", TOK_NOTIFICATION_GROUP),
    Keyword("NOTIFICATIONS", TOK_NOTIFICATIONS),
    Keyword("OBJECT-GROUP", TOK_OBJECT_GROUP),
    Keyword("MODULE-COMPLIANCE", TOK_MODULE_COMPLIANCE),
    Keyword("AGENT-CAPABILITIES", TOK_AGENT_CAPABILITIES),
    Keyword("PRODUCT-RELEASE", TOK_PRODUCT_RELEASE),
    Keyword("SUPPORTS", TOK_SUPPORTS),
    Keyword("INCLUDES", TOK_INCLUDES),
    Keyword("VARIATION", TOK_VARIATION),
    Keyword("CREATION-REQUIRES", TOK_CREATION_REQUIRES),
    Keyword("DISPLAY-HINT", TOK_DISPLAY_HINT),
    Keyword("BITS", TOK_BITS),
    Keyword("MacAddress", TOK_MACADDRESS),
    Keyword("TruthValue", TOK_TRUTHVALUE),
    Keyword("TestAndIncr", TOK_TESTANDINCR),
    Keyword("AutonomousType", TOK_AUTONOMOUSTYPE),
    Keyword("InstancePointer", TOK_INSTANCEPOINTER),
    Keyword("VariablePointer", TOK_VARIABLEPOINTER),
    Keyword("RowPointer", TOK_ROWPOINTER),
    Keyword("RowStatus", TOK_ROWSTATUS),
    Keyword("TimeStamp", TOK_TIMESTAMP),
    Keyword("TimeInterval", TOK_TIMEINTERVAL),
    Keyword("DateAndTime", TOK_DATEANDTIME),
    Keyword("StorageType", TOK_STORAGETYPE),
    Keyword("TDomain", TOK_TDOMAIN),
    Keyword("TAddress", TOK_TADDRESS),
    Keyword("TRAPSTART:", TOK_TRAPSTART),
    Keyword("OBJECT:", TOK_OBJECT_MARK),
    Keyword("#TYPE", TOK_TYPE),
    Keyword("#SUMMARY", TOK_SUMMARY),
    Keyword("#ARGUMENTS", TOK_ARGUMENTS),
    Keyword("#SEVERITY", TOK_SEVERITY),
    Keyword("#GENERIC", TOK_GENERIC),
    Keyword("#CATEGORY", TOK_CATEGORY),
    Keyword("#SOURCE_ID", TOK_SOURCE_ID),
    Keyword("#TIMEINDEX", TOK_TIMEINDEX),
    Keyword("#HELP", TOK_HELP),
    Keyword("#HELPTAG", TOK_HELPTAG),
    Keyword("#STATE", TOK_STATE),
    Keyword("TRAPEND:", TOK_TRAPEND),
    Keyword("#SYMBOL", TOK_SYMBOL),
    Keyword("LINE:", TOK_LINE_MARK),
    tok{nullptr, 0, 0, 0, nullptr},
};

int32_t KeywordHash(const char* sz) {
    // Bytes count as signed 8-bit values.  The sum is kept unsigned so that a
    // very long text wraps instead of overflowing; the result is the same
    // two's-complement value.
    uint32_t sum = 0;
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(sz); *p != '\0'; ++p)
        sum += static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*p)));
    return static_cast<int32_t>(sum);
}

void CMib2Trap::HashInit() {
    // The buckets are emptied first, so that initializing the same object a
    // second time rebuilds identical chains instead of linking an entry to
    // itself.
    for (tok*& head : m_pBuckets) head = nullptr;
    for (tok* t = g_tokens; t->szName != nullptr; ++t) {
        t->nHash = KeywordHash(t->szName);
        const uint32_t bucket = static_cast<uint32_t>(t->nHash) & 31u;
        t->pNext = m_pBuckets[bucket];
        m_pBuckets[bucket] = t;
    }
}

const tok* CMib2Trap::FindKeyword(const char* szWord) const { return FindKeyword(szWord, strlen(szWord)); }

namespace {

// Built from the table's texts, which are constants, before main runs.
const KeywordStarts keywordStarts(g_tokens);

}  // namespace

const tok* CMib2Trap::FindKeyword(const char* szWord, size_t len) const {
    if (!keywordStarts.MayStart(szWord)) return nullptr;
    // The word's byte sum picks the bucket; a NUL byte inside the word ends
    // its text, as it ends the text compared.
    uint32_t sum = 0;
    size_t n = 0;
    for (; n < len && szWord[n] != '\0'; ++n)
        sum += static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(szWord[n])));
    const int32_t hash = static_cast<int32_t>(sum);
    for (const tok* t = m_pBuckets[sum & 31u]; t != nullptr; t = t->pNext)
        if (t->nHash == hash && static_cast<size_t>(t->nLen) == n && SameBytes(t->szName, szWord, n)) return t;
    return nullptr;
}
