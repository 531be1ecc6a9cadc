#include "runner.h"

#include "files.h"

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <unordered_map>

namespace batch {
namespace {

using Clock = std::chrono::steady_clock;

// What the compiler prints is read up to this size; a compiler gone wrong
// may print far more.
constexpr size_t kMaxOutput = 4 * 1024 * 1024;

struct Running {
    size_t job;
    size_t slot;         // the scratch folder it runs in
    std::string dir;
    std::string output;  // the file that receives standard output
    Clock::time_point start;
    Clock::time_point deadline;
    bool timedOut = false;
};

}  // namespace

std::string CompilerBaseName(const std::string& file) {
    size_t start = file.find_first_not_of('.');
    size_t dot = start == std::string::npos ? std::string::npos : file.find('.', start);
    return dot == std::string::npos ? file : file.substr(0, dot);
}

namespace {

class Runner {
public:
    Runner(const Collection& collection, const std::vector<Job>& jobs, const RunnerOptions& options,
           std::vector<JobResult>* results)
        : collection(collection), jobs(jobs), options(options), results(results) {}

    int Run(const std::function<void(const JobResult*)>& onDone) {
        done = &onDone;
        results->assign(jobs.size(), JobResult());
        sigset_t waitSet;
        sigemptyset(&waitSet);
        for (int sig : {SIGCHLD, SIGINT, SIGTERM, SIGHUP}) sigaddset(&waitSet, sig);

        size_t next = 0;
        while (next < jobs.size() || !running.empty()) {
            StartMore(&next);
            if (running.empty()) continue;

            // Wait for a compile to end, a signal, the nearest time limit, or
            // the next progress update, whichever comes first.
            auto now = Clock::now();
            auto wait = std::chrono::milliseconds(100);
            for (auto& [pid, run] : running) {
                (void)pid;
                if (!run.timedOut && run.deadline - now < wait)
                    wait = std::chrono::duration_cast<std::chrono::milliseconds>(run.deadline - now);
            }
            if (wait.count() < 1) wait = std::chrono::milliseconds(1);
            struct timespec ts{static_cast<time_t>(wait.count() / 1000), static_cast<long>(wait.count() % 1000) * 1000000L};
            int sig = sigtimedwait(&waitSet, nullptr, &ts);
            if (sig == SIGINT || sig == SIGTERM || sig == SIGHUP) {
                KillAll();
                return sig;
            }
            Reap(&next);
            now = Clock::now();
            for (auto& [pid, run] : running) {
                if (!run.timedOut && now >= run.deadline) {
                    run.timedOut = true;
                    kill(-pid, SIGKILL);  // the whole process group: a script's children too
                }
            }
            (*done)(nullptr);
        }
        return 0;
    }

private:
    void Start(size_t index) {
        const Job& job = jobs[index];
        JobResult& result = (*results)[index];
        size_t slot = TakeSlot();
        const std::string dir = slots[slot].dir;
        std::string output = dir + ".out";
        std::string mainLink = job.module + ".mib";
        // A compile that cannot be started counts as one that crashed.
        auto fail = [&](const std::string& why) {
            result.status = Status::Crashed;
            result.message = why;
            ReleaseSlot(slot);
            (*done)(&result);
        };
        std::map<std::string, std::string> wanted;
        wanted[mainLink] = collection.files[job.file].target;
        for (const auto& [name, file] : job.links) wanted.emplace(name, collection.files[file].target);
        std::string error;
        if (!PrepareSlot(slot, wanted, &error)) return fail(error);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        posix_spawnattr_t attr;
        posix_spawnattr_init(&attr);
        sigset_t defaults;
        sigemptyset(&defaults);
        for (int sig : {SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaddset(&defaults, sig);
        posix_spawnattr_setsigdefault(&attr, &defaults);
        posix_spawnattr_setsigmask(&attr, &options.childMask);
        posix_spawnattr_setpgroup(&attr, 0);  // a group of its own, killed whole at its time limit
        posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);

        std::vector<std::string> args = {"trapsmith", "-d", dir, mainLink};
        std::vector<char*> argv;
        for (std::string& arg : args) argv.push_back(arg.data());
        argv.push_back(nullptr);
        pid_t pid;
        auto start = Clock::now();
        int err = posix_spawn(&pid, options.compiler.c_str(), &actions, &attr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attr);
        if (err != 0) return fail("cannot run " + options.compiler + ": " + std::strerror(err));
        auto limit = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options.timeout));
        running.emplace(pid, Running{index, slot, dir, output, start, start + limit});
    }

    // Takes every compile that has ended, starts the next ones in their
    // place, and only then reads the results of those that ended: the
    // processors go on compiling while the results are copied.
    void Reap(size_t* next) {
        std::vector<std::pair<Running, int>> ended;
        int status;
        pid_t pid;
        while ((pid = waitpid(-1, &status, WNOHANG)) > 0) {
            auto found = running.find(pid);
            if (found == running.end()) continue;
            ended.emplace_back(found->second, status);
            running.erase(found);
        }
        StartMore(next);
        for (const auto& [run, waitStatus] : ended) {
            Finish(run, waitStatus);
            (*done)(&(*results)[run.job]);
        }
    }

    void StartMore(size_t* next) {
        while (*next < jobs.size() && running.size() < static_cast<size_t>(options.jobs)) Start((*next)++);
    }

    void Finish(const Running& run, int waitStatus) {
        const Job& job = jobs[run.job];
        JobResult& result = (*results)[run.job];
        result.seconds = std::chrono::duration<double>(Clock::now() - run.start).count();
        std::string text = ReadFile(run.output, kMaxOutput);
        CompilerOutput out = ReadCompilerOutput(
            text, [&](const std::string& link) { return FileOfLink(job, link); },
            [&](const std::string& file, int line, const std::string& symbol) {
                return IsMacroStop(file, line, symbol);
            });
        result.imports = ImportsColumn(out.imports);
        result.importsIncomplete = !out.imports.empty();

        if (run.timedOut) {
            result.status = Status::Timeout;
            char limit[64];
            snprintf(limit, sizeof limit, "no result after %g s", options.timeout);
            result.message = limit;
        } else if (WIFSIGNALED(waitStatus)) {
            int sig = WTERMSIG(waitStatus);
            result.status = Status::Crashed;
            result.exitCode = 128 + sig;
            result.message = "killed by signal " + std::to_string(sig) + " (" + strsignal(sig) + ")";
        } else if (WEXITSTATUS(waitStatus) == 1) {
            result.status = Status::Failed;
            result.exitCode = 1;
            result.message = out.firstDiagnostic.empty() ? "exit status 1" : out.firstDiagnostic;
        } else if (WEXITSTATUS(waitStatus) != 0) {
            result.status = Status::Crashed;
            result.exitCode = WEXITSTATUS(waitStatus);
            result.message = "exit status " + std::to_string(result.exitCode);
        } else {
            result.exitCode = 0;
            Deliver(run, job, out, &result);
        }
        ReleaseSlot(run.slot);
    }

    // A compile that ended with status 0: its ".cfg" goes to the output folder.
    void Deliver(const Running& run, const Job& job, const CompilerOutput& out, JobResult* result) {
        bool found;
        // The compiler names its result after the file name cut at its first
        // "." that follows another character ("A.v2.mib" gives "A.cfg").
        const std::string written = run.dir + "/" + CompilerBaseName(job.module + ".mib") + ".cfg";
        std::string cfg = ReadFile(written, static_cast<size_t>(-1), &found);
        if (!found) {
            result->status = Status::Crashed;
            result->message = "exit status 0 without " + written.substr(run.dir.size() + 1);
            return;
        }
        // Moved when the scratch folder and the output folder share a file
        // system, else copied; either way the result appears whole.
        std::string error;
        std::string target = options.outdir + "/" + job.module + ".cfg";
        if (rename(written.c_str(), target.c_str()) != 0 &&
            !WriteWhole(target, cfg, &error)) {
            result->status = Status::Failed;
            result->message = "cannot write " + target + ": " + error;
            return;
        }
        result->traps = CountTraps(cfg);
        if (out.success && !out.withWarnings) {
            result->status = Status::Ok;
        } else {
            result->status = Status::Warnings;
            if (!out.failedImports.empty()) {
                result->message = "imports failed:";
                for (const std::string& module : out.failedImports) result->message += " " + module;
            } else {
                result->message = "no closing message from the compiler";
            }
        }
    }

    // Scratch folders are kept from one compile to the next (one per compile
    // running at once): creating and removing a folder and its links for
    // every file costs more than a small compile, and most files import the
    // same few modules.
    struct Slot {
        std::string dir;
        std::map<std::string, std::string> links;  // link name -> target
        bool made = false;
    };

    size_t TakeSlot() {
        if (freeSlots.empty()) {
            slots.push_back(Slot{options.scratch + "/" + std::to_string(slots.size()), {}, false});
            return slots.size() - 1;
        }
        size_t slot = freeSlots.back();
        freeSlots.pop_back();
        return slot;
    }

    // Makes the folder of `slot` hold exactly the links of `wanted`.
    bool PrepareSlot(size_t index, const std::map<std::string, std::string>& wanted, std::string* error) {
        Slot& slot = slots[index];
        if (!slot.made) {
            if (mkdir(slot.dir.c_str(), 0700) != 0) {
                *error = "cannot create a scratch folder: " + std::string(std::strerror(errno));
                return false;
            }
            slot.made = true;
        }
        for (auto it = slot.links.begin(); it != slot.links.end();) {
            auto keep = wanted.find(it->first);
            if (keep != wanted.end() && keep->second == it->second) {
                ++it;
                continue;
            }
            unlink((slot.dir + "/" + it->first).c_str());
            it = slot.links.erase(it);
        }
        for (const auto& [name, target] : wanted) {
            if (slot.links.count(name)) continue;
            // A hard link where the file system allows one: it needs no new
            // inode, which costs more than the directory entry on some file
            // systems; a symbolic link otherwise (another file system, or a
            // file the user may not link).
            std::string link = slot.dir + "/" + name;
            if (linkat(AT_FDCWD, target.c_str(), AT_FDCWD, link.c_str(), AT_SYMLINK_FOLLOW) != 0 &&
                symlink(target.c_str(), link.c_str()) != 0) {
                *error = "cannot link " + name + ": " + std::strerror(errno);
                return false;
            }
            slot.links.emplace(name, target);
        }
        return true;
    }

    // Removes whatever a compile left in the folder of `slot` beside its
    // links (its result, or the work files of a compile that was killed),
    // and the file of its output.
    void ReleaseSlot(size_t index) {
        Slot& slot = slots[index];
        if (slot.made) {
            if (DIR* dir = opendir(slot.dir.c_str())) {
                std::vector<std::string> stray;
                while (struct dirent* entry = readdir(dir)) {
                    std::string name = entry->d_name;
                    if (name != "." && name != ".." && !slot.links.count(name)) stray.push_back(name);
                }
                closedir(dir);
                for (const std::string& name : stray) {
                    std::error_code ec;
                    std::filesystem::remove_all(slot.dir + "/" + name, ec);
                }
            }
        }
        freeSlots.push_back(index);
    }

    std::string FileOfLink(const Job& job, const std::string& link) const {
        if (link == job.module + ".mib") return collection.files[job.file].path;
        auto found = job.links.find(link);
        return found == job.links.end() ? link : collection.files[found->second].path;
    }

    bool IsMacroStop(const std::string& path, int line, const std::string& symbol) {
        std::string key = path + '\n' + std::to_string(line) + '\n' + symbol;
        auto cached = macroStops.find(key);
        if (cached != macroStops.end()) return cached->second;
        if (byPath.empty())
            for (size_t i = 0; i < collection.files.size(); ++i) byPath.emplace(collection.files[i].path, i);
        auto found = byPath.find(path);
        bool macro = found != byPath.end() &&
                     IsMacroDefinition(ReadFile(collection.files[found->second].target, kMaxOutput * 16), line, symbol);
        macroStops.emplace(key, macro);
        return macro;
    }

    void KillAll() {
        for (auto& [pid, run] : running) kill(-pid, SIGKILL);
        for (auto& [pid, run] : running) {
            int status;
            while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
            ReleaseSlot(run.slot);
        }
        running.clear();
    }

    const Collection& collection;
    const std::vector<Job>& jobs;
    const RunnerOptions& options;
    std::vector<JobResult>* results;
    const std::function<void(const JobResult*)>* done = nullptr;
    std::unordered_map<pid_t, Running> running;
    std::vector<Slot> slots;
    std::vector<size_t> freeSlots;
    std::unordered_map<std::string, size_t> byPath;      // file path -> index, built when first needed
    std::unordered_map<std::string, bool> macroStops;   // answers of IsMacroStop, by file, line and symbol
};

}  // namespace

int RunJobs(const Collection& collection, const std::vector<Job>& jobs, const RunnerOptions& options,
            std::vector<JobResult>* results, const std::function<void(const JobResult*)>& done) {
    Runner runner(collection, jobs, options, results);
    return runner.Run(done);
}

}  // namespace batch
