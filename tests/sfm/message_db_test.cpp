#include "sfm/sfm_test_support.h"

#include <climits>
#include <map>
#include <memory>
#include <random>

namespace {

using namespace sfmtest;
using MessageDB = Fixture;
using Texts = std::map<int32_t, std::string>;
using Walked = std::vector<std::pair<int32_t, std::string>>;

// A database that shows its key table.
class OpenDB : public SFM_MessageDB {
public:
    explicit OpenDB(std::string const& path) : SFM_MessageDB(SYS_StringBase(path.c_str())) {}
    OpenDB(std::string const& path, int) : SFM_MessageDB(SYS_StringBase(path.c_str()), 0) {}
    Texts AllTexts() {
        Texts texts;
        for (auto const& entry : Keys ? *Keys : std::map<int32_t, keyTableElem>{})
            texts[entry.first] = S(getTxt(entry.first));
        return texts;
    }
    bool HasKeys() const { return Keys != nullptr; }
};

// The message numbers and texts of a section, walked with the iterator.
Walked Walk(SFM_MessageDB& db, char const* section, int32_t from = 0) {
    Walked seen;
    for (SFM_MessageDB::SectionIterator it(&db, section, from); !it.IsEmpty() && seen.size() < 100000;) {
        int32_t const number = it.GetPosition();
        seen.emplace_back(number, S(it++));
    }
    return seen;
}

struct Record {
    int number, flag;
    int32_t offset, length, size;
    std::string decimal; // 20 bytes or more leave no NUL
};

// A compiled file of 36- or 42-byte records; the header counts them unless told otherwise.
constexpr int kAsMany = INT32_MIN;
std::string Compiled(std::vector<Record> const& records, std::string const& textArea, int recordSize = 36,
                     int tableCount = kAsMany, int readCount = kAsMany) {
    auto le = [](int64_t value, int bytes) {
        std::string s;
        for (int i = 0; i < bytes; ++i) s.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
        return s;
    };
    int const count = static_cast<int>(records.size()), wide = recordSize == 42 ? 4 : 1;
    std::string file = le(0, 2) + le(tableCount == kAsMany ? count : tableCount, 2) +
                       le(readCount == kAsMany ? count : readCount, 2) + le(0, 8);
    for (auto const& r : records)
        file += le(r.number, 2) + le(r.flag, wide) + le(0, wide) + le(r.offset, 4) + le(r.length, 4) + le(r.size, 4) +
                (r.decimal + std::string(20, '\0')).substr(0, 20);
    return file + textArea;
}

TEST_F(MessageDB, TextFormKeysSectionsTheIteratorAndCopies) {
    // Sections follow the last key and may overlap the next one.
    WriteFile(dir / "db.txt", "1:One\n[Sec]\n1:Two\n5:Six\n[A]\n5:x\n1:y\n[B]\n1:z\n");
    auto source = std::make_unique<OpenDB>(dir / "db.txt", 0);
    OpenDB& db = *source;
    Texts const all{{-3, "Sec"}, {1, "One"}, {4, "Two"}, {8, "Six"}, {-10, "A"}, {11, "y"}, {15, "x"}, {-13, "B"},
                    {14, "z"}};
    EXPECT_EQ(db.AllTexts(), all);
    EXPECT_EQ(db.GetSectionBase("sEC"), 3) << "without regard to case";
    EXPECT_EQ(db.GetSectionBase(""), 0) << "the unnamed section";
    EXPECT_EQ(db.GetSectionBase("none"), -1);
    EXPECT_EQ(Walk(db, "sec", 2), (Walked{{5, "Six"}})) << "lands on the first number at or after";
    EXPECT_EQ(Walk(db, "Sec", 6), Walked{});
    EXPECT_EQ(Walk(db, ""), (Walked{{1, "One"}}));
    EXPECT_EQ(Walk(db, "A"), (Walked{{1, "y"}, {4, "z"}, {5, "x"}}));
    EXPECT_EQ(Walk(db, "missing"), Walked{});

    SFM_MessageDB::SectionIterator it(&db, "Sec", 0), orphan(nullptr, "Sec", 0);
    EXPECT_EQ(m.checks.size(), 2u) << "an iterator needs a database";
    EXPECT_EQ(orphan.IsEmpty(), 1);
    EXPECT_EQ(S(++it), "Six") << "moves on, then reads";
    EXPECT_TRUE(S(++it).empty());
    EXPECT_EQ(it.GetPosition(), -1);
    it = 0;
    EXPECT_EQ(S(it), "Two");

    // Copies share the tables, which outlive their source, and read through streams of their own.
    WriteFile(dir / "other.txt", "2:two\n");
    OpenDB copy(db), assigned(dir / "other.txt", 0);
    source.reset();
    assigned = copy;
    EXPECT_EQ(copy.AllTexts(), all);
    EXPECT_EQ(assigned.AllTexts(), all);
    EXPECT_EQ(assigned.GetSectionBase("SEC"), 3);
    EXPECT_EQ(m.checks.size(), 2u);
}

TEST_F(MessageDB, TextFormLineRules) {
    std::string const path = dir / "rules.txt";
    WriteFile(path, "; a comment\n\n 1:leading blank\n[a]b]\n:no number\nno colon\n"     // lines 1-6
                    "abc:number zero\n123: x  \r\n7:kept   $\n7:second seven\n"       // 7-10
                    "8:dollar$ inside\t \n9:\n[ab]\n[\n  \n");                        // 11-15
    testing::internal::CaptureStdout();
    OpenDB db(path, 0);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              path + "(3) : leading blanks are not allowed\n" + path + "(4) : invalid section : \"[a]b]\"\n" + path +
                  "(5) : invalid line : \":no number\"\n" + path + "(6) : invalid line : \"no colon\"\n" + path +
                  "(14) : invalid section : \"[\"\n");
    EXPECT_EQ(db.AllTexts(),
              (Texts{{0, "number zero"}, {123, " x"}, {7, "kept   "}, {8, "dollar$ inside"}, {9, ""}, {-11, "ab"}}));
    EXPECT_EQ(db.GetSectionBase("ab"), 11) << "follows the last key, 9";
}

TEST_F(MessageDB, SaveWritesTheCompiledForm) {
    WriteFile(dir / "s.txt", "[S]\n3:abc\n");
    OpenDB db(dir / "s.txt", 0);
    db.Save((dir / "s.mdb").c_str());
    EXPECT_EQ(ReadFile(dir / "s.mdb"), Compiled({{0, 1, 0, 2, 3, "1"}, {1, 0, 2, 4, 3, "5"}}, {"S\0abc\0", 6}))
        << "the message carries the section's Size over";

    // A database whose file did not open is empty and saves as counts of 0.
    m.Reset();
    OpenDB missing(dir / "missing.txt", 0);
    EXPECT_FALSE(missing.HasKeys());
    EXPECT_EQ(m.Codes(), (Codes{SFM::EC_BeforeOpen, SFM::EC_OpenFailed}));
    EXPECT_TRUE(missing.getTxt(0).IsEmpty());
    missing.Save((dir / "missing.mdb").c_str());
    EXPECT_EQ(ReadFile(dir / "missing.mdb"), std::string(36, '\0'));
    EXPECT_TRUE(m.checks.empty());
}

TEST_F(MessageDB, TextsAreCutAtTheirLimitsAndSurviveSaveAndLoad) {
    std::mt19937 rng(11);
    std::string source = "1:" + std::string(300, 'L') + "\n2:" + std::string(598, 'M') + "\n";
    for (int section = 0; section < 12; ++section) {
        source += "[Section" + std::to_string(section) + "]\n";
        for (int n = 0; n < 40; ++n) {
            if (rng() % 3 == 0) continue;
            std::string text(rng() % 60, 'a' + static_cast<char>(rng() % 26));
            source += std::to_string(n * 3 + 1) + ":" + text + (rng() % 5 == 0 ? "  $\n" : "\n");
        }
    }
    WriteFile(dir / "big.txt", source);
    testing::internal::CaptureStdout();
    OpenDB text(dir / "big.txt", 0);
    std::fflush(stdout);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("(3) : invalid line"), std::string::npos)
        << "the rest of a line beyond 510 bytes is a line of its own";
    EXPECT_EQ(S(text.getTxt(1)), std::string(199, 'L'));
    EXPECT_EQ(S(text.getTxt(2)), std::string(199, 'M'));
    text.Save((dir / "big.mdb").c_str());
    OpenDB compiled(dir / "big.mdb");
    EXPECT_EQ(compiled.AllTexts(), text.AllTexts());
    for (int section = 0; section < 12; ++section) {
        std::string const name = "section" + std::to_string(section);
        EXPECT_EQ(compiled.GetSectionBase(name.c_str()), text.GetSectionBase(name.c_str()));
        EXPECT_EQ(Walk(compiled, name.c_str()), Walk(text, name.c_str()));
    }
    EXPECT_EQ(compiled.GetSectionBase(""), -1) << "the unnamed section has no record";
    std::string const saved = ReadFile(dir / "big.mdb");
    compiled.Save((dir / "big.mdb").c_str());
    EXPECT_EQ(ReadFile(dir / "big.mdb"), saved) << "saved again, over its own file: the same bytes";
    EXPECT_TRUE(m.checks.empty());
}

TEST_F(MessageDB, ReadsBothRecordLayouts) {
    std::string const path = dir / "layout.mdb";
    for (int size : {36, 42}) {
        SCOPED_TRACE(size);
        // Section "Names" with base 7 and its messages 1 and 4.
        WriteFile(path, Compiled({{0, 1, 0, 6, 4, "7"}, {1, 0, 6, 6, 0, "9"}, {2, 0, 12, 6, 0, "12"}},
                                 std::string("Names\0hello\0world\0", 18), size));
        OpenDB db(path);
        EXPECT_EQ(db.AllTexts(), (Texts{{-8, "Names"}, {9, "hello"}, {12, "world"}}));
        EXPECT_EQ(Walk(db, "names"), (Walked{{1, "hello"}, {4, "world"}}));
        // Long decimal keys, whose digits reach into the other layout's fields, still decide right.
        WriteFile(path, Compiled({{0, 0, 0, 2, 0, "1234567890"}, {1, 0, 2, 2, 0, "-1234567890"}},
                                 std::string("a\0b\0", 4), size));
        EXPECT_EQ(OpenDB(path).AllTexts(), (Texts{{1234567890, "a"}, {-1234567890, "b"}}));
    }
}

TEST_F(MessageDB, CorruptCompiledFilesLoadWhatTheyCan) {
    std::string const path = dir / "bad.mdb", area("one\0two\0", 8), sect("sect\0", 5);
    auto load = [&](std::string const& bytes) {
        WriteFile(path, bytes);
        OpenDB db(path);
        auto texts = db.AllTexts();
        for (char const* name : {"sect", "Sec", "Other"}) Walk(db, name);
        db.Save((dir / "resaved.mdb").c_str());
        return texts;
    };
    struct Case { std::string bytes; Texts expected; char const* why; } const cases[] = {
        {Compiled({{0, 0, 0, 4, 0, "1"}}, area, 36, 1, 30000), {{1, "one"}}, "count beyond the file"},
        {Compiled({{0, 0, 0, 4, 0, "1"}}, area, 36, 1, -5), {}, "negative count"},
        {Compiled({{0, 0, 4000, 4, 0, "1"}, {1, 0, 4, 4, 0, "2"}}, area), {{1, ""}, {2, "two"}}, "offset past the end"},
        {Compiled({{0, 0, -100, 4, 0, "1"}}, area), {{1, ""}}, "negative offset"},
        {Compiled({{0, 0, 0, 0, 0, "1"}}, area), {{1, ""}}, "length 0"},
        {Compiled({{0, 0, 0, -1, 0, "1"}}, area), {{1, ""}}, "2^32 - 1 is 0 modulo 255"},
        {Compiled({{0, 0, 0, -2, 0, "1"}}, area), {{1, "one"}}, "and 2^32 - 2 is 254"},
        {Compiled({{0, 0, 0, 4, 0, "123456789012345678901234"}}, area), {{INT32_MAX, "one"}}, "no NUL, out of range"},
        {Compiled({{0, 0, 4, 200, 0, "1"}}, "abcdefgh"), {{1, "efgh"}}, "a text without NUL ends with the file"},
        {Compiled({{0, 1, 0, 0, INT32_MAX, "5"}}, sect), {{-6, ""}}, "a section of every number: no hang"},
        {Compiled({{0, 1, 0, 5, 0, "-2147483648"}, {1, 0, 0, 3, 0, "-2147483647"}}, sect),
         {{INT32_MAX, "sect"}, {-INT32_MAX, "sec"}}, "keys at the limits"},
    };
    for (auto const& c : cases) EXPECT_EQ(load(c.bytes), c.expected) << c.why;

    // Every prefix of a good file loads, and each text it still has is a prefix of the real one.
    WriteFile(dir / "src.txt", "1:One\n[Sec]\n1:Two\n5:Six\n[Other]\n2:more text\n");
    OpenDB source(dir / "src.txt", 0);
    source.Save((dir / "good.mdb").c_str());
    std::string const good = ReadFile(dir / "good.mdb");
    Texts const all = source.AllTexts();
    for (std::size_t n = 0; n <= good.size(); ++n) {
        for (auto const& entry : load(good.substr(0, n))) {
            ASSERT_TRUE(all.count(entry.first)) << n;
            EXPECT_EQ(all.at(entry.first).compare(0, entry.second.size(), entry.second), 0) << n;
        }
    }
}

} // namespace
