// PrintUserTypes: writes the types a compiled file defines as SMIv1 type
// assignments, each type name once per process.
#include <cstdio>
#include <string>
#include <unordered_set>

#include "mib2trap.h"
#include "smitext.h"

namespace {

using smitext::Text;
using smitext::WriteEnums;
using smitext::WriteNamed;
using smitext::kTextualConventionNames;

// The types written so far, in the order written: a token list with a head
// whose payloads are the written MibUserType records, which it owns from
// then on.  The set beside it holds their names for constant-time lookups.
MibTokenList* pUserTypeList = nullptr;
std::unordered_set<std::string> writtenTypeNames;

void WriteUserType(smitext::Out& out, const MibUserType* utp) {
    out.Put('\n');
    out.Put(Text(utp->szName));
    out.Put(" ::=\n\t");
    const int code = utp->type;
    switch (code) {
    case TOK_OBJECT_IDENTIFIER: out.Put("OBJECT IDENTIFIER\n"); break;
    case TOK_OCTET_STRING: WriteNamed(out, "OCTET STRING", utp->szSubtype); break;
    case TOK_INTEGER:
        if (utp->enums)
            WriteEnums(out, "INTEGER {\n", utp->enums);
        else
            WriteNamed(out, "INTEGER", utp->szSubtype);
        break;
    // These base types are written without their subtype.
    case TOK_NETWORKADDRESS: out.Put("NetworkAddress\n"); break;
    case TOK_IPADDRESS: out.Put("IpAddress\n"); break;
    case TOK_COUNTER: out.Put("Counter\n"); break;
    case TOK_GAUGE: out.Put("Gauge\n"); break;
    case TOK_TIMETICKS: out.Put("TimeTicks\n"); break;
    case TOK_DISPLAYSTRING: WriteNamed(out, "DisplayString", utp->szSubtype); break;
    case TOK_PHYSADDRESS: WriteNamed(out, "PhysAddress", utp->szSubtype); break;
    case TOK_BITS:
        if (utp->enums)
            WriteEnums(out, "OCTET STRING {\n", utp->enums);
        else
            WriteNamed(out, "OCTET STRING", utp->szSubtype);
        break;
    default:
        if (code >= TOK_MACADDRESS && code <= TOK_TADDRESS)
            WriteNamed(out, kTextualConventionNames[code - TOK_MACADDRESS], utp->szSubtype);
        else
            out.Put("OCTET STRING\n");  // Opaque, NULL, Counter64, Unsigned32 ...
        break;
    }
}

}  // namespace

void ResetUserTypeWriterState() {
    if (pUserTypeList) {
        for (MibTokenList* e = pUserTypeList->forw; e && e != pUserTypeList; e = e->forw)
            CMib2Trap::FreeUserTypeElement(reinterpret_cast<MibUserType*>(e->szToken));
        CMib2Trap::FreeObjDefnOnTokenList(pUserTypeList);
        CMib2Trap::FreeTokenList(pUserTypeList);
        pUserTypeList = nullptr;
    }
    writtenTypeNames.clear();
}

bool CMib2Trap::PrintUserTypes(FILE* file) {
    if (!m_pUserTypeList) return true;
    smitext::Out out(file);

    for (MibTokenList* e = m_pUserTypeList->forw; e && e != m_pUserTypeList; e = e->forw) {
        MibUserType* utp = reinterpret_cast<MibUserType*>(e->szToken);
        if (!utp) continue;
        if (!writtenTypeNames.insert(Text(utp->szName)).second) {
            // A type of this name was written before: the first definition
            // wins, and nothing refers to this record any more.
            e->szToken = nullptr;
            FreeUserTypeElement(utp);
            continue;
        }
        WriteUserType(out, utp);
        // The written list keeps the record from now on.  Should memory run
        // out first, the record stays on the compiler's list, which releases
        // it.
        CreateTokenListHead(&pUserTypeList);
        InsertTokenIntoQueue(reinterpret_cast<char*>(utp), pUserTypeList);
        e->szToken = nullptr;
    }

    // The records now belong to pUserTypeList (or were released above); only
    // the compiler's list itself goes.
    ReleaseUserTypeList();
    return true;
}
