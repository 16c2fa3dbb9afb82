// SYS_Convert: the one place that turns base units into what a user reads and types, and back.
//
// Units. Lengths and coordinates are int32_t base units of 1/750 micron (see SYS_Point.h); a user
// unit is a number of base units, its factor: 19050 for the mil, 750,000 for the millimetre,
// 19,050,000 for the inch. Angles are int32_t counts of 1/1,800,000 degree; their text is in
// degrees.
//
// The unit table. One table per process describes the seven units of SYS_UnitType: name,
// default number of decimals and factor. The factors and decimals are fixed; the names come
// from the string table (TR) and are fetched once, by the first SYS_Convert constructed (or the
// first SetData) in the process. Until then every name reads as the empty string. The names stay
// in place for the life of the process, so the pointers that GetUnitName and
// UnitTypeObj::GetName return never dangle. Any value outside 0 to 6 reads one fallback row:
// type -1, empty name, 1 decimal, factor 1.0. The names are fetched under a once-only guard, so
// two threads may construct their first SYS_Convert at once; but reading a name in one thread
// while another fills the table is a data race: construct one SYS_Convert before threads start.
//
// Rounding. Text to base units rounds halves away from zero (User2Base); text to angle units
// truncates (Str2Angle). Number to text is "%.*f" of the value in user units: the decimal
// expansion of the double rounded to the given decimals, an exact tie to even, a negative
// number of decimals meaning 6, "nan"/"inf" with their sign, -0.0 and negative values that round
// to zero keeping their minus sign ("-0.00").
//
// Locale. Text is always read and written with a decimal point and the grammar of the C locale,
// whatever LC_NUMERIC the process or thread has set: a client that set a locale with a decimal
// comma still gets "1.5" and has "1.5" read, and "1,5" is refused.
//
// Text input. Str2Double, Str2Long and the forms built on them take the whole text in the
// grammar of strtod (resp. strtol, radix 10) of the C locale: leading white space, a sign,
// decimal or hexadecimal ("0x1.8p3") digits with an exponent, "inf", "infinity", "nan",
// "nan(...)"; nothing may follow the number, no unit name is accepted, and the empty text is 0.
// None produces a message: the caller gets 0 and words the complaint. A null text fails like
// text without a number (the value stored is 0). The out pointer must not be null.
//
// errno. Str2Double and Str2Long first clear an errno of ERANGE (any other value stays), and
// leave ERANGE behind when the number is out of range: a double that overflows (the value is
// +-HUGE_VAL) or underflows as strtod reports it, an integer outside the int32_t range (the
// value is saturated to INT32_MIN or INT32_MAX, as strtol does on a 32-bit long).
//
// Objects are plain values: no registration, memberwise copies, one thread at a time.
#ifndef MORTAR_SYS_SYS_CONVERT_H
#define MORTAR_SYS_SYS_CONVERT_H

#include <mortar/export.h>
#include <mortar/sys/SYS_Point.h>
#include <mortar/sys/SYS_StdInterface.h>
#include <mortar/sys/SYS_StringBase.h>

#include <cstdint>

/// The user units. The fixed underlying type makes every int32_t a valid value, so that an
/// unchecked SetUnitType or the fallback row's -1 is no undefined behaviour.
enum SYS_UnitType : int32_t {
    SYS_UnitMils = 0,       ///< "Mils": 19050 base units, 2 decimals
    SYS_UnitMetric = 1,     ///< "Metric": the millimetre, 750000 base units, 5 decimals
    SYS_UnitInches = 2,     ///< "Inches": 19050000 base units, 5 decimals
    SYS_UnitMicron = 3,     ///< "Micron": 750 base units, 2 decimals
    SYS_UnitPdf = 4,        ///< "PDF units": 1/72 inch cut to 264583 base units, 0 decimals
    SYS_UnitBasicAscii = 5, ///< "Basic ASCII PCB units": half a base unit, 2 decimals
    SYS_UnitCentimeter = 6, ///< no name (empty): 7500000 base units, 5 decimals
};

/// Conversion between base units and user units, as numbers and as text, for one current user
/// unit with its own number of decimals per unit, an origin for coordinates, and trimming of
/// trailing zeros. A new object has the unit's default decimals (2 in mils, 5 in inches), 3
/// decimals for angles, and trimming on.
///
/// The current unit is not checked. For a UnitType outside 0 to 6 the numbers use the fallback
/// row (factor 1.0) and the text its 1 decimal; GetUnitPrecision then gives 1 and
/// SetUnitPrecision does nothing.
class MORTAR_API SYS_Convert {
public:
    /// Walks the seven units: handle 1 stands for unit value 0, handle 7 for unit value 6, and
    /// handle 0 (or any other) for none, which reads the fallback row. GetFirst and GetNext are
    /// those of SYS_StdInterface, so a walk gives handles 1 to 7 and ends on 0.
    class MORTAR_API UnitTypeObj : public SYS_StdInterface {
    public:
        /// Largest handle 7; the handle is 0 until SetHandle or GetFirst.
        UnitTypeObj() : SYS_StdInterface(7) {}

        /// The name of the selected unit; empty before the table is filled, for unit 6, and for
        /// the fallback row.
        char const* GetName() const;
        /// The unit value of the selected row; -1 (the fallback row) for handle 0.
        SYS_UnitType GetType() const;
    };

    // Construction and state ----------------------------------------------------------------------

    /// SetData(SYS_UnitMils, (0, 0)).
    SYS_Convert();
    /// SetData(type, (0, 0)).
    explicit SYS_Convert(SYS_UnitType type);
    /// SetData(SYS_UnitMils, origin).
    explicit SYS_Convert(SYS_Point const& origin);
    /// SetData(type, origin).
    SYS_Convert(SYS_UnitType type, SYS_Point const& origin);

    /// Fills the unit names on the first call in the process; then sets the unit and the origin,
    /// turns trimming on, and resets every unit's decimals to the table's default and the angle
    /// decimals to 3, dropping whatever was set before.
    void SetData(SYS_UnitType type, SYS_Point const& origin);

    SYS_UnitType GetUnitType() const { return UnitType; }
    /// Not checked: see the class comment for a value outside 0 to 6.
    void SetUnitType(SYS_UnitType type) { UnitType = type; }
    SYS_Point GetOrigin() const { return Origin; }
    void SetOrigin(SYS_Point const& origin) { Origin = origin; }
    /// The decimals of the current unit.
    int32_t GetUnitPrecision() const;
    /// Sets the decimals of the current unit; a negative count gives 6 decimals, as "%.*f" does.
    void SetUnitPrecision(int32_t precision);
    int32_t GetAnglePrecision() const { return AnglePrecision; }
    void SetAnglePrecision(int32_t precision) { AnglePrecision = precision; }
    int32_t IsZeroTrimMode() const { return ZeroTrim; }
    void SetZeroTrimMode(int32_t on) { ZeroTrim = on; }
    /// The name of the current unit (see the file comment for its lifetime).
    char const* GetUnitName() const;
    /// The name of the unit `type`; empty for 6 and for any value outside 0 to 6.
    static char const* GetUnitName(SYS_UnitType type);

    // Numbers -------------------------------------------------------------------------------------

    /// v user units in base units, halves away from zero. When |v| exceeds INT32_MAX / factor,
    /// or v is NaN, the result is the overflow value INT32_MIN (-2147483648).
    int32_t User2Base(double v) const;
    /// factor * v, nothing rounded.
    double User2BaseDouble(double v) const;
    /// v / factor.
    double Base2User(double v) const;
    double Base2User(int32_t v) const;

    // Text to number: 1 on success, 0 on failure ---------------------------------------------------

    /// The whole text as a double (see the file comment). *out is written also on failure, with
    /// what strtod gave.
    static int Str2Double(char const* s, double* out);
    /// The whole text as an integer, radix 10, saturated to the int32_t range with ERANGE.
    /// *out is written also on failure.
    static int Str2Long(char const* s, int32_t* out);
    /// A length or coordinate in user units, in base units; fails unless the result lies within
    /// +-SYS_COORD_LIMIT (both included). *out is written only on success.
    int Str2Base(char const* s, int32_t* out) const;
    /// The same in doubles, without a range test. *out is written only on success.
    int Str2Base(char const* s, double* out) const;
    /// A measure: fails for a value below 0; no range test, so a value too large to convert
    /// is stored as the overflow value INT32_MIN. *out is written only on success.
    int Str2Measure(char const* s, int32_t* out) const;
    /// An angle in degrees, in angle units, truncated toward zero; a product outside the
    /// int32_t range saturates to INT32_MIN or INT32_MAX, NaN gives 0. *out is written only on
    /// success.
    static int Str2Angle(char const* s, int32_t* out);

    // Number to text -------------------------------------------------------------------------------
    //
    // The forms with a buffer write at most `size` bytes into `buf`, terminator included: a text
    // that does not fit is cut to size - 1 bytes and terminated, as snprintf does, and then
    // trimmed if trimming is on. With a size of 0 nothing is written, `buf` is not touched (it may
    // be null) and no trimming takes place. They return `buf`. The forms that return a string
    // write into a local buffer of 512 bytes, so their text is at most 511 bytes long.

    /// "%.*f" of Base2User(v) with the decimals of the current unit, then trimmed if on.
    char const* Base2Str(char* buf, unsigned size, int32_t v) const;
    char const* Base2Str(char* buf, unsigned size, double v) const;
    SYS_StringBase Base2Str(int32_t v) const;
    SYS_StringBase Base2Str(double v) const;
    /// "%.*f" of angle / 1800000.0 (degrees) with the angle decimals, then trimmed if on.
    char const* Angle2Str(char* buf, unsigned size, int32_t angle) const;
    SYS_StringBase Angle2Str(int32_t angle) const;

    /// Base2Str(v); the origin plays no part.
    SYS_StringBase Measure2String(int32_t v) const;
    /// Base2Str(x - origin.x), the difference wrapping in 32 bits.
    SYS_StringBase CoordX2String(int32_t x) const;
    /// Base2Str(y - origin.y), the difference wrapping in 32 bits.
    SYS_StringBase CoordY2String(int32_t y) const;
    /// "(x,y)" with both coordinates taken from the origin: "(1,0)".
    SYS_StringBase Point2String(SYS_Point const& p) const;
    /// The same, behind `prefix`.
    SYS_StringBase Measure2String(SYS_StringBase const& prefix, int32_t v) const;
    SYS_StringBase CoordX2String(SYS_StringBase const& prefix, int32_t x) const;
    SYS_StringBase CoordY2String(SYS_StringBase const& prefix, int32_t y) const;
    SYS_StringBase Point2String(SYS_StringBase const& prefix, SYS_Point const& p) const;

    /// Trims a number in place: a text with a '.' loses its trailing '0' characters, and the
    /// point too when nothing but zeros followed it ("1.500" -> "1.5", "2.000" -> "2",
    /// "-0.00" -> "-0"); a text without a point stays ("100"). `s` must point to writable,
    /// terminated text, although the parameter is const (it is usually the caller's buffer).
    static void TrimStrNumber(char const* s);

    // Routing grid ---------------------------------------------------------------------------------

    /// The grid to which routing is aligned: always 1 base unit.
    int32_t GetMinRoutingGrid() const { return 1; }
    /// v moved to the nearest multiple of the grid, halves away from zero; with the grid of 1
    /// every value stays.
    int32_t AlignToMinRoutingGrid(int32_t v) const;
    SYS_Point AlignToMinRoutingGrid(SYS_Point p) const {
        return {AlignToMinRoutingGrid(p.x), AlignToMinRoutingGrid(p.y)};
    }
    /// 1 when v is a multiple of the grid.
    int IsAlignedToMinRoutingGrid(int32_t v) const { return v % GetMinRoutingGrid() == 0 ? 1 : 0; }
    int IsAlignedToMinRoutingGrid(SYS_Point p) const {
        return IsAlignedToMinRoutingGrid(p.x) && IsAlignedToMinRoutingGrid(p.y) ? 1 : 0;
    }

private:
    // "%.*f" of `value` with `precision` into buf/size, trimmed when ZeroTrim is set.
    char const* Format(char* buf, unsigned size, double value, int32_t precision) const;
    // The decimals used for the current unit: its entry, or the fallback's 1 outside 0 to 6.
    int32_t CurrentPrecision() const;
    // The factor of the current unit's row.
    double Factor() const;

    SYS_UnitType UnitType;
    SYS_Point Origin;
    int32_t ZeroTrim;
    int32_t UnitPrecision[7];
    int32_t AnglePrecision;
};

#endif
