// Placements and the coordinate transform.
//
// SYS_Location is a point with an orientation, SYS_Position a location with a mirror flag:
// where and how an object sits on a board. SYS_Transform moves points by an affine matrix
// and carries, beside it, the parts that take angles, arc sweeps and lengths through the
// same transform, so that a placed object keeps an exact integer orientation and a length
// scales without going through the matrix.
//
// This header also defines the Transform members of the point and shape types.
#ifndef MORTAR_SYS_SYS_TRANSFORM_H
#define MORTAR_SYS_SYS_TRANSFORM_H

#include <mortar/export.h>
#include <mortar/sys/SYS_Arc.h>
#include <mortar/sys/SYS_Box.h>
#include <mortar/sys/SYS_Point.h>

#include <cmath>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mortar::detail {

/// The truncated remainder by a full turn: keeps the sign, so -90 degrees stays negative.
constexpr int32_t ReduceAngle(int32_t a) noexcept { return a % SYS_ANGLE_TURN; }

/// Brings an angle into [0, SYS_ANGLE_TURN] by whole turns: a negative angle goes up into
/// [0, SYS_ANGLE_TURN), one above a full turn down into (0, SYS_ANGLE_TURN]. A full turn
/// itself stays.
constexpr int32_t IntoTurn(int32_t a) noexcept {
    if (a < 0) {
        a %= SYS_ANGLE_TURN;
        if (a < 0) a += SYS_ANGLE_TURN;
    } else if (a > SYS_ANGLE_TURN) {
        a = (a - 1) % SYS_ANGLE_TURN + 1;
    }
    return a;
}

/// Radians to angle units, truncated.
inline int32_t RadiansToAngle(double radians) noexcept { return TruncToInt32(radians * 324000000.0 / kPi); }

/// The angle of the direction (c, s) in radians, in [0, 2 pi), with the axes and the
/// quadrant settled without floating error: the axes give exactly 0, pi/2, pi and 3 pi/2,
/// the diagonals exactly pi/4 plus the quadrant, and within a quadrant atan2 is taken of
/// the smaller magnitude over the larger. NaN gives NaN.
inline double ExactAngle(double s, double c) noexcept {
    if (s == 0.0) return c < 0.0 ? kPi : 0.0;
    if (c == 0.0) return s < 0.0 ? 4.71238898038469 : kPi / 2;
    double const as = std::fabs(s), ac = std::fabs(c);
    double a;
    if (as == ac)
        a = kPi / 4;
    else if (ac > as)
        a = std::atan2(as, ac);
    else
        a = kPi / 2 - std::atan2(ac, as);
    if (s < 0.0 && c < 0.0) return a + kPi;
    if (c < 0.0) return kPi - a;
    if (s < 0.0) return 2 * kPi - a;
    return a;
}

/// Scales (c, s) to unit length: kept when c^2 + s^2 is exactly 1, replaced by (1, 0) when
/// c^2 + s^2 is below floor, else divided by its refined root.
inline void NormalizeDirection(double& c, double& s, double floor) noexcept {
    double const q = c * c + s * s;
    if (q == 1.0) return;
    if (q < floor) {
        c = 1.0, s = 0.0;
        return;
    }
    double const r = RefinedSqrt(q);
    c /= r, s /= r;
}

} // namespace mortar::detail

/// A point with an orientation. Every constructor, setter and operator+ stores the
/// orientation reduced by the truncated remainder of a full turn, which keeps its sign: it
/// lies strictly between -SYS_ANGLE_TURN and +SYS_ANGLE_TURN, and -90 degrees stays -90.
/// Only the mirror step of Transform can leave it above a full turn (see there).
class MORTAR_API SYS_Location {
public:
    SYS_Location() noexcept : m_Origin(0, 0), m_Orientation(0) {}
    SYS_Location(SYS_Point const& origin, int32_t angle) noexcept { Set(origin, angle); }
    SYS_Location(int32_t x, int32_t y, int32_t angle) noexcept { Set(x, y, angle); }

    void Initiate() noexcept { Set(0, 0, 0); }
    void Set(SYS_Point const& origin, int32_t angle) noexcept {
        m_Origin = origin;
        SetOrientation(angle);
    }
    void Set(int32_t x, int32_t y, int32_t angle) noexcept { Set({x, y}, angle); }

    /// 1 when the orientation lies strictly inside +-SYS_ANGLE_TURN; the origin is not looked at.
    int IsValid() const noexcept { return m_Orientation > -SYS_ANGLE_TURN && m_Orientation < SYS_ANGLE_TURN; }
    SYS_Point const& GetOrigin() const noexcept { return m_Origin; }
    int32_t GetOrientation() const noexcept { return m_Orientation; }
    void SetOrigin(SYS_Point const& p) noexcept { m_Origin = p; }
    void SetOrigin(int32_t x, int32_t y) noexcept { m_Origin.Set(x, y); }
    void SetOrientation(int32_t angle) noexcept { m_Orientation = mortar::detail::ReduceAngle(angle); }

    /// Exact comparison: -162,000,000 and 486,000,000 differ though they point the same way.
    int operator==(SYS_Location const& l) const noexcept {
        return m_Origin == l.m_Origin && m_Orientation == l.m_Orientation;
    }
    int operator!=(SYS_Location const& l) const noexcept { return !(*this == l); }
    /// Origins added (wrapping), orientations added and reduced.
    SYS_Location& operator+=(SYS_Location const& l) noexcept {
        m_Origin += l.m_Origin;
        SetOrientation(mortar::WrapAdd(m_Orientation, l.m_Orientation));
        return *this;
    }
    SYS_Location operator+(SYS_Location const& l) const noexcept { return SYS_Location(*this) += l; }

    /// Takes the origin through t and turns the orientation by t's: a = (orientation +
    /// t.GetOrientation()) reduced. When t mirrors, a becomes half a turn - a, plus a full
    /// turn if that is negative; there is no reduction from above, so an orientation below
    /// -SYS_ANGLE_TURN / 2 comes out above a full turn and IsValid is then 0.
    inline void Transform(SYS_Transform const& t) noexcept;

protected:
    SYS_Point m_Origin;
    int32_t m_Orientation;
};

/// A location with a mirror flag, which is always 0 or 1: every setter stores 1 for any
/// non-zero argument.
class MORTAR_API SYS_Position : public SYS_Location {
public:
    SYS_Position() noexcept : m_Mirror(0) {}
    /// Copies the location unchanged.
    SYS_Position(SYS_Location const& l, int mirror) noexcept : SYS_Location(l) { SetMirror(mirror); }
    SYS_Position(SYS_Point const& origin, int32_t angle, int mirror) noexcept { Set(origin, angle, mirror); }
    SYS_Position(int32_t x, int32_t y, int32_t angle, int mirror) noexcept { Set(x, y, angle, mirror); }

    void Initiate() noexcept { Set(0, 0, 0, 0); }
    void Set(SYS_Point const& origin, int32_t angle, int mirror) noexcept {
        SYS_Location::Set(origin, angle);
        SetMirror(mirror);
    }
    void Set(int32_t x, int32_t y, int32_t angle, int mirror) noexcept { Set({x, y}, angle, mirror); }

    /// The test of SYS_Location, and a flag of 0 or 1.
    int IsValid() const noexcept { return SYS_Location::IsValid() && (m_Mirror == 0 || m_Mirror == 1); }
    int GetMirror() const noexcept { return m_Mirror; }
    void SetMirror(int mirror) noexcept { m_Mirror = mirror != 0; }

    int operator==(SYS_Position const& p) const noexcept {
        return SYS_Location::operator==(p) && m_Mirror == p.m_Mirror;
    }
    int operator!=(SYS_Position const& p) const noexcept { return !(*this == p); }
    /// The location part as SYS_Location adds it; the flag toggles when p's flag is set.
    SYS_Position& operator+=(SYS_Position const& p) noexcept {
        SYS_Location::operator+=(p);
        m_Mirror ^= p.m_Mirror;
        return *this;
    }
    SYS_Position operator+(SYS_Position const& p) const noexcept { return SYS_Position(*this) += p; }

    /// SYS_Location::Transform, then the flag toggles when t mirrors.
    inline void Transform(SYS_Transform const& t) noexcept;

private:
    int32_t m_Mirror;
};

/// The coordinate transform: an affine matrix for points and, maintained beside it by the
/// setters and by composition (not derived from it), the parts for angles, sweeps and lengths:
///
///   x' = m00 x + m01 y + m02        angleFactor, angleOffset, orientation: angles
///   y' = m10 x + m11 y + m12        sweepFactor, sweepOffset, sweepOrientation: arc sweeps
///                                   scale: lengths
///
/// angleFactor and sweepFactor become -1 once a mirror has been composed in; angleOffset
/// holds radians as the direction setters store them. The matrix is the only truth for
/// points; CalcAngle, CalcXScale and CalcYScale read it, GetOrientation and the truth values
/// read the other fields. Truth values are 16-bit.
///
/// Rounding: points of SYS_Point come out half-away rounded, lengths half-away rounded,
/// sweeps truncated; doubles beyond the int32 range saturate and NaN gives 0
/// (see SYS_GeomArith.h). No operation reports a failure: a transform without an inverse
/// shows in the 0 results of SetRConv and Invert.
class MORTAR_API SYS_Transform {
public:
    double m00, m01, m02;
    double m10, m11, m12;
    double angleFactor;
    double angleOffset;
    int32_t orientation;
    double sweepFactor;
    double sweepOffset;
    int32_t sweepOrientation;
    double scale;

    /// The identity: every field neutral.
    SYS_Transform() noexcept { SetMove(0.0, 0.0); }

    /// The placement transform of pos: pivot its origin, angle its orientation, mirror its flag.
    /// Built by composing, in this order: a move of the pivot to (0, 0) (none when
    /// noMoveToOrigin is set); the reflection x -> -x when both mirror and mirrorFirst are
    /// set; the rotation by the angle about (0, 0) when the angle is not 0; the reflection
    /// when mirror is set and mirrorFirst is not; a move back by the pivot unless noMoveBack
    /// is set. With all flags 0 it turns and flips about the pivot; with noMoveToOrigin alone
    /// it places coordinates relative to an object where the position puts the object.
    explicit SYS_Transform(SYS_Position const& pos, int mirrorFirst = 0, int noMoveToOrigin = 0,
                           int noMoveBack = 0) noexcept {
        Place(pos.GetOrigin(), pos.GetOrientation(), pos.GetMirror(), mirrorFirst, noMoveToOrigin, noMoveBack);
    }
    /// The placement transform of pivot (x, y), the angle and the mirror flag.
    explicit SYS_Transform(int32_t x, int32_t y, int32_t angle, int mirror = 0, int mirrorFirst = 0,
                           int noMoveToOrigin = 0, int noMoveBack = 0) noexcept {
        Place({x, y}, angle, mirror, mirrorFirst, noMoveToOrigin, noMoveBack);
    }
    /// The placement transform of pivot p, the angle and the mirror flag.
    explicit SYS_Transform(SYS_Point const& p, int32_t angle, int mirror = 0, int mirrorFirst = 0,
                           int noMoveToOrigin = 0, int noMoveBack = 0) noexcept {
        Place(p, angle, mirror, mirrorFirst, noMoveToOrigin, noMoveBack);
    }

    // Setters. Each replaces the whole transform, save angleOffset where it says so; none
    // composes with the former content.

    /// Translation by (dx, dy).
    void SetMove(int32_t dx, int32_t dy) noexcept { SetMove(static_cast<double>(dx), static_cast<double>(dy)); }
    void SetMove(double dx, double dy) noexcept {
        SetMatrix(1.0, 0.0, dx, 0.0, 1.0, dy);
        SetAngles(1.0, 0, 1.0, 1.0);
        angleOffset = 0.0;
    }
    /// Rotation by angle counter-clockwise about p: sine and cosine of the radians go into
    /// the matrix (a right angle leaves a residue of about 1e-16 that point rounding removes);
    /// orientation takes the angle as given, not reduced. angleOffset is left as it was.
    void SetRotate(SYS_Point const& p, int32_t angle) noexcept {
        double const r = angle * mortar::kPi / 324000000.0;
        SetRotation(p, std::cos(r), std::sin(r));
        SetAngles(1.0, angle, 1.0, 1.0);
    }
    /// Rotation about p by the direction (c, s), made unit length first ((0, 0) and anything
    /// shorter than c^2 + s^2 = 1e-9 mean no rotation). angleOffset takes the exact angle of
    /// the direction in radians, orientation the same in angle units, truncated.
    void SetRotate(SYS_Point const& p, double c, double s) noexcept {
        mortar::detail::NormalizeDirection(c, s, 1e-9);
        double const theta = mortar::detail::ExactAngle(s, c);
        SetRotation(p, c, s);
        SetAngles(1.0, mortar::detail::RadiansToAngle(theta), 1.0, 1.0);
        angleOffset = theta;
    }
    /// Uniform scale by f about p; scale = f. A negative f is also a half turn: orientation
    /// 324,000,000 and angleOffset pi, but it is no mirror.
    void SetScale(SYS_Point const& p, double f) noexcept {
        double const x = p.x, y = p.y;
        SetMatrix(f, 0.0, x - x * f, 0.0, f, y - y * f);
        bool const turned = f < 0.0;
        SetAngles(1.0, turned ? SYS_ANGLE_TURN / 2 : 0, 1.0, f);
        angleOffset = turned ? mortar::kPi : 0.0;
    }
    /// Reflection in the line through p at the given angle; orientation = 2 * angle (wrapping).
    /// angleOffset is left as it was.
    void SetMirror(SYS_Point const& p, int32_t angle) noexcept {
        double const r = angle * mortar::kPi / 324000000.0 * 2.0;
        SetReflection(p, std::cos(r), std::sin(r));
        SetAngles(-1.0, mortar::WrapMul(2, angle), -1.0, 1.0);
    }
    /// Reflection in the line through p along (c, s). The direction is made unit length, but
    /// one with c^2 + s^2 below 4 (other than exactly 1) stands for the X axis, (1, 0). The
    /// matrix uses the doubled angle (c^2 - s^2, 2 c s); angleOffset and orientation take the
    /// exact angle of that in radians and in angle units.
    void SetMirror(SYS_Point const& p, double c, double s) noexcept {
        mortar::detail::NormalizeDirection(c, s, 4.0);
        double const cc = c * c - s * s, ss = 2.0 * c * s;
        double const theta = mortar::detail::ExactAngle(ss, cc);
        SetReflection(p, cc, ss);
        SetAngles(-1.0, mortar::detail::RadiansToAngle(theta), -1.0, 1.0);
        angleOffset = theta;
    }
    /// World coordinates into a system with its origin at p, turned by angle:
    /// SetRotate(p, -angle), then a move by -p composed after it.
    void SetCoordSys(SYS_Point const& p, int32_t angle) noexcept {
        SetRotate(p, mortar::WrapNeg(angle));
        MoveBy(mortar::WrapNeg(p.x), mortar::WrapNeg(p.y));
    }
    /// The same for an axis (u, v): SetRotate(p, -v, -u), then the move by -p.
    void SetCoordSys(SYS_Point const& p, double u, double v) noexcept {
        SetRotate(p, -v, -u);
        MoveBy(mortar::WrapNeg(p.x), mortar::WrapNeg(p.y));
    }
    /// Fits the rectangle of p1 and p2 into box, keeping its aspect: a uniform scale about the
    /// rectangle's middle (the integer midpoint, truncated) by the smaller of the two ratios
    /// box width / (p2.x - p1.x) and box height / (p2.y - p1.y), then a move of that middle
    /// onto the box centre. An axis on which p1 and p2 agree gives no ratio and the other
    /// axis decides; when they agree on both, the factor is 1 and the rectangle is only
    /// centred. Differences are taken in doubles.
    void SetBoxConv(SYS_Point const& p1, SYS_Point const& p2, SYS_Box const& box) noexcept {
        SYS_Point const c = box.GetCenter();
        SYS_Point const mid(mortar::WrapAdd(p1.x, p2.x) / 2, mortar::WrapAdd(p1.y, p2.y) / 2);
        double const dx = static_cast<double>(p2.x) - p1.x;
        double const dy = static_cast<double>(p2.y) - p1.y;
        double f = 1.0;
        if (dx != 0.0) f = box.GetWidth() / dx;
        if (dy != 0.0) {
            double const fy = box.GetHeight() / dy;
            if (dx == 0.0 || fy < f) f = fy;
        }
        SetScale(mid, f);
        m02 += static_cast<double>(c.x) - mid.x;
        m12 += static_cast<double>(c.y) - mid.y;
    }

    // Use.

    /// In place: x' = (m01 y + m00 x) + m02, y' = (m10 x + m11 y) + m12 in doubles, both from
    /// the old coordinates, half-away rounded. A null pointer is ignored.
    void Transform(SYS_Point* p) const noexcept {
        if (!p) return;
        double const x = p->x, y = p->y;
#if defined(__SSE2__)
        // Both coordinates at once: the same products and sums (a sum of two products is the
        // same whichever comes first), the half with the sign of the value, and a truncating
        // conversion that gives 0x80000000 for anything it can't hold; only then does the
        // defined conversion of RoundHalfAway decide.
        __m128d const r = _mm_add_pd(_mm_add_pd(_mm_mul_pd(_mm_set_pd(m11, m01), _mm_set1_pd(y)),
                                                _mm_mul_pd(_mm_set_pd(m10, m00), _mm_set1_pd(x))),
                                     _mm_set_pd(m12, m02));
        __m128d const v = _mm_add_pd(r, _mm_or_pd(_mm_and_pd(r, _mm_set1_pd(-0.0)), _mm_set1_pd(0.5)));
        __m128i const q = _mm_cvttpd_epi32(v);
        if ((_mm_movemask_epi8(_mm_cmpeq_epi32(q, _mm_set1_epi32(INT32_MIN))) & 0xFF) == 0) {
            p->x = _mm_cvtsi128_si32(q);
            p->y = _mm_cvtsi128_si32(_mm_srli_si128(q, 4));
            return;
        }
#endif
        p->x = mortar::RoundHalfAway((m01 * y + m00 * x) + m02);
        p->y = mortar::RoundHalfAway((m10 * x + m11 * y) + m12);
    }
    /// In place, without rounding. A null pointer is ignored.
    void Transform(SYS_DoublePoint* p) const noexcept {
        if (!p) return;
        double const x = p->x, y = p->y;
        p->x = (m01 * y + m00 * x) + m02;
        p->y = (m10 * x + m11 * y) + m12;
    }
    SYS_Point Transform(SYS_Point const& p) const noexcept {
        SYS_Point q = p;
        Transform(&q);
        return q;
    }
    SYS_DoublePoint Transform(SYS_DoublePoint const& p) const noexcept {
        SYS_DoublePoint q = p;
        Transform(&q);
        return q;
    }
    void Convert(SYS_Point& p) const noexcept { Transform(&p); }
    /// p transformed.
    SYS_Point operator+(SYS_Point p) const noexcept { return Transform(p); }
    /// p taken through the inverse (as SetRConv writes it, whatever its result).
    SYS_Point operator-(SYS_Point p) const noexcept { return Inverse().Transform(p); }

    /// length = half-away(length * scale).
    void Convert(int32_t& length) const noexcept { length = mortar::RoundHalfAway(length * scale); }
    /// half-away(length * scale).
    int32_t operator+(int32_t length) const noexcept { return mortar::RoundHalfAway(length * scale); }
    /// half-away(length / scale). A scale of 0 gives INT32_MAX for a positive length,
    /// INT32_MIN for a negative one and 0 for 0.
    int32_t operator-(int32_t length) const noexcept { return mortar::RoundHalfAway(length / scale); }

    /// Carries the start angle and the sweep of an arc. The angle is brought into
    /// [0, SYS_ANGLE_TURN] by whole turns (a full turn stays), then either mapped through
    /// angleFactor and angleOffset (half-away(angle * angleFactor + angleOffset), the offset
    /// added as stored) when angleFactor differs from 1 by more than 1e-9, or turned by
    /// orientation; then brought into range again. The sweep becomes
    /// trunc(sweep * sweepFactor + sweepOffset); a sweep beyond a full turn either way
    /// becomes +SYS_ANGLE_TURN.
    void Convert(int32_t& angle, int32_t& sweep) const noexcept {
        int32_t a = mortar::detail::IntoTurn(angle);
        if (std::fabs(angleFactor - 1.0) > 1e-9)
            a = mortar::RoundHalfAway(a * angleFactor + angleOffset);
        else
            a = mortar::WrapAdd(a, orientation);
        angle = mortar::detail::IntoTurn(a);
        int32_t const s = mortar::TruncToInt32(sweep * sweepFactor + sweepOffset);
        sweep = s > SYS_ANGLE_TURN || s < -SYS_ANGLE_TURN ? SYS_ANGLE_TURN : s;
    }

    // Composition.

    /// This transform followed by t (t is applied after this one); not commutative. The
    /// matrices multiply, the factors multiply, offsets and orientations go through t's
    /// factors (orientations truncated) and add t's. t may be this transform.
    void AddConv(SYS_Transform const& t) noexcept {
        SYS_Transform const a = *this, b = t;
        m00 = b.m00 * a.m00 + b.m01 * a.m10;
        m01 = b.m00 * a.m01 + b.m01 * a.m11;
        m10 = b.m10 * a.m00 + b.m11 * a.m10;
        m11 = b.m10 * a.m01 + b.m11 * a.m11;
        m02 = (b.m00 * a.m02 + a.m12 * b.m01) + b.m02;
        m12 = (b.m11 * a.m12 + b.m10 * a.m02) + b.m12;
        angleFactor = a.angleFactor * b.angleFactor;
        angleOffset = a.angleOffset * b.angleFactor + b.angleOffset;
        orientation = mortar::WrapAdd(mortar::TruncToInt32(a.orientation * b.angleFactor), b.orientation);
        sweepFactor = b.sweepFactor * a.sweepFactor;
        sweepOffset = b.sweepFactor * a.sweepOffset + b.sweepOffset;
        sweepOrientation =
            mortar::WrapAdd(mortar::TruncToInt32(a.sweepOrientation * b.sweepFactor), b.sweepOrientation);
        scale = b.scale * a.scale;
    }
    /// This transform followed by the inverse of t as SetRConv writes it, whatever its result.
    /// t itself is not changed.
    void SubConv(SYS_Transform const& t) noexcept { AddConv(t.Inverse()); }

    /// Writes the inverse into out and returns 1, or 0 when there is none. out starts as the
    /// identity; a determinant below 1e-12 in magnitude leaves it so. Then the angle parts
    /// are inverted (angleFactor only when it differs from 1 by more than 1e-12, offsets and
    /// orientations negated), each refused when its factor is below 1e-12: a refusal leaves
    /// out partly written. A scale below 1e-12 sets this transform's own scale to 1.0 and
    /// returns 0 with out's scale 1. out may be this transform.
    int16_t SetRConv(SYS_Transform& out) noexcept {
        double const tolerance = 1e-12;
        SYS_Transform inv;
        int16_t const done = [&]() -> int16_t {
            double const det = m11 * m00 - m01 * m10;
            if (std::fabs(det) < tolerance) return 0;
            InvertMatrixInto(inv, det);
            if (std::fabs(angleFactor) < tolerance) return 0;
            inv.angleFactor = std::fabs(angleFactor - 1.0) > tolerance ? 1.0 / angleFactor : angleFactor;
            inv.angleOffset = -angleOffset;
            inv.orientation = mortar::WrapNeg(orientation);
            if (std::fabs(sweepFactor) < tolerance) return 0;
            inv.sweepFactor = 1.0 / sweepFactor;
            inv.sweepOffset = -sweepOffset;
            inv.sweepOrientation = mortar::WrapNeg(sweepOrientation);
            if (std::fabs(scale) < tolerance) {
                scale = 1.0;
                return 0;
            }
            inv.scale = 1.0 / scale;
            return 1;
        }();
        out = inv;
        return done;
    }
    /// This transform becomes what SetRConv writes, whatever its result.
    void RConv() noexcept { SetRConv(*this); }
    /// Inverts the matrix in place when its determinant exceeds 1e-18 in magnitude and
    /// returns 1; otherwise returns 0 and changes nothing. Unlike SetRConv it keeps no angle
    /// information: factors become 1, offsets and orientations 0, and scale the X scale of
    /// the new matrix.
    int16_t Invert() noexcept {
        double const det = m00 * m11 - m10 * m01;
        if (!(std::fabs(det) > 1e-18)) return 0;
        SYS_Transform inv;
        InvertMatrixInto(inv, det);
        inv.scale = inv.CalcXScale();
        *this = inv;
        return 1;
    }
    /// A copy of this followed by t.
    SYS_Transform operator+(SYS_Transform const& t) const noexcept {
        SYS_Transform r = *this;
        r.AddConv(t);
        return r;
    }
    /// A copy of this followed by the inverse of t.
    SYS_Transform operator-(SYS_Transform const& t) const noexcept {
        SYS_Transform r = *this;
        r.SubConv(t);
        return r;
    }
    /// Copies the pointed-to transform (a null pointer changes nothing) and returns a copy.
    SYS_Transform operator=(SYS_Transform const* t) noexcept {
        if (t) *this = *t;
        return *this;
    }

    // Queries.

    /// All thirteen fields, doubles without tolerance.
    int16_t operator==(SYS_Transform const& t) const noexcept {
        return m00 == t.m00 && m01 == t.m01 && m02 == t.m02 && m10 == t.m10 && m11 == t.m11 && m12 == t.m12 &&
               angleFactor == t.angleFactor && angleOffset == t.angleOffset && orientation == t.orientation &&
               sweepFactor == t.sweepFactor && sweepOffset == t.sweepOffset &&
               sweepOrientation == t.sweepOrientation && scale == t.scale;
    }
    int16_t operator!=(SYS_Transform const& t) const noexcept { return !(*this == t); }
    int32_t GetOrientation() const noexcept { return orientation; }
    /// 1 when angleFactor is not exactly 1 or orientation is not 0: a pure mirror counts.
    int16_t IsRotate() const noexcept { return angleFactor != 1.0 || orientation != 0; }
    /// 1 when sweepFactor is not exactly 1 or sweepOrientation is not 0.
    int16_t GetMirror() const noexcept { return sweepFactor != 1.0 || sweepOrientation != 0; }
    /// 1 when scale is not exactly 1.
    int16_t IsScale() const noexcept { return scale != 1.0; }
    /// The rotation of the matrix, atan2(m10, m00) brought into [0, 2 pi), in angle units,
    /// truncated.
    int32_t CalcAngle() const noexcept {
        double const turn = 2 * mortar::kPi;
        double a = std::atan2(m10, m00);
        while (a >= turn) a -= turn;
        while (a < 0.0) a += turn;
        return mortar::detail::RadiansToAngle(a);
    }
    /// Length of the matrix's first column: sqrt(m00^2 + m10^2).
    double CalcXScale() const noexcept { return std::sqrt(m00 * m00 + m10 * m10); }
    /// Length of the matrix's second column: sqrt(m01^2 + m11^2).
    double CalcYScale() const noexcept { return std::sqrt(m01 * m01 + m11 * m11); }

private:
    void SetMatrix(double a00, double a01, double a02, double a10, double a11, double a12) noexcept {
        m00 = a00, m01 = a01, m02 = a02;
        m10 = a10, m11 = a11, m12 = a12;
    }
    // Every field but the matrix and angleOffset; the sweep offsets become neutral.
    void SetAngles(double angles, int32_t orient, double sweeps, double length) noexcept {
        angleFactor = angles;
        orientation = orient;
        sweepFactor = sweeps;
        sweepOffset = 0.0;
        sweepOrientation = 0;
        scale = length;
    }
    void SetRotation(SYS_Point const& p, double c, double s) noexcept {
        double const x = p.x, y = p.y;
        SetMatrix(c, -s, (x - c * x) - (-s * y), s, c, (y - s * x) - c * y);
    }
    void SetReflection(SYS_Point const& p, double c, double s) noexcept {
        double const x = p.x, y = p.y;
        SetMatrix(c, s, (x - c * x) - y * s, s, -c, (y - s * x) - (-c * y));
    }
    void MoveBy(int32_t dx, int32_t dy) noexcept {
        SYS_Transform move;
        move.SetMove(dx, dy);
        AddConv(move);
    }
    void InvertMatrixInto(SYS_Transform& out, double det) const noexcept {
        out.m00 = m11 / det;
        out.m01 = -(m01 / det);
        out.m02 = (m12 * m01 - m02 * m11) / det;
        out.m10 = -(m10 / det);
        out.m11 = m00 / det;
        out.m12 = (m02 * m10 - m12 * m00) / det;
    }
    // The inverse as SetRConv writes it, from a copy so that this transform stays unchanged.
    SYS_Transform Inverse() const noexcept {
        SYS_Transform self = *this, inv;
        self.SetRConv(inv);
        return inv;
    }
    void Place(SYS_Point const& pivot, int32_t angle, int mirror, int mirrorFirst, int noMoveToOrigin,
               int noMoveBack) noexcept {
        SYS_Point const origin(0, 0);
        if (noMoveToOrigin)
            SetMove(0, 0);
        else
            SetMove(mortar::WrapNeg(pivot.x), mortar::WrapNeg(pivot.y));
        SYS_Transform flip;
        flip.SetMirror(origin, 0.0, 1.0);
        if (mirror && mirrorFirst) AddConv(flip);
        if (angle != 0) {
            SYS_Transform turn;
            turn.SetRotate(origin, angle);
            AddConv(turn);
        }
        if (mirror && !mirrorFirst) AddConv(flip);
        if (!noMoveBack) MoveBy(pivot.x, pivot.y);
    }
};

// The Transform members of the point, shape and placement types.

inline void SYS_DoublePoint::Transform(SYS_Transform const& t) noexcept { t.Transform(this); }

inline void SYS_Point::Transform(SYS_Transform const& t) noexcept { t.Transform(this); }

inline void SYS_Box::Transform(SYS_Transform const& t) noexcept {
    SYS_Point const corners[4] = {GetLowerLeft(), GetLowerRight(), GetUpperRight(), GetUpperLeft()};
    SetUnset();
    for (SYS_Point corner : corners) {
        corner.Transform(t);
        if (corner.x < left) left = corner.x;
        if (corner.y < lower) lower = corner.y;
        if (corner.x > right) right = corner.x;
        if (corner.y > upper) upper = corner.y;
    }
}

inline void SYS_Segment::Transform(SYS_Transform const& t) noexcept {
    start.Transform(t);
    end.Transform(t);
}

inline void SYS_Circle::Transform(SYS_Transform const& t) noexcept { center.Transform(t); }

inline void SYS_Arc::Transform(SYS_Transform const& t) noexcept {
    SYS_Segment::Transform(t);
    SYS_Circle::Transform(t);
}

inline void SYS_Location::Transform(SYS_Transform const& t) noexcept {
    using mortar::detail::ReduceAngle;
    m_Origin.Transform(t);
    int32_t a = ReduceAngle(mortar::WrapAdd(ReduceAngle(m_Orientation), t.GetOrientation()));
    if (t.GetMirror()) {
        a = SYS_ANGLE_TURN / 2 - a;
        if (a < 0) a += SYS_ANGLE_TURN;
    }
    m_Orientation = a;
}

inline void SYS_Position::Transform(SYS_Transform const& t) noexcept {
    SYS_Location::Transform(t);
    if (t.GetMirror()) m_Mirror ^= 1;
}

#endif
