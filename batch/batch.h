// trapsmith-batch: compiles a whole tree of MIB files with trapsmith.
#ifndef TRAPSMITH_BATCH_BATCH_H
#define TRAPSMITH_BATCH_BATCH_H

#include <string>

namespace batch {

// The whole program; returns the exit status: 0 when no file failed,
// crashed or timed out, 1 when one did, 2 on bad usage or an unusable PATH,
// OUTDIR or report.
int BatchMain(int argc, char** argv);

// The compiler to run: `given` when set (searched on PATH when it holds no
// "/"), else the trapsmith beside `self`, else the one on PATH.  Returns an
// absolute name, or empty when none can be run.
std::string FindCompiler(const std::string& given, const std::string& self);

}  // namespace batch

#endif  // TRAPSMITH_BATCH_BATCH_H
