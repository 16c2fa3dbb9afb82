#include "sfm/sfm_test_support.h"

#include <climits>

namespace {

using namespace sfmtest;
using ManagedFile = Fixture;
using Codes = std::vector<int>;

constexpr int kBefore = SFM::EC_BeforeOpen, kOpened = SFM::EC_Opened, kClosed = SFM::EC_Closed,
              kOpenFailed = SFM::EC_OpenFailed;

// Counts the calls of Seek, the slot that every other positioning goes through.
class SeekCounter : public SFM_File {
public:
    using SFM_File::SFM_File;
    int seeks = 0;
    int Seek(int32_t offset, SeekType type) override {
        ++seeks;
        return SFM_File::Seek(offset, type);
    }
};

TEST_F(ManagedFile, OpenCloseAndTheirFailures) {
    std::string const path = dir / "f.bin";
    SFM_File file(path.c_str());
    EXPECT_EQ(file.Open("w+b"), 1);
    file.Close();
    file.Close(); // a second close does nothing
    EXPECT_EQ(m.Codes(), (Codes{kBefore, kOpened, kClosed}));
    // Name and mode change only on a closed file; after the failed check they are stored.
    EXPECT_EQ(file.Open(), 1) << "with the stored mode";
    file = "other";
    file.SetName(path.c_str());
    file.SetMode("r");
    EXPECT_EQ(m.checks.size(), 3u);
    // Opening an open file is a failed check; it is closed and opened afresh, here with "r".
    m.Reset();
    EXPECT_EQ(file.Open(), 1);
    EXPECT_EQ(m.checks.size(), 1u);
    EXPECT_EQ(m.Codes(), (Codes{kClosed, kBefore, kOpened}));

    std::string const missing = dir / "no/such";
    SFM_File absent(missing.c_str()), unmoded((dir / "x").c_str());
    m.Reset();
    m.answer = SFM::EC_Retry;
    m.answersLeft = 2;
    EXPECT_EQ(absent.Open("rb"), 0);
    EXPECT_EQ(m.Codes(), (Codes{kBefore, kOpenFailed, kOpenFailed, kOpenFailed})) << "retried on the answer";
    EXPECT_EQ(S(absent.GetMsg()), "No such file or directory\r\n\"" + missing + "\"");
    // An empty mode never reaches the stream library: an ordinary failed open.
    m.Reset();
    EXPECT_EQ(unmoded.Open(), 0);
    EXPECT_EQ(m.Codes(), (Codes{kBefore, kOpenFailed}));
    EXPECT_EQ(S(unmoded.GetMsg()).rfind("Invalid argument", 0), 0u);
    EXPECT_TRUE(m.checks.empty());
    SFM_File checked((dir / "y").c_str(), "");
    EXPECT_EQ(m.checks.size(), 1u) << "the constructor wants a mode";
}

TEST_F(ManagedFile, OperationsOnAClosedFileDoNothing) {
    SFM_File file("closed");
    char buffer[4] = {};
    EXPECT_EQ(file.Read(buffer, 4) + file.Write("abcd", 4) + file.Seek(0, SFM_File::ST_Begin) + file.PutChar('a') +
                  file.WriteLine("x") + file.Printf("%d", 5) + file.PushPosition(0, SFM_File::ST_Begin),
              0);
    EXPECT_EQ(file.GetPosition(), -1);
    EXPECT_EQ(file.GetChar(), -1);
    EXPECT_TRUE(file.GetLine().IsEmpty());
    file.PopPosition();
    file.Flush();
    EXPECT_TRUE(m.checks.empty());
    EXPECT_EQ(file.Read(nullptr, 4) + file.Write(nullptr, 4), 0);
    EXPECT_EQ(file.Eof(), 1);
    EXPECT_EQ(m.checks.size(), 3u) << "null buffers, Eof of a file that is not open";
    EXPECT_TRUE(m.events.empty());
}

TEST_F(ManagedFile, ReadsWritesLinesAndCharacters) {
    std::string const path = dir / "text";
    SFM_File file(path.c_str(), "w+b");
    EXPECT_EQ(file.Write("abc", 3) + file.Write("", 0) + file.WriteLine("line"), 3);
    EXPECT_EQ(file.Printf("%d-%s", 42, "x"), 4);
    EXPECT_EQ(file.PutChar('\xFF'), 1);
    EXPECT_EQ(file.Write("abc", -1), 0);
    file.Rewind();
    char buffer[3] = {};
    EXPECT_EQ(file.Read(buffer, 2), 2);
    EXPECT_EQ(std::string(buffer), "ab");
    EXPECT_EQ(S(file.GetLine(0)), "cline\n");
    EXPECT_EQ(file.GetChar(), '4');
    EXPECT_EQ(S(file.GetLine(1)), "") << "room for no byte";
    EXPECT_EQ(S(file.GetLine(-5)), "") << "a negative length reads nothing";
    EXPECT_EQ(S(file.GetLine(3)), "2-");
    EXPECT_EQ(file.GetChar(), 'x');
    EXPECT_EQ(file.Eof(), 0);
    EXPECT_EQ(file.GetChar(), -1) << "the byte 0xFF";
    EXPECT_EQ(file.Eof(), 1) << "the end is seen before a read fails";
    EXPECT_TRUE(file.GetLine().IsEmpty());
    EXPECT_EQ(m.Codes(), (Codes{kBefore, kOpened})) << "the end of the file is no failure";
    file.Close();
    EXPECT_EQ(ReadFile(path), "abcline\n42-x\xFF");

    // A long line comes in pieces of 510 bytes, whatever the larger limit.
    WriteFile(path, std::string(600, 'q') + "\nnext\n");
    EXPECT_EQ(file.Open("r"), 1);
    EXPECT_EQ(file.GetLine(0).GetLength(), 510);
    EXPECT_EQ(file.GetLine(INT32_MAX).GetLength(), 91);
    EXPECT_EQ(S(file.GetLine(0)), "next\n");
}

TEST_F(ManagedFile, TheLengthIsCachedUntilAWriteReachesTheEnd) {
    std::string const path = dir / "len";
    SFM_File probe(path.c_str()), unnamed;
    EXPECT_EQ(probe.GetLength(), -1) << "no such file";
    EXPECT_EQ(unnamed.GetLength(), -1);
    WriteFile(path, "12345");
    EXPECT_EQ(probe.GetLength(), 5);
    EXPECT_TRUE(m.events.empty()) << "the probe opens outside Open";
    WriteFile(path, "1234567");
    EXPECT_EQ(probe.GetLength(), 5) << "cached";

    SeekCounter file(path.c_str(), "r+b");
    EXPECT_EQ(file.GetLength(), 7) << "Open dropped the cache";
    file.Seek(2, SFM_File::ST_Begin);
    file.seeks = 0;
    EXPECT_EQ(file.Write("ab", 2), 1);
    EXPECT_EQ(file.GetLength(), 7) << "a write inside the length keeps it";
    EXPECT_EQ(file.Eof(), 0);
    EXPECT_EQ(file.seeks, 0) << "Eof costs no seek while the length stands";
    file.Seek(6, SFM_File::ST_Begin);
    EXPECT_EQ(file.Write("xyz", 3), 1);
    EXPECT_EQ(file.GetLength(), 9) << "measured again";
    file.Close();
    EXPECT_EQ(ReadFile(path), "12ab56xyz");
}

TEST_F(ManagedFile, BinaryNumbersAreLittleEndianWithBitReversal) {
    std::string const path = dir / "numbers";
    SFM_File file(path.c_str(), "w+b");
    file.Put(static_cast<int16_t>(1), 1);
    file.Put(static_cast<unsigned char>(1), 1);
    file.Put(static_cast<int32_t>(1), 1);
    file.Put(static_cast<int32_t>(0x12345678));
    file.Put(static_cast<uint16_t>(0xBEEF));
    file.Put('A');
    file.Put(1.0);
    file.Put(static_cast<uint32_t>(3u), 1);
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
            EXPECT_TRUE(roundTrip(v, r) && roundTrip(static_cast<uint32_t>(v), r) &&
                        roundTrip(static_cast<int16_t>(v), r) && roundTrip(static_cast<uint16_t>(v), r) &&
                        roundTrip(static_cast<char>(v), r) && roundTrip(static_cast<unsigned char>(v), r))
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
    EXPECT_EQ(file.PushPosition(3, SFM_File::ST_Begin), 1);
    EXPECT_EQ(file.PushPosition(-2, SFM_File::ST_End), 1);
    EXPECT_EQ(file.PushPosition(-100, SFM_File::ST_Current), 0) << "a failed seek returns and pushes nothing";
    EXPECT_EQ(file.GetPosition(), 8);
    file.PopPosition();
    EXPECT_EQ(file.GetPosition(), 3);
    file.PopPosition();
    EXPECT_EQ(file.GetPosition(), 0);
    file.Seek(4, SFM_File::ST_Begin);
    file.PopPosition(); // empty stack: nothing happens
    EXPECT_EQ(file.Seek(1, static_cast<SFM_File::SeekType>(7)), 0);

    m.Reset();
    TakeAHandleAway(m.Files());
    EXPECT_EQ(file.IsOpen(), 1) << "to its users still open";
    EXPECT_TRUE(m.events.empty());
    char buffer[4] = {};
    EXPECT_EQ(file.Read(buffer, 3), 3);
    EXPECT_EQ(std::string(buffer), "456");
    EXPECT_EQ(m.Codes(), (Codes{kBefore})) << "brought back without EC_Opened";

    // Brought back in append mode: the contents stay, and writes go to the end.
    TakeAHandleAway(m.Files());
    EXPECT_EQ(file.GetPosition(), 7);
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

    // A read-only file comes back read-only at its place.
    SFM_File reader(path.c_str(), "rb");
    reader.Seek(10, SFM_File::ST_Begin);
    TakeAHandleAway(m.Files());
    EXPECT_EQ(reader.GetChar(), 'A');
    EXPECT_TRUE(m.checks.empty());
}

TEST_F(ManagedFile, CopiesShareTheStreamAndStayOutOfTheList) {
    std::string const path = dir / "copy";
    SFM_File file(path.c_str(), "w+b"), closed;
    file.Write("abc", 3);
    file.PushPosition(1, SFM_File::ST_Begin);
    {
        SFM_File copy(file);
        EXPECT_EQ(copy.GetPosition(), 1);
        EXPECT_EQ(copy.Write("Z", 1), 1);
        copy.PopPosition();
        EXPECT_EQ(copy.GetPosition(), 3);
        copy = closed; // lets go of the shared stream without closing it
        EXPECT_EQ(copy.IsOpen(), 0);
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
    std::string const path = dir / "alone";
    int checks = 0;
    {
        SSM assertions;
        struct Counter : SCC_EventHook<int> {
            int* count = nullptr;
            int OnNotification(int, int*) override { return ++*count; }
        } counter;
        counter.count = &checks;
        counter.Connect(&assertions.MonitorEvent);
        SFM_File file(path.c_str(), "w");
        EXPECT_EQ(file.Write("x", 1), 1);
        file.Close();
    }
    EXPECT_GT(checks, 0);
    EXPECT_EQ(ReadFile(path), "x");
}

} // namespace
