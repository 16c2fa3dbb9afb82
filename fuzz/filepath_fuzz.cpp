// Paths: any text parses into parts that rebuild it unchanged, and every setter, driven by pieces
// of the input, keeps the parts consistent.
//
// Input: byte 0 the code page (even 1252, odd 932) and the default separator; then texts
// separated by NUL bytes: the path, then the values for the setters.
#include <mortar/platform/codepage.h>
#include <mortar/sfm/SFM_FilePath.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void Check(bool condition) {
    if (!condition) std::abort();
}

class Parts : public SFM_FilePath {
public:
    using SFM_FilePath::SFM_FilePath;
    using SFM_FilePath::operator=;

    void CheckConsistent() const {
        Check(FileNameExt == FileName + FileExtension);
        Check(FullPath == BasePath + RelPath + FileNameExt);
        Check(FileExtension.IsEmpty() || FileExtension.GetAt(0) == '.');
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    if (size < 1) return 0;
    mortar::SetCodePage(data[0] & 1 ? 932 : 1252);
    SFM_FilePath::DefaultSeparator = (data[0] >> 1) & 1;
    std::vector<std::string> texts(1);
    for (size_t i = 1; i < size; ++i) {
        if (data[i] == 0)
            texts.emplace_back();
        else
            texts.back().push_back(static_cast<char>(data[i]));
    }
    std::string const& path = texts[0];

    Parts parts(path.c_str());
    parts.CheckConsistent();
    Check(path == static_cast<char const*>(parts)); // nothing is normalised
    Check(parts.GetFileDirectory() + parts.GetFileNameExt() == path.c_str());

    using Setter = SYS_StringBase (SFM_FilePath::*)(char const*);
    Setter const setters[] = {&SFM_FilePath::SetBasePath, &SFM_FilePath::SetRelPath, &SFM_FilePath::SetFileDirectory,
                              &SFM_FilePath::SetFileName, &SFM_FilePath::SetFileExtension, &SFM_FilePath::SetFileNameExt,
                              &SFM_FilePath::SetDefault,  &SFM_FilePath::SetDefPath};
    for (size_t i = 1; i < texts.size(); ++i) {
        char const* value = texts[i].c_str();
        Setter const set = setters[(i - 1) % (sizeof setters / sizeof setters[0])];
        SYS_StringBase const full = (parts.*set)(value);
        parts.CheckConsistent();
        Check(full == static_cast<SYS_StringBase>(parts));
        // The form with a path parses it first, then sets the same value.
        Parts other("x");
        SYS_StringBase const again = i % 2 ? other.SetFileName(path.c_str(), value) : other.SetRelPath(path.c_str(), value);
        other.CheckConsistent();
        Parts reference(path.c_str());
        Check(again == (i % 2 ? reference.SetFileName(value) : reference.SetRelPath(value)));
    }
    char const separator = SFM_FilePath::DirectorySeparators.GetAt(SFM_FilePath::DefaultSeparator);
    bool const wasEmpty = parts.IsEmpty();
    parts.AddSeparator();
    parts.CheckConsistent();
    SYS_StringBase const full = parts;
    Check(wasEmpty ? full.IsEmpty() : full.GetAt(full.GetLength() - 1) == separator);
    parts = static_cast<char const*>(nullptr);
    Check(parts.IsEmpty());
    return 0;
}
