// Files that fail under the library: a stream that can't be read, a message file truncated or
// removed while its database is open, a file that can't come back after a temporary close.
// Each ends in the defined result: a 0 or empty result, the event and its text, a failed check
// where the file layer promises one; never a crash, a read outside a buffer, or a leak.
#include <mortar/platform/system.h>
#include <mortar/sfm/sfmfile.h>
#include <mortar/sfm/sfmmsgdb.h>

#include "sfm/sfm_test_support.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <unistd.h>

namespace {

using sfmtest::Managers;
using sfmtest::TempDir;
using sfmtest::WriteFile;

std::string S(SYS_StringBase const& s) { return std::string(s.GetString(), static_cast<std::size_t>(s.GetLength())); }

// Closes the least recently used file for the time being, as running out of handles does.
void TakeAHandleAway(SFM& manager) {
    SFM_EventData data("elsewhere");
    mortar::SetLastError(EMFILE);
    manager.Event(SFM::EC_OpenFailed, data);
}

TEST(Faults, AStreamThatFailsOnReadReportsIt) {
    TempDir dir;
    Managers m;
    SFM_File folder(dir.Path().c_str(), "r"); // opens, but every read fails (EISDIR)
    ASSERT_EQ(folder.IsOpen(), 1);
    char buffer[16] = {};
    EXPECT_EQ(folder.Read(buffer, sizeof buffer), 0);
    int32_t value = 7;
    folder.Get(value);
    EXPECT_TRUE(folder.GetLine(100).IsEmpty());
    bool reported = false;
    for (auto const& e : m.events) reported |= e.code == SFM::EC_ReadFailed;
    EXPECT_TRUE(reported) << "a failed read raises its event";
    EXPECT_NE(S(folder.GetMsg()).find("Is a directory"), std::string::npos) << S(folder.GetMsg());
}

TEST(Faults, AMessageFileTruncatedUnderItsDatabase) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "db.txt";
    WriteFile(path, "[A]\n0:first text\n1:second text\n2:third text, the longest of them all\n");
    SFM_MessageDB db(SYS_StringBase(path.c_str()), 0);
    int32_t const base = db.GetSectionBase("A");
    ASSERT_EQ(S(db.getTxt(base + 2)), "third text, the longest of them all");
    ASSERT_EQ(truncate(path.c_str(), 20), 0); // keeps "[A]\n0:first text\n1:s"
    // What the open stream still holds in its buffer may come back as it was; anything else is
    // read from what is left of the file. Once the stream starts afresh, after a temporary close,
    // every text comes from the truncated file.
    std::string const middle = S(db.getTxt(base + 1));
    EXPECT_TRUE(middle == "second text" || middle == "s") << middle;
    TakeAHandleAway(m.Files());
    EXPECT_EQ(S(db.getTxt(base)), "first text");
    EXPECT_EQ(S(db.getTxt(base + 1)), "s") << "what is left of the text";
    EXPECT_TRUE(db.getTxt(base + 2).IsEmpty()) << "a text past the end reads as empty";
    SFM_MessageDB::SectionIterator it(&db, "A");
    for (int guard = 0; !it.IsEmpty() && guard < 10; ++guard) ++it;
    EXPECT_TRUE(it.IsEmpty());
}

TEST(Faults, AMessageFileRemovedUnderItsDatabase) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "db.mdb";
    std::string const source = dir / "db.txt";
    WriteFile(source, "[A]\n0:kept\n1:also kept\n");
    {
        SFM_MessageDB text(SYS_StringBase(source.c_str()), 0);
        text.Save(SYS_StringBase(path.c_str()));
    }
    SFM_MessageDB db{SYS_StringBase(path.c_str())};
    int32_t const base = db.GetSectionBase("A");
    ASSERT_EQ(S(db.getTxt(base)), "kept");
    ASSERT_EQ(std::remove(path.c_str()), 0);
    // The open stream still reads the removed file.
    EXPECT_EQ(S(db.getTxt(base + 1)), "also kept");
    // Closed for the time being, it can't come back: a failed check, and empty texts from then on.
    m.Reset();
    TakeAHandleAway(m.Files());
    EXPECT_TRUE(db.getTxt(base).IsEmpty());
    EXPECT_FALSE(m.checks.empty()) << "the failed return is a failed check";
    EXPECT_TRUE(db.getTxt(base + 1).IsEmpty());
    SFM_MessageDB::SectionIterator it(&db, "A");
    EXPECT_TRUE(S(static_cast<SYS_StringBase>(it)).empty());
}

TEST(Faults, AFileThatCantComeBackStaysClosedAndSaysSo) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "data.bin";
    WriteFile(path, "0123456789");
    SFM_File file(path.c_str(), "r+b");
    ASSERT_EQ(file.IsOpen(), 1);
    EXPECT_EQ(file.Seek(4, SFM_File::ST_Begin), 1);
    TakeAHandleAway(m.Files());
    ASSERT_EQ(std::remove(path.c_str()), 0);
    m.Reset();
    EXPECT_EQ(file.Write("x", 1), 0);
    EXPECT_FALSE(m.checks.empty());
    EXPECT_EQ(file.IsOpen(), 0);
    EXPECT_EQ(file.Write("x", 1), 0) << "a closed file writes nothing";
}

} // namespace
