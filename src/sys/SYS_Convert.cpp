// Unit conversion: the unit table, numbers and text in user units.
#include <mortar/sys/SYS_Convert.h>

#include <mortar/sfm/SFM_StringTable.h>

#include "internal/NumericText.h"

#include <cerrno>
#include <cstdint>

namespace {

// One row of the unit table, apart from its name.
struct UnitRow {
    SYS_UnitType type;
    int textId; // id of the name in the string table
    int32_t precision;
    double factor; // base units per user unit
};

constexpr int kUnits = 7;

constexpr UnitRow kRows[kUnits] = {
    {SYS_UnitMils, 45104, 2, 19050.0},         {SYS_UnitMetric, 45105, 5, 750000.0},
    {SYS_UnitInches, 45106, 5, 19050000.0},    {SYS_UnitMicron, 45107, 2, 750.0},
    {SYS_UnitPdf, 45116, 0, 264583.0},         {SYS_UnitBasicAscii, 45117, 2, 0.5},
    {SYS_UnitCentimeter, 45118, 5, 7500000.0},
};

constexpr UnitRow kFallback = {static_cast<SYS_UnitType>(-1), 0, 1, 1.0};

constexpr bool IsUnit(int32_t type) {
    return type >= 0 && type < kUnits;
}

UnitRow const& Row(int32_t type) {
    return IsUnit(type) ? kRows[type] : kFallback;
}

// The names of the seven rows: empty until FillNames, filled once, never changed after. Never
// destroyed either, so that a name stays readable by the destructors of other statics.
SYS_StringBase* Names() {
    static SYS_StringBase* const names = new SYS_StringBase[kUnits];
    return names;
}

bool FillNames() {
    for (int i = 0; i < kUnits; ++i)
        Names()[i] = TR(kRows[i].textId);
    return true;
}

char const* Name(int32_t type) {
    return IsUnit(type) ? Names()[type].GetString() : "";
}

// The unit row that a UnitTypeObj handle selects: handle h is unit h - 1.
int32_t TypeOfHandle(int handle) {
    return handle >= 1 && handle <= kUnits ? handle - 1 : -1;
}

constexpr double kAngleUnitsPerDegree = 1800000.0;

// The rule of every text-to-number form: a stale ERANGE is cleared (any other errno stays), the
// value goes to *out also when the text fails, and the whole text must be the number.
template <typename T>
int ParseWhole(char const* s, T* out, T (*parse)(char const*, char const**)) {
    if (errno == ERANGE) errno = 0;
    if (s == nullptr) {
        *out = 0;
        return 0;
    }
    char const* end;
    *out = parse(s, &end);
    return *end == '\0' && errno != ERANGE ? 1 : 0;
}

} // namespace

// UnitTypeObj ---------------------------------------------------------------------------------------

char const* SYS_Convert::UnitTypeObj::GetName() const {
    return Name(TypeOfHandle(Handle));
}

SYS_UnitType SYS_Convert::UnitTypeObj::GetType() const {
    return Row(TypeOfHandle(Handle)).type;
}

// Construction and state ------------------------------------------------------------------------------

SYS_Convert::SYS_Convert() {
    SetData(SYS_UnitMils, SYS_Point(0, 0));
}

SYS_Convert::SYS_Convert(SYS_UnitType type) {
    SetData(type, SYS_Point(0, 0));
}

SYS_Convert::SYS_Convert(SYS_Point const& origin) {
    SetData(SYS_UnitMils, origin);
}

SYS_Convert::SYS_Convert(SYS_UnitType type, SYS_Point const& origin) {
    SetData(type, origin);
}

void SYS_Convert::SetData(SYS_UnitType type, SYS_Point const& origin) {
    static bool const filled = FillNames();
    (void)filled;
    UnitType = type;
    Origin = origin;
    ZeroTrim = 1;
    for (int i = 0; i < kUnits; ++i)
        UnitPrecision[i] = kRows[i].precision;
    AnglePrecision = 3;
}

int32_t SYS_Convert::CurrentPrecision() const {
    return IsUnit(UnitType) ? UnitPrecision[UnitType] : kFallback.precision;
}

int32_t SYS_Convert::GetUnitPrecision() const {
    return CurrentPrecision();
}

void SYS_Convert::SetUnitPrecision(int32_t precision) {
    if (IsUnit(UnitType)) UnitPrecision[UnitType] = precision;
}

double SYS_Convert::Factor() const {
    return Row(UnitType).factor;
}

char const* SYS_Convert::GetUnitName() const {
    return Name(UnitType);
}

char const* SYS_Convert::GetUnitName(SYS_UnitType type) {
    return Name(type);
}

// Numbers ----------------------------------------------------------------------------------------------

int32_t SYS_Convert::User2Base(double v) const {
    double const f = Factor();
    // Written so that NaN fails the test too.
    if (!(2147483647.0 / f >= (v < 0 ? -v : v))) return INT32_MIN;
    double const base = f * v;
    // Within the test above |base| stays below 2^31 - 0.5, so the cut is a plain conversion.
    return static_cast<int32_t>(base > 0 ? base + 0.5 : base - 0.5);
}

double SYS_Convert::User2BaseDouble(double v) const {
    return Factor() * v;
}

double SYS_Convert::Base2User(double v) const {
    return v / Factor();
}

double SYS_Convert::Base2User(int32_t v) const {
    return v / Factor();
}

// Text to number ---------------------------------------------------------------------------------------

int SYS_Convert::Str2Double(char const* s, double* out) {
    return ParseWhole(s, out, mortar::ParseDouble);
}

int SYS_Convert::Str2Long(char const* s, int32_t* out) {
    return ParseWhole(s, out, mortar::ParseLong32);
}

int SYS_Convert::Str2Base(char const* s, int32_t* out) const {
    double v;
    if (!Str2Double(s, &v)) return 0;
    int32_t const base = User2Base(v);
    if (base < -SYS_COORD_LIMIT || base > SYS_COORD_LIMIT) return 0;
    *out = base;
    return 1;
}

int SYS_Convert::Str2Base(char const* s, double* out) const {
    double v;
    if (!Str2Double(s, &v)) return 0;
    *out = User2BaseDouble(v);
    return 1;
}

int SYS_Convert::Str2Measure(char const* s, int32_t* out) const {
    double v;
    if (!Str2Double(s, &v) || v < 0) return 0;
    *out = User2Base(v);
    return 1;
}

int SYS_Convert::Str2Angle(char const* s, int32_t* out) {
    double v;
    if (!Str2Double(s, &v)) return 0;
    *out = mortar::TruncToInt32(v * kAngleUnitsPerDegree);
    return 1;
}

// Number to text ---------------------------------------------------------------------------------------

char const* SYS_Convert::Format(char* buf, unsigned size, double value, int32_t precision) const {
    if (size == 0) return buf;
    mortar::FormatFixed(buf, size, value, precision);
    if (ZeroTrim) TrimStrNumber(buf);
    return buf;
}

char const* SYS_Convert::Base2Str(char* buf, unsigned size, int32_t v) const {
    return Format(buf, size, Base2User(v), CurrentPrecision());
}

char const* SYS_Convert::Base2Str(char* buf, unsigned size, double v) const {
    return Format(buf, size, Base2User(v), CurrentPrecision());
}

SYS_StringBase SYS_Convert::Base2Str(int32_t v) const {
    char buf[512];
    return SYS_StringBase(Base2Str(buf, sizeof buf, v));
}

SYS_StringBase SYS_Convert::Base2Str(double v) const {
    char buf[512];
    return SYS_StringBase(Base2Str(buf, sizeof buf, v));
}

char const* SYS_Convert::Angle2Str(char* buf, unsigned size, int32_t angle) const {
    return Format(buf, size, angle / kAngleUnitsPerDegree, AnglePrecision);
}

SYS_StringBase SYS_Convert::Angle2Str(int32_t angle) const {
    char buf[512];
    return SYS_StringBase(Angle2Str(buf, sizeof buf, angle));
}

SYS_StringBase SYS_Convert::Measure2String(int32_t v) const {
    return Base2Str(v);
}

SYS_StringBase SYS_Convert::CoordX2String(int32_t x) const {
    return Base2Str(mortar::WrapSub(x, Origin.x));
}

SYS_StringBase SYS_Convert::CoordY2String(int32_t y) const {
    return Base2Str(mortar::WrapSub(y, Origin.y));
}

SYS_StringBase SYS_Convert::Point2String(SYS_Point const& p) const {
    SYS_StringBase text("(");
    text += CoordX2String(p.x);
    text += ',';
    text += CoordY2String(p.y);
    text += ')';
    return text;
}

SYS_StringBase SYS_Convert::Measure2String(SYS_StringBase const& prefix, int32_t v) const {
    return prefix + Measure2String(v);
}

SYS_StringBase SYS_Convert::CoordX2String(SYS_StringBase const& prefix, int32_t x) const {
    return prefix + CoordX2String(x);
}

SYS_StringBase SYS_Convert::CoordY2String(SYS_StringBase const& prefix, int32_t y) const {
    return prefix + CoordY2String(y);
}

SYS_StringBase SYS_Convert::Point2String(SYS_StringBase const& prefix, SYS_Point const& p) const {
    return prefix + Point2String(p);
}

void SYS_Convert::TrimStrNumber(char const* s) {
    char* text = const_cast<char*>(s);
    char* end = text;
    bool point = false;
    for (; *end != '\0'; ++end)
        point = point || *end == '.';
    if (!point) return;
    // The walk stops on the point at the latest, since the text holds one.
    char* p = end - 1;
    while (*p == '0')
        --p;
    p[*p == '.' ? 0 : 1] = '\0';
}

// Routing grid -----------------------------------------------------------------------------------------

int32_t SYS_Convert::AlignToMinRoutingGrid(int32_t v) const {
    int32_t const g = GetMinRoutingGrid();
    int32_t const a = v % g < 0 ? -(v % g) : v % g;
    if (a == 0) return v;
    int32_t const up = a < g / 2 ? 0 : g;
    // Wrapping, so that a grid step past the int32 limit cannot overflow.
    return v >= 0 ? mortar::WrapSub(mortar::WrapAdd(v, up), a) : mortar::WrapSub(mortar::WrapAdd(v, a), up);
}
