#include "sfm/sfm_test_support.h"

#include <climits>

namespace {

using namespace sfmtest;
using ManagedFile = Fixture;
using Trace = std::vector<std::string>;

constexpr int kBefore = SFM::EC_BeforeOpen, kOpened = SFM::EC_Opened, kClosed = SFM::EC_Closed,
              kOpenFailed = SFM::EC_OpenFailed;

TEST_F(ManagedFile, OpenCloseAndTheirFailures) {
    std::string const path = dir / "f.bin";
    SFM_File file(path.c_str()), absent((dir / "no/such").c_str()), unmoded((dir / "x").c_str()), closed("closed");
    EXPECT_EQ(file.Open("w+b"), 1);
    file.Close();
    file.Close(); // a second close does nothing
    EXPECT_EQ(file.Open(), 1) << "with the stored mode";
    EXPECT_EQ(m.Codes(), (Codes{kBefore, kOpened, kClosed, kBefore, kOpened}));
    // Name and mode change only on a closed file: failed checks, after which they are stored. Opening
    // an open file is a failed check too: it is closed and opened afresh, here with "r".
    file = "other";
    file.SetName(path.c_str());
    file.SetMode("r");
    m.events.clear();
    EXPECT_EQ(file.Open(), 1);
    EXPECT_EQ(m.checks.size(), 4u);
    EXPECT_EQ(m.Codes(), (Codes{kClosed, kBefore, kOpened}));
    EXPECT_EQ(file.Write("x", 1), 0) << "read-only";

    m.Reset();
    m.answer = SFM::EC_Retry;
    m.answersLeft = 2;
    EXPECT_EQ(absent.Open("rb"), 0) << "retried on the answer";
    EXPECT_EQ(unmoded.Open(), 0) << "an empty mode never reaches the stream library: an ordinary failed open";
    EXPECT_EQ(m.Codes(), (Codes{kBefore, kOpenFailed, kOpenFailed, kOpenFailed, kBefore, kOpenFailed}));
    EXPECT_EQ(S(unmoded.GetMsg()).rfind("Invalid argument", 0), 0u);
    SFM_File checked((dir / "y").c_str(), "");
    EXPECT_EQ(m.checks.size(), 1u) << "the constructor wants a mode";

    // On a file that is not open every operation gives 0, -1 or empty; only these are checks.
    m.Reset();
    char buffer[4] = {};
    EXPECT_EQ(closed.Read(buffer, 4) + closed.Write("abcd", 4) + closed.Seek(0, SFM_File::ST_Begin) +
                  closed.PutChar('a') + closed.WriteLine("x") + closed.Printf("%d", 5) +
                  closed.PushPosition(0, SFM_File::ST_Begin),
              0);
    EXPECT_EQ(closed.GetPosition() + closed.GetChar(), -2);
    EXPECT_TRUE(closed.GetLine().IsEmpty());
    closed.PopPosition();
    EXPECT_TRUE(m.checks.empty() && m.events.empty());
    EXPECT_EQ(closed.Read(nullptr, 4) + closed.Write(nullptr, 4) + closed.Eof(), 1);
    EXPECT_EQ(m.checks.size(), 3u) << "null buffers, Eof of a file that is not open";
}

TEST_F(ManagedFile, ReadsWritesLinesAndCharacters) {
    std::string const path = dir / "text";
    SFM_File file(path.c_str(), "w+b");
    EXPECT_EQ((Codes{file.Write("abc", 3), file.WriteLine("line"), file.Printf("%d-%s", 42, "x"),
                     file.PutChar('\xFF')}),
              (Codes{1, 1, 4, 1}));
    file.Rewind();
    char buffer[3] = {};
    EXPECT_EQ(file.Read(buffer, 2), 2);
    EXPECT_EQ(std::string(buffer), "ab");
    // A line keeps its line feed and holds at most maxLength - 1 bytes, none for a negative one; the
    // byte 0xFF reads as -1, and the end is seen before a read fails.
    auto c = [&file] { int const v = file.GetChar(); return v < 0 ? std::to_string(v) : std::string(1, char(v)); };
    auto eof = [&file] { return "eof" + std::to_string(file.Eof()); };
    EXPECT_EQ((Trace{S(file.GetLine(0)), c(), S(file.GetLine(1)), S(file.GetLine(-5)), S(file.GetLine(3)), c(), eof(),
                     c(), eof(), S(file.GetLine())}),
              (Trace{"cline\n", "4", "", "", "2-", "x", "eof0", "-1", "eof1", ""}));
    EXPECT_EQ(m.Codes(), (Codes{kBefore, kOpened})) << "the end of the file is no failure";
    file.Close();

    // A long line comes in pieces of 510 bytes, whatever the larger limit.
    WriteFile(path, std::string(600, 'q') + "\nnext\n");
    EXPECT_EQ(file.Open("r"), 1);
    EXPECT_EQ(file.GetLine(0).GetLength(), 510);
    EXPECT_EQ(file.GetLine(INT32_MAX).GetLength(), 91);
    EXPECT_EQ(S(file.GetLine(0)), "next\n");
}

TEST_F(ManagedFile, TheLengthIsCachedUntilAWriteReachesTheEnd) {
    struct SeekCounter : SFM_File { // Seek is the slot every positioning goes through
        using SFM_File::SFM_File;
        int seeks = 0;
        int Seek(int32_t offset, SeekType type) override { return ++seeks, SFM_File::Seek(offset, type); }
    };
    std::string const path = dir / "len";
    SFM_File probe(path.c_str()), unnamed;
    EXPECT_EQ(probe.GetLength() + unnamed.GetLength(), -2) << "no such file, no name";
    WriteFile(path, "12345");
    EXPECT_EQ(probe.GetLength(), 5);
    WriteFile(path, "1234567");
    EXPECT_EQ(probe.GetLength(), 5) << "cached";
    EXPECT_TRUE(m.events.empty()) << "the probe opens outside Open";
    // Open drops the cache; a write inside the length keeps it (a write past it: the exhaustion test).
    SeekCounter file(path.c_str(), "r+b");
    EXPECT_EQ(file.GetLength(), 7);
    file.Seek(2, SFM_File::ST_Begin);
    file.seeks = 0;
    EXPECT_EQ(file.Write("ab", 2) + file.Eof() + file.GetLength(), 8);
    EXPECT_EQ(file.seeks, 0) << "nothing measured again, and Eof costs no seek while the length stands";
}

TEST_F(ManagedFile, BinaryNumbersAreLittleEndianWithBitReversal) {
    std::string const path = dir / "numbers";
    SFM_File file(path.c_str(), "w+b");
    file.Put(int16_t(1), 1);
    file.Put(static_cast<unsigned char>(1), 1);
    file.Put(int32_t(1), 1);
    file.Put(int32_t(0x12345678));
    file.Put(uint16_t(0xBEEF));
    file.Put('A');
    file.Put(1.0);
    file.Put(3u, 1);
    file.Flush();
    EXPECT_EQ(ReadFile(path), std::string("\x00\x80\x80\x00\x00\x00\x80\x78\x56\x34\x12\xEF\xBE"
                                          "A\x00\x00\x00\x00\x00\x00\xF0\x3F\x00\x00\x00\xC0",
                                          26));

    // Every width, both ways round, at the limits: what goes in comes back.
    auto roundTrip = [&file](auto value, auto... reverse) {
        decltype(value) back{};
        file.Rewind();
        file.Put(value, reverse...);
        file.Rewind();
        return file.Get(back, reverse...) == value && back == value;
    };
    for (int32_t v : {0, 1, -1, INT32_MIN, INT32_MAX, 0x0F0F1234}) {
        EXPECT_TRUE(roundTrip(static_cast<double>(v) / 3)) << v;
        for (int r : {0, 1})
            EXPECT_TRUE(roundTrip(v, r) && roundTrip(uint32_t(v), r) && roundTrip(int16_t(v), r) &&
                        roundTrip(uint16_t(v), r) && roundTrip(char(v), r) &&
                        roundTrip(static_cast<unsigned char>(v), r))
                << v << " " << r;
    }

    // A short read keeps the variable's bytes beyond those read.
    file.Close();
    WriteFile(path, "\xAA\xBB");
    file.Open("rb");
    int32_t partial = 0x11223344;
    EXPECT_EQ(file.Get(partial), 0x1122BBAA);
    EXPECT_EQ(file.Get(partial), 0x1122BBAA) << "nothing more to read";
    EXPECT_TRUE(m.checks.empty());
}

TEST_F(ManagedFile, PositionsSurviveATemporaryClose) {
    std::string const path = dir / "t";
    SFM_File file(path.c_str(), "w+b");
    file.Write("0123456789", 10);
    file.Rewind();
    EXPECT_EQ((Codes{file.PushPosition(3, SFM_File::ST_Begin), file.PushPosition(-2, SFM_File::ST_End),
                     file.PushPosition(-100, SFM_File::ST_Current)}),
              (Codes{1, 1, 0})) << "a failed seek returns and pushes nothing";
    auto pop = [&file] { return file.PopPosition(), file.GetPosition(); };
    EXPECT_EQ((Codes{file.GetPosition(), pop(), pop(), file.Seek(4, SFM_File::ST_Begin), pop()}),
              (Codes{8, 3, 0, 1, 4})) << "with an empty stack, nothing happens";

    // Brought back at its place without EC_Opened, in append mode: the contents stay, writes go to the end.
    m.Reset();
    TakeAHandleAway(m.Files());
    EXPECT_EQ(file.IsOpen(), 1) << "to its users still open";
    EXPECT_TRUE(m.events.empty());
    EXPECT_EQ(file.GetPosition(), 4);
    EXPECT_EQ(m.Codes(), (Codes{kBefore}));
    EXPECT_EQ(file.Write("AB", 2), 1);
    EXPECT_EQ(file.GetPosition(), 12);

    // A pushed position survives a temporary close and comes back in order.
    file.PushPosition(1, SFM_File::ST_Begin);
    TakeAHandleAway(m.Files());
    file.PopPosition();
    EXPECT_EQ(file.GetPosition(), 12) << "the client's position, not the one at the close";

    // Closing a temporarily closed file brings it back first.
    TakeAHandleAway(m.Files());
    m.Reset();
    file.Close();
    EXPECT_EQ(m.Codes(), (Codes{kBefore, kClosed}));
    EXPECT_EQ(ReadFile(path), "0123456789AB");
    EXPECT_TRUE(m.checks.empty());
}

TEST_F(ManagedFile, CopiesShareTheStreamButNotTheStack) {
    std::string const path = dir / "copy";
    SFM_File file(path.c_str(), "w+b"), closed;
    file.Write("abc", 3);
    file.PushPosition(1, SFM_File::ST_Begin);
    {
        SFM_File copy(file);
        EXPECT_EQ(copy.Write("Z", 1), 1);
        copy.PopPosition();
        copy = closed; // lets go of the shared stream without closing it
    }
    EXPECT_EQ(file.GetPosition(), 3) << "one stream, moved by the copy";
    file.Rewind();
    file.PopPosition();
    EXPECT_EQ(file.GetPosition(), 3) << "each object has its own stack";
    file.Close();
    EXPECT_EQ(ReadFile(path), "aZc");
    EXPECT_TRUE(m.checks.empty());
}

TEST(ManagedFileAlone, WithoutAManagerFilesStillWorkAndEveryUseIsChecked) {
    TempDir dir;
    struct Counter : SCC_EventHook<int> {
        int count = 0;
        int OnNotification(int, int*) override { return ++count; }
    } counter;
    SSM assertions;
    counter.Connect(&assertions.MonitorEvent);
    SFM_File((dir / "alone").c_str(), "w").Write("x", 1);
    EXPECT_GT(counter.count, 0);
    EXPECT_EQ(ReadFile(dir / "alone"), "x");
}

} // namespace
