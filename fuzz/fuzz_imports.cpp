// libFuzzer target: a main module and up to two imported modules in one input,
// so that the files the import resolution reads are fuzzed as well.
//
// Input layout: the parts are separated by the line "#--8<--", that is by
// the bytes "\n#--8<--\n":
//
//   main module \n#--8<--\n FUZZ-A-MIB \n#--8<--\n FUZZ-B-MIB
//
// The first part is written to FUZZ-MIB.mib, the second to FUZZ-A-MIB.mib,
// the rest (further separators included) to FUZZ-B-MIB.mib; a part that is
// not there is not written, so an import of it is not found.  The main module
// reaches the other parts with IMPORTS ... FROM FUZZ-A-MIB / FUZZ-B-MIB; the
// compiler's name candidates for those modules are the files written here.
// The separator is in the dictionary, so the fuzzer can add, drop and move
// parts; an input without it is a main module alone, which keeps the seeds of
// the single-module target usable here.
//
// The compile phases, the clean-up and the checks after every run are those
// of fuzz_compile.cpp (fuzz_common.h).
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz_common.h"

namespace {

const char kSeparator[] = "\n#--8<--\n";
constexpr size_t kSeparatorLen = sizeof kSeparator - 1;
const char* const kPartFiles[] = {fuzz::kMibFile, "FUZZ-A-MIB.mib", "FUZZ-B-MIB.mib"};
constexpr int kParts = sizeof kPartFiles / sizeof kPartFiles[0];

// The offset of the next separator at or after `from`, or `size` when there
// is none.
size_t FindSeparator(const uint8_t* data, size_t size, size_t from) {
    if (size < kSeparatorLen) return size;
    for (size_t i = from; i + kSeparatorLen <= size; ++i) {
        if (data[i] == '\n' && memcmp(data + i, kSeparator, kSeparatorLen) == 0) return i;
    }
    return size;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::Setup("fuzz_imports", {kPartFiles[0], kPartFiles[1], kPartFiles[2]});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::CountRun(size);
    const int freeBefore = fuzz::LowestFreeDescriptor();

    // The main module is always written, empty or not; the last part takes
    // everything after the last separator it looks for.
    size_t start = 0;
    for (int part = 0; part < kParts; ++part) {
        const size_t end = part + 1 < kParts ? FindSeparator(data, size, start) : size;
        fuzz::WriteFile(kPartFiles[part], data + start, end - start);
        if (end == size) break;
        start = end + kSeparatorLen;
    }

    fuzz::Compile();
    fuzz::Finish(freeBefore);
    return 0;
}
