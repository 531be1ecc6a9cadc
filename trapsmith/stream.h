// Stream: a stdio stream that owns its FILE and its buffer and closes itself.
//
// OpenStream and OpenRewriteStream open the files of a compile with a 64 KB
// buffer instead of the default 4 KB, so that the input and the work files
// are read and written in few system calls.  When the C library or the
// kernel has no memory for a stream, or there is none for its buffer, they
// throw std::bad_alloc like any allocation of the compiler.
#ifndef TRAPSMITH_STREAM_H
#define TRAPSMITH_STREAM_H

#include <cstdio>
#include <memory>

class Stream {
public:
    Stream() = default;
    // Takes over a stream opened elsewhere (fopen, tmpfile, open_memstream),
    // which keeps its own buffer; a null stream gives an empty Stream.
    explicit Stream(FILE* file) : m_file(file) {}
    ~Stream() { Close(); }
    Stream(Stream&& other) noexcept;
    Stream& operator=(Stream&& other) noexcept;  // closes the stream it held
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    FILE* get() const { return m_file; }
    explicit operator bool() const { return m_file != nullptr; }
    bool operator==(std::nullptr_t) const { return m_file == nullptr; }
    bool operator!=(std::nullptr_t) const { return m_file != nullptr; }

    // Makes a write stream that has written nothing yet write to a new file
    // instead, created like fopen's "w" creates it: the file takes the
    // stream's descriptor, and the stream keeps its FILE and its buffer, so
    // that no memory is needed.  False, the stream unchanged, when the file
    // cannot be created.
    bool Retarget(const char* szName);

    // Closes the stream and releases its buffer; a file opened by
    // OpenRewriteStream is first cut where writing ended.  Returns fclose's
    // result, 0 when there was no stream; the Stream is empty afterwards.
    int Close();

private:
    friend Stream OpenStream(const char* szName, const char* szMode);
    friend Stream OpenRewriteStream(const char* szName);
    void SetBuffer(bool reading);

    FILE* m_file = nullptr;
    std::unique_ptr<char[]> m_buffer;  // null when the stream keeps its default buffer
    bool m_cutAtClose = false;          // a regular file written over: cut where writing ended
};

// Opens a stream like fopen; a file read whole gets a buffer no larger than
// itself.  Empty when fopen fails for another reason than memory.
Stream OpenStream(const char* szName, const char* szMode);
// Opens a MIB file for reading through a MibSource, which reads it in blocks
// of its own: the stream is unbuffered, so the bytes are read straight into
// those blocks and no second buffer is held.  Empty when fopen fails for
// another reason than memory.
Stream OpenMibInput(const char* szName);
// Opens a file for writing like OpenStream(szName, "w"), except that a file
// already there is written over in place and cut where writing ended when the
// stream is closed, and only when it is longer than that: the same content at
// the end, without first emptying the file.  A trace file is rewritten with
// the same records each time its module is imported again, and emptying it
// first costs its pages and, on ext4, a flush at close.  A file that is not
// a regular one (a link to /dev/null) is written as it is.
Stream OpenRewriteStream(const char* szName);

#endif  // TRAPSMITH_STREAM_H
