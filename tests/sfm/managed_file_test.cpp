#include "sfm/sfm_test_support.h"

#include <mortar/platform/system.h>
#include <mortar/sfm/sfmfile.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

using sfmtest::Managers;
using sfmtest::ReadFile;
using sfmtest::TempDir;
using sfmtest::WriteFile;

constexpr int kBefore = SFM::EC_BeforeOpen;
constexpr int kOpened = SFM::EC_Opened;
constexpr int kClosed = SFM::EC_Closed;
constexpr int kOpenFailed = SFM::EC_OpenFailed;

// Has the manager close files for the time being, as it does when the system runs out of handles:
// `count` refusals close the `count` least recently opened files.
void ExhaustHandles(SFM& manager, int count = 1) {
    for (int i = 0; i < count; ++i) {
        SFM_EventData data("elsewhere");
        mortar::SetLastError(EMFILE);
        manager.Event(SFM::EC_OpenFailed, data);
    }
}

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

std::string Bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values) s.push_back(static_cast<char>(v));
    return s;
}

TEST(ManagedFile, OpenAndCloseRaiseTheirEvents) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "f.bin";
    SFM_File file(path.c_str());
    EXPECT_EQ(file.IsOpen(), 0);
    EXPECT_TRUE(file.GetMode().IsEmpty());
    EXPECT_EQ(file.Open("w+b"), 1);
    EXPECT_EQ(std::string(file.GetMode().GetString()), "w+b");
    EXPECT_EQ(file.IsValid(), 1);
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore, kOpened}));
    EXPECT_EQ(m.events[0].file, path);
    file.Close();
    file.Close(); // a second close does nothing
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore, kOpened, kClosed}));
    EXPECT_EQ(file.IsOpen(), 0);

    // The stored mode serves when none is given; a name change needs a closed file.
    m.Reset();
    EXPECT_EQ(file.Open(), 1);
    file = "other";
    EXPECT_EQ(m.checks.size(), 1u) << "renaming an open file";
    file.SetName(path.c_str());
    file.SetMode("r");
    EXPECT_EQ(m.checks.size(), 3u);
    file.Close();
    EXPECT_EQ(m.checks.size(), 3u);
    EXPECT_EQ(std::string(file.GetMode().GetString()), "r") << "stored after the check";

    // ReOpen(name, mode) closes first, with its events.
    SFM_File second((dir / "g").c_str(), "w");
    m.Reset();
    EXPECT_EQ(second.ReOpen(path.c_str(), "rb"), 1);
    EXPECT_EQ(m.Codes(), (std::vector<int>{kClosed, kBefore, kOpened}));
    EXPECT_EQ(second.GetName(), path.c_str());
    EXPECT_TRUE(m.checks.empty());
}

TEST(ManagedFile, FailedOpensReportAndMayBeRetried) {
    TempDir dir;
    Managers m;
    std::string const missing = dir / "no/such";
    SFM_File file(missing.c_str());
    EXPECT_EQ(file.Open("rb"), 0);
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore, kOpenFailed}));
    EXPECT_EQ(std::string(file.GetMsg().GetString()), "No such file or directory\r\n\"" + missing + "\"");
    EXPECT_EQ(std::string(file.GetMode().GetString()), "rb") << "a failed open keeps its mode";
    EXPECT_EQ(file.IsOpen(), 0);

    // A listener that answers EC_Retry has the open tried again, with the same data.
    m.Reset();
    m.answer = SFM::EC_Retry;
    m.answersLeft = 2;
    EXPECT_EQ(file.Open(), 0);
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore, kOpenFailed, kOpenFailed, kOpenFailed}));

    // An empty mode never reaches the stream library: an ordinary failed open.
    m.Reset();
    SFM_File unmoded((dir / "x").c_str());
    EXPECT_EQ(unmoded.Open(), 0);
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore, kOpenFailed}));
    EXPECT_EQ(std::string(unmoded.GetMsg().GetString()).rfind("Invalid argument", 0), 0u);
    EXPECT_TRUE(m.checks.empty());
    SFM_File checked((dir / "y").c_str(), "");
    EXPECT_EQ(checked.IsOpen(), 0);
    EXPECT_EQ(m.checks.size(), 1u) << "the constructor wants a mode";

    // Opening an open file is a failed check; the file is opened afresh.
    SFM_File twice((dir / "z").c_str(), "w");
    m.Reset();
    EXPECT_EQ(twice.Open(), 1);
    EXPECT_EQ(m.checks.size(), 1u);
    EXPECT_EQ(m.Codes(), (std::vector<int>{kClosed, kBefore, kOpened}));
}

TEST(ManagedFile, StreamOperationsOnAClosedFileDoNothing) {
    TempDir dir;
    Managers m;
    SFM_File file((dir / "closed").c_str());
    char buffer[4] = {};
    EXPECT_EQ(file.Read(buffer, 4), 0);
    EXPECT_EQ(file.Write("abcd", 4), 0);
    EXPECT_EQ(file.Seek(0, SFM_File::ST_Begin), 0);
    EXPECT_EQ(file.GetPosition(), -1);
    EXPECT_EQ(file.GetChar(), -1);
    EXPECT_EQ(file.PutChar('a'), 0);
    EXPECT_TRUE(file.GetLine().IsEmpty());
    EXPECT_EQ(file.WriteLine("x"), 0);
    EXPECT_EQ(file.Printf("%d", 5), 0);
    EXPECT_EQ(file.PushPosition(0, SFM_File::ST_Begin), 0);
    file.PopPosition();
    file.Flush();
    EXPECT_TRUE(m.events.empty());
    EXPECT_TRUE(m.checks.empty());
    EXPECT_EQ(file.Read(nullptr, 4), 0);
    EXPECT_EQ(file.Write(nullptr, 4), 0);
    EXPECT_EQ(m.checks.size(), 2u) << "null buffers";
    EXPECT_EQ(file.Eof(), 1);
    EXPECT_EQ(m.checks.size(), 3u) << "Eof of a file that is not open";
    EXPECT_TRUE(m.events.empty());
}

TEST(ManagedFile, ReadsWritesLinesAndCharacters) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "text";
    SFM_File file(path.c_str(), "w+b");
    EXPECT_EQ(file.Write("abc", 3), 1);
    EXPECT_EQ(file.Write("", 0), 1);
    EXPECT_EQ(file.WriteLine("line"), 1);
    EXPECT_EQ(file.Printf("%d-%s", 42, "x"), 4);
    EXPECT_EQ(file.PutChar('\xFF'), 1);
    EXPECT_EQ(file.Write("abc", -1), 0);
    file.Rewind();
    char buffer[16] = {};
    EXPECT_EQ(file.Read(buffer, 2), 2);
    EXPECT_EQ(std::string(buffer), "ab");
    EXPECT_EQ(std::string(file.GetLine(0).GetString()), "cline\n");
    EXPECT_EQ(file.GetChar(), '4');
    EXPECT_EQ(file.GetLine(1), "") << "fgets asked for no character";
    EXPECT_EQ(file.GetLine(-5), "") << "a negative length reads nothing";
    EXPECT_EQ(std::string(file.GetLine(3).GetString()), "2-");
    EXPECT_EQ(file.Eof(), 0);
    EXPECT_EQ(file.GetChar(), 'x');
    EXPECT_EQ(file.GetChar(), -1) << "the byte 0xFF";
    EXPECT_EQ(file.Eof(), 1) << "the end is seen before a read fails";
    EXPECT_EQ(file.GetChar(), -1);
    EXPECT_TRUE(file.GetLine().IsEmpty());
    EXPECT_EQ(file.Read(buffer, 4), 0);
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore, kOpened})) << "the end of the file is no failure";
    file.Close();
    EXPECT_EQ(ReadFile(path), "abcline\n42-x\xFF");

    // A long line comes in pieces of 510 bytes.
    std::string const longLine = std::string(600, 'q') + "\n";
    WriteFile(path, longLine + "next\n");
    EXPECT_EQ(file.Open("r"), 1);
    EXPECT_EQ(file.GetLine(0).GetLength(), 510);
    EXPECT_EQ(file.GetLine(0x7FFFFFFF).GetLength(), 91);
    EXPECT_EQ(std::string(file.GetLine(0).GetString()), "next\n");
}

TEST(ManagedFile, PositionsAndTheirStack) {
    TempDir dir;
    Managers m;
    SFM_File file((dir / "p").c_str(), "w+b");
    file.Write("0123456789", 10);
    EXPECT_EQ(file.GetPosition(), 10);
    file.Rewind();
    EXPECT_EQ(file.GetPosition(), 0);
    EXPECT_EQ(file.PushPosition(3, SFM_File::ST_Begin), 1);
    EXPECT_EQ(file.PushPosition(-2, SFM_File::ST_End), 1);
    EXPECT_EQ(file.GetPosition(), 8);
    EXPECT_EQ(file.PushPosition(-100, SFM_File::ST_Current), 0) << "a failed seek returns and pushes nothing";
    EXPECT_EQ(file.GetPosition(), 8);
    file.PopPosition();
    EXPECT_EQ(file.GetPosition(), 3);
    file.PopPosition();
    EXPECT_EQ(file.GetPosition(), 0);
    file.Seek(5, SFM_File::ST_Begin);
    file.PopPosition(); // empty stack: nothing happens
    EXPECT_EQ(file.GetPosition(), 5);
    file.SeekToEnd();
    EXPECT_EQ(file.GetPosition(), 10);
    EXPECT_EQ(file.Seek(1, static_cast<SFM_File::SeekType>(7)), 0);
    EXPECT_TRUE(m.checks.empty());
}

TEST(ManagedFile, TheLengthIsCachedUntilAWriteReachesTheEnd) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "len";
    SFM_File probe(path.c_str());
    EXPECT_EQ(probe.GetLength(), -1) << "no such file";
    EXPECT_EQ(probe.IsOpen(), 0);
    SFM_File unnamed;
    EXPECT_EQ(unnamed.GetLength(), -1);
    EXPECT_TRUE(m.events.empty());

    WriteFile(path, "12345");
    EXPECT_EQ(probe.GetLength(), 5) << "measured without opening through Open";
    EXPECT_EQ(probe.IsOpen(), 0);
    EXPECT_TRUE(m.events.empty());
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
    file.seeks = 0;
    EXPECT_EQ(file.GetLength(), 9);
    EXPECT_EQ(file.seeks, 2) << "measured again";
    EXPECT_EQ(file.GetPosition(), 9);
    EXPECT_EQ(file.PutChar('!'), 1);
    EXPECT_EQ(file.GetLength(), 10);
    file.Close();
    EXPECT_EQ(ReadFile(path), "12ab56xyz!");
}

TEST(ManagedFile, BinaryNumbersAreLittleEndianWithBitReversal) {
    TempDir dir;
    Managers m;
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
    EXPECT_EQ(ReadFile(path), Bytes({0x00, 0x80, 0x80, 0, 0, 0, 0x80, 0x78, 0x56, 0x34, 0x12, 0xEF, 0xBE, 'A', 0, 0, 0, 0,
                                     0, 0, 0xF0, 0x3F, 0, 0, 0, 0xC0}));

    // Every width, both ways round, at the limits: what goes in comes back.
    file.Rewind();
    std::vector<int32_t> const longs{0, 1, -1, INT32_MIN, INT32_MAX, 0x0F0F1234};
    for (int reverse : {0, 1}) {
        for (int32_t v : longs) {
            file.Put(v, reverse);
            file.Put(static_cast<uint32_t>(v), reverse);
            file.Put(static_cast<int16_t>(v), reverse);
            file.Put(static_cast<uint16_t>(v), reverse);
            file.Put(static_cast<char>(v), reverse);
            file.Put(static_cast<unsigned char>(v), reverse);
            file.Put(static_cast<double>(v) / 3);
        }
    }
    file.Rewind();
    for (int reverse : {0, 1}) {
        for (int32_t v : longs) {
            int32_t l = 0;
            uint32_t ul = 0;
            int16_t s = 0;
            uint16_t us = 0;
            char c = 0;
            unsigned char uc = 0;
            double d = 0;
            EXPECT_EQ(file.Get(l, reverse), v);
            EXPECT_EQ(l, v);
            EXPECT_EQ(file.Get(ul, reverse), static_cast<uint32_t>(v));
            EXPECT_EQ(file.Get(s, reverse), static_cast<int16_t>(v));
            EXPECT_EQ(file.Get(us, reverse), static_cast<uint16_t>(v));
            EXPECT_EQ(file.Get(c, reverse), static_cast<char>(v));
            EXPECT_EQ(file.Get(uc, reverse), static_cast<unsigned char>(v));
            EXPECT_EQ(file.Get(d), static_cast<double>(v) / 3);
        }
    }

    // A short read keeps the variable's bytes beyond those read.
    file.Close();
    WriteFile(path, Bytes({0xAA, 0xBB}));
    file.Open("rb");
    int32_t partial = 0x11223344;
    EXPECT_EQ(file.Get(partial), 0x1122BBAA);
    EXPECT_EQ(file.Get(partial), 0x1122BBAA) << "nothing more to read";
    EXPECT_TRUE(m.checks.empty());
}

TEST(ManagedFile, ATemporarilyClosedFileComesBackWhereItWas) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "t";
    SFM_File file(path.c_str(), "w+b");
    file.Write("0123456789", 10);
    file.Seek(4, SFM_File::ST_Begin);
    m.Reset();
    ExhaustHandles(m.Files());
    EXPECT_EQ(file.IsOpen(), 1) << "to its users still open";
    EXPECT_TRUE(m.events.empty());

    char buffer[4] = {};
    EXPECT_EQ(file.Read(buffer, 3), 3);
    EXPECT_EQ(std::string(buffer), "456");
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore})) << "brought back without EC_Opened";

    // Brought back in append mode: the contents stay, and writes go to the end.
    ExhaustHandles(m.Files());
    EXPECT_EQ(file.GetPosition(), 7);
    EXPECT_EQ(file.Write("AB", 2), 1);
    EXPECT_EQ(file.GetPosition(), 12);
    EXPECT_EQ(file.GetLength(), 12);

    // A pushed position survives a temporary close and comes back in order.
    file.PushPosition(1, SFM_File::ST_Begin);
    ExhaustHandles(m.Files());
    file.PopPosition();
    EXPECT_EQ(file.GetPosition(), 12) << "the client's position, not the one at the close";

    // Closing a temporarily closed file brings it back first.
    ExhaustHandles(m.Files());
    m.Reset();
    file.Close();
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore, kClosed}));
    EXPECT_EQ(ReadFile(path), "0123456789AB");
    EXPECT_TRUE(m.checks.empty());

    // A read-only file comes back read-only at its place.
    SFM_File reader(path.c_str(), "rb");
    reader.Seek(10, SFM_File::ST_Begin);
    ExhaustHandles(m.Files());
    EXPECT_EQ(reader.GetChar(), 'A');
    EXPECT_EQ(std::string(reader.GetMode().GetString()), "rb");
}

TEST(ManagedFile, ABringBackThatFailsIsACheckAndLeavesTheFileClosed) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "gone";
    WriteFile(path, "abc");
    SFM_File file(path.c_str(), "rb");
    file.PushPosition(1, SFM_File::ST_Begin);
    ExhaustHandles(m.Files());
    std::remove(path.c_str());
    m.Reset();
    char c = 0;
    EXPECT_EQ(file.Read(&c, 1), 0);
    EXPECT_FALSE(m.checks.empty());
    EXPECT_EQ(file.IsOpen(), 0);
    file.Close();
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore})) << "nothing to close";
}

TEST(ManagedFile, WriteFailuresOnAFullDeviceAreReported) {
    Managers m;
    SFM_File full("/dev/full", "w");
    ASSERT_EQ(full.IsOpen(), 1);
    std::string const block(1 << 16, 'x');
    EXPECT_EQ(full.Write(block.data(), static_cast<int32_t>(block.size())), 0);
    ASSERT_FALSE(m.events.empty());
    EXPECT_EQ(m.events.back().code, SFM::EC_WriteFailed);
    std::string const expected = "No space left on device\r\n\"/dev/full\"";
    EXPECT_EQ(std::string(full.GetMsg().GetString()), expected);
    EXPECT_EQ(full.Printf("%s", block.c_str()), 0);
    EXPECT_EQ(m.events.back().code, SFM::EC_WriteFailed);
    full.Close();
    EXPECT_TRUE(m.events.back().code == SFM::EC_Closed || m.events.back().code == SFM::EC_CloseFailed);
    EXPECT_EQ(std::string(full.GetMsg().GetString()), expected) << "a success clears nothing";

    // The small write stays in the stream's buffer; the failure shows at the close.
    m.Reset();
    SFM_File buffered("/dev/full", "w");
    EXPECT_EQ(buffered.PutChar('x'), 1);
    buffered.Close();
    EXPECT_EQ(m.Codes(), (std::vector<int>{kBefore, kOpened, SFM::EC_CloseFailed}));
    EXPECT_TRUE(m.checks.empty());
}

TEST(ManagedFile, CopiesShareTheStreamAndStayOutOfTheList) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "copy";
    SFM_File file(path.c_str(), "w+b");
    file.Write("abc", 3);
    file.PushPosition(1, SFM_File::ST_Begin);
    SFM_File closed;
    {
        SFM_File copy(file);
        EXPECT_EQ(copy.GetName(), file.GetName());
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

TEST(ManagedFile, WithoutAManagerFilesStillWorkAndEveryUseIsChecked) {
    TempDir dir;
    std::string const path = dir / "alone";
    int checks = 0;
    {
        SSM assertions;
        struct Counter : SCC_EventHook<int> {
            int* count;
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
