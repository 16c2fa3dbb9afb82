#include <mortar/platform/codepage.h>
#include <mortar/sfm/SFM_FilePath.h>

#include <gtest/gtest.h>

#include <string>

namespace {

std::string S(SYS_StringBase const& s) { return s.GetString(); }

// The parts of `path` as "base|rel|name|ext", after checking the invariants that tie them together.
std::string Parts(char const* path) {
    SFM_FilePath p(path);
    std::string const base = S(p.GetBasePath()), rel = S(p.GetRelPath()), name = S(p.GetFileName()),
                      ext = S(p.GetFileExtension());
    EXPECT_EQ(S(p.GetFileNameExt()), name + ext);
    EXPECT_EQ(S(p.GetFileDirectory()), base + rel);
    EXPECT_EQ(S(p), path ? path : "") << "nothing is normalised";
    return base + "|" + rel + "|" + name + "|" + ext;
}

TEST(FilePath, ParsesEveryFormOfPath) {
    EXPECT_EQ(Parts("C:\\dir\\sub\\file.txt"), "C:|\\dir\\sub\\|file|.txt");
    EXPECT_EQ(Parts("\\\\srv\\share\\dir\\f.txt"), "\\\\srv\\share\\|dir\\|f|.txt");
    EXPECT_EQ(Parts("\\\\srv\\share"), "\\\\srv\\share|||");
    EXPECT_EQ(Parts("\\\\srv"), "\\\\srv|||");
    EXPECT_EQ(Parts("//srv/share/f"), "//srv/share/||f|");
    EXPECT_EQ(Parts("\\\\"), "|\\\\||");
    EXPECT_EQ(Parts("\\/x/y"), "|\\/x/|y|") << "different separators make no share";
    EXPECT_EQ(Parts("archive.tar.gz"), "||archive.tar|.gz");
    EXPECT_EQ(Parts(".hidden"), "|||.hidden");
    EXPECT_EQ(Parts("\\f.txt"), "||\\f|.txt") << "position 0 is not searched";
    EXPECT_EQ(Parts("a:b:c"), "a:||b:c|");
    EXPECT_EQ(Parts("C:\\"), "C:|\\||");
    EXPECT_EQ(Parts("d.x\\f"), "|d.x\\|f|");
    EXPECT_EQ(Parts("x."), "||x|.");
    EXPECT_EQ(Parts(nullptr), "|||");

    // Under a double-byte code page, 0x95 0x5C is one character whose trail byte is a backslash.
    mortar::SetCodePage(932);
    EXPECT_EQ(Parts("dir\\\x95\x5C.txt"), "|dir\\|\x95\x5C|.txt");
    mortar::SetCodePage(1252);
    EXPECT_EQ(Parts("dir\\\x95\x5C.txt"), "|dir\\\x95\\||.txt");

    SFM_FilePath source("C:\\a\\b.c"), copy(source), p;
    p = copy;
    EXPECT_EQ(S(p.GetBasePath()) + "|" + S(p.GetRelPath()) + "|" + S(p.GetFileNameExt()), "C:|\\a\\|b.c");
    p = static_cast<char const*>(nullptr);
    EXPECT_EQ(p.IsEmpty(), 1);
    EXPECT_TRUE(p.GetBasePath().IsEmpty());
    EXPECT_EQ(S(p.GetFileExtension("x\\y.z")), ".z") << "a reader with a path parses it first";
    EXPECT_EQ(S(p), "x\\y.z");
}

TEST(FilePath, SettersTakeTheMatchingPartOfTheirValue) {
    using Set = SYS_StringBase (SFM_FilePath::*)(char const*);
    using SetWithPath = SYS_StringBase (SFM_FilePath::*)(char const*, char const*);
    struct Case {
        char const* path;
        Set set;
        SetWithPath setWithPath; // null for the setters that have no such form
        char const* value;
        char const* expected;
    };
    Case const cases[] = {
        {"x.txt", &SFM_FilePath::SetFileDirectory, &SFM_FilePath::SetFileDirectory, "C:\\a\\b", "C:\\a\\x.txt"},
        {"x.txt", &SFM_FilePath::SetFileDirectory, &SFM_FilePath::SetFileDirectory, "C:\\a\\b\\", "C:\\a\\b\\x.txt"},
        {"C:\\d\\f", &SFM_FilePath::SetBasePath, &SFM_FilePath::SetBasePath, "\\\\s\\h\\ignored", "\\\\s\\h\\\\d\\f"},
        {"C:\\d\\f", &SFM_FilePath::SetRelPath, &SFM_FilePath::SetRelPath, "D:/u/v/w", "C:/u/v/f"},
        {"C:\\d\\f.e", &SFM_FilePath::SetFileName, &SFM_FilePath::SetFileName, "q\\new.old", "C:\\d\\new.e"},
        {"C:\\d\\f.e", &SFM_FilePath::SetFileName, &SFM_FilePath::SetFileName, nullptr, "C:\\d\\.e"},
        {"x.txt", &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileExtension, "dat", "x.dat"},
        {"x.txt", &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileExtension, ".dat", "x.dat"},
        {"x.txt", &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileExtension, "", "x."},
        {"x", &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileExtension, "a.b.c", "x.c"},
        {"C:\\old.txt", &SFM_FilePath::SetFileNameExt, &SFM_FilePath::SetFileNameExt, "new", "C:\\new.new"},
        {"x", &SFM_FilePath::SetDefault, nullptr, "C:\\d\\n.e", "C:\\d\\x.e"},
        {"E:r\\x.y", &SFM_FilePath::SetDefault, nullptr, "C:\\d\\n.e", "E:r\\x.y"},
        {"file.txt", &SFM_FilePath::SetDefPath, nullptr, "C:\\work\\in", "C:\\work\\in\\file.txt"},
        {"sub/f", &SFM_FilePath::SetDefPath, nullptr, "C:\\w\\", "C:\\w\\sub/\\f"},
        {"D:\\file.txt", &SFM_FilePath::SetDefPath, nullptr, "C:\\work\\in", "D:\\file.txt"},
        {"f", &SFM_FilePath::SetDefPath, nullptr, "", "f"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.path) + " <- " + (c.value ? c.value : "null"));
        SFM_FilePath p(c.path), q("unrelated\\thing.z");
        EXPECT_EQ(S((p.*c.set)(c.value)), c.expected);
        EXPECT_EQ(S(p), c.expected);
        if (c.setWithPath) {
            EXPECT_EQ(S((q.*c.setWithPath)(c.path, c.value)), c.expected);
        }
    }
}

TEST(FilePath, AddSeparatorAndTheDefaultSeparator) {
    SFM_FilePath p("C:\\dir"), slash("a/b/"), empty;
    p.AddSeparator();
    EXPECT_EQ(S(p.GetRelPath()), "\\dir\\");
    EXPECT_TRUE(p.GetFileName().IsEmpty());
    p.AddSeparator();
    EXPECT_EQ(S(p), "C:\\dir\\") << "already there";
    slash.AddSeparator();
    EXPECT_EQ(S(slash), "a/b/\\") << "the other separator gets the default one too";
    empty.AddSeparator();
    EXPECT_EQ(empty.IsEmpty(), 1);

    // Out of range the default separator falls back to the backslash.
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
}

} // namespace
