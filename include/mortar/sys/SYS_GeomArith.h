// Integer arithmetic of the geometry values.
//
// Coordinates, lengths and angles are signed 32-bit integers. Their sums, differences and
// products wrap modulo 2^32, as the machine does; the helpers below compute them in
// uint32_t and convert back, so that no signed overflow (undefined behaviour) happens even
// far outside the coordinate range.
//
// Every conversion of a double to a 32-bit integer in the geometry goes through
// TruncToInt32, which is defined for every double:
//
//   - a value within the int32 range is truncated toward zero, like a cast;
//   - a value above INT32_MAX, +infinity included, gives INT32_MAX (2,147,483,647);
//   - a value below INT32_MIN, -infinity included, gives INT32_MIN (-2,147,483,648);
//   - NaN gives 0.
//
// So a division by zero gives the limit of its sign and 0 / 0 gives 0. Within the range
// the results are exactly those of a plain conversion; the rule only settles what a plain
// conversion leaves undefined. RoundHalfAway is the rounding rule of the geometry built on it.
#ifndef MORTAR_SYS_SYS_GEOMARITH_H
#define MORTAR_SYS_SYS_GEOMARITH_H

#include <cmath>
#include <cstdint>

namespace mortar {

/// pi to the precision with which the geometry converts its angles.
inline constexpr double kPi = 3.141592653589793;

/// a + b modulo 2^32.
constexpr int32_t WrapAdd(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

/// a - b modulo 2^32.
constexpr int32_t WrapSub(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

/// a * b modulo 2^32.
constexpr int32_t WrapMul(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

/// -a modulo 2^32: INT32_MIN stays INT32_MIN.
constexpr int32_t WrapNeg(int32_t a) noexcept {
    return static_cast<int32_t>(0u - static_cast<uint32_t>(a));
}

/// |a| as an unsigned number, exact also for INT32_MIN (2^31).
constexpr uint32_t UnsignedAbs(int32_t a) noexcept {
    return a < 0 ? 0u - static_cast<uint32_t>(a) : static_cast<uint32_t>(a);
}

/// v truncated toward zero, saturated to the int32 range; NaN gives 0. The three cases are
/// disjoint selects against a constant and 0.0 (NaN fails all three tests), which compile to
/// masks without branches, so that loops over many points vectorise.
inline int32_t TruncToInt32(double v) noexcept {
    double const limit = 2147483648.0; // 2^31: |v| below it truncates into the range
    double const inside = std::fabs(v) < limit ? v : 0.0;
    double const above = v >= limit ? 2147483647.0 : 0.0;
    double const below = v <= -limit ? -2147483648.0 : 0.0;
    return static_cast<int32_t>(inside + above + below);
}

/// Half-away rounding: trunc(v + 0.5) for v not negative, trunc(v - 0.5) for negative v,
/// so 2.5 gives 3 and -2.5 gives -3. Out of range as TruncToInt32. The half takes the sign
/// of v, which differs from the test v >= 0 only for -0.0, where both give 0.
inline int32_t RoundHalfAway(double v) noexcept { return TruncToInt32(v + std::copysign(0.5, v)); }

/// Square root of q followed by one Newton step, r = (r * r + q) * 0.5 / r. The polar radius
/// and the normalisation of directions use this form; it may differ from std::sqrt in the last
/// bit. 0 for q of 0.
inline double RefinedSqrt(double q) noexcept {
    double r = std::sqrt(q);
    if (r != 0.0) r = (r * r + q) * 0.5 / r;
    return r;
}

} // namespace mortar

#endif
