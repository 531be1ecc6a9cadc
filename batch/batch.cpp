#include "batch.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "collect.h"
#include "files.h"
#include "options.h"
#include "outcome.h"
#include "runner.h"

#ifndef TRAPSMITH_VERSION
#define TRAPSMITH_VERSION "1.0"
#endif

namespace batch {
namespace {

using Clock = std::chrono::steady_clock;

bool Executable(const std::string& name) {
    struct stat st;
    return stat(name.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(name.c_str(), X_OK) == 0;
}

std::string Absolute(const std::string& name) {
    std::error_code ec;
    std::filesystem::path path = std::filesystem::absolute(name, ec);
    return ec ? name : path.lexically_normal().string();
}

std::string SearchPath(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::string dirs = path ? path : "/usr/local/bin:/usr/bin:/bin";
    size_t start = 0;
    for (;;) {
        size_t colon = dirs.find(':', start);
        std::string dir = dirs.substr(start, colon == std::string::npos ? std::string::npos : colon - start);
        std::string candidate = (dir.empty() ? std::string(".") : dir) + "/" + program;
        if (Executable(candidate)) return Absolute(candidate);
        if (colon == std::string::npos) return std::string();
        start = colon + 1;
    }
}

std::string FormatSeconds(double seconds) {
    char text[32];
    if (seconds < 60)
        snprintf(text, sizeof text, "%.0f s", seconds);
    else
        snprintf(text, sizeof text, "%d min %02d s", static_cast<int>(seconds) / 60, static_cast<int>(seconds) % 60);
    return text;
}

// The progress line on a terminal: one line on standard error, written over
// in place.
class Progress {
public:
    Progress(bool enabled, size_t total) : enabled(enabled), total(total), start(Clock::now()) {}

    void Update(const JobResult* finished) {
        if (finished) {
            ++done;
            if (finished->status == Status::Failed || finished->status == Status::Crashed ||
                finished->status == Status::Timeout)
                ++failures;
        }
        if (!enabled) return;
        auto now = Clock::now();
        if (finished && done != total && now - shown < std::chrono::milliseconds(100)) return;
        if (!finished && now - shown < std::chrono::milliseconds(250)) return;
        shown = now;
        double elapsed = std::chrono::duration<double>(now - start).count();
        double rate = elapsed > 0 ? static_cast<double>(done) / elapsed : 0;
        std::string left = rate > 0 ? FormatSeconds(static_cast<double>(total - done) / rate) : "?";
        fprintf(stderr, "\r\033[K%zu/%zu files, %zu failed, %.1f files/s, %s left", done, total, failures, rate,
                left.c_str());
        fflush(stderr);
    }

    void Clear() {
        if (!enabled) return;
        fprintf(stderr, "\r\033[K");
        fflush(stderr);
    }

    size_t Done() const { return done; }

private:
    bool enabled;
    size_t total;
    size_t done = 0;
    size_t failures = 0;
    Clock::time_point start;
    Clock::time_point shown{};
};

struct Row {
    std::string file, module;
    JobResult result;
};

struct Totals {
    size_t files = 0, compiled = 0, warnings = 0, failed = 0, crashed = 0, duplicates = 0, skipped = 0,
           incomplete = 0, traps = 0;
};

bool WriteReport(const std::string& name, const std::vector<Row>& rows, std::string* error) {
    std::string text = "file\tmodule\tstatus\texit\ttraps\tseconds\tmessage\timports\n";
    for (const Row& row : rows) {
        const JobResult& r = row.result;
        char seconds[32] = "";
        if (r.seconds >= 0) snprintf(seconds, sizeof seconds, "%.3f", r.seconds);
        text += Field(row.file) + '\t' + Field(row.module) + '\t' + StatusName(r.status) + '\t' +
                (r.exitCode >= 0 ? std::to_string(r.exitCode) : "") + '\t' +
                (r.traps >= 0 ? std::to_string(r.traps) : "") + '\t' + seconds + '\t' + Field(r.message) + '\t' +
                Field(r.imports) + '\n';
    }
    return WriteWhole(name, text, error);
}

// Where the scratch folders go: $TMPDIR when set; else the memory file system
// /dev/shm when there is one, since every compile creates and removes its
// work files there and that costs far less in memory than on a disk; else
// /tmp.
std::string ScratchRoot() {
    const char* tmp = std::getenv("TMPDIR");
    if (tmp && *tmp) return tmp;
    struct stat st;
    if (stat("/dev/shm", &st) == 0 && S_ISDIR(st.st_mode) && access("/dev/shm", W_OK | X_OK) == 0) return "/dev/shm";
    return "/tmp";
}

int Usage(const std::string& error) {
    printf("trapsmith-batch: %s\nTry 'trapsmith-batch --help'.\n", error.c_str());
    return 2;
}

}  // namespace

std::string FindCompiler(const std::string& given, const std::string& self) {
    if (!given.empty()) {
        if (given.find('/') == std::string::npos) return SearchPath(given);
        return Executable(given) ? Absolute(given) : std::string();
    }
    if (!self.empty()) {
        std::string beside = self.substr(0, self.rfind('/') + 1) + "trapsmith";
        if (self.find('/') != std::string::npos && Executable(beside)) return Absolute(beside);
    }
    return SearchPath("trapsmith");
}

int BatchMain(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    Options options;
    std::string error;
    if (!ParseOptions(args, &options, &error)) return Usage(error);
    if (options.help) {
        printf("%s", kUsage);
        return 0;
    }
    if (options.version) {
        printf("trapsmith-batch %s\n", TRAPSMITH_VERSION);
        return 0;
    }
    auto start = Clock::now();

    // The program's own file, to find the compiler installed beside it.
    std::string self;
    char exe[4096];
    ssize_t len = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (len > 0) self.assign(exe, static_cast<size_t>(len));
    std::string compiler = FindCompiler(options.compiler, self);
    if (compiler.empty()) {
        printf("trapsmith-batch: cannot find the compiler %s\n",
               options.compiler.empty() ? "trapsmith" : options.compiler.c_str());
        return 2;
    }

    std::error_code ec;
    std::filesystem::create_directories(options.outdir, ec);
    // The non-throwing form: a name the system refuses (too long, say) is a
    // folder that cannot be written, not a reason to abort.
    std::error_code statusError;
    if (!std::filesystem::is_directory(options.outdir, statusError) || !Writable(options.outdir, &error)) {
        printf("trapsmith-batch: cannot write to %s: %s\n", options.outdir.c_str(),
               ec ? ec.message().c_str() : error.empty() ? "not a folder" : error.c_str());
        return 2;
    }
    std::string report = options.report.empty() ? options.outdir + "/report.tsv" : options.report;
    std::string reportFolder = report.find('/') == std::string::npos ? "." : report.substr(0, report.rfind('/') + 1);
    if (!Writable(reportFolder, &error)) {
        printf("trapsmith-batch: cannot write the report %s: %s\n", report.c_str(), error.c_str());
        return 2;
    }

    // Ctrl-C and the other stop signals are taken while waiting for the
    // compiles, so that every running compile is killed and every scratch
    // folder removed before the program ends.
    sigset_t stopSignals, childMask;
    sigemptyset(&stopSignals);
    for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&stopSignals, sig);
    sigprocmask(SIG_BLOCK, &stopSignals, &childMask);

    long processors = sysconf(_SC_NPROCESSORS_ONLN);
    int parallel = options.jobs > 0 ? options.jobs : processors > 0 ? static_cast<int>(processors) : 1;
    Collection collection;
    if (!CollectFiles(options.paths, options.withs, options.outdir, parallel, &collection, &error)) {
        printf("trapsmith-batch: %s\n", error.c_str());
        return 2;
    }
    for (const std::string& problem : collection.problems) printf("trapsmith-batch: %s\n", problem.c_str());
    BuildIndex(&collection);

    // One row per file under the PATHs; a job for each file to compile.
    std::vector<Row> rows;
    std::vector<Job> jobs;
    std::vector<size_t> rowOfJob;
    for (size_t i = 0; i < collection.files.size(); ++i) {
        const SourceFile& file = collection.files[i];
        if (!file.compile) continue;
        Row row;
        row.file = file.path;
        if (!file.modules.empty()) row.module = file.modules.front();
        if (!file.skipped.empty()) {
            row.result.status = Status::Skipped;
            row.result.message = file.skipped;
        } else if (collection.index.at(row.module) != i) {
            row.result.status = Status::Duplicate;
            row.result.message = "module " + row.module + " is defined by " +
                                 collection.files[collection.index.at(row.module)].path;
        } else {
            Job job;
            job.file = i;
            job.module = row.module;
            job.links = ImportClosure(collection, i);
            jobs.push_back(std::move(job));
            rowOfJob.push_back(rows.size());
        }
        rows.push_back(std::move(row));
    }

    std::string scratchRoot = ScratchRoot();
    std::string scratchTemplate = scratchRoot + "/trapsmith-batch.XXXXXX";
    std::vector<char> scratch(scratchTemplate.begin(), scratchTemplate.end());
    scratch.push_back('\0');
    if (!mkdtemp(scratch.data())) {
        printf("trapsmith-batch: cannot create a scratch folder in %s: %s\n", scratchRoot.c_str(),
               std::strerror(errno));
        return 2;
    }

    RunnerOptions runnerOptions;
    runnerOptions.compiler = compiler;
    runnerOptions.jobs = parallel;
    runnerOptions.timeout = options.timeout;
    runnerOptions.outdir = options.outdir;
    runnerOptions.scratch = scratch.data();
    runnerOptions.childMask = childMask;

    Progress progress(!options.quiet && isatty(2), jobs.size());
    std::vector<JobResult> results;
    int stopped = RunJobs(collection, jobs, runnerOptions, &results,
                          [&](const JobResult* finished) { progress.Update(finished); });
    std::filesystem::remove_all(scratch.data(), ec);
    progress.Clear();
    if (stopped != 0) {
        printf("\ntrapsmith-batch: interrupted after %zu of %zu compiles; no report written\n", progress.Done(),
               jobs.size());
        fflush(stdout);
        return 128 + stopped;
    }

    Totals totals;
    for (size_t j = 0; j < jobs.size(); ++j) rows[rowOfJob[j]].result = results[j];
    for (const Row& row : rows) {
        const JobResult& r = row.result;
        ++totals.files;
        switch (r.status) {
            case Status::Ok: ++totals.compiled; break;
            case Status::Warnings: ++totals.compiled, ++totals.warnings; break;
            case Status::Failed: ++totals.failed; break;
            case Status::Crashed:
            case Status::Timeout: ++totals.crashed; break;
            case Status::Duplicate: ++totals.duplicates; break;
            case Status::Skipped: ++totals.skipped; break;
        }
        if (r.importsIncomplete) ++totals.incomplete;
        if (r.traps > 0) totals.traps += static_cast<size_t>(r.traps);
    }
    if (!WriteReport(report, rows, &error)) {
        printf("trapsmith-batch: cannot write the report %s: %s\n", report.c_str(), error.c_str());
        return 2;
    }

    double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    printf("files                 %zu\n", totals.files);
    printf("compiled              %zu\n", totals.compiled);
    printf("  with warnings       %zu\n", totals.warnings);
    printf("  imports incomplete  %zu\n", totals.incomplete);
    printf("failed                %zu\n", totals.failed);
    printf("crashed or timed out  %zu\n", totals.crashed);
    printf("duplicates            %zu\n", totals.duplicates);
    printf("skipped               %zu\n", totals.skipped);
    printf("traps written         %zu\n", totals.traps);
    printf("seconds               %.2f\n", seconds);
    printf("report                %s\n", report.c_str());
    return totals.failed + totals.crashed > 0 ? 1 : 0;
}

}  // namespace batch
