// SCC_Variant: the value that travels between a property and the user interface.
//
// A variant holds an integer (32 bits), a double, a text, or nothing. It converts freely between
// these forms, compares across them by one rule, and checks itself against the short validation
// text that a property carries: an interval such as "[0,100]" or a length limit such as "32".
// When an interval check fails, the variant is overwritten with the message for the user, so the
// caller gets the verdict and the text to show in one object.
//
// Numbers as text. Every conversion between numbers and text works as the C library does in the
// C locale, whatever LC_NUMERIC the process or the thread has set: "2.5" is two and a half and
// 2.5 is written "2.500000" under every locale.
//
// Failures. The conversion operators, Validate through them, and whatever calls them throw
// SYS_Exception carrying a text of the string table (TR):
//   45062 "Invalid floating point format."  a text that is not a number (see operator double);
//   45063 "Value out of range."              a double outside the 32-bit range, or NaN, taken as
//                                            an integer.
// Nothing else throws, save std::bad_alloc.
//
// A variant is plain data: it is used by one thread at a time and shares nothing.
#ifndef MORTAR_SCC_SCC_VARIANT_H
#define MORTAR_SCC_SCC_VARIANT_H

#include <mortar/export.h>
#include <mortar/sys/SYS_StringBase.h>

#include <cstdint>
#include <type_traits>

class SCC_Convertor;

class MORTAR_API SCC_Variant {
public:
    /// The forms of a value. The numbers order them: see GetSuperiorType and operator==.
    enum ValueType : int32_t {
        ValueInteger = 1,
        ValueDouble = 2,
        ValueString = 3,
        ValueEmpty = 4,
    };

    // Construction. Every constructor leaves the fields of the other forms at 0, 0.0 and the empty
    // text. An integer is 32 bits: the int and the long of the family's interface are one form.

    /// Empty.
    SCC_Variant();
    /// ValueInteger.
    SCC_Variant(int32_t value);
    /// ValueInteger from any other integer type (a 64-bit `long`, an unsigned, a char, ...), so
    /// that a caller whose platform has a wider `long` writes SCC_Variant(3L) as on the family's
    /// own. The value must fit 32 bits; one that does not throws SYS_Exception with TR(45063),
    /// "Value out of range.", as a double out of range does.
    template <typename I, typename = std::enable_if_t<std::is_integral_v<I> && !std::is_same_v<I, int32_t>>>
    SCC_Variant(I value) : SCC_Variant(Narrow(value)) {}
    /// ValueDouble.
    SCC_Variant(double value);
    /// ValueString, with a copy of all of `value`'s bytes.
    SCC_Variant(SYS_StringBase const& value);
    /// ValueString; a null `value` gives the empty text.
    SCC_Variant(char const* value);
    /// Copies all four fields.
    SCC_Variant(SCC_Variant const& other);
    ~SCC_Variant();

    /// Clears this variant, takes the type of `other`, then fetches the value of that form from
    /// `other` through its conversion operator, so the fields of the other forms end at 0, 0.0
    /// and the empty text. Assigning a variant to itself changes nothing.
    void operator=(SCC_Variant const& other);

    /// Text empty, integer 0, double 0.0, type ValueEmpty.
    void Clear();
    /// True when the type is ValueEmpty.
    bool IsEmpty() const { return m_Type == ValueEmpty; }
    ValueType GetType() const { return m_Type; }

    // Conversions. By form of the value:
    //   integer:  the value;  as double the value;  as text "%d".
    //   double:   as integer truncated towards zero, after the range check below;  the value;
    //             as text "%f" (six decimals; "inf", "-inf", "nan" and "-nan" as printf gives them).
    //   text:     scanned to a double (below), then as a double;  the text itself.
    //   empty:    0;  0.0;  the empty text.
    //
    // Range check: a double above 2147483647.0 or below -2147483648.0, or NaN, taken as an integer
    // throws SYS_Exception with TR(45063). The limits themselves pass.
    //
    // Scan of a text: spaces and tabs are skipped, a number is read as strtod reads it (which
    // itself skips any white space in front of it, and accepts "inf", "nan" and hexadecimal
    // forms), spaces and tabs behind it are skipped; if any byte of the text is left (an embedded
    // NUL byte included) the scan throws SYS_Exception with TR(45062). So the empty text and a
    // text of blanks give 0.0, "12.9" gives the integer 12, and "12 apples" and "7,5" throw.
    // A magnitude beyond the range of a double reads as an infinity, a tiny one as 0.
    // There is no conversion to char const*.

    operator int32_t() const;
    /// The integer as a `long` where that type is wider than 32 bits, so that `long l = v;`
    /// reads as on the family's own platform (the value is that of operator int32_t).
    template <typename L, typename = std::enable_if_t<std::is_same_v<L, long> && !std::is_same_v<long, int32_t>>>
    operator L() const {
        return static_cast<L>(operator int32_t());
    }
    operator double() const;
    operator SYS_StringBase() const;

    /// Brings both variants to the superior of their two types and compares them in that form:
    /// integers by value, doubles exactly (no tolerance), texts by SYS_StringBase's operator==.
    /// When either side is empty the result is 0, so an empty variant equals nothing, not even
    /// another empty one. The integer 5 equals the text "5"; the double 1.5 does not equal the
    /// text "1.5", for it turns into "1.500000". Never throws (save std::bad_alloc): no text is
    /// scanned, since a text side makes the comparison one of texts.
    int operator==(SCC_Variant const& other) const;
    /// 1 when operator== gives 0, else 0.
    int operator!=(SCC_Variant const& other) const;

    /// Checks this variant against the validation text of a property; 1 when it passes, else 0.
    ///
    ///   1. An empty `validation`, or an empty variant, passes.
    ///   2. A leading '#' is removed; it says that the interval is given in converted units.
    ///   3. The value checked is a copy of this variant, or, after a '#' and with a convertor,
    ///      convertor->Convert(copy, 1). The convertor is called here whatever follows.
    ///   4. `validation` is read as an interval exactly as sscanf reads it with the format
    ///      "%c %lf , %lf %c" in the C locale: an opening byte (none is skipped in front of it),
    ///      the lower limit, a comma, the upper limit, a closing byte; any white space may stand
    ///      in front of each number, around the comma and before the closing byte, and whatever
    ///      follows the closing byte is ignored. A limit is read as sscanf reads "%lf": bytes
    ///      are taken while they can still continue a number (so "1e" and "0x1p" are taken
    ///      whole), its value is what strtod makes of them ("1e" is 1), and a run that holds no
    ///      number ("-", ".", "0x", "infin") ends the reading.
    ///   5. When all four items are read, the value is taken as a double (which may throw, see
    ///      the scan above) and tested: the lower limit is included when the opening byte is '[',
    ///      the upper one when the closing byte is ']'; any other byte means an open end, so
    ///      "(0,10)" and "]0,10[" work alike. The upper limit is tested only when the lower one
    ///      passes; a NaN passes neither. On a pass the result is 1 and this variant is
    ///      unchanged. On a failure the limits are first converted back for the user, after a '#'
    ///      and with a convertor, each as convertor->Convert(SCC_Variant(limit), 0) taken as a
    ///      double; then this variant becomes the text TR(45064), "Please enter a value within
    ///      the %c%lf,%lf%c range.", formatted with the opening byte, the limits and the closing
    ///      byte (so "[1.000000,2.000000]"), and the result is 0. Its old value is lost: a caller
    ///      that wants it back keeps a copy.
    ///   6. Otherwise `validation` is read as a length limit as sscanf reads "%d" (white space,
    ///      a sign, digits; whatever follows the digits is ignored). The result is 1 when the
    ///      length of this variant's text field is not greater than the limit, else 0, and this
    ///      variant is unchanged. Only a text variant has a text field that is not empty, so
    ///      any other variant passes any limit that is not negative. A limit beyond the 32-bit
    ///      range counts as INT32_MAX or INT32_MIN.
    ///   7. A text that is neither an interval nor a length limit ("abc", "#", "[0,10") passes:
    ///      the result is 1 and this variant is unchanged.
    ///
    /// Exceptions of the conversions and of the convertor pass through; this variant is then
    /// unchanged.
    int Validate(SYS_StringBase validation, SCC_Convertor* convertor);

protected:
    /// The numerically greater of this variant's type and `other`.
    ValueType GetSuperiorType(ValueType other) const { return other > m_Type ? other : m_Type; }

private:
    template <typename I>
    static int32_t Narrow(I value) {
        bool fits;
        if constexpr (std::is_signed_v<I>)
            fits = static_cast<int64_t>(value) >= INT32_MIN && static_cast<int64_t>(value) <= INT32_MAX;
        else
            fits = static_cast<uint64_t>(value) <= static_cast<uint64_t>(INT32_MAX);
        if (!fits) ThrowOutOfRange();
        return static_cast<int32_t>(value);
    }
    [[noreturn]] static void ThrowOutOfRange();

    ValueType m_Type;
    int32_t m_Integer;
    double m_Real;
    SYS_StringBase m_Text;
};

#endif
