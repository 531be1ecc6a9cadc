#include "options.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace batch {

const char kUsage[] =
    "Usage: trapsmith-batch [-j N] [-o OUTDIR] [--report FILE] [--with DIR]... [--timeout S]\n"
    "                       [--compiler PATH] [-q] PATH...\n"
    "Compiles every MIB file under each PATH with trapsmith, in parallel, and writes\n"
    "OUTDIR/MODULE.cfg for each file compiled and a report of every file.\n"
    "\n"
    "  -j, --jobs N        compiles run at once (default: the number of processors)\n"
    "  -o, --output OUTDIR folder of the .cfg files and the report (default: .)\n"
    "      --report FILE   the report (default: OUTDIR/report.tsv)\n"
    "      --with DIR      also search DIR for imported modules; its files are not compiled\n"
    "      --timeout S     time limit of one compile in seconds (default: 60)\n"
    "      --compiler PATH the compiler (default: trapsmith beside this program, else on PATH)\n"
    "  -q, --quiet         no progress line\n"
    "  -h, --help          print this help and exit\n"
    "      --version       print the version and exit\n";

namespace {

bool ParseJobs(const std::string& text, int* jobs) {
    errno = 0;
    char* end = nullptr;
    long n = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || n < 1 || n > 1024) return false;
    *jobs = static_cast<int>(n);
    return true;
}

bool ParseSeconds(const std::string& text, double* seconds) {
    errno = 0;
    char* end = nullptr;
    double s = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno != 0 || !std::isfinite(s) || s <= 0 || s > 1e6) return false;
    *seconds = s;
    return true;
}

}  // namespace

bool ParseOptions(const std::vector<std::string>& args, Options* options, std::string* error) {
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            options->paths.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        // The option's name and, when written into the same argument, its value.
        std::string name = arg, value;
        bool hasValue = false;
        if (arg.compare(0, 2, "--") == 0) {
            size_t eq = arg.find('=');
            if (eq != std::string::npos) {
                name = arg.substr(0, eq);
                value = arg.substr(eq + 1);
                hasValue = true;
            }
        } else if (arg.size() > 2) {
            name = arg.substr(0, 2);
            value = arg.substr(2);
            hasValue = true;
        }
        auto flag = [&](bool* target) {
            if (hasValue) {
                *error = "option " + name + " takes no value";
                return false;
            }
            *target = true;
            return true;
        };
        auto take = [&](std::string* target) {
            if (!hasValue) {
                if (i + 1 >= args.size()) {
                    *error = "option " + name + " needs a value";
                    return false;
                }
                value = args[++i];
            }
            if (value.empty()) {
                *error = "option " + name + " needs a value";
                return false;
            }
            *target = value;
            return true;
        };
        std::string text;
        if (name == "-h" || name == "--help") {
            if (!flag(&options->help)) return false;
        } else if (name == "--version") {
            if (!flag(&options->version)) return false;
        } else if (name == "-q" || name == "--quiet") {
            if (!flag(&options->quiet)) return false;
        } else if (name == "-j" || name == "--jobs") {
            if (!take(&text)) return false;
            if (!ParseJobs(text, &options->jobs)) {
                *error = "invalid number of jobs: '" + text + "'";
                return false;
            }
        } else if (name == "-o" || name == "--output") {
            if (!take(&options->outdir)) return false;
        } else if (name == "--report") {
            if (!take(&options->report)) return false;
        } else if (name == "--with") {
            if (!take(&text)) return false;
            options->withs.push_back(text);
        } else if (name == "--timeout") {
            if (!take(&text)) return false;
            if (!ParseSeconds(text, &options->timeout)) {
                *error = "invalid time limit: '" + text + "'";
                return false;
            }
        } else if (name == "--compiler") {
            if (!take(&options->compiler)) return false;
        } else {
            *error = "unknown option '" + name + "'";
            return false;
        }
    }
    if (options->help || options->version) return true;
    if (options->paths.empty()) {
        *error = "no PATH given";
        return false;
    }
    return true;
}

}  // namespace batch
