// Throughput of the tokenizer and of a whole compile, beside the rate at
// which the same file can merely be read with getc.
//
//   trapsmith_bench [benchmark flags] [--corpus=DIR] [--generated=FILE]
//
// Two inputs: CPQHLTH-MIB.mib, the largest module of the MIB corpus that
// compiles (DIR, by default the corpus beside the repository), and a
// generated MIB of 10 MB (FILE; when not given it is made with gen_mib.py big
// at start-up).
// Each compile runs in a scratch folder that holds the MIB and the modules it
// imports, as a run of the program would: Initialize and CompileMIB of the
// main module, then every import through ProcessImports.  Rates are in bytes
// of the main MIB file per second.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "mib2trap.h"

namespace fs = std::filesystem;

namespace {

struct Input {
    std::string label;  // name shown in the report
    fs::path dir;       // scratch folder holding the MIB and its imports
    std::string mib;    // file name of the MIB inside dir
    int64_t bytes;      // size of the MIB
};

// Standard output goes to /dev/null while a compile runs, so that its
// progress messages do not mix with the report.
class QuietStdout {
public:
    QuietStdout() {
        fflush(stdout);
        saved_ = dup(1);
        int null = open("/dev/null", O_WRONLY);
        if (null >= 0) {
            dup2(null, 1);
            close(null);
        }
    }
    ~QuietStdout() {
        fflush(stdout);
        if (saved_ >= 0) {
            dup2(saved_, 1);
            close(saved_);
        }
    }
    QuietStdout(const QuietStdout&) = delete;
    QuietStdout& operator=(const QuietStdout&) = delete;

private:
    int saved_;
};

void BM_Getc(benchmark::State& state, const Input* in) {
    const std::string path = (in->dir / in->mib).string();
    for (auto _ : state) {
        FILE* f = fopen(path.c_str(), "r");
        if (!f) {
            state.SkipWithError("cannot open the MIB");
            return;
        }
        int64_t n = 0;
        while (getc(f) != EOF) ++n;
        fclose(f);
        benchmark::DoNotOptimize(n);
    }
    state.SetBytesProcessed(state.iterations() * in->bytes);
}

void BM_Tokenize(benchmark::State& state, const Input* in) {
    const std::string path = (in->dir / in->mib).string();
    QuietStdout quiet;
    for (auto _ : state) {
        CMib2Trap mib;
        mib.HashInit();
        ResetTokenizerState();
        FILE* f = fopen(path.c_str(), "r");
        if (!f) {
            state.SkipWithError("cannot open the MIB");
            return;
        }
        mib.m_nLine = 1;
        char token[TRAP_TOKEN_BUF];
        int64_t tokens = 0;
        while (mib.GetToken(f, token, 0) != TOK_EOF) ++tokens;
        fclose(f);
        benchmark::DoNotOptimize(tokens);
    }
    state.SetBytesProcessed(state.iterations() * in->bytes);
}

// One compile as the program runs it, without the assembly of the ".cfg".
bool CompileOnce(const Input* in) {
    const std::string base = in->mib.substr(0, in->mib.find('.'));
    const std::string intFile = base + ".int";
    const std::string importsFile = base + ".imports";
    bool ok;
    {
        CMib2Trap mib;
        ok = mib.Initialize(base.c_str(), intFile.c_str(), 1) && mib.CompileMIB(in->mib.c_str(), 1);
    }
    if (ok) {
        FILE* imports = fopen(importsFile.c_str(), "w");
        ok = imports != nullptr;
        for (importFilesList* entry = importFiles; ok && entry; entry = entry->next) {
            CMib2Trap importer;
            if (importer.Initialize(entry->szLabel, nullptr, 2)) importer.ProcessImports(entry, imports);
        }
        if (imports) fclose(imports);
    }
    // Work files of the main module and of every import.
    for (const char* suffix : {".int", ".imports", ".dbg"}) remove((base + suffix).c_str());
    for (importFilesList* entry = importFiles; entry; entry = entry->next)
        remove((std::string(entry->szLabel) + ".dbg").c_str());
    ResetProcessState();
    return ok;
}

void BM_Compile(benchmark::State& state, const Input* in) {
    const fs::path cwd = fs::current_path();
    fs::current_path(in->dir);
    bool ok = true;
    {
        QuietStdout quiet;
        for (auto _ : state) ok = CompileOnce(in) && ok;
    }
    fs::current_path(cwd);
    if (!ok) state.SkipWithError("the compile failed");
    state.SetBytesProcessed(state.iterations() * in->bytes);
}

// Copies the MIB and the corpus files it imports into a folder of its own.
// Messages go to standard output, like everything else the tools print.
bool Stage(const fs::path& mib, const fs::path& corpus, const fs::path& dir, Input* in) {
    std::error_code ec;
    fs::create_directories(dir, ec);
    fs::copy_file(mib, dir / mib.filename(), fs::copy_options::overwrite_existing, ec);
    if (ec) {
        printf("cannot copy %s: %s\n", mib.c_str(), ec.message().c_str());
        return false;
    }
    // Every module that may be imported: the corpus and the MIB's own
    // neighbours (the generated MIB imports a module written beside it).
    for (const fs::path& from : {corpus, mib.parent_path()})
        for (const auto& entry : fs::directory_iterator(from, ec))
            if (entry.path().extension() == ".mib" && entry.path().filename() != mib.filename())
                fs::copy_file(entry.path(), dir / entry.path().filename(), fs::copy_options::overwrite_existing,
                              ec);
    in->dir = dir;
    in->mib = mib.filename().string();
    in->bytes = static_cast<int64_t>(fs::file_size(dir / in->mib));
    return true;
}

std::string FlagValue(int* argc, char** argv, const char* name) {
    const std::string prefix = std::string("--") + name + "=";
    std::string value;
    int out = 1;
    for (int i = 1; i < *argc; ++i) {
        if (std::strncmp(argv[i], prefix.c_str(), prefix.size()) == 0)
            value = argv[i] + prefix.size();
        else
            argv[out++] = argv[i];
    }
    *argc = out;
    return value;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    fs::path corpus = FlagValue(&argc, argv, "corpus");
    fs::path generated = FlagValue(&argc, argv, "generated");
    if (argc > 1) {
        printf("unknown argument %s\n", argv[1]);
        return 2;
    }
    if (corpus.empty()) corpus = TRAPSMITH_CORPUS_DIR;

    char tmpl[] = "/tmp/trapsmith-bench-XXXXXX";
    if (!mkdtemp(tmpl)) {
        printf("cannot create a scratch folder: %s\n", std::strerror(errno));
        return 1;
    }
    const fs::path scratch = tmpl;

    if (generated.empty()) {
        const std::string cmd = "python3 '" TRAPSMITH_BENCH_DIR "/gen_mib.py' big 10000000 '" +
                                (scratch / "gen").string() + "' >/dev/null";
        if (std::system(cmd.c_str()) != 0) {
            printf("could not generate the 10 MB MIB\n");
            fs::remove_all(scratch);
            return 1;
        }
        generated = scratch / "gen" / "GEN-BIG-MIB.mib";
    }

    std::vector<std::unique_ptr<Input>> inputs;
    auto add = [&](const char* label, const fs::path& mib, const char* dir) {
        auto in = std::make_unique<Input>();
        in->label = label;
        if (!Stage(mib, corpus, scratch / dir, in.get())) return false;
        inputs.push_back(std::move(in));
        return true;
    };
    if (!add("CPQHLTH-MIB", corpus / "CPQHLTH-MIB.mib", "cpqhlth") || !add("generated-10MB", generated, "big")) {
        fs::remove_all(scratch);
        return 1;
    }

    for (const auto& in : inputs) {
        const Input* p = in.get();
        benchmark::RegisterBenchmark(("getc/" + p->label).c_str(), BM_Getc, p)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("tokenize/" + p->label).c_str(), BM_Tokenize, p)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("compile/" + p->label).c_str(), BM_Compile, p)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    fs::remove_all(scratch);
    return 0;
}
