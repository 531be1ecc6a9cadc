#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace batch {
namespace {

// A new file named after `prefix` with six random characters added; its name
// is left in `name`.
int CreateTemporary(const std::string& prefix, std::string* name, std::string* error) {
    std::vector<char> buffer(prefix.begin(), prefix.end());
    for (char c : std::string("XXXXXX")) buffer.push_back(c);
    buffer.push_back('\0');
    int fd = mkstemp(buffer.data());
    if (fd < 0) {
        *error = std::strerror(errno);
        return -1;
    }
    *name = buffer.data();
    return fd;
}

}  // namespace

std::string ReadFile(const std::string& name, size_t limit, bool* ok) {
    std::string data;
    int fd = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (ok) *ok = fd >= 0;
    if (fd < 0) return data;
    char block[65536];
    while (data.size() < limit) {
        ssize_t n = read(fd, block, sizeof block);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            if (n < 0 && ok) *ok = false;
            break;
        }
        data.append(block, static_cast<size_t>(n));
    }
    close(fd);
    return data;
}

bool WriteWhole(const std::string& target, const std::string& data, std::string* error) {
    std::string folder = target.substr(0, target.rfind('/') + 1);
    std::string temp;
    int fd = CreateTemporary(folder + "." + target.substr(folder.size()) + ".", &temp, error);
    if (fd < 0) return false;
    fchmod(fd, 0644);
    size_t written = 0;
    int failure = 0;
    while (written < data.size()) {
        ssize_t n = write(fd, data.data() + written, data.size() - written);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            failure = n < 0 ? errno : ENOSPC;
            break;
        }
        written += static_cast<size_t>(n);
    }
    if (close(fd) != 0 && failure == 0) failure = errno;
    if (failure == 0 && rename(temp.c_str(), target.c_str()) != 0) failure = errno;
    if (failure != 0) {
        *error = std::strerror(failure);
        unlink(temp.c_str());
        return false;
    }
    return true;
}

bool Writable(const std::string& folder, std::string* error) {
    std::string probe;
    int fd = CreateTemporary(folder + "/.trapsmith-batch.", &probe, error);
    if (fd < 0) return false;
    close(fd);
    unlink(probe.c_str());
    return true;
}

}  // namespace batch
