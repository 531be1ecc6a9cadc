// Folder locks: a second holder waits for the first, folders are locked in
// device/inode order and once each, folders that cannot be locked are passed
// over, and a reset releases the locks without the holders closing numbers
// that now belong to other files.
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <utility>

#include "folderlock.h"
#include "test_util.h"

namespace {

// Whether the folder can be locked right now through a new open file
// description (flock locks conflict between those even in one process).
bool Lockable(const std::string& folder) {
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool free = flock(fd, LOCK_EX | LOCK_NB) == 0;
    close(fd);
    return free;
}

std::pair<dev_t, ino_t> Identity(int fd) {
    struct stat st {};
    EXPECT_EQ(fstat(fd, &st), 0);
    return {st.st_dev, st.st_ino};
}

class FolderLockTest : public ScratchTest {
protected:
    std::string Sub(const std::string& name) {
        const std::string path = dir_ + "/" + name;
        EXPECT_EQ(mkdir(path.c_str(), 0755), 0) << path;
        return path;
    }
};

}  // namespace

TEST_F(FolderLockTest, SecondHolderWaitsUntilTheFirstReleases) {
    const std::string a = Sub("a"), b = Sub("b");
    int pipefd[2];
    ASSERT_EQ(pipe(pipefd), 0);
    fflush(stdout);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        // Holds b for a while, says when it has it and when it lets go.
        close(pipefd[0]);
        const int fd = open(b.c_str(), O_RDONLY | O_DIRECTORY);
        if (fd < 0 || flock(fd, LOCK_EX) != 0 || write(pipefd[1], "L", 1) != 1) _exit(1);
        usleep(300 * 1000);
        if (write(pipefd[1], "R", 1) != 1) _exit(1);
        close(fd);
        _exit(0);
    }
    close(pipefd[1]);
    char c = 0;
    ASSERT_EQ(read(pipefd[0], &c, 1), 1);
    ASSERT_EQ(c, 'L');

    const auto start = std::chrono::steady_clock::now();
    {
        FolderLocks locks({a, b});
        // The child said it was letting go before the lock could be had.
        struct pollfd p = {pipefd[0], POLLIN, 0};
        ASSERT_EQ(poll(&p, 1, 0), 1);
        ASSERT_EQ(read(pipefd[0], &c, 1), 1);
        EXPECT_EQ(c, 'R');
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
        EXPECT_EQ(locks.Descriptors().size(), 2u);
        // Both folders are now held against every other holder.
        EXPECT_FALSE(Lockable(a));
        EXPECT_FALSE(Lockable(b));
        for (int fd : locks.Descriptors()) EXPECT_TRUE(IsFolderLockDescriptor(fd));
    }
    EXPECT_TRUE(Lockable(a));
    EXPECT_TRUE(Lockable(b));
    int ws = 0;
    ASSERT_EQ(waitpid(pid, &ws, 0), pid);
    EXPECT_TRUE(WIFEXITED(ws) && WEXITSTATUS(ws) == 0);
    close(pipefd[0]);
}

TEST_F(FolderLockTest, FoldersAreLockedInDeviceInodeOrderAndEachOnce) {
    const std::string a = Sub("a"), b = Sub("b");
    ASSERT_EQ(symlink(b.c_str(), (dir_ + "/link-to-b").c_str()), 0);
    struct stat sa {}, sb {};
    ASSERT_EQ(stat(a.c_str(), &sa), 0);
    ASSERT_EQ(stat(b.c_str(), &sb), 0);
    auto low = std::make_pair(sa.st_dev, sa.st_ino), high = std::make_pair(sb.st_dev, sb.st_ino);
    if (high < low) std::swap(low, high);

    for (const auto& folders : {std::vector<std::string>{a, b}, std::vector<std::string>{b, a},
                                std::vector<std::string>{b + "/.", dir_ + "/link-to-b", a, a + "/../a"}}) {
        FolderLocks locks(folders);
        ASSERT_EQ(locks.Descriptors().size(), 2u) << folders[0];
        EXPECT_EQ(Identity(locks.Descriptors()[0]), low);
        EXPECT_EQ(Identity(locks.Descriptors()[1]), high);
    }
    // One folder under two names: the working folder and "./" are one lock.
    FolderLocks same({".", dir_});
    EXPECT_EQ(same.Descriptors().size(), 1u);
    EXPECT_FALSE(Lockable("."));
}

TEST_F(FolderLockTest, FolderThatCannotBeOpenedIsPassedOverWithoutWaiting) {
    Spit("plain-file", "x");
    const std::string gone = Sub("gone");
    ASSERT_EQ(rmdir(gone.c_str()), 0);
    {
        FolderLocks none({"plain-file", gone, "no-such-folder"});
        EXPECT_TRUE(none.Descriptors().empty());
    }
    const std::string a = Sub("a");
    FolderLocks one({gone, a, "plain-file"});
    ASSERT_EQ(one.Descriptors().size(), 1u);
    EXPECT_FALSE(Lockable(a));
}

TEST_F(FolderLockTest, ResetReleasesTheLocksAndTheHolderThenClosesNothing) {
    const std::string a = Sub("a");
    Spit("file", "x");
    int reused = -1;
    {
        FolderLocks locks({a});
        ASSERT_EQ(locks.Descriptors().size(), 1u);
        const int fd = locks.Descriptors()[0];
        ResetProcessState();
        EXPECT_FALSE(IsFolderLockDescriptor(fd));
        EXPECT_TRUE(Lockable(a));
        // The freed number goes to the next file opened; the holder must
        // leave it alone.
        reused = open("file", O_RDONLY);
        ASSERT_EQ(reused, fd);
    }
    EXPECT_NE(fcntl(reused, F_GETFD), -1);
    close(reused);
}
