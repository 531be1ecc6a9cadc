// Pieces of SMIv1 text shared by the definition writer and the type writer.
#ifndef TRAPSMITH_SMITEXT_H
#define TRAPSMITH_SMITEXT_H

#include <cstdio>

#include "mib2trap.h"

namespace smitext {

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
    if (szSubtype)
        fprintf(file, "%s %s\n", szName, szSubtype);
    else
        fprintf(file, "%s\n", szName);
}

// An enumeration "opener\tname(value),\n\t...\n\t}\n".
inline void WriteEnums(FILE* file, const char* szOpener, const MibEnumList* ep) {
    fputs(szOpener, file);
    for (const MibEnumList* e = ep; e; e = e->next)
        fprintf(file, e == ep ? "\t%s(%d)" : ",\n\t%s(%d)", Text(e->szLabel), e->value);
    fputs("\n\t}\n", file);
}

}  // namespace smitext

#endif  // TRAPSMITH_SMITEXT_H
