// The command line of trapsmith-batch.
#ifndef TRAPSMITH_BATCH_OPTIONS_H
#define TRAPSMITH_BATCH_OPTIONS_H

#include <string>
#include <vector>

namespace batch {

struct Options {
    int jobs = 0;            // 0: one per processor
    std::string outdir = ".";
    std::string report;      // empty: OUTDIR/report.tsv
    std::vector<std::string> withs;
    double timeout = 60;
    std::string compiler;    // empty: beside the batch program, else on PATH
    bool quiet = false;
    bool help = false;
    bool version = false;
    std::vector<std::string> paths;
};

extern const char kUsage[];

// Parses the arguments after the program name.  Returns false with `error`
// set on bad usage.  Long options take their value as "--name VALUE" or
// "--name=VALUE", short ones as "-j N" or "-jN"; "--" ends the options.
bool ParseOptions(const std::vector<std::string>& args, Options* options, std::string* error);

}  // namespace batch

#endif  // TRAPSMITH_BATCH_OPTIONS_H
