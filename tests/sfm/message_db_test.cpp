#include "sfm/sfm_test_support.h"

#include <mortar/platform/system.h>
#include <mortar/sfm/sfmmsgdb.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using sfmtest::Managers;
using sfmtest::ReadFile;
using sfmtest::TempDir;
using sfmtest::WriteFile;

std::string S(SYS_StringBase const& s) { return std::string(s.GetString(), static_cast<std::size_t>(s.GetLength())); }

// A database that shows its key table and sections.
class OpenDB : public SFM_MessageDB {
public:
    using SFM_MessageDB::SFM_MessageDB;
    std::map<int32_t, std::string> Texts() {
        std::map<int32_t, std::string> texts;
        if (Keys)
            for (auto const& entry : *Keys) texts[entry.first] = S(getTxt(entry.first));
        return texts;
    }
    std::vector<std::string> SectionNames() const {
        std::vector<std::string> names;
        for (auto const* node : Sections) names.push_back(node->Name.GetString());
        return names;
    }
    bool HasKeys() const { return Keys != nullptr; }
};

// The texts of a section, walked with the iterator, with their message numbers.
std::vector<std::pair<int32_t, std::string>> Walk(SFM_MessageDB& db, char const* section, int32_t from = 0) {
    std::vector<std::pair<int32_t, std::string>> seen;
    SFM_MessageDB::SectionIterator it(&db, section, from);
    for (int guard = 0; !it.IsEmpty() && guard < 100000; ++guard) {
        int32_t const number = it.GetPosition();
        seen.emplace_back(number, S(it++));
    }
    return seen;
}

std::string Le(int64_t value, int bytes) {
    std::string s;
    for (int i = 0; i < bytes; ++i) s.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
    return s;
}

// One record of a compiled file, written in either layout.
struct Record {
    int number;
    int flag;
    int32_t offset;
    int32_t length;
    int32_t size;
    std::string decimal; // written into 20 bytes; 20 bytes or more leave no NUL
};

std::string Compiled(std::vector<Record> const& records, std::string const& textArea, int recordSize,
                     int tableCount, int readCount) {
    std::string file = Le(0, 2) + Le(tableCount, 2) + Le(readCount, 2) + Le(0, 4) + Le(0, 4);
    int const wide = recordSize == 42 ? 4 : 1;
    for (auto const& r : records) {
        std::string decimal = r.decimal.substr(0, 20);
        decimal.resize(20, '\0');
        file += Le(r.number, 2) + Le(r.flag, wide) + Le(0, wide) + Le(r.offset, 4) + Le(r.length, 4) + Le(r.size, 4) +
                decimal;
    }
    return file + textArea;
}

std::string const kSample = "1:One\n[Sec]\n1:Two\n5:Six\n";

TEST(MessageDB, TextFormKeysSectionsAndTheIterator) {
    TempDir dir;
    Managers m;
    WriteFile(dir / "db.txt", kSample);
    OpenDB db(SYS_StringBase((dir / "db.txt").c_str()), 0);
    EXPECT_EQ(db.IsValid(), 1);
    EXPECT_EQ(db.Texts(), (std::map<int32_t, std::string>{{-3, "Sec"}, {1, "One"}, {4, "Two"}, {8, "Six"}}));
    EXPECT_EQ(db.SectionNames(), (std::vector<std::string>{"", "Sec"}));
    EXPECT_EQ(db.GetSectionBase("Sec"), 3);
    EXPECT_EQ(db.GetSectionBase("sEC"), 3) << "without regard to case";
    EXPECT_EQ(db.GetSectionBase(""), 0) << "the unnamed section";
    EXPECT_EQ(db.GetSectionBase("none"), -1);
    EXPECT_TRUE(db.getTxt(2).IsEmpty());

    using Walked = std::vector<std::pair<int32_t, std::string>>;
    EXPECT_EQ(Walk(db, "Sec"), (Walked{{1, "Two"}, {5, "Six"}}));
    EXPECT_EQ(Walk(db, "sec", 2), (Walked{{5, "Six"}})) << "lands on the first number at or after";
    EXPECT_EQ(Walk(db, "Sec", 6), Walked{});
    EXPECT_EQ(Walk(db, ""), (Walked{{1, "One"}}));
    EXPECT_EQ(Walk(db, "missing"), Walked{});

    SFM_MessageDB::SectionIterator it(&db, "Sec", 0);
    EXPECT_EQ(S(it.GetName()), "Sec");
    EXPECT_EQ(S(it), "Two");
    EXPECT_EQ(S(++it), "Six") << "moves on, then reads";
    EXPECT_EQ(it.GetPosition(), 5);
    SFM_MessageDB::SectionIterator copy(it);
    EXPECT_TRUE((++it).IsEmpty());
    EXPECT_EQ(it.IsEmpty(), 1);
    EXPECT_EQ(it.GetPosition(), -1);
    EXPECT_TRUE(static_cast<SYS_StringBase>(it).IsEmpty());
    it = copy;
    EXPECT_EQ(S(it), "Six");
    it = 0;
    EXPECT_EQ(it.GetPosition(), 1);
    it.Clear();
    EXPECT_EQ(it.IsEmpty(), 1);
    EXPECT_TRUE(m.checks.empty());

    SFM_MessageDB::SectionIterator orphan(nullptr, "Sec", 0);
    EXPECT_EQ(orphan.IsEmpty(), 1);
    EXPECT_FALSE(m.checks.empty()) << "an iterator needs a database";
}

TEST(MessageDB, TextFormLineRules) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "rules.txt";
    WriteFile(path,
              "; a comment\n"              // 1
              "\n"                         // 2
              " 1:leading blank\n"         // 3
              "[a]b]\n"                    // 4
              ":no number\n"               // 5
              "no colon\n"                 // 6
              "abc:number zero\n"          // 7
              "123: x  \r\n"               // 8
              "7:kept   $\n"               // 9
              "7:second seven\n"           // 10
              "8:dollar$ inside\t \n"      // 11
              "9:\n"                       // 12
              "[ab]\n"                     // 13
              "[\n"                        // 14
              "  \n");                     // 15
    testing::internal::CaptureStdout();
    OpenDB db(SYS_StringBase(path.c_str()), 0);
    std::fflush(stdout);
    std::string const printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, path + "(3) : leading blanks are not allowed\n" + path + "(4) : invalid section : \"[a]b]\"\n" +
                           path + "(5) : invalid line : \":no number\"\n" + path +
                           "(6) : invalid line : \"no colon\"\n" + path + "(14) : invalid section : \"[\"\n");
    EXPECT_EQ(db.Texts(), (std::map<int32_t, std::string>{{0, "number zero"},
                                                          {123, " x"},
                                                          {7, "kept   "},
                                                          {8, "dollar$ inside"},
                                                          {9, ""},
                                                          {-11, "ab"}}));
    EXPECT_EQ(db.GetSectionBase("ab"), 11) << "follows the last key, 9";
}

TEST(MessageDB, SectionsFollowTheLastKeyAndMayOverlap) {
    TempDir dir;
    Managers m;
    WriteFile(dir / "o.txt", "[A]\n5:x\n1:y\n[B]\n1:z\n");
    OpenDB db(SYS_StringBase((dir / "o.txt").c_str()), 0);
    EXPECT_EQ(db.GetSectionBase("A"), 2);
    EXPECT_EQ(db.GetSectionBase("B"), 5);
    using Walked = std::vector<std::pair<int32_t, std::string>>;
    EXPECT_EQ(Walk(db, "A"), (Walked{{1, "y"}, {4, "z"}, {5, "x"}}));
    EXPECT_EQ(Walk(db, "B"), (Walked{{1, "z"}}));
}

TEST(MessageDB, LongTextsAreCut) {
    TempDir dir;
    Managers m;
    std::string const text300(300, 'L');
    std::string const line600 = "2:" + std::string(598, 'M');
    WriteFile(dir / "long.txt", "1:" + text300 + "\n" + line600 + "\n3:after\n");
    testing::internal::CaptureStdout();
    OpenDB db(SYS_StringBase((dir / "long.txt").c_str()), 0);
    std::string const printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(S(db.getTxt(1)), std::string(199, 'L')) << "getTxt holds 199 bytes";
    EXPECT_EQ(S(db.getTxt(2)), std::string(199, 'M')) << "the first piece of 510 bytes";
    EXPECT_EQ(S(db.getTxt(3)), "after");
    EXPECT_NE(printed.find("(3) : invalid line"), std::string::npos) << "the second piece is a line of its own";

    // Saved and loaded again, the cut texts read the same.
    db.Save((dir / "long.mdb").c_str());
    OpenDB back(SYS_StringBase((dir / "long.mdb").c_str()));
    EXPECT_EQ(back.Texts(), db.Texts());
}

TEST(MessageDB, SaveWritesTheCompiledForm) {
    TempDir dir;
    Managers m;
    WriteFile(dir / "s.txt", "[S]\n3:abc\n");
    OpenDB db(SYS_StringBase((dir / "s.txt").c_str()), 0);
    db.Save((dir / "s.mdb").c_str());
    std::string const expected = Le(0, 2) + Le(2, 2) + Le(2, 2) + Le(0, 8) +
                                 // the section: number 0, flag 1, offset 0, "S" and its NUL, Size 3, base "1"
                                 Le(0, 2) + Le(1, 1) + Le(0, 1) + Le(0, 4) + Le(2, 4) + Le(3, 4) + "1" +
                                 std::string(19, '\0') +
                                 // the message: Size carried over from the section record
                                 Le(1, 2) + Le(0, 1) + Le(0, 1) + Le(2, 4) + Le(4, 4) + Le(3, 4) + "5" +
                                 std::string(19, '\0') + std::string("S\0abc\0", 6);
    EXPECT_EQ(ReadFile(dir / "s.mdb"), expected);

    // An empty database gives a file of one record's size, counts 0.
    WriteFile(dir / "empty.txt", "; nothing\n");
    OpenDB empty(SYS_StringBase((dir / "empty.txt").c_str()), 0);
    empty.Save((dir / "empty.mdb").c_str());
    EXPECT_EQ(ReadFile(dir / "empty.mdb"), std::string(36, '\0'));
    OpenDB loaded(SYS_StringBase((dir / "empty.mdb").c_str()));
    EXPECT_TRUE(loaded.HasKeys());
    EXPECT_TRUE(loaded.Texts().empty());

    // A database whose file did not open saves as an empty one.
    m.Reset();
    OpenDB missing(SYS_StringBase((dir / "missing.txt").c_str()), 0);
    EXPECT_FALSE(missing.HasKeys());
    EXPECT_EQ(m.Codes(), (std::vector<int>{SFM::EC_BeforeOpen, SFM::EC_OpenFailed}));
    EXPECT_TRUE(missing.getTxt(0).IsEmpty());
    EXPECT_EQ(missing.GetSectionBase(""), -1);
    missing.Save((dir / "missing.mdb").c_str());
    EXPECT_EQ(ReadFile(dir / "missing.mdb"), std::string(36, '\0'));

    // A file that does not open is reported through the events only.
    m.Reset();
    db.Save((dir / "no/such/dir.mdb").c_str());
    EXPECT_EQ(m.Codes(), (std::vector<int>{SFM::EC_BeforeOpen, SFM::EC_OpenFailed}));
    EXPECT_TRUE(m.checks.empty());
}

TEST(MessageDB, SavedAndLoadedAgainGivesTheSameTexts) {
    TempDir dir;
    Managers m;
    std::mt19937 rng(11);
    std::string source = "0:first\n";
    for (int section = 0; section < 12; ++section) {
        source += "[Section" + std::to_string(section) + "]\n";
        for (int n = 0; n < 40; ++n) {
            if (rng() % 3 == 0) continue;
            std::string text(rng() % 60, 'a' + static_cast<char>(rng() % 26));
            if (rng() % 5 == 0) text += "  $";
            source += std::to_string(n * 3 + 1) + ":" + text + "\n";
        }
    }
    WriteFile(dir / "big.txt", source);
    OpenDB text(SYS_StringBase((dir / "big.txt").c_str()), 0);
    text.Save((dir / "big.mdb").c_str());
    OpenDB compiled(SYS_StringBase((dir / "big.mdb").c_str()));
    EXPECT_EQ(compiled.Texts(), text.Texts());
    for (int section = 0; section < 12; ++section) {
        std::string const name = "section" + std::to_string(section);
        EXPECT_EQ(compiled.GetSectionBase(name.c_str()), text.GetSectionBase(name.c_str()));
        EXPECT_EQ(Walk(compiled, name.c_str()), Walk(text, name.c_str()));
    }
    EXPECT_EQ(compiled.GetSectionBase(""), -1) << "the unnamed section has no record";

    // Saving the compiled form again gives the same file.
    compiled.Save((dir / "again.mdb").c_str());
    EXPECT_EQ(ReadFile(dir / "again.mdb"), ReadFile(dir / "big.mdb"));
    EXPECT_TRUE(m.checks.empty());
}

TEST(MessageDB, ReadsTheLayoutWithWideFlags) {
    TempDir dir;
    Managers m;
    std::string const texts = std::string("Names\0hello\0world\0", 18);
    std::vector<Record> const records{
        {0, 1, 0, 6, 4, "7"},   // section "Names", base 7
        {1, 0, 6, 6, 0, "9"},   // message 1 of it
        {2, 0, 12, 6, 0, "12"}, // message 4
    };
    for (int size : {36, 42}) {
        SCOPED_TRACE(size);
        WriteFile(dir / "wide.mdb", Compiled(records, texts, size, 3, 3));
        OpenDB db(SYS_StringBase((dir / "wide.mdb").c_str()));
        EXPECT_EQ(db.Texts(), (std::map<int32_t, std::string>{{-8, "Names"}, {9, "hello"}, {12, "world"}}));
        EXPECT_EQ(db.GetSectionBase("names"), 8);
        using Walked = std::vector<std::pair<int32_t, std::string>>;
        EXPECT_EQ(Walk(db, "Names"), (Walked{{1, "hello"}, {4, "world"}}));
    }
    // Long decimal keys, whose digits reach into the other layout's fields, still decide right.
    std::vector<Record> const longKeys{{0, 0, 0, 2, 0, "1234567890"}, {1, 0, 2, 2, 0, "-1234567890"}};
    for (int size : {36, 42}) {
        WriteFile(dir / "keys.mdb", Compiled(longKeys, std::string("a\0b\0", 4), size, 2, 2));
        OpenDB db(SYS_StringBase((dir / "keys.mdb").c_str()));
        EXPECT_EQ(db.Texts(), (std::map<int32_t, std::string>{{1234567890, "a"}, {-1234567890, "b"}})) << size;
    }
}

TEST(MessageDB, CorruptCompiledFilesLoadWhatTheyCan) {
    TempDir dir;
    Managers m;
    std::string const path = dir / "bad.mdb";
    auto load = [&](std::string const& bytes) {
        WriteFile(path, bytes);
        OpenDB db(SYS_StringBase(path.c_str()));
        auto texts = db.Texts();
        for (auto const& name : db.SectionNames()) Walk(db, name.c_str());
        db.Save((dir / "resaved.mdb").c_str());
        return texts;
    };
    using Texts = std::map<int32_t, std::string>;
    std::string const area = std::string("one\0two\0", 8);

    EXPECT_EQ(load(""), Texts{}) << "empty file";
    EXPECT_EQ(load("\x01\x02"), Texts{}) << "a header cut short";
    EXPECT_EQ(load(Compiled({{0, 0, 0, 4, 0, "1"}}, area, 36, 1, 30000)), (Texts{{1, "one"}})) << "count beyond the file";
    EXPECT_EQ(load(Compiled({{0, 0, 0, 4, 0, "1"}}, area, 36, 1, -5)), Texts{}) << "negative count";
    EXPECT_EQ(load(Compiled({{0, 0, 4000, 4, 0, "1"}, {1, 0, 4, 4, 0, "2"}}, area, 36, 2, 2)),
              (Texts{{1, ""}, {2, "two"}}))
        << "offset past the end";
    EXPECT_EQ(load(Compiled({{0, 0, -100, 4, 0, "1"}}, area, 36, 1, 1)), (Texts{{1, ""}})) << "negative offset";
    EXPECT_EQ(load(Compiled({{0, 0, 0, 0, 0, "1"}}, area, 36, 1, 1)), (Texts{{1, ""}})) << "length 0";
    EXPECT_EQ(load(Compiled({{0, 0, 0, 255, 0, "1"}}, area, 36, 1, 1)), (Texts{{1, ""}})) << "255 counts as 0";
    EXPECT_EQ(load(Compiled({{0, 0, 0, -1, 0, "1"}}, area, 36, 1, 1)), (Texts{{1, ""}})) << "2^32 - 1 is 0 modulo 255";
    EXPECT_EQ(load(Compiled({{0, 0, 0, -2, 0, "1"}}, area, 36, 1, 1)), (Texts{{1, "one"}})) << "and 2^32 - 2 is 254";
    EXPECT_EQ(load(Compiled({{0, 0, 0, 4, 0, "123456789012345678901234"}}, area, 36, 1, 1)).size(), 1u)
        << "no NUL after the key";
    EXPECT_EQ(load(Compiled({{0, 0, 0, 4, 0, "99999999999999"}}, area, 36, 1, 1)), (Texts{{INT32_MAX, "one"}}));
    EXPECT_EQ(load(Compiled({{0, 0, 4, 200, 0, "1"}}, std::string("abcdefgh", 8), 36, 1, 1)), (Texts{{1, "efgh"}}))
        << "a text without NUL ends at the end of the file";
    EXPECT_EQ(load(Compiled({{0, 1, 0, 0, 0x7FFFFFFF, "5"}}, std::string("sect\0", 5), 36, 1, 1)),
              (Texts{{-6, ""}}))
        << "a section of every number, walked without a hang";
    EXPECT_EQ(load(Compiled({{0, 1, 0, 5, 0, "-2147483648"}, {1, 0, 0, 3, 0, "-2147483647"}}, std::string("sect\0", 5),
                            36, 2, 2))
                  .size(),
              2u)
        << "keys at the limits";

    // Every prefix of a good file loads, and each text it still has is a prefix of the real one.
    WriteFile(dir / "src.txt", kSample + "[Other]\n2:more text\n");
    OpenDB source(SYS_StringBase((dir / "src.txt").c_str()), 0);
    source.Save((dir / "good.mdb").c_str());
    std::string const good = ReadFile(dir / "good.mdb");
    Texts const all = source.Texts();
    for (std::size_t n = 0; n <= good.size(); ++n) {
        for (auto const& entry : load(good.substr(0, n))) {
            ASSERT_TRUE(all.count(entry.first)) << n;
            EXPECT_EQ(all.at(entry.first).compare(0, entry.second.size(), entry.second), 0) << n;
        }
    }

}

TEST(MessageDB, ADirectoryOpensButReadsNothing) {
    TempDir dir;
    Managers m;
    OpenDB directory(SYS_StringBase(dir.Path().c_str()), 0);
    EXPECT_TRUE(directory.HasKeys());
    EXPECT_TRUE(directory.Texts().empty());
    EXPECT_EQ(Walk(directory, ""), (std::vector<std::pair<int32_t, std::string>>{}));
}

TEST(MessageDB, TextsAreReadFromTheFileAfterATemporaryClose) {
    TempDir dir;
    Managers m;
    WriteFile(dir / "db.txt", kSample);
    OpenDB db(SYS_StringBase((dir / "db.txt").c_str()), 0);
    SFM_EventData data("elsewhere");
    mortar::SetLastError(EMFILE);
    EXPECT_EQ(m.Files().Event(SFM::EC_OpenFailed, data), SFM::EC_Retry);
    m.Reset();
    EXPECT_EQ(S(db.getTxt(8)), "Six");
    EXPECT_EQ(m.Codes(), (std::vector<int>{SFM::EC_BeforeOpen}));
    EXPECT_EQ(S(db.getTxt(1)), "One");
}

TEST(MessageDB, CopiesShareTheTablesAndReadOnTheirOwn) {
    TempDir dir;
    Managers m;
    WriteFile(dir / "db.txt", kSample);
    auto* original = new OpenDB(SYS_StringBase((dir / "db.txt").c_str()), 0);
    OpenDB copy(*original);
    EXPECT_EQ(copy.Texts(), original->Texts());
    delete original;
    EXPECT_EQ(S(copy.getTxt(4)), "Two") << "the tables outlive the source";
    EXPECT_EQ(copy.GetSectionBase("SEC"), 3);

    WriteFile(dir / "other.txt", "2:two\n");
    OpenDB assigned(SYS_StringBase((dir / "other.txt").c_str()), 0);
    assigned = copy;
    EXPECT_EQ(S(assigned.getTxt(8)), "Six");
    EXPECT_TRUE(assigned.getTxt(2).IsEmpty());
    EXPECT_TRUE(m.checks.empty());
}

} // namespace
