// The input source: single bytes, push-back and runs, read through blocks of
// every small size so that each step meets a block boundary somewhere.
#include <string>

#include "test_util.h"
#include "tokenizer_state.h"

namespace {

struct Source {
    FILE* stream;
    MibSource in;
    Source(const std::string& text, size_t blockSize) : stream(TextStream(text)), in(blockSize) { in.Attach(stream); }
    ~Source() { fclose(stream); }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
};

constexpr MibSource::EitherOf kQuoteOrNewline{'"', '\n'};

}  // namespace

TEST(MibSource, BytesPeekAndPutBack) {
    for (size_t block = 1; block <= 4; ++block) {
        Source s("ab\xff", block);
        EXPECT_EQ(s.in.Peek(), 'a');
        EXPECT_EQ(s.in.Take(), 'a');
        const int b = s.in.Take();
        EXPECT_EQ(b, 'b');
        s.in.PutBack(b);  // still in its block, even a block of one byte
        EXPECT_EQ(s.in.Take(), 'b');
        EXPECT_EQ(s.in.Take(), 0xff);  // bytes come back unsigned, never as EOF
        EXPECT_EQ(s.in.Peek(), EOF);
        const int end = s.in.Take();
        EXPECT_EQ(end, EOF);
        s.in.PutBack(end);  // gives back nothing
        EXPECT_EQ(s.in.Take(), EOF);
    }
}

// A run of k bytes, then its stop byte, then more: the run is taken whole
// (or up to its room), the stop byte is left, whatever the block size and
// wherever the wide steps end.
TEST(MibSource, RunsStopAtTheirByteAndRoom) {
    for (size_t block = 1; block <= 37; ++block) {
        for (size_t k = 0; k <= 40; ++k) {
            const std::string run(k, 'x');
            Source s(run + "\"tail\nnext", block);
            char dst[64];
            EXPECT_EQ(s.in.CopyRun(dst, sizeof dst, kQuoteOrNewline), k) << block << " " << k;
            EXPECT_EQ(std::string(dst, k), run);
            EXPECT_EQ(s.in.Take(), '"');
            s.in.SkipRun(kQuoteOrNewline);
            EXPECT_EQ(s.in.Take(), '\n');

            Source cut(run + "\"", block);
            const size_t room = k / 2;
            EXPECT_EQ(cut.in.CopyRun(dst, room, kQuoteOrNewline), room);
            EXPECT_EQ(cut.in.Take(), k > room ? 'x' : '"');
        }
        // A run to the end of the input.
        Source s(std::string(70, 'y'), block);
        char dst[80];
        EXPECT_EQ(s.in.CopyRun(dst, sizeof dst, kQuoteOrNewline), 70u);
        EXPECT_EQ(s.in.Take(), EOF);
    }
}

// The wide steps may pick out bytes that do not end a run (a tab among
// blanks, a byte from 128 up among the bytes of a word): those are part of
// the run, which goes on to the byte that does end it.
TEST(MibSource, BytesThatOnlyMayEndARunAreTakenWithIt) {
    const std::string blanks = " \t  \r\v \f";
    const std::string word = "a\xff!~\x80.\"Z";
    for (size_t block = 1; block <= 37; ++block) {
        for (size_t k = 0; k <= 40; ++k) {
            std::string indent, text;
            for (size_t i = 0; i < k; ++i) indent += blanks[i % blanks.size()];
            for (size_t i = 0; i < k; ++i) text += word[i % word.size()];
            Source s(indent + "\n" + text + "\t", block);
            s.in.SkipRun(LineBlanksEnd{});
            EXPECT_EQ(s.in.Take(), '\n') << block << " " << k;
            char dst[64];
            EXPECT_EQ(s.in.CopyRun(dst, sizeof dst, SpaceStop{}), k) << block << " " << k;
            EXPECT_EQ(std::string(dst, k), text);
            EXPECT_EQ(s.in.Take(), '\t');
        }
    }
}

// Attaching starts at the stream's position and drops what was read ahead,
// so a stream closed and another opened in its place start clean.
TEST(MibSource, AttachStartsAfresh) {
    Source s("first stream", 64);
    EXPECT_EQ(s.in.Take(), 'f');  // the rest of the text is read ahead
    FILE* other = TextStream("xyz");
    fgetc(other);
    s.in.Attach(other);
    EXPECT_EQ(s.in.Stream(), other);
    EXPECT_EQ(s.in.Take(), 'y');
    s.in.Attach(nullptr);
    EXPECT_EQ(s.in.Take(), EOF);
    fclose(other);
}

// A file shorter than a block is read into a block sized after it; files
// of sizes about the page sizes such a block is rounded to are read whole,
// and once more after the source is attached again.
TEST(MibSource, FilesOfEverySizeNearTheBlockSizesAreReadWhole) {
    for (size_t size : {0, 1, 4095, 4096, 4097, 8191, 8192, 65535, 65536, 65537, 140000}) {
        std::string text;
        for (size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i % 26);
        FILE* stream = TextStream(text + "\"");
        MibSource in;
        for (int pass = 0; pass < 2; ++pass) {
            rewind(stream);
            in.Attach(stream);
            std::string read(size + 16, '\0');
            EXPECT_EQ(in.CopyRun(&read[0], read.size(), kQuoteOrNewline), size);
            read.resize(size);
            EXPECT_EQ(read, text) << size;
            EXPECT_EQ(in.Take(), '"');
            EXPECT_EQ(in.Take(), EOF);
        }
        fclose(stream);
    }
}
