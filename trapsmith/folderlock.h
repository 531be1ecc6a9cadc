// One compile per folder at a time: exclusive advisory locks (flock) on the
// folders a run writes in, held until the run ends.
#ifndef TRAPSMITH_FOLDERLOCK_H
#define TRAPSMITH_FOLDERLOCK_H

#include <string>
#include <vector>

// Exclusive flock locks on folders, taken when constructed and released when
// destroyed.  Each folder is opened for reading as a directory; no file is
// created.  The folders are locked in ascending (st_dev, st_ino) order, and a
// folder met twice (by any name) is locked once, so two holders never wait on
// each other in a cycle.  A folder that cannot be opened or locked is left
// unlocked without a word: the caller goes on as without the lock.
class FolderLocks {
public:
    explicit FolderLocks(const std::vector<std::string>& folders);
    ~FolderLocks();
    FolderLocks(const FolderLocks&) = delete;
    FolderLocks& operator=(const FolderLocks&) = delete;

    // The descriptors holding the locks, in the order the locks were taken.
    const std::vector<int>& Descriptors() const { return m_fds; }

private:
    std::vector<int> m_fds;
};

// True when fd holds a folder lock that is still held: cleanup leaves such a
// descriptor open, since closing it would release the lock.
bool IsFolderLockDescriptor(int fd);

// Releases every folder lock still held (part of ResetProcessState); the
// holders then have nothing left to release.
void ReleaseFolderLocks();

// The folder of the files named after a base name: what precedes its last
// '/', "/" when that is nothing, and "." for a name without '/'.
std::string FolderOf(const std::string& base);

#endif  // TRAPSMITH_FOLDERLOCK_H
