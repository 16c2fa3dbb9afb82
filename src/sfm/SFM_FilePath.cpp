// Paths taken apart and rebuilt; pure text work.
#include <mortar/sfm/SFM_FilePath.h>

SYS_StringBase const SFM_FilePath::DirectorySeparators("\\/");
int SFM_FilePath::DefaultSeparator = 0;

SFM_FilePath::SFM_FilePath() = default;

SFM_FilePath::SFM_FilePath(char const* path) { Process(SYS_StringBase(path)); }

SFM_FilePath::SFM_FilePath(SFM_FilePath const& source) = default;

SFM_FilePath& SFM_FilePath::operator=(SFM_FilePath const& source) = default;

SFM_FilePath::~SFM_FilePath() = default;

SYS_StringBase SFM_FilePath::operator=(char const* path) {
    Assign(path);
    return FullPath;
}

void SFM_FilePath::Assign(char const* path) {
    if (path)
        Process(SYS_StringBase(path));
    else
        Clear();
}

namespace {

bool IsSeparator(char c) { return c != '\0' && SFM_FilePath::DirectorySeparators.Find(c) >= 0; }

} // namespace

char SFM_FilePath::DefaultSeparatorChar() {
    int const index = DefaultSeparator;
    return index >= 0 && index < DirectorySeparators.GetLength() ? DirectorySeparators.GetAt(index) : '\\';
}

void SFM_FilePath::Process(SYS_StringBase const& path) {
    char const* const separators = DirectorySeparators.GetString();
    int const length = path.GetLength();
    int start = 0;
    int const colon = path.Find(':');
    if (colon >= 0) {
        BasePath = path.Left(colon + 1);
        start = colon + 1;
    } else if (length > 2 && path.GetAt(0) == path.GetAt(1) && IsSeparator(path.GetAt(0))) {
        // A network share: "\\server\share\".
        int const first = path.FindOneOf(separators, 2);
        int const second = first < 0 ? -1 : path.FindOneOf(separators, first + 1);
        if (second >= 0) {
            BasePath = path.Left(second + 1);
            start = second + 1;
        } else {
            BasePath = path;
            start = length;
        }
    } else {
        BasePath.Empty();
    }

    int const last = path.ReverseFindOneOf(separators, -2);
    if (last < start) {
        RelPath.Empty();
        FileNameExt = path.Mid(start);
    } else {
        RelPath = path.Mid(start, last + 1 - start);
        FileNameExt = path.Mid(last + 1);
    }

    int const dot = FileNameExt.ReverseFind('.');
    if (dot < 0) {
        FileName = FileNameExt;
        FileExtension.Empty();
    } else {
        FileName = FileNameExt.Left(dot);
        FileExtension = FileNameExt.Mid(dot);
    }
    Regenerate();
}

void SFM_FilePath::Regenerate() {
    FileNameExt = FileName + FileExtension;
    FullPath = BasePath + RelPath + FileNameExt;
}

void SFM_FilePath::Clear() {
    BasePath.Empty();
    RelPath.Empty();
    FileName.Empty();
    FileExtension.Empty();
    Regenerate();
}

// Readers ----------------------------------------------------------------------------------------------

void SFM_FilePath::Prepare(char const* path) {
    if (path) Assign(path);
    Regenerate();
}

SYS_StringBase SFM_FilePath::GetBasePath(char const* path) {
    Prepare(path);
    return BasePath;
}

SYS_StringBase SFM_FilePath::GetRelPath(char const* path) {
    Prepare(path);
    return RelPath;
}

SYS_StringBase SFM_FilePath::GetFileDirectory(char const* path) {
    Prepare(path);
    return BasePath + RelPath;
}

SYS_StringBase SFM_FilePath::GetFileName(char const* path) {
    Prepare(path);
    return FileName;
}

SYS_StringBase SFM_FilePath::GetFileNameExt(char const* path) {
    Prepare(path);
    return FileNameExt;
}

SYS_StringBase SFM_FilePath::GetFileExtension(char const* path) {
    Prepare(path);
    return FileExtension;
}

// Setters ----------------------------------------------------------------------------------------------

SYS_StringBase SFM_FilePath::SetBasePath(char const* value) {
    BasePath = SFM_FilePath(value).BasePath;
    Regenerate();
    return FullPath;
}

SYS_StringBase SFM_FilePath::SetBasePath(char const* path, char const* value) {
    GetBasePath(path);
    return SetBasePath(value);
}

SYS_StringBase SFM_FilePath::SetRelPath(char const* value) {
    RelPath = SFM_FilePath(value).RelPath;
    Regenerate();
    return FullPath;
}

SYS_StringBase SFM_FilePath::SetRelPath(char const* path, char const* value) {
    GetRelPath(path);
    return SetRelPath(value);
}

SYS_StringBase SFM_FilePath::SetFileDirectory(char const* value) {
    SFM_FilePath const other(value);
    BasePath = other.BasePath;
    RelPath = other.RelPath;
    Regenerate();
    return FullPath;
}

SYS_StringBase SFM_FilePath::SetFileDirectory(char const* path, char const* value) {
    GetFileDirectory(path);
    return SetFileDirectory(value);
}

SYS_StringBase SFM_FilePath::SetFileName(char const* value) {
    FileName = SFM_FilePath(value).FileName;
    Regenerate();
    return FullPath;
}

SYS_StringBase SFM_FilePath::SetFileName(char const* path, char const* value) {
    GetFileName(path);
    return SetFileName(value);
}

SYS_StringBase SFM_FilePath::SetFileExtension(char const* value) {
    SYS_StringBase extension(value);
    if (extension.GetAt(0) != '.') extension.Insert(0, '.');
    FileExtension = SFM_FilePath(extension.GetString()).FileExtension;
    Regenerate();
    return FullPath;
}

SYS_StringBase SFM_FilePath::SetFileExtension(char const* path, char const* value) {
    GetFileExtension(path);
    return SetFileExtension(value);
}

SYS_StringBase SFM_FilePath::SetFileNameExt(char const* value) {
    SetFileName(value);
    return SetFileExtension(value);
}

SYS_StringBase SFM_FilePath::SetFileNameExt(char const* path, char const* value) {
    GetFileNameExt(path);
    return SetFileNameExt(value);
}

SYS_StringBase SFM_FilePath::SetDefault(char const* value) {
    SFM_FilePath const other(value);
    if (BasePath.IsEmpty()) BasePath = other.BasePath;
    if (RelPath.IsEmpty()) RelPath = other.RelPath;
    if (FileName.IsEmpty()) FileName = other.FileName;
    if (FileExtension.IsEmpty()) FileExtension = other.FileExtension;
    Regenerate();
    return FullPath;
}

SYS_StringBase SFM_FilePath::SetDefPath(char const* value) {
    if (BasePath.IsEmpty()) {
        char const separator = DefaultSeparatorChar();
        SFM_FilePath const other(value);
        BasePath = other.BasePath;
        SYS_StringBase directory = other.RelPath + other.FileNameExt;
        if (!directory.IsEmpty() && directory.GetAt(directory.GetLength() - 1) != separator) directory += separator;
        RelPath = directory + RelPath;
        if (!RelPath.IsEmpty() && RelPath.GetAt(RelPath.GetLength() - 1) != separator) RelPath += separator;
    }
    Regenerate();
    return FullPath;
}

void SFM_FilePath::AddSeparator() {
    char const separator = DefaultSeparatorChar();
    if (FullPath.IsEmpty() || FullPath.GetAt(FullPath.GetLength() - 1) == separator) return;
    SYS_StringBase const path = FullPath + separator;
    Process(path);
}
