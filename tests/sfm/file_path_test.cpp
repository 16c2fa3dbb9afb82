#include <mortar/platform/codepage.h>
#include <mortar/sfm/SFM_FilePath.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string S(SYS_StringBase const& s) { return s.GetString(); }

struct Parts {
    std::string base, rel, name, ext;
};

// The parts of a path, and the invariants that tie them together.
void ExpectParts(char const* what, char const* path, Parts const& expected) {
    SCOPED_TRACE(what);
    SFM_FilePath p(path);
    Parts const got{S(p.GetBasePath()), S(p.GetRelPath()), S(p.GetFileName()), S(p.GetFileExtension())};
    EXPECT_EQ(got.base, expected.base);
    EXPECT_EQ(got.rel, expected.rel);
    EXPECT_EQ(got.name, expected.name);
    EXPECT_EQ(got.ext, expected.ext);
    EXPECT_EQ(S(p.GetFileNameExt()), got.name + got.ext);
    EXPECT_EQ(S(p.GetFileDirectory()), got.base + got.rel);
    EXPECT_EQ(std::string(static_cast<char const*>(p)), path ? path : "") << "nothing is normalised";
}

TEST(FilePath, ParsesEveryFormOfPath) {
    struct Case {
        char const* what;
        char const* path;
        Parts parts;
    };
    std::vector<Case> const cases{
        {"drive, directories, name", "C:\\dir\\sub\\file.txt", {"C:", "\\dir\\sub\\", "file", ".txt"}},
        {"network share", "\\\\srv\\share\\dir\\f.txt", {"\\\\srv\\share\\", "dir\\", "f", ".txt"}},
        {"share without a path", "\\\\srv\\share", {"\\\\srv\\share", "", "", ""}},
        {"server alone", "\\\\srv", {"\\\\srv", "", "", ""}},
        {"share with slashes", "//srv/share/f", {"//srv/share/", "", "f", ""}},
        {"two separators only", "\\\\", {"", "\\\\", "", ""}},
        {"different separators: no share", "\\/x/y", {"", "\\/x/", "y", ""}},
        {"relative with a slash", "dir/f", {"", "dir/", "f", ""}},
        {"one level of extension", "archive.tar.gz", {"", "", "archive.tar", ".gz"}},
        {"hidden file", ".hidden", {"", "", "", ".hidden"}},
        {"position 0 is not searched", "\\f.txt", {"", "", "\\f", ".txt"}},
        {"first colon ends the base", "a:b:c", {"a:", "", "b:c", ""}},
        {"drive alone", "C:", {"C:", "", "", ""}},
        {"drive and root", "C:\\", {"C:", "\\", "", ""}},
        {"dot in a directory", "d.x\\f", {"", "d.x\\", "f", ""}},
        {"trailing dot", "x.", {"", "", "x", "."}},
        {"empty", "", {"", "", "", ""}},
        {"null", nullptr, {"", "", "", ""}},
    };
    for (auto const& c : cases) ExpectParts(c.what, c.path, c.parts);
}

TEST(FilePath, DoubleByteTrailBytesAreNoSeparators) {
    mortar::SetCodePage(932);
    // 0x95 0x5C is one character whose trail byte is a backslash.
    ExpectParts("trail byte", "dir\\\x95\x5C.txt", {"", "dir\\", "\x95\x5C", ".txt"});
    mortar::SetCodePage(1252);
    ExpectParts("single-byte", "dir\\\x95\x5C.txt", {"", "dir\\\x95\\", "", ".txt"});
}

TEST(FilePath, AssignmentAndConversions) {
    SFM_FilePath p;
    EXPECT_EQ(p.IsEmpty(), 1);
    EXPECT_EQ(S(p = "C:\\a\\b.c"), "C:\\a\\b.c");
    EXPECT_EQ(p.IsEmpty(), 0);
    SFM_FilePath copy(p);
    EXPECT_EQ(S(copy.GetFileName()), "b");
    EXPECT_EQ(S(static_cast<SYS_StringBase>(copy)), "C:\\a\\b.c");
    p = static_cast<char const*>(nullptr);
    EXPECT_EQ(p.IsEmpty(), 1);
    EXPECT_TRUE(p.GetBasePath().IsEmpty());
    p = copy;
    EXPECT_EQ(S(p.GetRelPath()), "\\a\\");
    // A reader with a path parses it first.
    EXPECT_EQ(S(p.GetFileExtension("x\\y.z")), ".z");
    EXPECT_EQ(S(p), "x\\y.z");
}

TEST(FilePath, SettersTakeTheMatchingPartOfTheirValue) {
    using Set = SYS_StringBase (SFM_FilePath::*)(char const*);
    using SetWithPath = SYS_StringBase (SFM_FilePath::*)(char const*, char const*);
    struct Case {
        char const* what;
        char const* path;
        Set set;
        SetWithPath setWithPath; // null for the setters that have no such form
        char const* value;
        char const* expected;
    };
    std::vector<Case> const cases{
        {"directory drops the last component", "x.txt", &SFM_FilePath::SetFileDirectory, &SFM_FilePath::SetFileDirectory, "C:\\a\\b", "C:\\a\\x.txt"},
        {"directory with separator", "x.txt", &SFM_FilePath::SetFileDirectory, &SFM_FilePath::SetFileDirectory, "C:\\a\\b\\", "C:\\a\\b\\x.txt"},
        {"base path", "C:\\d\\f", &SFM_FilePath::SetBasePath, &SFM_FilePath::SetBasePath, "\\\\s\\h\\ignored", "\\\\s\\h\\\\d\\f"},
        {"relative path", "C:\\d\\f", &SFM_FilePath::SetRelPath, &SFM_FilePath::SetRelPath, "D:/u/v/w", "C:/u/v/f"},
        {"name", "C:\\d\\f.e", &SFM_FilePath::SetFileName, &SFM_FilePath::SetFileName, "q\\new.old", "C:\\d\\new.e"},
        {"extension without dot", "x.txt", &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileExtension, "dat", "x.dat"},
        {"extension with dot", "x.txt", &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileExtension, ".dat", "x.dat"},
        {"empty extension", "x.txt", &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileExtension, "", "x."},
        {"last of several", "x", &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileExtension, "a.b.c", "x.c"},
        {"name and extension", "C:\\old.txt", &SFM_FilePath::SetFileNameExt, &SFM_FilePath::SetFileNameExt, "new.dat", "C:\\new.dat"},
        {"name without extension", "C:\\old.txt", &SFM_FilePath::SetFileNameExt, &SFM_FilePath::SetFileNameExt, "new", "C:\\new.new"},
        {"defaults fill the gaps", "x", &SFM_FilePath::SetDefault, nullptr, "C:\\d\\n.e", "C:\\d\\x.e"},
        {"defaults keep what is there", "E:r\\x.y", &SFM_FilePath::SetDefault, nullptr, "C:\\d\\n.e", "E:r\\x.y"},
        {"default path", "file.txt", &SFM_FilePath::SetDefPath, nullptr, "C:\\work\\in", "C:\\work\\in\\file.txt"},
        {"default path before the relative part", "sub/f", &SFM_FilePath::SetDefPath, nullptr, "C:\\w\\", "C:\\w\\sub/\\f"},
        {"default path with a base present", "D:\\file.txt", &SFM_FilePath::SetDefPath, nullptr, "C:\\work\\in", "D:\\file.txt"},
        {"empty default path", "f", &SFM_FilePath::SetDefPath, nullptr, "", "f"},
        {"null value", "C:\\d\\f.e", &SFM_FilePath::SetFileName, &SFM_FilePath::SetFileName, nullptr, "C:\\d\\.e"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        SFM_FilePath p(c.path);
        EXPECT_EQ(S((p.*c.set)(c.value)), c.expected);
        EXPECT_EQ(S(p), c.expected);
        // The two-argument forms parse their path first.
        SFM_FilePath q("unrelated\\thing.z");
        if (c.setWithPath) {
            EXPECT_EQ(S((q.*c.setWithPath)(c.path, c.value)), c.expected);
        }
    }
}

TEST(FilePath, AddSeparatorMovesTheNameIntoTheDirectories) {
    SFM_FilePath p("C:\\dir");
    p.AddSeparator();
    EXPECT_EQ(S(p), "C:\\dir\\");
    EXPECT_EQ(S(p.GetRelPath()), "\\dir\\");
    EXPECT_TRUE(p.GetFileName().IsEmpty());
    p.AddSeparator();
    EXPECT_EQ(S(p), "C:\\dir\\") << "already there";
    SFM_FilePath slash("a/b/");
    slash.AddSeparator();
    EXPECT_EQ(S(slash), "a/b/\\") << "the other separator gets the default one too";
    SFM_FilePath empty;
    empty.AddSeparator();
    EXPECT_EQ(empty.IsEmpty(), 1);

    // The default separator is a setting; out of range it falls back to the backslash.
    SFM_FilePath::DefaultSeparator = 1;
    SFM_FilePath unix("/usr/lib");
    unix.AddSeparator();
    EXPECT_EQ(S(unix), "/usr/lib/");
    EXPECT_EQ(S(SFM_FilePath("f").SetDefPath("/tmp/x")), "/tmp/x/f");
    SFM_FilePath::DefaultSeparator = 9;
    SFM_FilePath other("a");
    other.AddSeparator();
    EXPECT_EQ(S(other), "a\\");
    SFM_FilePath::DefaultSeparator = 0;
    EXPECT_EQ(S(SFM_FilePath::DirectorySeparators), "\\/");
}

} // namespace
