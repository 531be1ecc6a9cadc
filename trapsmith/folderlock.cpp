// Folder locks: see folderlock.h.
#include "folderlock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <tuple>

namespace {

// The descriptors of every folder lock held in the process.
std::vector<int> heldLocks;

// Takes fd off the held list; true when it was on it.
bool Unregister(int fd) {
    auto it = std::find(heldLocks.begin(), heldLocks.end(), fd);
    if (it == heldLocks.end()) return false;
    heldLocks.erase(it);
    return true;
}

}  // namespace

FolderLocks::FolderLocks(const std::vector<std::string>& folders) {
    struct Opened {
        dev_t device;
        ino_t inode;
        int fd;
    };
    // Room for every lock first: once a folder is open or locked, nothing
    // may run out of memory before its descriptor is kept.
    std::vector<Opened> opened;
    opened.reserve(folders.size());
    m_fds.reserve(folders.size());
    heldLocks.reserve(heldLocks.size() + folders.size());
    for (const std::string& folder : folders) {
        const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) continue;
        struct stat st;
        if (fstat(fd, &st) != 0) {
            close(fd);
            continue;
        }
        opened.push_back({st.st_dev, st.st_ino, fd});
    }

    // Every holder takes its locks in the same global order.
    std::sort(opened.begin(), opened.end(), [](const Opened& a, const Opened& b) {
        return std::tie(a.device, a.inode) < std::tie(b.device, b.inode);
    });
    for (size_t i = 0; i < opened.size(); ++i) {
        const Opened& o = opened[i];
        // A second name of a folder already locked: locking it again through
        // another open file would wait on our own lock.
        if (i > 0 && o.device == opened[i - 1].device && o.inode == opened[i - 1].inode) {
            close(o.fd);
            continue;
        }
        int rc;
        do {
            rc = flock(o.fd, LOCK_EX);
        } while (rc != 0 && errno == EINTR);
        if (rc != 0) {
            close(o.fd);
            continue;
        }
        m_fds.push_back(o.fd);
        heldLocks.push_back(o.fd);
    }
}

FolderLocks::~FolderLocks() {
    // A descriptor no longer on the held list was closed by
    // ReleaseFolderLocks, and its number may since belong to another file.
    for (int fd : m_fds)
        if (Unregister(fd)) close(fd);
}

bool IsFolderLockDescriptor(int fd) { return std::find(heldLocks.begin(), heldLocks.end(), fd) != heldLocks.end(); }

void ReleaseFolderLocks() {
    for (int fd : heldLocks) close(fd);
    heldLocks.clear();
}

std::string FolderOf(const std::string& base) {
    const size_t slash = base.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return base.substr(0, slash);
}
