#include "collect.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <deque>
#include <set>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>

#include "scan.h"

namespace batch {
namespace {

// Binary data is recognised from this much of a file, so a large binary file
// is never read whole.
constexpr size_t kSniffBytes = 64 * 1024;

std::string JoinPath(const std::string& dir, const std::string& name) {
    if (dir.empty()) return name;
    return dir.back() == '/' ? dir + name : dir + "/" + name;
}

std::string AbsolutePath(const std::string& path) {
    if (!path.empty() && path[0] == '/') return path;
    char cwd[4096];
    if (!getcwd(cwd, sizeof cwd)) return path;
    return JoinPath(cwd, path);
}

// Reads and scans one file; sets `skipped` when it is not compiled.
void ScanFile(SourceFile* file) {
    int fd = open(file->target.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) {
        file->skipped = std::string("unreadable: ") + std::strerror(errno);
        return;
    }
    std::string data;
    struct stat st;
    if (fstat(fd, &st) == 0 && st.st_size > 0) data.reserve(static_cast<size_t>(st.st_size) + 1);
    char block[kSniffBytes];
    bool first = true;
    for (;;) {
        ssize_t n = read(fd, block, sizeof block);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            file->skipped = std::string("unreadable: ") + std::strerror(errno);
            close(fd);
            return;
        }
        if (n == 0) break;
        if (first && !LooksLikeText(block, static_cast<size_t>(n))) {
            file->skipped = "not text";
            close(fd);
            return;
        }
        first = false;
        data.append(block, static_cast<size_t>(n));
    }
    close(fd);
    ScanResult scan = ScanModules(data.data(), data.size());
    file->modules = std::move(scan.modules);
    file->imports = std::move(scan.imports);
    if (file->modules.empty()) file->skipped = "no module header";
}

class Walker {
public:
    Walker(Collection* collection, const std::string& exclude) : collection(collection) {
        struct stat st;
        if (!exclude.empty() && stat(exclude.c_str(), &st) == 0) excluded = {st.st_dev, st.st_ino};
    }

    // Adds the files of one root; false when the root cannot be read.
    bool Root(const std::string& path, int root, bool compile, std::string* error) {
        struct stat st;
        if (stat(path.c_str(), &st) != 0) {
            *error = "cannot read " + path + ": " + std::strerror(errno);
            return false;
        }
        if (S_ISDIR(st.st_mode)) {
            DIR* dir = opendir(path.c_str());
            if (!dir) {
                *error = "cannot read " + path + ": " + std::strerror(errno);
                return false;
            }
            closedir(dir);
            Folder(path, AbsolutePath(path), st, root, 0, compile);
            return true;
        }
        if (!S_ISREG(st.st_mode)) {
            *error = path + " is neither a file nor a folder";
            return false;
        }
        Add(path, AbsolutePath(path), root, 0, compile);
        ScanFile(&collection->files.back());
        collection->files.back().scanned = true;
        const std::string& skipped = collection->files.back().skipped;
        if (skipped.compare(0, 10, "unreadable") == 0) {
            *error = "cannot read " + path + skipped.substr(10);
            return false;
        }
        return true;
    }

private:
    // Recursive, one level per folder: the depth is bounded, since a folder
    // whose absolute name outgrows the system's limit (4,096 bytes on Linux)
    // cannot be opened and ends its branch.
    void Folder(const std::string& path, const std::string& absolute, const struct stat& st, int root, int depth,
                bool compile) {
        std::pair<dev_t, ino_t> id{st.st_dev, st.st_ino};
        // Each folder once, so that a link cycle ends; the output folder is left
        // out when it lies inside a tree, so results are never read as input.
        if ((depth > 0 && id == excluded) || !visited.insert(id).second) return;
        DIR* dir = opendir(absolute.c_str());
        if (!dir) {
            collection->problems.push_back("cannot read folder " + path + ": " + std::strerror(errno));
            return;
        }
        std::vector<std::string> names;
        while (struct dirent* entry = readdir(dir)) {
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
                names.push_back(entry->d_name);
        }
        closedir(dir);
        std::sort(names.begin(), names.end());
        for (const std::string& name : names) {
            std::string childPath = JoinPath(path, name);
            std::string childAbsolute = JoinPath(absolute, name);
            struct stat child;
            if (stat(childAbsolute.c_str(), &child) != 0) {
                // A dangling link or a file gone meanwhile: nothing to read.
                if (lstat(childAbsolute.c_str(), &child) == 0 && !S_ISLNK(child.st_mode))
                    collection->problems.push_back("cannot read " + childPath + ": " + std::strerror(errno));
                continue;
            }
            if (S_ISDIR(child.st_mode))
                Folder(childPath, childAbsolute, child, root, depth + 1, compile);
            else if (S_ISREG(child.st_mode))
                Add(childPath, childAbsolute, root, depth, compile);
        }
    }

    void Add(const std::string& path, const std::string& absolute, int root, int depth, bool compile) {
        SourceFile file;
        file.path = path;
        file.target = absolute;
        file.root = root;
        file.depth = depth;
        file.compile = compile;
        collection->files.push_back(std::move(file));
    }

    Collection* collection;
    std::pair<dev_t, ino_t> excluded{static_cast<dev_t>(-1), static_cast<ino_t>(-1)};
    std::set<std::pair<dev_t, ino_t>> visited;
};

// The compiler's second and third candidate names of an imported module,
// without ".mib": a "-MIB" suffix (any case) of a name longer than four
// characters cut off, then lower case; and the whole name in lower case.
std::vector<std::string> CandidateNames(const std::string& module) {
    auto lower = [](std::string s) {
        for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return s;
    };
    std::string second = module;
    if (second.size() > 4) {
        std::string suffix = second.substr(second.size() - 4);
        for (char& c : suffix) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (suffix == "-MIB") second.resize(second.size() - 4);
    }
    return {module, lower(second), lower(module)};
}

}  // namespace

bool CollectFiles(const std::vector<std::string>& paths, const std::vector<std::string>& withs,
                  const std::string& exclude, int threads, Collection* collection, std::string* error) {
    Walker walker(collection, exclude);
    int root = 0;
    for (const std::string& path : paths)
        if (!walker.Root(path, root++, true, error)) return false;
    for (const std::string& path : withs)
        if (!walker.Root(path, root++, false, error)) return false;

    // The files are read and scanned on several threads: reading a large
    // tree is a good part of a batch.  Each file is scanned by one thread
    // and its results stay in its own record, so the outcome does not
    // depend on the order.
    std::atomic<size_t> next{0};
    auto work = [&] {
        for (size_t i = next++; i < collection->files.size(); i = next++) {
            SourceFile& file = collection->files[i];
            if (!file.scanned) ScanFile(&file);
        }
    };
    std::vector<std::thread> pool;
    for (int t = 1; t < threads; ++t) {
        // A thread the system will not start leaves the work to the others.
        try {
            pool.emplace_back(work);
        } catch (const std::system_error&) {
            break;
        }
    }
    work();
    for (std::thread& thread : pool) thread.join();
    return true;
}

void BuildIndex(Collection* collection) {
    collection->index.clear();
    const std::vector<SourceFile>& files = collection->files;
    auto better = [&](size_t a, size_t b) {
        return std::tie(files[a].root, files[a].depth, files[a].path) <
               std::tie(files[b].root, files[b].depth, files[b].path);
    };
    for (size_t i = 0; i < files.size(); ++i) {
        for (const std::string& module : files[i].modules) {
            auto found = collection->index.find(module);
            if (found == collection->index.end())
                collection->index.emplace(module, i);
            else if (better(i, found->second))
                found->second = i;
        }
    }
}

bool FindImport(const Collection& collection, const std::string& module, std::string* linkName, size_t* file) {
    if (!UsableModuleName(module)) return false;
    for (const std::string& candidate : CandidateNames(module)) {
        auto found = collection.index.find(candidate);
        if (found != collection.index.end()) {
            *linkName = candidate + ".mib";
            *file = found->second;
            return true;
        }
    }
    return false;
}

std::map<std::string, size_t> ImportClosure(const Collection& collection, size_t file) {
    std::map<std::string, size_t> links;
    std::set<size_t> expanded{file};
    std::deque<size_t> pending{file};
    while (!pending.empty()) {
        size_t current = pending.front();
        pending.pop_front();
        for (const std::string& module : collection.files[current].imports) {
            std::string linkName;
            size_t target;
            if (!FindImport(collection, module, &linkName, &target)) continue;
            links.emplace(linkName, target);
            if (expanded.insert(target).second) pending.push_back(target);
        }
    }
    return links;
}

}  // namespace batch
