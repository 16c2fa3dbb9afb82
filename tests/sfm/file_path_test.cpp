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
    EXPECT_EQ(Parts("\\\\srv"), "\\\\srv|||");
    EXPECT_EQ(Parts("//srv/share/f"), "//srv/share/||f|");
    EXPECT_EQ(Parts("\\\\"), "|\\\\||");
    EXPECT_EQ(Parts("\\/x/y"), "|\\/x/|y|") << "different separators make no share";
    EXPECT_EQ(Parts("archive.tar.gz"), "||archive.tar|.gz");
    EXPECT_EQ(Parts(".hidden"), "|||.hidden");
    EXPECT_EQ(Parts("\\f.txt"), "||\\f|.txt") << "position 0 is not searched";
    EXPECT_EQ(Parts("a:b:c"), "a:||b:c|");
    EXPECT_EQ(Parts("d.x\\f"), "|d.x\\|f|");
    EXPECT_EQ(Parts("x."), "||x|.");
    EXPECT_EQ(Parts(nullptr), "|||");
    // Under a double-byte code page, 0x95 0x5C is one character whose trail byte is a backslash.
    mortar::SetCodePage(932);
    EXPECT_EQ(Parts("dir\\\x95\x5C.txt"), "|dir\\|\x95\x5C|.txt");
    mortar::SetCodePage(1252);
    EXPECT_EQ(Parts("dir\\\x95\x5C.txt"), "|dir\\\x95\\||.txt");

    SFM_FilePath p("C:\\a\\b.c");
    p = static_cast<char const*>(nullptr);
    EXPECT_EQ(p.IsEmpty(), 1);
    EXPECT_EQ(S(p.GetFileExtension("x\\y.z")), ".z") << "a reader with a path parses it first";
    EXPECT_EQ(S(p), "x\\y.z");
}

TEST(FilePath, SettersTakeTheMatchingPartOfTheirValue) {
    using F = SFM_FilePath;
    using Set = SYS_StringBase (F::*)(char const*);
    using SetWithPath = SYS_StringBase (F::*)(char const*, char const*); // null where there is no such form
    struct Case { char const* path; Set set; SetWithPath setWithPath; char const *value, *expected; } const cases[] = {
        {"x.txt", &F::SetFileDirectory, &F::SetFileDirectory, "C:\\a\\b", "C:\\a\\x.txt"},
        {"C:\\d\\f", &F::SetBasePath, &F::SetBasePath, "\\\\s\\h\\ignored", "\\\\s\\h\\\\d\\f"},
        {"C:\\d\\f", &F::SetRelPath, &F::SetRelPath, "D:/u/v/w", "C:/u/v/f"},
        {"C:\\d\\f.e", &F::SetFileName, &F::SetFileName, "q\\new.old", "C:\\d\\new.e"},
        {"x.txt", &F::SetFileExtension, &F::SetFileExtension, "dat", "x.dat"},
        {"x.txt", &F::SetFileExtension, &F::SetFileExtension, ".dat", "x.dat"},
        {"x.txt", &F::SetFileExtension, &F::SetFileExtension, "", "x."},
        {"x", &F::SetFileExtension, &F::SetFileExtension, "a.b.c", "x.c"},
        {"C:\\old.txt", &F::SetFileNameExt, &F::SetFileNameExt, "new", "C:\\new.new"},
        {"x", &F::SetDefault, nullptr, "C:\\d\\n.e", "C:\\d\\x.e"},
        {"E:r\\x.y", &F::SetDefault, nullptr, "C:\\d\\n.e", "E:r\\x.y"},
        {"file.txt", &F::SetDefPath, nullptr, "C:\\work\\in", "C:\\work\\in\\file.txt"},
        {"sub/f", &F::SetDefPath, nullptr, "C:\\w\\", "C:\\w\\sub/\\f"},
        {"D:\\file.txt", &F::SetDefPath, nullptr, "C:\\work\\in", "D:\\file.txt"},
        {"f", &F::SetDefPath, nullptr, "", "f"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.path) + " <- " + c.value);
        F p(c.path), q("unrelated\\thing.z");
        EXPECT_EQ(S((p.*c.set)(c.value)), c.expected);
        EXPECT_EQ(S(p), c.expected);
        if (c.setWithPath) {
            EXPECT_EQ(S((q.*c.setWithPath)(c.path, c.value)), c.expected);
        }
    }
}

TEST(FilePath, AddSeparatorAndTheDefaultSeparator) {
    auto added = [](char const* path) { // the result, reparsed: directory|name
        SFM_FilePath p(path);
        p.AddSeparator();
        return S(p.GetFileDirectory()) + "|" + S(p.GetFileNameExt());
    };
    EXPECT_EQ(added("C:\\dir"), "C:\\dir\\|");
    EXPECT_EQ(added("C:\\dir\\"), "C:\\dir\\|") << "already there";
    EXPECT_EQ(added("a/b/"), "a/b/\\|") << "the other separator gets the default one too";
    EXPECT_EQ(added(""), "|");
    SFM_FilePath::DefaultSeparator = 1;
    EXPECT_EQ(added("/usr/lib"), "/usr/lib/|");
    EXPECT_EQ(S(SFM_FilePath("f").SetDefPath("/tmp/x")), "/tmp/x/f");
    SFM_FilePath::DefaultSeparator = 9; // out of range: the backslash
    EXPECT_EQ(added("a"), "a\\|");
    SFM_FilePath::DefaultSeparator = 0;
}

} // namespace
