// Files that fail under the library. Each ends in the defined result (a 0 or empty result, the
// event and its text, a failed check where the file layer promises one), never in a crash, a read
// outside a buffer or a leak.
#include "sfm/sfm_test_support.h"

#include <algorithm>
#include <unistd.h>

namespace {

using namespace sfmtest;
using Faults = Fixture;

TEST_F(Faults, StreamsThatFailOnWriteAndOnReadReportIt) {
    SFM_File full("/dev/full", "w");
    ASSERT_EQ(full.IsOpen(), 1);
    std::string const block(1 << 16, 'x'), expected = "No space left on device\r\n\"/dev/full\"";
    m.Reset();
    EXPECT_EQ(full.Write(block.data(), static_cast<int32_t>(block.size())), 0);
    EXPECT_EQ(full.Printf("%s", block.c_str()), 0);
    EXPECT_EQ(m.Codes(), (Codes{SFM::EC_WriteFailed, SFM::EC_WriteFailed}));
    EXPECT_EQ(S(full.GetMsg()), expected);
    full.Close();
    EXPECT_EQ(S(full.GetMsg()), expected) << "a success clears nothing";

    // A small write stays in the stream's buffer; the failure shows at the close.
    SFM_File buffered("/dev/full", "w");
    m.Reset();
    EXPECT_EQ(buffered.PutChar('x'), 1);
    buffered.Close();
    EXPECT_EQ(m.Codes(), (Codes{SFM::EC_CloseFailed}));
    EXPECT_TRUE(m.checks.empty());

    SFM_File folder(dir.Path().c_str(), "r"); // opens, but every read fails (EISDIR)
    ASSERT_EQ(folder.IsOpen(), 1);
    char buffer[16] = {};
    int32_t value = 7;
    EXPECT_EQ(folder.Read(buffer, sizeof buffer) + folder.Get(value), 7);
    EXPECT_TRUE(folder.GetLine(100).IsEmpty());
    auto const codes = m.Codes();
    EXPECT_NE(std::find(codes.begin(), codes.end(), SFM::EC_ReadFailed), codes.end());
    EXPECT_NE(S(folder.GetMsg()).find("Is a directory"), std::string::npos) << S(folder.GetMsg());
    // A database on such a file reads nothing and does not hang.
    SFM_MessageDB db(SYS_StringBase(dir.Path().c_str()), 0);
    EXPECT_TRUE(SFM_MessageDB::SectionIterator(&db, "").IsEmpty());
    EXPECT_TRUE(db.getTxt(0).IsEmpty());
}

TEST_F(Faults, AMessageFileTruncatedUnderItsDatabase) {
    std::string const path = dir / "db.txt";
    WriteFile(path, "[A]\n0:first text\n1:second text\n2:third text, the longest of them all\n");
    SFM_MessageDB db(SYS_StringBase(path.c_str()), 0);
    int32_t const base = db.GetSectionBase("A");
    ASSERT_EQ(S(db.getTxt(base + 2)), "third text, the longest of them all");
    ASSERT_EQ(truncate(path.c_str(), 20), 0); // keeps "[A]\n0:first text\n1:s"
    // What the stream still buffers may come back as it was; once it starts afresh after a
    // temporary close, every text comes from what is left of the file.
    std::string const middle = S(db.getTxt(base + 1));
    EXPECT_TRUE(middle == "second text" || middle == "s") << middle;
    TakeAHandleAway(m.Files());
    EXPECT_EQ(S(db.getTxt(base)) + "|" + S(db.getTxt(base + 1)) + "|" + S(db.getTxt(base + 2)), "first text|s|")
        << "a text past the end reads as empty";
    SFM_MessageDB::SectionIterator it(&db, "A");
    for (int guard = 0; !it.IsEmpty() && guard < 10; ++guard) ++it;
    EXPECT_TRUE(it.IsEmpty());
}

TEST_F(Faults, AFileThatCantComeBackStaysClosedAndSaysSo) {
    // A message file removed under its database: the open stream still reads it.
    std::string const path = dir / "db.mdb";
    WriteFile(dir / "db.txt", "[A]\n0:kept\n1:also kept\n");
    SFM_MessageDB(SYS_StringBase((dir / "db.txt").c_str()), 0).Save(path.c_str());
    SFM_MessageDB db{SYS_StringBase(path.c_str())};
    int32_t const base = db.GetSectionBase("A");
    ASSERT_EQ(S(db.getTxt(base)), "kept");
    ASSERT_EQ(std::remove(path.c_str()), 0);
    EXPECT_EQ(S(db.getTxt(base + 1)), "also kept");
    // Closed for the time being, it can't come back: a failed check, and empty texts from then on.
    m.Reset();
    TakeAHandleAway(m.Files());
    EXPECT_TRUE(db.getTxt(base).IsEmpty());
    EXPECT_FALSE(m.checks.empty());
    EXPECT_TRUE(db.getTxt(base + 1).IsEmpty());
    EXPECT_TRUE(S(SFM_MessageDB::SectionIterator(&db, "A")).empty());

    // A plain file is closed, its saved position dropped, and there is nothing left to close.
    WriteFile(dir / "data.bin", "0123456789");
    SFM_File file((dir / "data.bin").c_str(), "r+b");
    EXPECT_EQ(file.PushPosition(4, SFM_File::ST_Begin), 1);
    TakeAHandleAway(m.Files());
    ASSERT_EQ(std::remove((dir / "data.bin").c_str()), 0);
    m.Reset();
    EXPECT_EQ(file.Write("x", 1), 0);
    EXPECT_FALSE(m.checks.empty());
    EXPECT_EQ(file.IsOpen(), 0);
    file.PopPosition();
    file.Close();
    EXPECT_EQ(m.Codes(), (Codes{SFM::EC_BeforeOpen})) << "nothing to close";
}

} // namespace
