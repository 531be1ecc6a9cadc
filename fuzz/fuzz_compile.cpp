// libFuzzer target: compiles an in-memory MIB through the real compiler
// object, the way the driver does (main module in mode 1, then every import in
// mode 2 into the imports file), with the imported modules' files taken from a
// fixed scratch folder.  The input is the main module, FUZZ-MIB.mib; see
// fuzz_common.h for the scratch folder and the checks after every run.
#include <cstddef>
#include <cstdint>

#include "fuzz_common.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::Setup("fuzz_compile", {fuzz::kMibFile});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::CountRun(size);
    const int freeBefore = fuzz::LowestFreeDescriptor();
    fuzz::WriteFile(fuzz::kMibFile, data, size);
    fuzz::Compile();
    fuzz::Finish(freeBefore);
    return 0;
}
