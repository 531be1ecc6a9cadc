// Running out of memory: a whole compile with imports is run again and again,
// allocation number k failing in run k, for k = 1, 2, ... until a run makes
// fewer than k allocations.  Each run must either succeed as a run without a
// failure does, or end the way a parse error does: one line saying memory
// ran out, "Mib compilation failed.", exit status 1, nothing on standard
// error, no work file left and the previous result and its backups as they
// were.  Each run is a child process, so that a failed run cannot disturb
// the next.
//
// Allocations are counted by replacing malloc and its kin, which also fails
// the C library's own (a stream fopen makes); the sanitizer builds keep
// their own malloc, so there the C++ allocation functions are replaced
// instead, which every allocation of the compiler goes through.  A child of
// the sanitizer build also checks that the run leaked nothing.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "driver.h"
#include "test_util.h"

#if defined(__SANITIZE_ADDRESS__)
#define TRAPSMITH_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TRAPSMITH_TEST_SANITIZED 1
#endif
#endif

#if defined(TRAPSMITH_TEST_SANITIZED)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// The allocation that fails (counted from 1 once armed; 0: none) and the
// allocations counted so far.
long failAt = 0;
long counted = 0;
bool armed = false;

bool FailThisOne() {
    if (!armed) return false;
    return ++counted == failAt;
}

}  // namespace

#if defined(TRAPSMITH_TEST_SANITIZED)

namespace {

// Out of line, so that the compiler sees no operator new paired with free.
[[gnu::noinline]] void Release(void* p) { std::free(p); }

}  // namespace

void* operator new(size_t n) {
    void* p = FailThisOne() ? nullptr : std::malloc(n ? n : 1);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}
void* operator new[](size_t n) { return operator new(n); }
void* operator new(size_t n, const std::nothrow_t&) noexcept {
    return FailThisOne() ? nullptr : std::malloc(n ? n : 1);
}
void* operator new[](size_t n, const std::nothrow_t& t) noexcept { return operator new(n, t); }
void* operator new(size_t n, std::align_val_t a) {
    const size_t align = static_cast<size_t>(a);
    void* p = FailThisOne() ? nullptr : std::aligned_alloc(align, (n + align - 1) / align * align);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}
void* operator new[](size_t n, std::align_val_t a) { return operator new(n, a); }
void operator delete(void* p) noexcept { Release(p); }
void operator delete[](void* p) noexcept { Release(p); }
void operator delete(void* p, size_t) noexcept { Release(p); }
void operator delete[](void* p, size_t) noexcept { Release(p); }
void operator delete(void* p, std::align_val_t) noexcept { Release(p); }
void operator delete[](void* p, std::align_val_t) noexcept { Release(p); }
void operator delete(void* p, size_t, std::align_val_t) noexcept { Release(p); }
void operator delete[](void* p, size_t, std::align_val_t) noexcept { Release(p); }

#else

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

// The C library's allocator does the work; a failure sets errno as its own
// would.
void* malloc(size_t n) {
    if (FailThisOne()) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_malloc(n);
}
void* calloc(size_t count, size_t n) {
    if (FailThisOne()) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_calloc(count, n);
}
void* realloc(void* p, size_t n) {
    if (FailThisOne()) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_realloc(p, n);
}
void* memalign(size_t align, size_t n) {
    if (FailThisOne()) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_memalign(align, n);
}
void* aligned_alloc(size_t align, size_t n) { return memalign(align, n); }
int posix_memalign(void** out, size_t align, size_t n) {
    void* p = memalign(align, n);
    if (p == nullptr) return ENOMEM;
    *out = p;
    return 0;
}
}

#endif

namespace {

const char kBase[] =
    "ACME-BASE-MIB DEFINITIONS ::= BEGIN\n"
    "IMPORTS enterprises FROM RFC1155-SMI;\n"
    "AcmeLevel ::= TEXTUAL-CONVENTION\n"
    "    STATUS current\n"
    "    DESCRIPTION \"A level.\"\n"
    "    SYNTAX INTEGER { low(1), high(2) }\n"
    "acme OBJECT IDENTIFIER ::= { enterprises 4242 }\n"
    "acmeRoot OBJECT IDENTIFIER ::= { acme 1 }\n"
    "acmeBranch OBJECT IDENTIFIER ::= { acmeRoot 7 }\n"
    "END\n";

// Imports one module twice (its parse is reused, its trace caught in memory
// the first time) and one that is missing; an object of a type defined after
// it, a table, a trap and a notification.
const char kMain[] =
    "ACME-OOM-MIB DEFINITIONS ::= BEGIN\n"
    "IMPORTS acmeRoot, AcmeLevel FROM ACME-BASE-MIB\n"
    "        acmeBranch FROM ACME-BASE-MIB\n"
    "        DisplayString FROM NO-SUCH-MIB;\n"
    "acmeObjects OBJECT IDENTIFIER ::= { acmeRoot 1 }\n"
    "acmeTable OBJECT-TYPE\n"
    "    SYNTAX SEQUENCE OF AcmeEntry\n"
    "    ACCESS not-accessible\n"
    "    STATUS mandatory\n"
    "    DESCRIPTION \"A table.\"\n"
    "    ::= { acmeObjects 1 }\n"
    "acmeEntry OBJECT-TYPE\n"
    "    SYNTAX AcmeEntry\n"
    "    ACCESS not-accessible\n"
    "    STATUS mandatory\n"
    "    DESCRIPTION \"A row.\"\n"
    "    INDEX { acmeIndex }\n"
    "    ::= { acmeTable 1 }\n"
    "AcmeEntry ::= SEQUENCE { acmeIndex INTEGER, acmeState Status }\n"
    "acmeIndex OBJECT-TYPE\n"
    "    SYNTAX INTEGER (1..100)\n"
    "    ACCESS read-only\n"
    "    STATUS mandatory\n"
    "    DESCRIPTION \"The index.\"\n"
    "    ::= { acmeEntry 1 }\n"
    "acmeState OBJECT-TYPE\n"
    "    SYNTAX Status\n"
    "    ACCESS read-write\n"
    "    STATUS mandatory\n"
    "    DESCRIPTION \"The state, of a type defined after it.\"\n"
    "    ::= { acmeEntry 2 }\n"
    "Status ::= INTEGER { up(1), down(2) }\n"
    "acmeLevel OBJECT-TYPE\n"
    "    SYNTAX AcmeLevel\n"
    "    ACCESS read-only\n"
    "    STATUS mandatory\n"
    "    DESCRIPTION \"The level.\"\n"
    "    ::= { acmeObjects 2 }\n"
    "acmeTrap TRAP-TYPE\n"
    "    ENTERPRISE acmeRoot\n"
    "    VARIABLES { acmeState }\n"
    "    DESCRIPTION \"The state changed.\"\n"
    "    --#TYPE \"State changed\"\n"
    "    --#SEVERITY MAJOR\n"
    "    ::= 1\n"
    "acmeTraps OBJECT IDENTIFIER ::= { acmeBranch 0 }\n"
    "acmeNotif NOTIFICATION-TYPE\n"
    "    OBJECTS { acmeState }\n"
    "    STATUS current\n"
    "    DESCRIPTION \"Notified.\"\n"
    "    --#SEVERITY MINOR\n"
    "    ::= { acmeTraps 2 }\n"
    "END\n";

const char kPrevious[] = "previous result\n";
const char kBackup[] = "older result\n";

// What one run left behind.
struct Outcome {
    int status = -1;  // exit status, or -1 when the child did not exit
    long allocations = 0;
    std::string out, err, cfg, cfg1, cfg2, files;
};

std::string Listing(const std::string& dir) {
    std::string names;
    FILE* ls = popen(("ls -A " + dir).c_str(), "r");
    if (ls) {
        names = ReadStream(ls);
        pclose(ls);
    }
    return names;
}

// Runs the compile in a fresh folder `dir` holding the modules, a previous
// result and one backup, with allocation `k` failing (none for 0).
Outcome Compile(const std::string& dir, long k) {
    EXPECT_EQ(system(("rm -rf " + dir + " && mkdir " + dir).c_str()), 0);
    Spit(dir + "/ACME-BASE-MIB.mib", kBase);
    Spit(dir + "/ACME-OOM-MIB.mib", kMain);
    Spit(dir + "/ACME-OOM-MIB.cfg", kPrevious);
    Spit(dir + "/ACME-OOM-MIB.cfg_1", kBackup);

    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (!freopen((dir + "/../stdout").c_str(), "w", stdout) || !freopen((dir + "/../stderr").c_str(), "w", stderr))
            _exit(100);
        char prog[] = "trapsmith", opt[] = "-d", mib[] = "ACME-OOM-MIB.mib";
        std::string folder = dir;
        char* argv[] = {prog, opt, &folder[0], mib, nullptr};
        failAt = k;
        armed = true;
        const int status = TrapsmithMain(4, argv);
        armed = false;
        fflush(nullptr);
        // Told in a file written afterwards: the run closes every other
        // descriptor it inherits.
        FILE* count = fopen((dir + "/../count").c_str(), "w");
        if (!count || fprintf(count, "%ld", counted) < 0 || fclose(count) != 0) _exit(101);
#if defined(TRAPSMITH_TEST_SANITIZED)
        // Whatever the run allocated is released by now, however it ended;
        // a leak ends the child with the sanitizer's report on its stderr.
        __lsan_do_leak_check();
#endif
        _exit(status);
    }
    Outcome o;
    int wstatus = 0;
    EXPECT_EQ(waitpid(child, &wstatus, 0), child);
    if (WIFEXITED(wstatus)) o.status = WEXITSTATUS(wstatus);
    const std::string count = Slurp(dir + "/../count");
    o.allocations = count == "<missing>" ? -1 : std::atol(count.c_str());
    std::remove((dir + "/../count").c_str());
    o.out = Slurp(dir + "/../stdout");
    o.err = Slurp(dir + "/../stderr");
    o.cfg = Slurp(dir + "/ACME-OOM-MIB.cfg");
    o.cfg1 = Slurp(dir + "/ACME-OOM-MIB.cfg_1");
    o.cfg2 = Slurp(dir + "/ACME-OOM-MIB.cfg_2");
    o.files = Listing(dir);
    return o;
}

bool EndsWith(const std::string& s, const std::string& end) {
    return s.size() >= end.size() && s.compare(s.size() - end.size(), end.size(), end) == 0;
}

class OutOfMemory : public ScratchTest {};

TEST_F(OutOfMemory, EveryAllocationThatFailsEndsTheCompileCleanly) {
    const Outcome reference = Compile(dir_ + "/run", 0);
    ASSERT_EQ(reference.status, 0) << reference.out << reference.err;
    ASSERT_TRUE(EndsWith(reference.out, "\nMib file compilation completed with warnings")) << reference.out;
    ASSERT_NE(reference.cfg.find("acmeNotif TRAP-TYPE"), std::string::npos);
    ASSERT_EQ(reference.cfg1, kPrevious);
    ASSERT_EQ(reference.cfg2, kBackup);
    const std::string inputs = "ACME-BASE-MIB.mib\nACME-OOM-MIB.cfg\nACME-OOM-MIB.cfg_1\nACME-OOM-MIB.mib\n";
    ASSERT_EQ(reference.files,
              "ACME-BASE-MIB.mib\nACME-OOM-MIB.cfg\nACME-OOM-MIB.cfg_1\nACME-OOM-MIB.cfg_2\nACME-OOM-MIB.mib\n");
    ASSERT_GT(reference.allocations, 0);

    const std::string failed = "\nMib compilation failed.\n";
    long failures = 0;
    for (long k = 1;; ++k) {
        const Outcome o = Compile(dir_ + "/run", k);
        SCOPED_TRACE("allocation " + std::to_string(k) + " failing\n" + o.out);
        ASSERT_GE(o.allocations, 0);
        if (o.allocations < k) break;  // no allocation failed: every one is tried
        EXPECT_EQ(o.err, "");
        if (o.status == 0) {
            // Only an allocation the C library does without (a buffer for
            // standard output) can fail in a successful run.
            EXPECT_EQ(o.out, reference.out);
            EXPECT_EQ(o.cfg, reference.cfg);
            EXPECT_EQ(o.files, reference.files);
            continue;
        }
        ++failures;
        ASSERT_EQ(o.status, 1);
        ASSERT_TRUE(EndsWith(o.out, failed));
        // One line saying memory ran out, after what a run with memory
        // enough prints up to that point.
        const std::string before = o.out.substr(0, o.out.size() - failed.size());
        const size_t line = before.rfind('\n');
        ASSERT_NE(line, std::string::npos);
        const std::string message = before.substr(line);
        EXPECT_TRUE(message == "\nError: out of memory" ||
                    (message.rfind("\nLine: ", 0) == 0 && EndsWith(message, ": Error: out of memory")))
            << message;
        EXPECT_EQ(reference.out.rfind(before.substr(0, line), 0), 0u);
        EXPECT_EQ(o.cfg, kPrevious);
        EXPECT_EQ(o.cfg1, kBackup);
        EXPECT_EQ(o.files, inputs);  // no work file, no new backup
    }
    EXPECT_GT(failures, 0);
}

}  // namespace
