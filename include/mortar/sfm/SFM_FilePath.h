// SFM_FilePath: a path taken apart into its parts, one part replaced, the whole rebuilt.
//
// Pure text work: the file system is never touched, and nothing is normalised, resolved or
// checked; every text parses. The parser knows drive letters (everything up to the first ':'),
// network shares ("\\server\share\", both leading bytes the same separator), both separators of
// DirectorySeparators ('\' and '/'), and one level of extension (from the last '.' of the name).
//
// Parts, all SYS_StringBase:
//   BasePath       the drive ("C:") or the network share with its trailing separator
//   RelPath        the directories, with their leading and trailing separators as written
//   FileNameExt    name and extension
//   FileName       the name without extension
//   FileExtension  the extension with its leading '.', or empty
//   FullPath       the rebuilt whole
// After every public operation, FileNameExt is FileName + FileExtension and FullPath is
// BasePath + RelPath + FileNameExt.
//
// The separator search for RelPath never looks at position 0, so "\f.txt" has an empty RelPath and
// the name "\f". Under a double-byte code page separators are found by characters, so a trail byte
// equal to '\' is not taken for a separator.
//
// Setters parse their value as a path and take only the matching part of it: SetFileDirectory
// with "C:\a\b" takes "C:" and "\a\" (the last component, without a trailing separator, parses as
// a file name). Each setter also has a form (path, value) that first parses `path`.
//
// The one virtual operation is the private parser, Process.
#ifndef MORTAR_SFM_SFM_FILEPATH_H
#define MORTAR_SFM_SFM_FILEPATH_H

#include <mortar/export.h>
#include <mortar/sys/SYS_StringBase.h>

class MORTAR_API SFM_FilePath {
public:
    /// The separators: a backslash, then a slash.
    static SYS_StringBase const DirectorySeparators;
    /// Index into DirectorySeparators of the separator that the class adds itself; 0 (the
    /// backslash) from the start. Process-wide.
    static int DefaultSeparator;

    /// All parts empty.
    SFM_FilePath();
    /// Parses `path`; null counts as empty.
    SFM_FilePath(char const* path);
    SFM_FilePath(SFM_FilePath const& source);
    SFM_FilePath& operator=(SFM_FilePath const& source);
    virtual ~SFM_FilePath();

    /// Parses `path` with the virtual Process; a null path clears all parts. Returns FullPath.
    SYS_StringBase operator=(char const* path);

    /// 1 when FullPath is empty.
    int IsEmpty() const { return FullPath.IsEmpty(); }
    operator SYS_StringBase() const { return FullPath; }
    operator char const*() const { return FullPath.GetString(); }

    // Readers: a non-null `path` is parsed first (as operator= does); then the parts are rebuilt
    // and the part returned.

    SYS_StringBase GetBasePath(char const* path = nullptr);
    SYS_StringBase GetRelPath(char const* path = nullptr);
    /// BasePath followed by RelPath.
    SYS_StringBase GetFileDirectory(char const* path = nullptr);
    SYS_StringBase GetFileName(char const* path = nullptr);
    SYS_StringBase GetFileNameExt(char const* path = nullptr);
    SYS_StringBase GetFileExtension(char const* path = nullptr);

    // Setters: the value is parsed as a path and the matching part taken; each returns FullPath.
    // The form (path, value) first calls the matching reader with `path`.

    SYS_StringBase SetBasePath(char const* value);
    SYS_StringBase SetBasePath(char const* path, char const* value);
    SYS_StringBase SetRelPath(char const* value);
    SYS_StringBase SetRelPath(char const* path, char const* value);
    /// BasePath and RelPath.
    SYS_StringBase SetFileDirectory(char const* value);
    SYS_StringBase SetFileDirectory(char const* path, char const* value);
    SYS_StringBase SetFileName(char const* value);
    SYS_StringBase SetFileName(char const* path, char const* value);
    /// The value with a '.' put in front unless it begins with one, parsed; its extension is
    /// taken. So "txt" and ".txt" give ".txt", an empty value the lone ".", and of several dots
    /// the last extension counts.
    SYS_StringBase SetFileExtension(char const* value);
    SYS_StringBase SetFileExtension(char const* path, char const* value);
    /// SetFileName(value), then SetFileExtension(value): "new" gives "new.new".
    SYS_StringBase SetFileNameExt(char const* value);
    SYS_StringBase SetFileNameExt(char const* path, char const* value);

    /// Each of BasePath, RelPath, FileName and FileExtension that is empty takes that part of
    /// the parsed value; returns FullPath.
    SYS_StringBase SetDefault(char const* value);
    /// Only when BasePath is empty: BasePath becomes that of the value, and all the value behind
    /// its base, ended by the default separator, goes in front of RelPath, which is then ended by
    /// the default separator too. Returns FullPath.
    SYS_StringBase SetDefPath(char const* value);
    /// Appends the default separator to a non-empty FullPath that doesn't end in it (also when it
    /// ends in the other separator), and parses the result.
    void AddSeparator();

protected:
    SYS_StringBase FullPath;
    SYS_StringBase BasePath;
    SYS_StringBase RelPath;
    SYS_StringBase FileNameExt;
    SYS_StringBase FileName;
    SYS_StringBase FileExtension;

private:
    // The parser: sets every part from `path`.
    virtual void Process(SYS_StringBase const& path);
    // FileNameExt and FullPath from the other parts.
    void Regenerate();
    // Empties every part.
    void Clear();
    // Parses `path` (null: clears), as operator= does.
    void Assign(char const* path);
    // What every reader does first: parses a non-null `path`, then rebuilds.
    void Prepare(char const* path);
    // The byte of DirectorySeparators at DefaultSeparator (the backslash when out of range).
    static char DefaultSeparatorChar();
};

#endif
