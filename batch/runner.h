// Runs the compiles of a batch: each in a scratch folder of its own holding
// links to the files it imports, at most N at a time, each with a time
// limit, and copies each result into the output folder whole or not at all.
#ifndef TRAPSMITH_BATCH_RUNNER_H
#define TRAPSMITH_BATCH_RUNNER_H

#include <signal.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "collect.h"
#include "outcome.h"

namespace batch {

struct Job {
    size_t file = 0;
    std::string module;                   // first module of the file: the name compiled
    std::map<std::string, size_t> links;  // link name in the scratch folder -> file
};

struct JobResult {
    Status status = Status::Skipped;
    int exitCode = -1;  // -1: no exit status to report
    double seconds = -1;
    int traps = -1;     // -1: no ".cfg" written
    std::string message;
    std::string imports;
    bool importsIncomplete = false;
};

struct RunnerOptions {
    std::string compiler;  // absolute name of the compiler program
    int jobs = 1;
    double timeout = 60;
    std::string outdir;
    std::string scratch;   // private folder for the scratch folders, removed by the caller
    sigset_t childMask;    // signal mask the compiles start with
};

// The base name the compiler gives its work files and result: the file name
// cut at its first "." that follows a character other than ".".
std::string CompilerBaseName(const std::string& file);

// Runs every job; `done` is called after each one and about ten times a
// second while compiles run (with a null result then).  Returns 0, or the
// number of the signal (SIGINT, SIGTERM, SIGHUP) that stopped the batch: then
// every running compile has been killed and reaped.  The caller blocks those
// signals and SIGCHLD before calling.
int RunJobs(const Collection& collection, const std::vector<Job>& jobs, const RunnerOptions& options,
            std::vector<JobResult>* results, const std::function<void(const JobResult*)>& done);

}  // namespace batch

#endif  // TRAPSMITH_BATCH_RUNNER_H
