// SYS_StringBase: the byte string of the whole library.
//
// Every name, message, path and number in text form passes through this class. An object owns
// exactly one heap-allocated std::string (never null, never shared); copies are deep. Text is a
// sequence of bytes in the current multi-byte code page (see <mortar/platform/codepage.h>),
// lengths and positions are byte counts from 0, and a terminating NUL that is not counted always
// follows the text.
//
// Embedded NUL bytes. The text may hold NUL bytes; they come in through the (char, int) and
// (char const*, int) constructors, operator=(char), Append(char const*, int), SetAt, operator[]
// and the buffer operations. GetLength counts them. Comparisons, extractions (Mid, Left, Right,
// SpanIncluding, SpanExcluding, Tokenize), FindOneOf and the reverse searches see the text only up
// to the first NUL. Find, Replace, Remove, the trims and MakeUpper/MakeLower work on all bytes.
//
// Byte-wise and character-wise operations. Find, Remove, Replace, TrimLeft, TrimRight, AllTrim,
// MakeUpper, MakeLower, GetAt, SetAt, Left, Right and Mid work on bytes, so under a double-byte
// code page they may split a character or find a trail byte. Compare, CompareNoCase,
// SpanIncluding, SpanExcluding, Tokenize, FindOneOf, ReverseFind and ReverseFindOneOf work on
// characters of the current code page (a lead byte and its trail byte are one character); under a
// single-byte code page both kinds agree.
//
// Failures. A position outside the text where one is required (Mid, Delete, Insert,
// Replace(int, int, char const*)), and a negative count for Right, throw
// std::out_of_range("invalid string position"). A length above 2^31 - 1 bytes, the largest that an
// int position can reach, throws std::length_error("string too long"); so does a negative length
// or count where a size is required (the (char, int) and (char const*, int) constructors,
// Append(char const*, int), GetBufferSetLength, ReleaseBufferSetLength, Reserve). Running out of
// memory throws std::bad_alloc. Nothing else throws, and nothing reports through the assertion
// manager: GetAt, SetAt, Find, FindOneOf and the reverse searches answer a position outside the
// text as their comments say.
//
// Pointers. Only the constructors, operator=, TrimLeft, TrimRight, AllTrim and Tokenize accept a
// null char const*; every other pointer argument must not be null. A pointer into this string's
// own text is a valid argument everywhere; FormatV and Format see their own text as empty.
//
// An object is used by one thread at a time; objects share nothing.
#ifndef MORTAR_SYS_SYS_STRINGBASE_H
#define MORTAR_SYS_SYS_STRINGBASE_H

#include <mortar/export.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

#if defined(__GNUC__) || defined(__clang__)
#define MORTAR_PRINTF_FORMAT(formatIndex, firstArg) __attribute__((format(printf, formatIndex, firstArg)))
#else
#define MORTAR_PRINTF_FORMAT(formatIndex, firstArg)
#endif

class MORTAR_API SYS_StringBase {
public:
    // Construction, assignment, destruction ------------------------------------------------------

    /// An empty string.
    SYS_StringBase();
    /// A deep copy of all GetLength() bytes of `other`, embedded NUL bytes included.
    SYS_StringBase(SYS_StringBase const& other);
    /// Takes over the text of `other`, which is left empty (its own heap string stays its own).
    SYS_StringBase(SYS_StringBase&& other);
    /// `count` copies of `c` (a NUL `c` included).
    SYS_StringBase(char c, int count);
    /// Exactly the first `count` bytes of `s`, NUL bytes included; a null `s` gives an empty string.
    SYS_StringBase(char const* s, int count);
    /// The terminated text `s`; a null `s` gives an empty string.
    SYS_StringBase(char const* s);
    /// The terminated UTF-16 text `w`, converted to the current code page; a character that the
    /// code page lacks becomes '?'. A null or empty `w` gives an empty string.
    SYS_StringBase(unsigned short const* w);
    /// An empty string (without this, a nullptr would be ambiguous between the two text forms).
    SYS_StringBase(std::nullptr_t) : SYS_StringBase() {}
    virtual ~SYS_StringBase();

    /// Deep copy; assigning an object to itself changes nothing.
    SYS_StringBase const& operator=(SYS_StringBase const& other);
    /// Takes over the text of `other`, which is left empty. No allocation.
    SYS_StringBase const& operator=(SYS_StringBase&& other) noexcept;
    /// The terminated text `s`, which may point into this string's own text; null empties.
    SYS_StringBase const& operator=(char const* s);
    /// Length 1 and text `c`, also for a NUL `c`.
    SYS_StringBase const& operator=(char c);

    // Access ---------------------------------------------------------------------------------------

    /// Length in bytes, embedded NUL bytes included.
    int GetLength() const { return static_cast<int>(m_pString->size()); }
    /// 1 when the length is 0, else 0.
    int IsEmpty() const { return m_pString->empty() ? 1 : 0; }
    /// The terminated text; never null; valid until the next change to this object.
    char const* GetString() const { return m_pString->c_str(); }
    operator char const*() const { return m_pString->c_str(); }
    /// The byte at `i`; 0 when `i` is negative or not below the length.
    char GetAt(int i) const { return IsPosition(i) ? (*m_pString)[static_cast<std::size_t>(i)] : '\0'; }
    /// Sets the byte at `i`; ignored when `i` is negative or not below the length.
    void SetAt(int i, char c) {
        if (IsPosition(i)) (*m_pString)[static_cast<std::size_t>(i)] = c;
    }
    /// The byte at `i`, with no check of `i`.
    char& operator[](int i) { return (*m_pString)[static_cast<std::size_t>(i)]; }
    /// Length of the terminated text `s`, which must not be null.
    static int StringLength(char const* s);

    // Comparison (character-wise, up to the first NUL) ---------------------------------------------

    /// Compares the text with `s` by characters of the current code page: negative, 0 or positive.
    int Compare(char const* s) const;
    /// Like Compare, with ASCII letters folded.
    int CompareNoCase(char const* s) const;
    /// Natural order: runs of digits compare by their value, so "R2" sorts before "R10", and a
    /// '$' sorts behind everything else. See _tcsnumcmp in <mortar/sys/SYS_TextScanners.h>.
    int CompareAlNum(char const* s) const;

    // Concatenation --------------------------------------------------------------------------------

    /// The string becomes at most `n1` bytes of `s1` followed by at most `n2` bytes of `s2`; each
    /// stops early at a NUL, and a negative count means "up to the NUL". Either text may point into
    /// this string's own text.
    void ConcatCopy(int n1, char const* s1, int n2, char const* s2);
    /// Appends at most `n` bytes of `s`, stopping at a NUL; a negative `n` means "up to the NUL".
    void ConcatInPlace(int n, char const* s);

    /// Append the terminated text (a NUL `char` adds nothing; a string appends up to its first
    /// NUL, so `s += s` doubles a text without embedded NULs).
    SYS_StringBase const& operator+=(char const* s);
    SYS_StringBase const& operator+=(char c);
    SYS_StringBase const& operator+=(SYS_StringBase const& s);

    /// Appends the whole operand, embedded NUL bytes included; `s.Append(s)` is safe.
    void Append(SYS_StringBase const& s);
    /// Appends the terminated text `s`.
    void Append(char const* s);
    /// Appends exactly `count` bytes of `s`, NUL bytes included.
    void Append(char const* s, int count);
    /// Same as operator+=(char).
    void AppendChar(char c);

    /// Same as operator+=.
    SYS_StringBase& operator<<(char c);
    SYS_StringBase& operator<<(char const* s);
    SYS_StringBase& operator<<(SYS_StringBase const& s);
    /// Appends the decimal text of the number.
    SYS_StringBase& operator<<(int32_t value);
    SYS_StringBase& operator<<(uint32_t value);
    /// The same for the wider integer types of a platform whose `long` has 64 bits (long,
    /// unsigned long, long long, ...): the decimal text of the whole value.
    template <typename I, typename = std::enable_if_t<std::is_integral_v<I> && (sizeof(I) > 4)>>
    SYS_StringBase& operator<<(I value) {
        return AppendWide(std::is_signed_v<I>, static_cast<uint64_t>(value));
    }
    /// Appends the text of the format "%f" (six decimals; the float widened to double).
    SYS_StringBase& operator<<(float value);
    SYS_StringBase& operator<<(double value);

    // Extraction: each result is a new string built from the piece as a terminated text, so it
    // ends at a NUL inside the piece. Byte-wise unless noted. ---------------------------------------

    /// Up to `count` bytes from `pos`; a negative `count` means all the rest. A `pos` that is
    /// negative or above the length throws std::out_of_range.
    SYS_StringBase Mid(int pos, int count) const;
    /// Mid(pos, GetLength() - pos).
    SYS_StringBase Mid(int pos) const;
    /// Mid(0, count).
    SYS_StringBase Left(int count) const;
    /// The last min(count, length) bytes; a negative `count` throws std::out_of_range.
    SYS_StringBase Right(int count) const;
    /// The leading characters that occur in `set` (character-wise).
    SYS_StringBase SpanIncluding(char const* set) const;
    /// The leading characters before the first one that occurs in `set` (character-wise).
    SYS_StringBase SpanExcluding(char const* set) const;
    /// Walks the text by tokens separated by runs of `delimiters` (character-wise).
    /// Start with `pos` 0; each call returns the next token and sets `pos` behind the delimiter
    /// that ends it, so a run of delimiters never gives an empty token. When no token is left the
    /// result is empty and `pos` becomes -1; a negative `pos` returns an empty string and stays.
    /// With null or empty `delimiters`, a `pos` below the length returns the text from `pos` to
    /// the end and leaves `pos` unchanged (so the same text comes back on every call).
    SYS_StringBase Tokenize(char const* delimiters, int& pos) const;

    // Search: byte positions, -1 when there is none -----------------------------------------------

    /// First occurrence of `s` at or after `start`, in all bytes of the text. An empty `s` gives
    /// `start` when `start` is not above the length. A negative `start` gives -1.
    int Find(char const* s, int start = 0) const;
    /// The same for one byte.
    int Find(char c, int start = 0) const;
    /// First character that occurs in `set` at or after `start` (character-wise); -1 when
    /// `start` is negative or above the length.
    int FindOneOf(char const* set, int start = 0) const;
    /// Last character `c` at or before `start` (character-wise, so a trail byte is never found).
    /// A `start` of -2 means the last byte. A `start` that is negative or not below the length
    /// gives -1. A NUL `c` gives the length when `start` is -2 or the length, else -1.
    int ReverseFind(char c, int start = -2) const;
    /// Last character that occurs in `set` at or before `start` (character-wise); -2 as `start`
    /// means the last byte, and a `start` that is negative or not below the length gives -1.
    /// The walk begins at byte 1: position 0 is never reported, and under a double-byte code page
    /// a text that begins with a double-byte character is walked from its trail byte.
    int ReverseFindOneOf(char const* set, int start = -2) const;

    // Changes --------------------------------------------------------------------------------------

    /// Length 0 (the capacity stays).
    void Empty();
    /// Every byte `from` becomes `to`; returns how many. With `from` equal to `to` returns 0.
    int Replace(char from, char to);
    /// Replaces every occurrence of `from`, left to right; the search goes on behind the inserted
    /// text, so inserted text is never scanned again ("aaaa" with "aa" -> "a" gives "aa").
    /// Returns how many. An empty `from`, or `from` equal to `to`, returns 0 and changes nothing.
    int Replace(char const* from, char const* to);
    /// Replaces up to `count` bytes at `pos` (a negative `count`: all the rest) by the terminated
    /// text `s`; `s` may point into this string's own text.
    void Replace(int pos, int count, char const* s);
    /// Inserts before `pos`; `pos` may equal the length.
    void Insert(int pos, char c);
    void Insert(int pos, char const* s);
    /// Removes up to `count` bytes from `pos`; a `count` beyond the end, or a negative one,
    /// removes all the rest.
    void Delete(int pos, int count);
    /// Deletes every byte `c`; returns how many.
    int Remove(char c);
    /// Applies the runtime library's toupper / tolower to every byte (taken as unsigned);
    /// not multi-byte-aware.
    SYS_StringBase& MakeUpper();
    SYS_StringBase& MakeLower();
    /// Remove leading / trailing bytes that occur in `set`; with a null or empty `set`, bytes for
    /// which the runtime library's isspace holds. A NUL byte is never trimmed.
    SYS_StringBase& TrimLeft(char const* set = nullptr);
    SYS_StringBase& TrimRight(char const* set = nullptr);
    /// TrimLeft(set), then TrimRight(set).
    SYS_StringBase& AllTrim(char const* set = nullptr);

    // Buffer access --------------------------------------------------------------------------------
    //
    // The protocol: take the pointer from a GetBuffer form, write a terminated text of at most
    // `size` bytes, call ReleaseBuffer. In between GetLength reports the extended length. The
    // pointer is valid until the next change to this object.

    /// When the length is below `size + 1`, extends the text with NUL bytes to length `size + 1`.
    char* GetBuffer(int size);
    char* GetBuffer() { return GetBuffer(0); }
    /// Sets the length to `length`, cutting or extending with NUL bytes.
    char* GetBufferSetLength(int length);
    /// Sets the length to the position of the first NUL.
    void ReleaseBuffer();
    /// Sets the length to `length`, cutting or extending with NUL bytes.
    void ReleaseBufferSetLength(int length);
    /// Reserves room for `capacity` bytes.
    void Reserve(int capacity);

    // Formatted text -------------------------------------------------------------------------------

    /// Empties the string, then fills it with the printf-style `format` and the argument list
    /// `args` (which it consumes, as vsnprintf does). A format or argument that points at this
    /// string's own text sees an empty text. A failed or empty format leaves the string empty.
    void FormatV(char const* format, va_list args);
    /// FormatV with the arguments that follow `format`.
    void Format(char const* format, ...) MORTAR_PRINTF_FORMAT(2, 3);

    // Numbers at the start of the text (strtol / strtoul / strtod, radix 10) -----------------------
    //
    // Each stores the value in `*out` (which must not be null) and returns it; when `end` is not
    // null it receives the end pointer of the conversion, which points into this string's text.
    // White space, signs and the end of the number are those of the C library. The integer forms
    // behave as on a platform whose long is 32 bits: a value outside the range saturates to
    // INT32_MIN / INT32_MAX (UINT32_MAX for the unsigned form) and sets errno to ERANGE; the
    // unsigned form negates a value with a leading minus modulo 2^32 ("-1" gives 4294967295).
    // The int16_t form narrows the 32-bit value modulo 2^16, the float form rounds to the nearest
    // float (infinity beyond the range); neither reports a range error of its own.

    int16_t Value(int16_t* out, char const** end = nullptr) const;
    int32_t Value(int32_t* out, char const** end = nullptr) const;
    uint32_t Value(uint32_t* out, char const** end = nullptr) const;
    /// The 32-bit forms above for a platform whose `long` has 64 bits: `long` reads as int32_t,
    /// `unsigned long` as uint32_t (with their saturation), and the value is stored widened.
    template <typename L, typename = std::enable_if_t<(std::is_same_v<L, long> || std::is_same_v<L, unsigned long>) &&
                                                      (sizeof(L) > 4)>>
    L Value(L* out, char const** end = nullptr) const {
        std::conditional_t<std::is_signed_v<L>, int32_t, uint32_t> narrow;
        return *out = static_cast<L>(Value(&narrow, end));
    }
    float Value(float* out, char const** end = nullptr) const;
    double Value(double* out, char const** end = nullptr) const;

private:
    bool IsPosition(int i) const { return i >= 0 && static_cast<std::size_t>(i) < m_pString->size(); }
    void CheckGrowth(std::size_t added) const;
    SYS_StringBase& AppendWide(bool isSigned, uint64_t bits);

    std::unique_ptr<std::string> m_pString; // never null
};

/// A new string filled by SYS_StringBase::FormatV with `format` and the arguments behind it.
MORTAR_API SYS_StringBase FormattedString(char const* format, ...) MORTAR_PRINTF_FORMAT(1, 2);

// Comparison operators. All rest on Compare (character-wise, up to the first NUL); a char const*
// on the left is compared by Compare on the right operand, with the sense reversed.

// clang-format off
inline bool operator==(SYS_StringBase const& a, SYS_StringBase const& b) { return a.Compare(b) == 0; }
inline bool operator!=(SYS_StringBase const& a, SYS_StringBase const& b) { return a.Compare(b) != 0; }
inline bool operator<(SYS_StringBase const& a, SYS_StringBase const& b) { return a.Compare(b) < 0; }
inline bool operator>(SYS_StringBase const& a, SYS_StringBase const& b) { return a.Compare(b) > 0; }
inline bool operator<=(SYS_StringBase const& a, SYS_StringBase const& b) { return a.Compare(b) <= 0; }
inline bool operator>=(SYS_StringBase const& a, SYS_StringBase const& b) { return a.Compare(b) >= 0; }

inline bool operator==(SYS_StringBase const& a, char const* b) { return a.Compare(b) == 0; }
inline bool operator!=(SYS_StringBase const& a, char const* b) { return a.Compare(b) != 0; }
inline bool operator<(SYS_StringBase const& a, char const* b) { return a.Compare(b) < 0; }
inline bool operator>(SYS_StringBase const& a, char const* b) { return a.Compare(b) > 0; }
inline bool operator<=(SYS_StringBase const& a, char const* b) { return a.Compare(b) <= 0; }
inline bool operator>=(SYS_StringBase const& a, char const* b) { return a.Compare(b) >= 0; }

inline bool operator==(char const* a, SYS_StringBase const& b) { return b.Compare(a) == 0; }
inline bool operator!=(char const* a, SYS_StringBase const& b) { return b.Compare(a) != 0; }
inline bool operator<(char const* a, SYS_StringBase const& b) { return b.Compare(a) > 0; }
inline bool operator>(char const* a, SYS_StringBase const& b) { return b.Compare(a) < 0; }
inline bool operator<=(char const* a, SYS_StringBase const& b) { return b.Compare(a) >= 0; }
inline bool operator>=(char const* a, SYS_StringBase const& b) { return b.Compare(a) <= 0; }

/// Equality with UTF-16 text: `w` is converted as by the wide constructor, then compared.
inline bool operator==(SYS_StringBase const& a, unsigned short const* w) { return a.Compare(SYS_StringBase(w)) == 0; }
inline bool operator!=(SYS_StringBase const& a, unsigned short const* w) { return !(a == w); }
inline bool operator==(unsigned short const* w, SYS_StringBase const& a) { return a == w; }
inline bool operator!=(unsigned short const* w, SYS_StringBase const& a) { return !(a == w); }

/// Equality with one byte: the length is exactly 1 and the byte is `c` (a NUL `c` included).
inline bool operator==(SYS_StringBase const& a, char c) { return a.GetLength() == 1 && a.GetAt(0) == c; }
inline bool operator!=(SYS_StringBase const& a, char c) { return !(a == c); }
inline bool operator==(char c, SYS_StringBase const& a) { return a == c; }
inline bool operator!=(char c, SYS_StringBase const& a) { return !(a == c); }
// clang-format on

// Concatenation into a new string, through ConcatCopy: each operand contributes up to its first
// NUL, and a NUL char adds nothing.

inline SYS_StringBase operator+(SYS_StringBase const& a, SYS_StringBase const& b) {
    SYS_StringBase r;
    r.ConcatCopy(a.GetLength(), a.GetString(), b.GetLength(), b.GetString());
    return r;
}
inline SYS_StringBase operator+(SYS_StringBase const& a, char const* b) {
    SYS_StringBase r;
    r.ConcatCopy(a.GetLength(), a.GetString(), -1, b);
    return r;
}
inline SYS_StringBase operator+(char const* a, SYS_StringBase const& b) {
    SYS_StringBase r;
    r.ConcatCopy(-1, a, b.GetLength(), b.GetString());
    return r;
}
inline SYS_StringBase operator+(SYS_StringBase const& a, char c) {
    SYS_StringBase r;
    r.ConcatCopy(a.GetLength(), a.GetString(), 1, &c);
    return r;
}
inline SYS_StringBase operator+(char c, SYS_StringBase const& b) {
    SYS_StringBase r;
    r.ConcatCopy(1, &c, b.GetLength(), b.GetString());
    return r;
}

#endif
