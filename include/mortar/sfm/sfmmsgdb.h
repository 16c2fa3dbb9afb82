// SFM_MessageDB: numbered texts, grouped in named sections, read out of one file.
//
// Only the key table stays in memory: a text is read from the file each time it is asked for, so
// the file stays open for the life of the object (through the manager it may be closed for the
// time being and brought back, as any SFM_File). The file has two forms: a text form that a person
// writes, and a compiled form (extension ".mdb") that Save writes from any loaded database.
//
// Keys. Key 0 and up number texts; a negative key marks a section's own name. For a section with
// base b, its name is under key -1 - b and its message number n under key b + 1 + n. When a key
// comes a second time, the first entry stays and the later one is dropped without a word.
// Numbers and keys are 32-bit; a number beyond that range counts as INT32_MAX or INT32_MIN, and
// keys that pass the range wrap around.
//
// Text form. Lines are read with SFM_File::GetLine(0), so a line of more than 510 bytes comes in
// pieces and each piece counts as a line; line numbers count from 1. Trailing white space, the
// line feed included, is removed. An empty line or one that starts with ';' is skipped. A line
// that starts with '[' is a section header, "[name]", whose first ']' must be its last byte; any
// other line is a message "number:text" (the number is taken as atoi takes it, so "abc" is 0; the
// colon must not be the first byte; the text is all that follows it). A text that ends in '$'
// keeps the blanks before the '$', which getTxt removes. Bad lines are skipped and reported on
// standard output, exactly as
//     "<file>(<line>) : leading blanks are not allowed"
//     "<file>(<line>) : invalid section : \"<line text>\""
//     "<file>(<line>) : invalid line : \"<line text>\""
// The texts are read out of the source file itself. The text form has an unnamed section (name
// empty, base -1) that holds the messages before the first header.
//
// Compiled form, little-endian: a header of 14 bytes (short reserved 0; short records in the
// table; short records to read; two longs reserved 0), the record table, then the text area, each
// text ending in a NUL, with no gaps. A record, as Save writes it (36 bytes): short record number;
// byte 1 for a section, 0 for a message; byte reserved 0; long offset of the text in the text
// area; long length of the text with its NUL; long the section's highest message number (for a
// message the value of the record before it); char[20] the decimal key (for a section its base),
// NUL-filled. Records stand in ascending order of key, so sections come first.
// The reader also takes files whose flag and reserved fields are 4 bytes each (42-byte records).
// It tells the two layouts apart from the file itself: it checks the records of each layout for a
// consistent record number, flag, decimal key and text inside the file, and takes the 42-byte
// layout only when it fits better than the 36-byte one. A database read from the compiled form
// has no unnamed section. A compiled length is taken modulo 255.
//
// Limits, and what becomes of a text beyond them:
//   - getTxt returns at most 199 bytes: a longer text is cut to its first 199 bytes;
//   - the key table holds lengths up to 255: a longer text-form text counts as 255 bytes long;
//   - Save writes at most 253 bytes of a text (plus its NUL), and only up to an embedded NUL, so
//     that every saved length survives the modulo; what getTxt returns is unchanged by this;
//   - the compiled form holds at most 32767 records: Save writes the first 32767 entries in key
//     order and drops the rest.
//
// Bad input. A missing file gives an empty database (no key table); the failure reaches the caller
// only through the manager's events. Corrupt compiled files (counts beyond the file, offsets past
// its end, lengths of 0, decimal keys without NUL) are read as far as they make sense: records
// beyond the end of the file are not read, a text outside the file reads as empty. Nothing is read
// or written outside a buffer. Save of a database whose file did not open writes an empty
// compiled file.
//
// Copies share the key table and the section nodes with their source, which stay alive as long as
// one of them lives, so either may be destroyed first; a copy reads through a stream of its own,
// opened on the source's file name and mode.
//
// One virtual operation: IsValid.
#ifndef MORTAR_SFM_SFMMSGDB_H
#define MORTAR_SFM_SFMMSGDB_H

#include <mortar/export.h>
#include <mortar/sfm/sfmfile.h>
#include <mortar/sys/SYS_StringBase.h>

#include <cstdint>
#include <list>
#include <map>
#include <memory>

class MORTAR_API SFM_MessageDB {
public:
    /// One text of the key table.
    struct keyTableElem {
        int32_t Key;      ///< see Keys in the header comment
        int32_t Position; ///< offset of the text in the file
        uint8_t Length;   ///< bytes to read
    };

    /// One section.
    struct SectionTableNode {
        SYS_StringBase Name; ///< compared without regard to case
        int32_t Base;        ///< one less than the key of the section's message number 0
        int32_t Size;        ///< the highest message number of the section
    };

    /// Walks the messages of one section in key order, skipping missing numbers.
    /// Must not outlive its database. Empty when Current is negative.
    class MORTAR_API SectionIterator {
    public:
        /// Stands on the first message of `section` whose number is `position` or more; a null
        /// `db` is a failed check, reported once here and once more by the positioning step
        /// (the iterator then stays empty).
        SectionIterator(SFM_MessageDB* db, SYS_StringBase section, int32_t position = 0);
        SectionIterator(SectionIterator const& other) = default;
        ~SectionIterator() = default;

        /// Moves to the first message whose number is `position` or more; empty when the section
        /// does not exist or has no such message.
        void operator=(int32_t position);
        /// Copies all fields; a null database here is a failed check (copied all the same).
        void operator=(SectionIterator other);

        /// The text under the iterator; empty when the iterator is empty.
        operator SYS_StringBase();
        /// Moves on, then returns the text under the iterator.
        SYS_StringBase operator++();
        /// Returns the text under the iterator, then moves on.
        SYS_StringBase operator++(int);

        int IsEmpty() const { return Current < 0 ? 1 : 0; }
        void Clear() { Current = -1; }
        SYS_StringBase GetName() const { return Section; }
        /// The message number under the iterator; -1 when empty.
        int32_t GetPosition() const;

    private:
        // The next existing key after Current up to End; clears the iterator when there is none.
        void GetNext();

        SFM_MessageDB* Database; // not owned
        int32_t Current;         // the key under the iterator; negative when empty
        int32_t End;             // the last key of the section
        int32_t SectionBase;     // the section's first key
        SYS_StringBase Section;
    };

    /// Reads the compiled form (file mode "rb").
    explicit SFM_MessageDB(SYS_StringBase name);
    /// Reads the text form (file mode "r"); the int only selects this form.
    SFM_MessageDB(SYS_StringBase name, int);
    virtual ~SFM_MessageDB();

    /// Shares the tables; see the header comment.
    SFM_MessageDB(SFM_MessageDB const& source);
    SFM_MessageDB& operator=(SFM_MessageDB const& source);

    /// The text of `key`, read from the file; empty for a missing key or a closed file. A trailing
    /// '$' is removed, and the text ends at its first NUL.
    SYS_StringBase getTxt(int32_t key);
    /// The key of the section's message number 0 (Base + 1); -1 when there is no such section.
    int32_t GetSectionBase(SYS_StringBase name);
    /// Writes the compiled form to the file `name` (mode "w+b"); a file that does not open is
    /// reported through the manager's events only. The texts are read before the file is opened,
    /// so a database may be saved over its own file; this object then reads that file with the
    /// key table of the old one, so load it anew.
    void Save(SYS_StringBase name);
    /// 1.
    virtual int IsValid();

protected:
    /// The first section named `name`, without regard to case; null when there is none.
    SectionTableNode* GetSection(SYS_StringBase name);

    std::list<SectionTableNode*> Sections;        ///< in the order of reading; owned
    /// Null until the file has been opened; owned. Complete when the constructor returns: a
    /// derived class reads it but must not change it.
    std::map<int32_t, keyTableElem>* Keys;
    SFM_File File;                                ///< stays open after construction

private:
    struct Tables;

    void ReadCompiled();
    void ReadText();
    // Creates the owned tables with an empty key table.
    void MakeTables();
    SectionTableNode* AddSection(SYS_StringBase const& name, int32_t base, int32_t size);
    // Reads up to `length` bytes at `position` into `buffer`; the number read. Does not seek
    // when the file is there already, and reads across a small gap forward instead of seeking,
    // so that the stream keeps its buffer.
    int32_t ReadAt(int32_t position, int32_t length, char* buffer);

    // The entry of `key`; null when there is none.
    keyTableElem const* FindKey(int32_t key);

    std::shared_ptr<Tables> m_Tables; // owner of Sections' nodes and of Keys, shared by copies
    // The entry behind the one found last, tried first by the next lookup.
    std::map<int32_t, keyTableElem>::const_iterator m_Hint;
    bool m_HintValid;
};

#endif
