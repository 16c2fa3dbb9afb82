#include <mortar/sys/SYS_StringBase.h>

#include <mortar/platform/codepage.h>
#include <mortar/platform/mbstring.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <utility>

namespace {

// The largest length: positions and lengths are int, so no text may outgrow them.
constexpr std::size_t MaxLength = static_cast<std::size_t>(INT_MAX);
constexpr std::size_t npos = std::string::npos;

[[noreturn]] void ThrowPosition() {
    throw std::out_of_range("invalid string position");
}
[[noreturn]] void ThrowLength() {
    throw std::length_error("string too long");
}

// A size argument: a negative one stands for a size no string can have.
std::size_t Size(int n) {
    if (n < 0) ThrowLength();
    return static_cast<std::size_t>(n);
}

// A position argument that must lie within [0, length].
std::size_t Position(int pos, std::string const& s) {
    if (pos < 0 || static_cast<std::size_t>(pos) > s.size()) ThrowPosition();
    return static_cast<std::size_t>(pos);
}

// A count of bytes from `pos`; a negative count means all the rest.
std::size_t Count(int count) {
    return count < 0 ? npos : static_cast<std::size_t>(count);
}

// Bytes of `s` before its first NUL, at most `n` (a negative `n`: no limit).
std::size_t BoundedLength(char const* s, int n) {
    return n < 0 ? std::strlen(s) : strnlen(s, static_cast<std::size_t>(n));
}

int ToInt(std::size_t pos) {
    return pos == npos ? -1 : static_cast<int>(pos);
}

// True when `p` points into the buffer of `s` (its terminator included).
bool PointsInto(std::string const& s, char const* p) {
    std::less_equal<char const*> le;
    return le(s.data(), p) && le(p, s.data() + s.capacity());
}

// The byte test of the trims: membership in `set`, or white space when `set` is null or empty.
// A NUL byte is in no set.
class TrimSet {
public:
    explicit TrimSet(char const* set) : m_Set(set), m_Length(set != nullptr ? std::strlen(set) : 0) {}
    bool operator()(char c) const {
        if (m_Length == 0) return std::isspace(static_cast<unsigned char>(c)) != 0;
        return c != '\0' && std::memchr(m_Set, c, m_Length) != nullptr;
    }

private:
    char const* m_Set;
    std::size_t m_Length;
};

// The character at `p` within a view of the text that ends before `end`: a lead byte whose
// trail byte lies outside the view counts as a single-byte character. Sets `length`.
unsigned int CharInView(char const* p, char const* end, int& length) {
    unsigned char lead = static_cast<unsigned char>(*p);
    if (lead >= 0x80 && p + 1 < end && p[1] != '\0' && mortar::ismbblead(lead)) {
        length = 2;
        return (static_cast<unsigned int>(lead) << 8) | static_cast<unsigned char>(p[1]);
    }
    length = 1;
    return lead;
}

// Resolves the start of a reverse search: -2 means the last byte. Returns false when the
// resolved start lies outside the text.
bool ReverseStart(int& start, std::string const& s) {
    if (start == -2) start = static_cast<int>(s.size()) - 1;
    return start >= 0 && static_cast<std::size_t>(start) < s.size();
}

} // namespace

// Construction, assignment, destruction ---------------------------------------------------------

SYS_StringBase::SYS_StringBase() : m_pString(new std::string) {}

SYS_StringBase::SYS_StringBase(SYS_StringBase const& other) : m_pString(new std::string(*other.m_pString)) {}

SYS_StringBase::SYS_StringBase(SYS_StringBase&& other)
    : m_pString(new std::string(std::move(*other.m_pString))) {
    other.m_pString->clear();
}

SYS_StringBase::SYS_StringBase(char c, int count) : m_pString(new std::string) {
    m_pString->assign(Size(count), c);
}

SYS_StringBase::SYS_StringBase(char const* s, int count) : m_pString(new std::string) {
    if (s != nullptr) m_pString->assign(s, Size(count));
}

SYS_StringBase::SYS_StringBase(char const* s) : m_pString(new std::string) {
    if (s != nullptr) *this = s;
}

SYS_StringBase::SYS_StringBase(unsigned short const* w)
    : m_pString(new std::string(mortar::WideToMultiByte(w))) {
    CheckGrowth(0);
}

SYS_StringBase::~SYS_StringBase() = default;

SYS_StringBase const& SYS_StringBase::operator=(SYS_StringBase const& other) {
    if (this != &other) *m_pString = *other.m_pString;
    return *this;
}

SYS_StringBase const& SYS_StringBase::operator=(SYS_StringBase&& other) noexcept {
    if (this != &other) {
        std::swap(m_pString, other.m_pString);
        other.m_pString->clear();
    }
    return *this;
}

SYS_StringBase const& SYS_StringBase::operator=(char const* s) {
    if (s == nullptr) {
        m_pString->clear();
        return *this;
    }
    std::size_t n = std::strlen(s);
    if (n > MaxLength) ThrowLength();
    m_pString->assign(s, n); // std::string::assign copes with a source inside its own buffer
    return *this;
}

SYS_StringBase const& SYS_StringBase::operator=(char c) {
    m_pString->assign(1, c);
    return *this;
}

// Growth guard: every operation that lengthens the text checks the new length here first.
void SYS_StringBase::CheckGrowth(std::size_t added) const {
    if (added > MaxLength - std::min(m_pString->size(), MaxLength)) ThrowLength();
}

int SYS_StringBase::StringLength(char const* s) {
    return static_cast<int>(std::strlen(s));
}

// Comparison ---------------------------------------------------------------------------------------

int SYS_StringBase::Compare(char const* s) const {
    // Under a single-byte code page mbscmp is the unsigned byte comparison, which strcmp does
    // faster; the results are the same -1, 0 and 1.
    if (!mortar::IsDoubleByteCodePage()) {
        int r = std::strcmp(m_pString->c_str(), s);
        return (r > 0) - (r < 0);
    }
    return mortar::mbscmp(m_pString->c_str(), s);
}

int SYS_StringBase::CompareNoCase(char const* s) const {
    return mortar::mbsicmp(m_pString->c_str(), s);
}

// Concatenation ------------------------------------------------------------------------------------

void SYS_StringBase::ConcatCopy(int n1, char const* s1, int n2, char const* s2) {
    std::size_t l1 = BoundedLength(s1, n1);
    std::size_t l2 = BoundedLength(s2, n2);
    if (l1 > MaxLength || l2 > MaxLength - l1) ThrowLength();
    if (PointsInto(*m_pString, s1) || PointsInto(*m_pString, s2)) {
        // Build aside: clearing first would lose the source.
        std::string joined;
        joined.reserve(l1 + l2);
        joined.append(s1, l1).append(s2, l2);
        m_pString->swap(joined);
        return;
    }
    m_pString->clear();
    m_pString->reserve(l1 + l2);
    m_pString->append(s1, l1).append(s2, l2);
}

void SYS_StringBase::ConcatInPlace(int n, char const* s) {
    std::size_t length = BoundedLength(s, n);
    CheckGrowth(length);
    m_pString->append(s, length); // copes with a source inside its own buffer
}

SYS_StringBase const& SYS_StringBase::operator+=(char const* s) {
    ConcatInPlace(-1, s);
    return *this;
}

SYS_StringBase const& SYS_StringBase::operator+=(char c) {
    if (c != '\0') {
        CheckGrowth(1);
        m_pString->push_back(c);
    }
    return *this;
}

SYS_StringBase const& SYS_StringBase::operator+=(SYS_StringBase const& s) {
    ConcatInPlace(s.GetLength(), s.GetString());
    return *this;
}

void SYS_StringBase::Append(SYS_StringBase const& s) {
    CheckGrowth(s.m_pString->size());
    m_pString->append(*s.m_pString);
}

void SYS_StringBase::Append(char const* s) {
    ConcatInPlace(-1, s);
}

void SYS_StringBase::Append(char const* s, int count) {
    std::size_t n = Size(count);
    CheckGrowth(n);
    m_pString->append(s, n);
}

void SYS_StringBase::AppendChar(char c) {
    *this += c;
}

SYS_StringBase& SYS_StringBase::operator<<(char c) {
    *this += c;
    return *this;
}

SYS_StringBase& SYS_StringBase::operator<<(char const* s) {
    *this += s;
    return *this;
}

SYS_StringBase& SYS_StringBase::operator<<(SYS_StringBase const& s) {
    *this += s;
    return *this;
}

SYS_StringBase& SYS_StringBase::operator<<(int32_t value) {
    char digits[16];
    std::to_chars_result r = std::to_chars(digits, digits + sizeof digits, value);
    Append(digits, static_cast<int>(r.ptr - digits));
    return *this;
}

SYS_StringBase& SYS_StringBase::operator<<(uint32_t value) {
    char digits[16];
    std::to_chars_result r = std::to_chars(digits, digits + sizeof digits, value);
    Append(digits, static_cast<int>(r.ptr - digits));
    return *this;
}

SYS_StringBase& SYS_StringBase::AppendWide(bool isSigned, uint64_t bits) {
    char digits[24];
    std::to_chars_result r = isSigned ? std::to_chars(digits, digits + sizeof digits, static_cast<int64_t>(bits))
                                      : std::to_chars(digits, digits + sizeof digits, bits);
    Append(digits, static_cast<int>(r.ptr - digits));
    return *this;
}

SYS_StringBase& SYS_StringBase::operator<<(float value) {
    return *this << static_cast<double>(value);
}

SYS_StringBase& SYS_StringBase::operator<<(double value) {
    // "%f" of the largest double has 309 integer digits, a sign and seven more bytes.
    char text[330];
    int n = std::snprintf(text, sizeof text, "%f", value);
    if (n > 0) Append(text, std::min(n, static_cast<int>(sizeof text) - 1));
    return *this;
}

// Extraction ---------------------------------------------------------------------------------------

SYS_StringBase SYS_StringBase::Mid(int pos, int count) const {
    std::size_t from = Position(pos, *m_pString);
    std::size_t n = std::min(Count(count), m_pString->size() - from);
    char const* piece = m_pString->data() + from;
    return SYS_StringBase(piece, static_cast<int>(strnlen(piece, n)));
}

// Mid(pos, GetLength() - pos), without the overflow of that difference for a very negative pos.
SYS_StringBase SYS_StringBase::Mid(int pos) const {
    return Mid(pos, -1);
}

SYS_StringBase SYS_StringBase::Left(int count) const {
    return Mid(0, count);
}

SYS_StringBase SYS_StringBase::Right(int count) const {
    if (count < 0) ThrowPosition();
    return Mid(GetLength() - std::min(count, GetLength()));
}

SYS_StringBase SYS_StringBase::SpanIncluding(char const* set) const {
    return Left(static_cast<int>(mortar::mbsspn(m_pString->c_str(), set)));
}

SYS_StringBase SYS_StringBase::SpanExcluding(char const* set) const {
    return Left(static_cast<int>(mortar::mbscspn(m_pString->c_str(), set)));
}

SYS_StringBase SYS_StringBase::Tokenize(char const* delimiters, int& pos) const {
    if (pos < 0) return SYS_StringBase();
    if (pos >= GetLength()) {
        pos = -1;
        return SYS_StringBase();
    }
    if (delimiters == nullptr || *delimiters == '\0') return Mid(pos);

    char const* text = m_pString->c_str();
    std::size_t begin = static_cast<std::size_t>(pos) + mortar::mbsspn(text + pos, delimiters);
    if (text[begin] == '\0') {
        pos = -1;
        return SYS_StringBase();
    }
    std::size_t n = mortar::mbscspn(text + begin, delimiters);
    pos = static_cast<int>(begin + n + 1);
    return SYS_StringBase(text + begin, static_cast<int>(n));
}

// Search -------------------------------------------------------------------------------------------

int SYS_StringBase::Find(char const* s, int start) const {
    return ToInt(m_pString->find(s, static_cast<std::size_t>(static_cast<unsigned int>(start))));
}

int SYS_StringBase::Find(char c, int start) const {
    return ToInt(m_pString->find(c, static_cast<std::size_t>(static_cast<unsigned int>(start))));
}

int SYS_StringBase::FindOneOf(char const* set, int start) const {
    if (start < 0 || start > GetLength()) return -1;
    char const* text = m_pString->c_str();
    char const* found = mortar::mbspbrk(text + start, set);
    return found != nullptr ? static_cast<int>(found - text) : -1;
}

int SYS_StringBase::ReverseFind(char c, int start) const {
    if (c == '\0') return start == -2 || start == GetLength() ? GetLength() : -1;
    if (!ReverseStart(start, *m_pString)) return -1;
    // The characters of bytes 0 to start, as if the text ended behind `start`.
    char const* text = m_pString->c_str();
    char const* end = text + start + 1;
    unsigned int wanted = static_cast<unsigned char>(c);
    int found = -1;
    int length;
    for (char const* p = text; p < end && *p != '\0'; p += length) {
        if (CharInView(p, end, length) == wanted) found = static_cast<int>(p - text);
    }
    return found;
}

int SYS_StringBase::ReverseFindOneOf(char const* set, int start) const {
    if (!ReverseStart(start, *m_pString)) return -1;
    char const* text = m_pString->c_str();
    char const* end = text + start + 1;
    int found = -1;
    int length;
    for (char const* p = text + 1; p < end && *p != '\0'; p += length) {
        unsigned int code = CharInView(p, end, length);
        if (mortar::mbschr(set, code) != nullptr) found = static_cast<int>(p - text);
    }
    return found;
}

// Changes ------------------------------------------------------------------------------------------

void SYS_StringBase::Empty() {
    m_pString->clear();
}

int SYS_StringBase::Replace(char from, char to) {
    if (from == to) return 0;
    int count = 0;
    for (char& b : *m_pString) {
        if (b == from) {
            b = to;
            ++count;
        }
    }
    return count;
}

int SYS_StringBase::Replace(char const* from, char const* to) {
    std::size_t fromLength = std::strlen(from);
    if (fromLength == 0 || std::strcmp(from, to) == 0) return 0;
    std::size_t pos = m_pString->find(from, 0, fromLength);
    if (pos == npos) return 0;

    // One pass into a new text: each search starts behind the previous occurrence in the old
    // text, which is exactly behind the inserted text in the new one. `from` and `to` stay valid
    // even when they point into the old text.
    std::size_t toLength = std::strlen(to);
    std::string result;
    result.reserve(m_pString->size() + (toLength > fromLength ? toLength - fromLength : 0));
    std::size_t done = 0;
    int count = 0;
    do {
        result.append(*m_pString, done, pos - done).append(to, toLength);
        if (result.size() > MaxLength) ThrowLength();
        done = pos + fromLength;
        ++count;
        pos = m_pString->find(from, done, fromLength);
    } while (pos != npos);
    result.append(*m_pString, done, npos);
    if (result.size() > MaxLength) ThrowLength();
    m_pString->swap(result);
    return count;
}

void SYS_StringBase::Replace(int pos, int count, char const* s) {
    std::size_t at = Position(pos, *m_pString);
    std::size_t removed = std::min(Count(count), m_pString->size() - at);
    std::size_t added = std::strlen(s);
    if (added > removed) CheckGrowth(added - removed);
    m_pString->replace(at, removed, s, added); // copes with a source inside its own buffer
}

void SYS_StringBase::Insert(int pos, char c) {
    std::size_t at = Position(pos, *m_pString);
    CheckGrowth(1);
    m_pString->insert(at, 1, c);
}

void SYS_StringBase::Insert(int pos, char const* s) {
    Replace(pos, 0, s);
}

void SYS_StringBase::Delete(int pos, int count) {
    m_pString->erase(Position(pos, *m_pString), Count(count));
}

int SYS_StringBase::Remove(char c) {
    std::size_t before = m_pString->size();
    m_pString->erase(std::remove(m_pString->begin(), m_pString->end(), c), m_pString->end());
    return static_cast<int>(before - m_pString->size());
}

SYS_StringBase& SYS_StringBase::MakeUpper() {
    for (char& b : *m_pString)
        b = static_cast<char>(std::toupper(static_cast<unsigned char>(b)));
    return *this;
}

SYS_StringBase& SYS_StringBase::MakeLower() {
    for (char& b : *m_pString)
        b = static_cast<char>(std::tolower(static_cast<unsigned char>(b)));
    return *this;
}

SYS_StringBase& SYS_StringBase::TrimLeft(char const* set) {
    TrimSet trimmed(set);
    std::string::iterator first = std::find_if_not(m_pString->begin(), m_pString->end(), trimmed);
    m_pString->erase(m_pString->begin(), first);
    return *this;
}

SYS_StringBase& SYS_StringBase::TrimRight(char const* set) {
    TrimSet trimmed(set);
    std::string::reverse_iterator last = std::find_if_not(m_pString->rbegin(), m_pString->rend(), trimmed);
    m_pString->erase(last.base(), m_pString->end());
    return *this;
}

SYS_StringBase& SYS_StringBase::AllTrim(char const* set) {
    return TrimLeft(set).TrimRight(set);
}

// Buffer access ------------------------------------------------------------------------------------

char* SYS_StringBase::GetBuffer(int size) {
    long long wanted = static_cast<long long>(size) + 1;
    if (wanted > static_cast<long long>(m_pString->size())) {
        if (wanted > static_cast<long long>(MaxLength)) ThrowLength();
        m_pString->resize(static_cast<std::size_t>(wanted));
    }
    return m_pString->data();
}

char* SYS_StringBase::GetBufferSetLength(int length) {
    m_pString->resize(Size(length));
    return m_pString->data();
}

void SYS_StringBase::ReleaseBuffer() {
    m_pString->resize(std::strlen(m_pString->c_str()));
}

void SYS_StringBase::ReleaseBufferSetLength(int length) {
    m_pString->resize(Size(length));
}

void SYS_StringBase::Reserve(int capacity) {
    m_pString->reserve(Size(capacity));
}

// Formatted text -----------------------------------------------------------------------------------

void SYS_StringBase::FormatV(char const* format, va_list args) {
    // Emptied first, so that a format or argument inside this string's own text reads as empty;
    // the text is then written aside, never into a buffer that an argument may point into.
    m_pString->clear();
    char small[256];
    va_list measure;
    va_copy(measure, args);
    int n = std::vsnprintf(small, sizeof small, format, measure);
    va_end(measure);
    if (n <= 0) return;
    if (static_cast<std::size_t>(n) < sizeof small) {
        m_pString->assign(small, static_cast<std::size_t>(n));
        return;
    }
    std::string large(static_cast<std::size_t>(n), '\0');
    std::vsnprintf(large.data(), large.size() + 1, format, args);
    m_pString->swap(large);
}

void SYS_StringBase::Format(char const* format, ...) {
    va_list args;
    va_start(args, format);
    FormatV(format, args);
    va_end(args);
}

SYS_StringBase FormattedString(char const* format, ...) {
    SYS_StringBase result;
    va_list args;
    va_start(args, format);
    result.FormatV(format, args);
    va_end(args);
    return result;
}
