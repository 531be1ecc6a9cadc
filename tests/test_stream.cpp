// Stream: who closes the file when a Stream is moved, assigned over or goes,
// and the files OpenStream and OpenRewriteStream open.  How a trace file is
// written over and cut is checked through the compiler (test_compiler.cpp).
#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "test_util.h"

namespace {

bool IsOpen(int fd) { return fcntl(fd, F_GETFD) != -1; }

class StreamTest : public ScratchTest {};

TEST_F(StreamTest, TheLastOwnerClosesTheFile) {
    int first, second;
    {
        Stream a = OpenStream("a.txt", "w");
        ASSERT_TRUE(a);
        first = fileno(a.get());
        Stream b(std::move(a));  // the file moves along, still open
        EXPECT_EQ(a.get(), nullptr);
        EXPECT_TRUE(IsOpen(first));
        fputs("kept", b.get());
        Stream c = OpenRewriteStream("c.txt");
        ASSERT_TRUE(c);
        second = fileno(c.get());
        c = std::move(b);  // assigning over closes what c held
        EXPECT_FALSE(IsOpen(second));
        EXPECT_TRUE(IsOpen(first));
        Stream adopted(std::tmpfile());
        EXPECT_TRUE(adopted);
    }
    EXPECT_FALSE(IsOpen(first));
    EXPECT_EQ(Slurp("a.txt"), "kept");
    EXPECT_EQ(Slurp("c.txt"), "");  // created, never written

    Stream empty;
    EXPECT_EQ(empty.Close(), 0);
    Stream missing = OpenStream("nodir/x.txt", "r");
    EXPECT_FALSE(missing);
    EXPECT_FALSE(OpenRewriteStream("nodir/x.txt"));

    // A file read whole through a buffer sized after it, and one larger
    // than a buffer.
    Spit("small.txt", "abc");
    Spit("large.txt", std::string(200000, 'z'));
    Stream small = OpenStream("small.txt", "r");
    Stream large = OpenStream("large.txt", "r");
    EXPECT_EQ(ReadStream(small.get()), "abc");
    EXPECT_EQ(ReadStream(large.get()), std::string(200000, 'z'));
    EXPECT_EQ(small.Close(), 0);
    EXPECT_FALSE(small);
}

}  // namespace
