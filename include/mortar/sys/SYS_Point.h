// Points: the integer point that carries every coordinate, and its floating twin.
//
// Units, stated once for the whole geometry:
//
//   - Length: one base unit is 1/750 of a micron; 19050 base units make a mil, 750,000 a
//     millimetre, 19,050,000 an inch. Coordinates and lengths are signed 32-bit integers.
//     The working range is +-SYS_COORD_LIMIT (56 inches), chosen so that the difference of
//     two coordinates in range still fits 32 bits. X grows to the right, Y upward.
//   - Angle: a signed 32-bit count of 1/1,800,000 degree. SYS_ANGLE_TURN (648,000,000) is a
//     full turn, 162,000,000 a right angle. Zero points along +X; positive is
//     counter-clockwise.
//
// Integer arithmetic on coordinates wraps modulo 2^32 (see SYS_GeomArith.h); nothing here
// saturates or reports an overflow. Where a double becomes an integer, each operation says
// which of the two rules it uses: half-away rounding (2.5 -> 3, -2.5 -> -3) or truncation
// (2.9 -> 2, -2.9 -> -2). A double beyond the int32 range saturates, NaN gives 0.
//
// Both types are two words of plain data, copied by value. The Transform members are
// defined in SYS_Transform.h; include SYS_Geom_Inline.h to have everything.
#ifndef MORTAR_SYS_SYS_POINT_H
#define MORTAR_SYS_SYS_POINT_H

#include <mortar/export.h>
#include <mortar/sys/SYS_GeomArith.h>

#include <cmath>
#include <cstdint>

/// The working range of coordinates: 1,066,800,000 base units, 56 inches.
inline constexpr int32_t SYS_COORD_LIMIT = 1066800000;

/// A full turn in angle units (1/1,800,000 degree).
inline constexpr int32_t SYS_ANGLE_TURN = 648000000;

class SYS_Point;
class SYS_Transform;

namespace mortar::detail {

/// The polar angle of (x, y) in [0, SYS_ANGLE_TURN): atan2 scaled to angle units and
/// truncated, a negative result taken once around. The truncation makes a vector just
/// below +X (scaled angle in (-1, 0)) give 0, never a full turn. The zero vector gives 0.
inline int32_t PolarAngle(double x, double y) noexcept {
    double const t = std::atan2(y, x) * 324000000.0 / kPi;
    int32_t n = TruncToInt32(t);
    if (n < 0) n += SYS_ANGLE_TURN;
    return n;
}

} // namespace mortar::detail

/// A point or vector in doubles, for work that must keep the fraction. Unlike SYS_Point,
/// a new one is (0.0, 0.0), and nothing is rounded: comparisons are exact, without tolerance.
class MORTAR_API SYS_DoublePoint {
public:
    double x;
    double y;

    SYS_DoublePoint() noexcept : x(0.0), y(0.0) {}
    SYS_DoublePoint(double x_, double y_) noexcept : x(x_), y(y_) {}

    /// Each coordinate by half-away rounding; assigning a SYS_DoublePoint to a SYS_Point goes
    /// through this conversion.
    inline operator SYS_Point() const noexcept;

    void Initiate() noexcept { x = y = 0.0; }
    /// 1 when both coordinates lie strictly inside +-SYS_COORD_LIMIT; NaN fails.
    int IsValid() const noexcept {
        double const limit = SYS_COORD_LIMIT;
        return x > -limit && x < limit && y > -limit && y < limit ? 1 : 0;
    }

    double GetX() const noexcept { return x; }
    double GetY() const noexcept { return y; }
    void SetX(double v) noexcept { x = v; }
    void SetY(double v) noexcept { y = v; }
    void Set(double x_, double y_) noexcept { x = x_, y = y_; }
    /// x for 0, y for any other index.
    double operator[](int i) const noexcept { return i == 0 ? x : y; }

    SYS_DoublePoint operator+(SYS_DoublePoint const& p) const noexcept { return {x + p.x, y + p.y}; }
    SYS_DoublePoint operator-(SYS_DoublePoint const& p) const noexcept { return {x - p.x, y - p.y}; }
    SYS_DoublePoint operator+(double k) const noexcept { return {x + k, y + k}; }
    SYS_DoublePoint operator-(double k) const noexcept { return {x - k, y - k}; }
    SYS_DoublePoint& operator+=(SYS_DoublePoint const& p) noexcept { return *this = *this + p; }
    SYS_DoublePoint& operator-=(SYS_DoublePoint const& p) noexcept { return *this = *this - p; }
    SYS_DoublePoint& operator+=(double k) noexcept { return *this = *this + k; }
    SYS_DoublePoint& operator-=(double k) noexcept { return *this = *this - k; }

    int operator==(SYS_DoublePoint const& p) const noexcept { return x == p.x && y == p.y; }
    int operator!=(SYS_DoublePoint const& p) const noexcept { return !(*this == p); }
    /// Lexicographic: x first, y only between equal x.
    int operator<(SYS_DoublePoint const& p) const noexcept { return x < p.x || (x == p.x && y < p.y); }
    int operator>(SYS_DoublePoint const& p) const noexcept { return p < *this; }

    /// Plain multiplication, nothing rounded.
    void Scale(double f) noexcept { Scale(f, f); }
    void Scale(double fx, double fy) noexcept { x *= fx, y *= fy; }

    double ScalarProduct(SYS_DoublePoint const& p) const noexcept { return x * p.x + y * p.y; }
    /// Positive when p lies counter-clockwise of this vector.
    double VectorProduct(SYS_DoublePoint const& p) const noexcept { return x * p.y - y * p.x; }

    /// Angle of the vector in [0, SYS_ANGLE_TURN), truncated; see mortar::detail::PolarAngle.
    int32_t GetPolarAngle() const noexcept { return mortar::detail::PolarAngle(x, y); }
    /// Length of the vector: the square root of x^2 + y^2 refined by one Newton step.
    double GetPolarRadius() const noexcept { return mortar::RefinedSqrt(ScalarProduct(*this)); }

    /// Takes the point through t, without rounding.
    inline void Transform(SYS_Transform const& t) noexcept;
};

/// A point or vector in base units: the value that carries every coordinate of the library.
/// Every pair of integers is a valid point, also beyond the coordinate limit. A point made by
/// the default constructor is unset (as an int would be); Initiate or SYS_Point{} give (0, 0).
class MORTAR_API SYS_Point {
public:
    int32_t x;
    int32_t y;

    SYS_Point() noexcept = default;
    SYS_Point(int32_t x_, int32_t y_) noexcept : x(x_), y(y_) {}

    /// The exact value as doubles; assigning a SYS_Point to a SYS_DoublePoint goes through this
    /// conversion. (Neither type declares an assignment from the other, so that p = {1, 2}
    /// stays unambiguous.)
    operator SYS_DoublePoint() const noexcept { return {static_cast<double>(x), static_cast<double>(y)}; }

    void Initiate() noexcept { x = y = 0; }
    int IsValid() const noexcept { return 1; }

    int32_t GetX() const noexcept { return x; }
    int32_t GetY() const noexcept { return y; }
    void SetX(int32_t v) noexcept { x = v; }
    void SetY(int32_t v) noexcept { y = v; }
    void Set(int32_t x_, int32_t y_) noexcept { x = x_, y = y_; }
    /// x for 0, y for any other index.
    int32_t operator[](int i) const noexcept { return i == 0 ? x : y; }

    /// Coordinate-wise, wrapping.
    SYS_Point operator+(SYS_Point const& p) const noexcept {
        return {mortar::WrapAdd(x, p.x), mortar::WrapAdd(y, p.y)};
    }
    SYS_Point operator-(SYS_Point const& p) const noexcept {
        return {mortar::WrapSub(x, p.x), mortar::WrapSub(y, p.y)};
    }
    /// k added to (taken from) both coordinates, wrapping.
    SYS_Point operator+(int32_t k) const noexcept { return *this + SYS_Point(k, k); }
    SYS_Point operator-(int32_t k) const noexcept { return *this - SYS_Point(k, k); }
    SYS_Point& operator+=(SYS_Point const& p) noexcept { return *this = *this + p; }
    SYS_Point& operator-=(SYS_Point const& p) noexcept { return *this = *this - p; }
    SYS_Point& operator+=(int32_t k) noexcept { return *this = *this + k; }
    SYS_Point& operator-=(int32_t k) noexcept { return *this = *this - k; }

    /// Both coordinates times k in 32-bit arithmetic, wrapping.
    SYS_Point operator*(int32_t k) const noexcept { return {mortar::WrapMul(x, k), mortar::WrapMul(y, k)}; }
    /// Each coordinate times f, truncated (not rounded): (3, 3) * 0.5 is (1, 1).
    SYS_Point operator*(double f) const noexcept {
        return {mortar::TruncToInt32(x * f), mortar::TruncToInt32(y * f)};
    }
    /// Each coordinate divided by k in doubles, half-away rounded: (7, -7) / 2 is (4, -4).
    /// Division by 0 gives INT32_MAX for a positive coordinate, INT32_MIN for a negative
    /// one and 0 for 0.
    SYS_Point operator/(int32_t k) const noexcept {
        double const d = k;
        return {mortar::RoundHalfAway(x / d), mortar::RoundHalfAway(y / d)};
    }
    /// In place: each coordinate times f, half-away rounded: (3, 3) scaled by 0.5 is (2, 2).
    void Scale(double f) noexcept { Scale(f, f); }
    void Scale(double fx, double fy) noexcept {
        x = mortar::RoundHalfAway(x * fx);
        y = mortar::RoundHalfAway(y * fy);
    }
    /// Takes the point through t, with half-away rounding.
    inline void Transform(SYS_Transform const& t) noexcept;

    int operator==(SYS_Point const& p) const noexcept { return x == p.x && y == p.y; }
    int operator!=(SYS_Point const& p) const noexcept { return !(*this == p); }
    /// Lexicographic: x first, y only between equal x.
    int operator<(SYS_Point const& p) const noexcept { return x < p.x || (x == p.x && y < p.y); }
    int operator>(SYS_Point const& p) const noexcept { return p < *this; }

    /// Euclidean length of the vector. The axes and the diagonals take no square root:
    /// |y| when x is 0, |x| when y is 0, |x| * sqrt(2) (as 1.4142135623730951) when |x| = |y|.
    /// Otherwise sqrt(x^2 + y^2) in doubles; the squares are never formed in integers.
    double Length() const noexcept {
        double const ax = std::fabs(static_cast<double>(x));
        double const ay = std::fabs(static_cast<double>(y));
        if (x == 0) return ay;
        if (y == 0) return ax;
        if (ax == ay) return ax * 1.4142135623730951;
        return std::sqrt(ax * ax + ay * ay);
    }
    /// Length() of the wrapped difference.
    double Distance(SYS_Point const& p) const noexcept { return (*this - p).Length(); }
    /// |x| + |y|, wrapping.
    int32_t MLength() const noexcept {
        return static_cast<int32_t>(mortar::UnsignedAbs(x) + mortar::UnsignedAbs(y));
    }
    int32_t MDistance(SYS_Point const& p) const noexcept { return (*this - p).MLength(); }
    /// The midpoint: the wrapped sum times 0.5, half-away rounded on each axis, so the half
    /// goes away from zero: (1, -1) and (2, -2) give (2, -2).
    SYS_Point Median(SYS_Point const& p) const noexcept {
        SYS_Point const sum = *this + p;
        return {mortar::RoundHalfAway(sum.x * 0.5), mortar::RoundHalfAway(sum.y * 0.5)};
    }
    /// Angle of the vector in [0, SYS_ANGLE_TURN), truncated; see mortar::detail::PolarAngle.
    int32_t GetPolarAngle() const noexcept { return mortar::detail::PolarAngle(x, y); }
    /// SYS_DoublePoint::GetPolarRadius of this vector (the refined root).
    double GetPolarRadius() const noexcept { return SYS_DoublePoint(*this).GetPolarRadius(); }
    /// x * p.x + y * p.y in doubles.
    double ScalarProduct(SYS_Point const& p) const noexcept {
        return static_cast<double>(x) * p.x + static_cast<double>(y) * p.y;
    }
    /// x * p.y - y * p.x in doubles; positive when p lies counter-clockwise of this vector.
    double VectorProduct(SYS_Point const& p) const noexcept {
        return static_cast<double>(x) * p.y - static_cast<double>(y) * p.x;
    }

    /// A point has no look of its own: does nothing.
    void Draw() const noexcept {}
};

inline SYS_DoublePoint::operator SYS_Point() const noexcept {
    return {mortar::RoundHalfAway(x), mortar::RoundHalfAway(y)};
}

#endif
