// The message database: key table, sections, the two file forms, and the manager's Initiate and
// IsValid live in sfmanagr.cpp.
#include <mortar/sfm/sfmmsgdb.h>

#include <mortar/scc/scc_arr.h>
#include <mortar/ssm/ssmimpl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// Key table entries sort by key (found by argument-dependent lookup from SCC_Sort).
int SCC_Compare(SFM_MessageDB::keyTableElem const& a, SFM_MessageDB::keyTableElem const& b) {
    return a.Key < b.Key ? -1 : a.Key > b.Key ? 1 : 0;
}

struct SFM_MessageDB::Tables {
    std::vector<std::unique_ptr<SectionTableNode>> nodes;
    std::map<int32_t, keyTableElem> keys;
};

namespace {

// getTxt reads into a buffer of this size, so a text comes back with at most 199 bytes.
constexpr int32_t kTextBuffer = 200;
// Save writes at most this many bytes of a text before its NUL, so that every written length
// (at most 254) survives the reader's modulo 255.
constexpr int32_t kSavedText = 253;
// The record counts of the compiled form are signed 16-bit values.
constexpr int32_t kMaxRecords = 32767;
// The compiled header.
constexpr int32_t kHeaderSize = 14;
// A forward gap up to this size is read across instead of sought over, so that the stream keeps
// its buffer.
constexpr int32_t kSkipLimit = 512;

// Arithmetic on keys and positions wraps at 32 bits.
int32_t Add(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }
int32_t Sub(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b)); }

// atoi as on a platform whose int and long are 32 bits: a value beyond the range saturates.
int32_t ToInt(char const* text) {
    int const saved = errno;
    long long const value = std::strtoll(text, nullptr, 10);
    errno = saved;
    return value > INT32_MAX ? INT32_MAX : value < INT32_MIN ? INT32_MIN : static_cast<int32_t>(value);
}

// A text length as the key table holds it: 8 bits, longer texts counted as 255 bytes.
uint8_t Length8(int32_t length) {
    return static_cast<uint8_t>(length < 0 ? 0 : length > 255 ? 255 : length);
}

int32_t Le16(unsigned char const* p) { return static_cast<int16_t>(static_cast<uint16_t>(p[0] | p[1] << 8)); }

int32_t Le32(unsigned char const* p) {
    return static_cast<int32_t>(static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
                                static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24);
}

// Where the fields of a compiled record stand, in the layout that Save writes (flag and reserved
// byte one byte each) and in the one with four bytes each.
struct Layout {
    int32_t size;
    int32_t offset;  // offset of the text in the text area
    int32_t length;  // length of the text with its NUL
    int32_t section; // the section's Size
    int32_t decimal; // char[20], the decimal key
};
constexpr Layout kLayout36{36, 4, 8, 12, 16};
constexpr Layout kLayout42{42, 10, 14, 18, 22};
constexpr int32_t kDecimalSize = 20;

// The decimal key of a record, made a terminated text even when the file gives no NUL.
std::string DecimalKey(unsigned char const* record, Layout const& layout) {
    char const* const text = reinterpret_cast<char const*>(record + layout.decimal);
    return std::string(text, strnlen(text, kDecimalSize));
}

// A record that looks as a writer of `layout` would have made it.
bool Plausible(unsigned char const* record, int32_t index, Layout const& layout, int64_t textBase,
               int64_t fileLength) {
    if (Le16(record) != index || record[2] > 1) return false;
    char const* const text = reinterpret_cast<char const*>(record + layout.decimal);
    std::size_t const length = strnlen(text, kDecimalSize);
    if (length == kDecimalSize) return false;
    std::size_t const digits = text[0] == '-' ? 1 : 0;
    if (length <= digits || std::strspn(text + digits, "0123456789") != length - digits) return false;
    int64_t const offset = Le32(record + layout.offset);
    int64_t const textLength = Le32(record + layout.length);
    return offset >= 0 && textLength >= 1 && textBase + offset + textLength <= fileLength;
}

// How many of the first records of `table` are plausible in `layout`.
int32_t Score(std::vector<unsigned char> const& table, int32_t count, Layout const& layout, int64_t start,
              int32_t tableCount, int64_t fileLength) {
    int64_t const textBase = start + int64_t{tableCount} * layout.size;
    int32_t const available = std::min<int32_t>(count, static_cast<int32_t>(table.size() / layout.size));
    int32_t score = 0;
    for (int32_t i = 0; i < std::min(available, 64); ++i)
        score += Plausible(table.data() + int64_t{i} * layout.size, i, layout, textBase, fileLength) ? 1 : 0;
    return score;
}

void PutRecordHead(SFM_File& out, int32_t number, bool section) {
    out.Put(static_cast<int16_t>(number));
    out.Put(static_cast<unsigned char>(section ? 1 : 0));
    out.Put(static_cast<unsigned char>(0));
}

} // namespace

// Construction -----------------------------------------------------------------------------------------

SFM_MessageDB::SFM_MessageDB(SYS_StringBase name) : Keys(nullptr), File(name.GetString()), m_HintValid(false) {
    if (File.Open(SYS_StringBase("rb"))) ReadCompiled();
}

SFM_MessageDB::SFM_MessageDB(SYS_StringBase name, int) : Keys(nullptr), File(name.GetString()), m_HintValid(false) {
    if (File.Open(SYS_StringBase("r"))) ReadText();
}

SFM_MessageDB::~SFM_MessageDB() = default;

SFM_MessageDB::SFM_MessageDB(SFM_MessageDB const& source)
    : Sections(source.Sections),
      Keys(source.Keys),
      File(source.File.GetName().GetString()),
      m_Tables(source.m_Tables),
      m_HintValid(false) {
    SFM_File& from = const_cast<SFM_File&>(source.File);
    if (from.IsOpen()) File.Open(from.GetMode());
}

SFM_MessageDB& SFM_MessageDB::operator=(SFM_MessageDB const& source) {
    if (&source == this) return *this;
    SFM_File& from = const_cast<SFM_File&>(source.File);
    File.Close();
    File.SetName(from.GetName());
    if (from.IsOpen()) File.Open(from.GetMode());
    Sections = source.Sections;
    Keys = source.Keys;
    m_Tables = source.m_Tables;
    m_HintValid = false;
    return *this;
}

void SFM_MessageDB::MakeTables() {
    m_Tables = std::make_shared<Tables>();
    m_HintValid = false;
    Sections.clear();
    Keys = &m_Tables->keys;
}

SFM_MessageDB::SectionTableNode* SFM_MessageDB::AddSection(SYS_StringBase const& name, int32_t base, int32_t size) {
    m_Tables->nodes.push_back(std::unique_ptr<SectionTableNode>(new SectionTableNode{name, base, size}));
    Sections.push_back(m_Tables->nodes.back().get());
    return Sections.back();
}

// Compiled form -----------------------------------------------------------------------------------------

void SFM_MessageDB::ReadCompiled() {
    unsigned char header[kHeaderSize];
    int32_t const got = File.Read(header, kHeaderSize);
    MakeTables();
    if (got < kHeaderSize) return;
    int32_t const start = File.GetPosition();
    int64_t const fileLength = File.GetLength();
    int32_t const tableCount = Le16(header + 2);
    int32_t const readCount = Le16(header + 4);
    if (readCount <= 0 || start < 0 || fileLength <= start) return;

    // The record table, as far as the file holds it, read once in the size of the larger layout.
    int64_t const wanted = std::min<int64_t>(fileLength - start, int64_t{readCount} * kLayout42.size);
    std::vector<unsigned char> table(static_cast<std::size_t>(wanted));
    table.resize(static_cast<std::size_t>(File.Read(table.data(), static_cast<int32_t>(wanted))));

    Layout const& layout = Score(table, readCount, kLayout42, start, tableCount, fileLength) >
                                   Score(table, readCount, kLayout36, start, tableCount, fileLength)
                               ? kLayout42
                               : kLayout36;
    int32_t const textBase = Add(start, static_cast<int32_t>(static_cast<uint32_t>(tableCount) * layout.size));
    int32_t const count = std::min<int32_t>(readCount, static_cast<int32_t>(table.size() / layout.size));

    for (int32_t i = 0; i < count; ++i) {
        unsigned char const* const record = table.data() + int64_t{i} * layout.size;
        int32_t key = ToInt(DecimalKey(record, layout).c_str());
        int32_t const position = Add(Le32(record + layout.offset), textBase);
        int32_t const length = Le32(record + layout.length);
        if (record[2] == 1) {
            SYS_StringBase name;
            if (File.PushPosition(position, SFM_File::ST_Begin)) {
                name = File.GetLine(length);
                File.PopPosition();
            }
            AddSection(name, key, Le32(record + layout.section));
            key = Sub(-1, key);
        }
        uint8_t const length8 = static_cast<uint8_t>(static_cast<uint32_t>(length) % 255u);
        Keys->emplace(key, keyTableElem{key, position, length8});
    }
}

void SFM_MessageDB::Save(SYS_StringBase name) {
    SCC_SortableArray<keyTableElem> entries;
    if (Keys)
        for (auto const& entry : *Keys) entries.Append(entry.second);
    entries.Sort(0, entries.GetCount(), 1);
    int32_t const count = std::min<int32_t>(entries.GetCount(), kMaxRecords);

    // The texts are read before the output is opened, so that a database can be saved over its
    // own file.
    std::vector<std::string> texts(static_cast<std::size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        keyTableElem const& entry = entries.FastGetAt(i);
        char buffer[kSavedText + 1] = {};
        ReadAt(entry.Position, std::min<int32_t>(entry.Length, kSavedText), buffer);
        texts[static_cast<std::size_t>(i)] = buffer;
    }

    SFM_File out(name.GetString());
    if (!out.Open(SYS_StringBase("w+b"))) return;

    // One empty record first, so that even an empty database makes a file of one record's size.
    unsigned char const empty[kLayout36.size] = {};
    out.Write(empty, kLayout36.size);
    out.Rewind();
    out.Put(static_cast<int16_t>(0));
    out.Put(static_cast<int16_t>(count));
    out.Put(static_cast<int16_t>(count));
    out.Put(static_cast<int32_t>(0));
    out.Put(static_cast<int32_t>(0));

    int32_t textOffset = 0;
    int32_t sectionSize = 0;
    for (int32_t i = 0; i < count; ++i) {
        keyTableElem const& entry = entries.FastGetAt(i);
        std::string const& text = texts[static_cast<std::size_t>(i)];
        bool const section = entry.Key < 0;
        int32_t const number = section ? Sub(-1, entry.Key) : entry.Key;
        if (section) {
            SectionTableNode* node = GetSection(SYS_StringBase(text.c_str()));
            // A name cut by the limits is found by its base instead.
            for (auto it = Sections.begin(); !node && it != Sections.end(); ++it)
                if ((*it)->Base == number) node = *it;
            MORTAR_CHECK(node != nullptr, "");
            if (node) sectionSize = node->Size;
        }
        char decimal[kDecimalSize] = {};
        std::snprintf(decimal, sizeof decimal, "%d", static_cast<int>(number));
        int32_t const length = static_cast<int32_t>(text.size()) + 1;
        PutRecordHead(out, i, section);
        out.Put(textOffset);
        out.Put(length);
        out.Put(sectionSize);
        out.Write(decimal, kDecimalSize);
        textOffset += length;
    }
    for (std::string const& text : texts) out.Write(text.c_str(), static_cast<int32_t>(text.size()) + 1);
    out.Close();
}

// Text form ----------------------------------------------------------------------------------------------

void SFM_MessageDB::ReadText() {
    // A line that makes no progress ends the count, so a read error can't loop.
    int32_t lines = 0;
    for (;;) {
        int32_t const before = File.GetPosition();
        if (File.GetLine(0).IsEmpty() && File.GetPosition() == before) break;
        ++lines;
    }
    File.Rewind();

    MakeTables();
    SectionTableNode* current = AddSection(SYS_StringBase(), -1, 0);
    int32_t lastKey = 0;
    int32_t sectionBase = 0;
    char const* const fileName = File.GetName().GetString();
    for (int32_t number = 1; number <= lines; ++number) {
        int32_t const start = File.GetPosition();
        SYS_StringBase line = File.GetLine(0);
        line.TrimRight();
        if (line.IsEmpty() || line.GetAt(0) == ';') continue;
        if (line.GetAt(0) == ' ') {
            std::printf("%s(%d) : leading blanks are not allowed\n", fileName, static_cast<int>(number));
            continue;
        }
        int32_t const length = line.GetLength();
        if (line.GetAt(0) == '[') {
            if (line.Find(']') != length - 1) {
                std::printf("%s(%d) : invalid section : \"%s\"\n", fileName, static_cast<int>(number), line.GetString());
                continue;
            }
            sectionBase = Add(lastKey, 2);
            current = AddSection(line.Mid(1, length - 2), Add(lastKey, 1), 0);
            int32_t const key = Sub(0, sectionBase);
            Keys->emplace(key, keyTableElem{key, Add(start, 1), Length8(length - 2)});
            continue;
        }
        int32_t const colon = line.Find(':');
        if (colon <= 0) {
            std::printf("%s(%d) : invalid line : \"%s\"\n", fileName, static_cast<int>(number), line.GetString());
            continue;
        }
        int32_t const n = ToInt(line.Left(colon).GetString());
        int32_t const key = Add(n, sectionBase);
        lastKey = key;
        Keys->emplace(key, keyTableElem{key, Add(start, colon + 1), Length8(length - (colon + 1))});
        if (n > current->Size) current->Size = n;
    }
}

// Reading texts ------------------------------------------------------------------------------------------

int32_t SFM_MessageDB::ReadAt(int32_t position, int32_t length, char* buffer) {
    int32_t const current = File.GetPosition();
    if (current != position) {
        int32_t const gap = Sub(position, current);
        char skipped[kSkipLimit];
        bool const across = current >= 0 && gap > 0 && gap <= kSkipLimit && File.Read(skipped, gap) == gap;
        if (!across && !File.Seek(position, SFM_File::ST_Begin)) return 0;
    }
    return File.Read(buffer, length);
}

SFM_MessageDB::keyTableElem const* SFM_MessageDB::FindKey(int32_t key) {
    // A section read through asks for the key behind the one found last: that one is tried first.
    auto found = m_HintValid && m_Hint != Keys->end() && m_Hint->first == key ? m_Hint : Keys->find(key);
    if (found == Keys->end()) return nullptr;
    m_Hint = std::next(found);
    m_HintValid = true;
    return &found->second;
}

SYS_StringBase SFM_MessageDB::getTxt(int32_t key) {
    if (!Keys || !File.IsOpen()) return SYS_StringBase();
    keyTableElem const* const entry = FindKey(key);
    if (!entry) return SYS_StringBase();
    char buffer[kTextBuffer];
    int32_t const read = ReadAt(entry->Position, std::min<int32_t>(entry->Length, kTextBuffer - 1), buffer);
    buffer[read > 0 ? read : 0] = '\0';
    std::size_t length = std::strlen(buffer);
    if (length > 0 && buffer[length - 1] == '$') --length;
    return SYS_StringBase(buffer, static_cast<int>(length));
}

int32_t SFM_MessageDB::GetSectionBase(SYS_StringBase name) {
    SectionTableNode const* node = GetSection(name);
    return node ? Add(node->Base, 1) : -1;
}

SFM_MessageDB::SectionTableNode* SFM_MessageDB::GetSection(SYS_StringBase name) {
    for (SectionTableNode* node : Sections)
        if (node->Name.CompareNoCase(name.GetString()) == 0) return node;
    return nullptr;
}

int SFM_MessageDB::IsValid() { return 1; }

// Section iterator ---------------------------------------------------------------------------------------

SFM_MessageDB::SectionIterator::SectionIterator(SFM_MessageDB* db, SYS_StringBase section, int32_t position)
    : Database(db), Current(-1), End(0), SectionBase(0), Section(section) {
    MORTAR_CHECK(db != nullptr, "");
    *this = position;
}

void SFM_MessageDB::SectionIterator::operator=(int32_t position) {
    MORTAR_CHECK(Database != nullptr, "");
    SectionTableNode const* node = Database ? Database->GetSection(Section) : nullptr;
    if (!node) {
        End = 0;
        SectionBase = 0;
        Clear();
        return;
    }
    SectionBase = Database->GetSectionBase(Section);
    End = Add(node->Size, SectionBase);
    Current = Sub(Add(SectionBase, position), 1);
    GetNext();
}

void SFM_MessageDB::SectionIterator::operator=(SectionIterator other) {
    MORTAR_CHECK(Database != nullptr, "");
    Database = other.Database;
    Current = other.Current;
    End = other.End;
    SectionBase = other.SectionBase;
    Section = other.Section;
}

SFM_MessageDB::SectionIterator::operator SYS_StringBase() {
    return IsEmpty() || !Database ? SYS_StringBase() : Database->getTxt(Current);
}

SYS_StringBase SFM_MessageDB::SectionIterator::operator++() {
    MORTAR_CHECK(Database != nullptr, "");
    GetNext();
    return *this;
}

SYS_StringBase SFM_MessageDB::SectionIterator::operator++(int) {
    MORTAR_CHECK(Database != nullptr, "");
    SYS_StringBase text = *this;
    GetNext();
    return text;
}

int32_t SFM_MessageDB::SectionIterator::GetPosition() const { return IsEmpty() ? -1 : Sub(Current, SectionBase); }

void SFM_MessageDB::SectionIterator::GetNext() {
    std::map<int32_t, keyTableElem> const* keys = Database ? Database->Keys : nullptr;
    MORTAR_CHECK(keys != nullptr, "");
    // The first existing key above Current and not above End: the same as stepping by one key at a
    // time, without walking a gap of missing numbers one by one.
    if (keys && Current < End) {
        auto const next = keys->upper_bound(Current);
        if (next != keys->end() && next->first <= End) {
            Current = next->first;
            return;
        }
    }
    Clear();
}
