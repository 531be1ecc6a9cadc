// Stream: see stream.h.
#include "stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <new>
#include <utility>

namespace {

constexpr size_t kStreamBuffer = 64 * 1024;

}  // namespace

Stream::Stream(Stream&& other) noexcept
    : m_file(std::exchange(other.m_file, nullptr)),
      m_buffer(std::move(other.m_buffer)),
      m_cutAtClose(std::exchange(other.m_cutAtClose, false)) {}

Stream& Stream::operator=(Stream&& other) noexcept {
    if (this != &other) {
        Close();
        m_file = std::exchange(other.m_file, nullptr);
        m_buffer = std::move(other.m_buffer);
        m_cutAtClose = std::exchange(other.m_cutAtClose, false);
    }
    return *this;
}

// Gives the stream a buffer of its own: kStreamBuffer bytes, or for a file
// read whole no more than the file.
void Stream::SetBuffer(bool reading) {
    size_t size = kStreamBuffer;
    struct stat st;
    if (reading && fstat(fileno(m_file), &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= 0 &&
        static_cast<uint64_t>(st.st_size) < kStreamBuffer)
        size = (static_cast<size_t>(st.st_size) / 4096 + 1) * 4096;
    std::unique_ptr<char[]> buffer(new char[size]);
    if (setvbuf(m_file, buffer.get(), _IOFBF, size) == 0) m_buffer = std::move(buffer);
}

Stream OpenStream(const char* szName, const char* szMode) {
    Stream s(fopen(szName, szMode));
    if (!s) {
        // The C library had no memory for the stream.
        if (errno == ENOMEM) throw std::bad_alloc();
        return s;
    }
    s.SetBuffer(szMode[0] == 'r');
    return s;
}

Stream OpenMibInput(const char* szName) {
    Stream s(fopen(szName, "r"));
    if (!s) {
        if (errno == ENOMEM) throw std::bad_alloc();
        return s;
    }
    setvbuf(s.get(), nullptr, _IONBF, 0);
    return s;
}

Stream OpenRewriteStream(const char* szName) {
    // The flags of fopen's "w" without O_TRUNC.
    const int fd = open(szName, O_WRONLY | O_CREAT, 0666);
    if (fd < 0) {
        if (errno == ENOMEM) throw std::bad_alloc();
        return Stream();
    }
    Stream s(fdopen(fd, "w"));
    if (!s) {
        const int error = errno;
        close(fd);
        if (error == ENOMEM) throw std::bad_alloc();
        return s;
    }
    struct stat st;
    s.m_cutAtClose = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    s.SetBuffer(false);
    return s;
}

bool Stream::Retarget(const char* szName) {
    const int fd = open(szName, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd < 0) return false;
    const bool moved = dup2(fd, fileno(m_file)) >= 0;
    close(fd);
    return moved;
}

int Stream::Close() {
    if (m_file == nullptr) return 0;
    if (m_cutAtClose) {
        // What was written ends where the descriptor's offset stands once the
        // buffer is out; whatever the file held beyond it goes.  A file no
        // longer than that is left alone (cutting it would still cost ext4 a
        // truncation).
        fflush(m_file);
        const off_t end = lseek(fileno(m_file), 0, SEEK_CUR);
        struct stat st;
        if (end >= 0 && fstat(fileno(m_file), &st) == 0 && st.st_size > end && ftruncate(fileno(m_file), end) != 0) {
            // The stream's error state and fclose report a failed write; a
            // file that cannot be cut keeps its old tail, nothing more.
        }
    }
    const int status = fclose(m_file);
    m_file = nullptr;
    m_buffer.reset();  // only once the stream no longer uses it
    m_cutAtClose = false;
    return status;
}
