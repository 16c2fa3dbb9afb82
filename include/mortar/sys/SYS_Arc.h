// Segments, circles and arcs: the curves that geometry iterators hand out.
//
// All three are plain values of 32-bit integers in base units; arithmetic on them wraps
// modulo 2^32 like that of SYS_Point. An arc is a segment (its two ends, in order) on a
// circle whose radius carries the direction: positive runs counter-clockwise from start to
// end, negative clockwise; the magnitude is the radius. A full circle as an arc has start
// equal to end. The Transform members are defined in SYS_Transform.h.
#ifndef MORTAR_SYS_SYS_ARC_H
#define MORTAR_SYS_SYS_ARC_H

#include <mortar/export.h>
#include <mortar/sys/SYS_Box.h>
#include <mortar/sys/SYS_Point.h>

#include <cstdint>

/// A directed segment: from start to end; the reversed segment is a different one.
class MORTAR_API SYS_Segment {
public:
    SYS_Point start;
    SYS_Point end;

    SYS_Segment() noexcept : start(0, 0), end(0, 0) {}
    SYS_Segment(SYS_Point const& s, SYS_Point const& e) noexcept : start(s), end(e) {}
    SYS_Segment(int32_t x1, int32_t y1, int32_t x2, int32_t y2) noexcept : start(x1, y1), end(x2, y2) {}

    void Initiate() noexcept { Set(0, 0, 0, 0); }
    void Set(SYS_Point const& s, SYS_Point const& e) noexcept { start = s, end = e; }
    void Set(int32_t x1, int32_t y1, int32_t x2, int32_t y2) noexcept { Set({x1, y1}, {x2, y2}); }
    int IsValid() const noexcept { return 1; }

    SYS_Point const& GetStart() const noexcept { return start; }
    SYS_Point const& GetEnd() const noexcept { return end; }
    void SetStart(SYS_Point const& p) noexcept { start = p; }
    void SetStart(int32_t x, int32_t y) noexcept { start.Set(x, y); }
    void SetEnd(SYS_Point const& p) noexcept { end = p; }
    void SetEnd(int32_t x, int32_t y) noexcept { end.Set(x, y); }
    /// start for 0, end for any other index.
    SYS_Point const& operator[](int i) const noexcept { return i == 0 ? start : end; }

    /// end - start on that axis, wrapping.
    int32_t GetDX() const noexcept { return mortar::WrapSub(end.x, start.x); }
    int32_t GetDY() const noexcept { return mortar::WrapSub(end.y, start.y); }

    /// Both ends shifted by d (or by k on both axes).
    SYS_Segment& operator+=(SYS_Point const& d) noexcept { return Shift(d, 1); }
    SYS_Segment& operator-=(SYS_Point const& d) noexcept { return Shift(d, -1); }
    SYS_Segment& operator+=(int32_t k) noexcept { return Shift({k, k}, 1); }
    SYS_Segment& operator-=(int32_t k) noexcept { return Shift({k, k}, -1); }
    SYS_Segment operator+(SYS_Point const& d) const noexcept { return SYS_Segment(*this) += d; }
    SYS_Segment operator-(SYS_Point const& d) const noexcept { return SYS_Segment(*this) -= d; }
    SYS_Segment operator+(int32_t k) const noexcept { return SYS_Segment(*this) += k; }
    SYS_Segment operator-(int32_t k) const noexcept { return SYS_Segment(*this) -= k; }

    /// Both ends in order.
    int operator==(SYS_Segment const& s) const noexcept { return start == s.start && end == s.end; }
    int operator!=(SYS_Segment const& s) const noexcept { return !(*this == s); }

    /// GetPolarRadius of end - start: the refined root, which may differ from
    /// SYS_Point::Distance in the last bit.
    double GetLength() const noexcept { return (end - start).GetPolarRadius(); }
    /// The smallest well-formed box around the two ends.
    SYS_Box GetBox() const noexcept {
        SYS_Box box(start, start);
        box.Increase(end.x, end.y);
        return box;
    }
    /// Both ends through t, rounded as SYS_Point::Transform rounds.
    inline void Transform(SYS_Transform const& t) noexcept;

private:
    SYS_Segment& Shift(SYS_Point const& d, int sign) noexcept {
        SYS_Point const step = sign > 0 ? d : SYS_Point(mortar::WrapNeg(d.x), mortar::WrapNeg(d.y));
        start += step;
        end += step;
        return *this;
    }
};

/// A circle. The sign of the radius means nothing to a circle and nothing tests it; a circle
/// of negative radius is valid and has an inverted box.
class MORTAR_API SYS_Circle {
public:
    SYS_Point center;
    int32_t radius;

    SYS_Circle() noexcept : center(0, 0), radius(0) {}
    SYS_Circle(SYS_Point const& c, int32_t r) noexcept : center(c), radius(r) {}
    SYS_Circle(int32_t x, int32_t y, int32_t r) noexcept : center(x, y), radius(r) {}

    void Initiate() noexcept { Set(0, 0, 0); }
    void Set(SYS_Point const& c, int32_t r) noexcept { center = c, radius = r; }
    void Set(int32_t x, int32_t y, int32_t r) noexcept { Set({x, y}, r); }
    void SetCenter(SYS_Point const& c) noexcept { center = c; }
    void SetRadius(int32_t r) noexcept { radius = r; }
    SYS_Point const& GetCenter() const noexcept { return center; }
    int32_t GetRadius() const noexcept { return radius; }

    /// 1 when the radius lies strictly inside +-SYS_COORD_LIMIT; the centre is not looked at.
    int IsValid() const noexcept { return radius > -SYS_COORD_LIMIT && radius < SYS_COORD_LIMIT; }
    int operator==(SYS_Circle const& c) const noexcept { return center == c.center && radius == c.radius; }
    int operator!=(SYS_Circle const& c) const noexcept { return !(*this == c); }

    /// (x - r, y - r, x + r, y + r) with the signed radius, wrapping.
    SYS_Box GetBox() const noexcept { return SYS_Box(center - radius, center + radius); }
    /// The centre through t. The radius is not scaled.
    inline void Transform(SYS_Transform const& t) noexcept;
};

/// A circular arc from start to end about center; the sign of radius gives the direction.
///
/// Besides its own operations it has those of its bases. The shift operators come from
/// SYS_Segment and move the two ends only; take the arc through a move transform to carry
/// the centre as well.
class MORTAR_API SYS_Arc : public SYS_Segment, public SYS_Circle {
public:
    SYS_Arc() noexcept = default;
    SYS_Arc(SYS_Point const& s, SYS_Point const& e, SYS_Point const& c, int32_t r) noexcept
        : SYS_Segment(s, e), SYS_Circle(c, r) {}

    void Initiate() noexcept {
        SYS_Segment::Initiate();
        SYS_Circle::Initiate();
    }
    void Set(SYS_Point const& s, SYS_Point const& e, SYS_Point const& c, int32_t r) noexcept {
        SYS_Segment::Set(s, e);
        SYS_Circle::Set(c, r);
    }

    /// All seven values.
    int operator==(SYS_Arc const& a) const noexcept {
        return SYS_Segment::operator==(a) && SYS_Circle::operator==(a);
    }
    int operator!=(SYS_Arc const& a) const noexcept { return !(*this == a); }

    /// The radius test of SYS_Circle; the ends are not looked at.
    int IsValid() const noexcept { return SYS_Circle::IsValid(); }
    /// 1 when both ends lie on the circle: for each, the squared distance from the centre
    /// (the difference in 32 bits, squared in doubles) minus the squared radius, half-away
    /// rounded, is within +-1. The tolerance is one square base unit, not one base unit.
    int IsValidArc() const noexcept { return OffCircle(start) <= 1 && OffCircle(end) <= 1; }

    /// Polar angle of start (end) seen from the centre, the difference taken in doubles.
    int32_t GetStartAngle() const noexcept { return AngleOf(start); }
    int32_t GetEndAngle() const noexcept { return AngleOf(end); }
    /// The signed sweep from start to end in the arc's direction: in [0, SYS_ANGLE_TURN) for
    /// a positive radius, in (-SYS_ANGLE_TURN, 0] for a negative one. Equal angles give 0,
    /// also for a full circle; a radius of 0 gives the plain difference of the angles.
    int32_t GetSizeAngle() const noexcept {
        int32_t d = GetEndAngle() - GetStartAngle();
        if (d > 0 && radius < 0) d -= SYS_ANGLE_TURN;
        if (d < 0 && radius > 0) d += SYS_ANGLE_TURN;
        return d;
    }
    /// Sweep (in radians) times radius: never negative, 0 when start equals end.
    double GetLength() const noexcept {
        return static_cast<double>(GetSizeAngle()) * mortar::kPi / 324000000.0 * radius;
    }

    /// For a point p on the arc: the first point where X has an extreme when walking from p
    /// along the arc towards end. Returns -1 with out = (center.x - |radius|, center.y) for
    /// the leftmost point of the circle, 1 with (center.x + |radius|, center.y) for the
    /// rightmost, 0 with out = center when the walk reaches end first. For a p that is not on
    /// the arc the same tests run and give whatever they give. out may be p; a null out is
    /// allowed and only the result is returned.
    int GetXNearestExtrem(SYS_Point const& p, SYS_Point* out) const noexcept {
        return NearestExtrem(p, out, 0);
    }
    /// The same walk for Y: -1 for the lowest point (center.x, center.y - |radius|), 1 for the
    /// highest, 0 with out = center.
    int GetYNearestExtrem(SYS_Point const& p, SYS_Point* out) const noexcept {
        return NearestExtrem(p, out, 1);
    }

    /// The box of the two ends, widened to each extreme of X and Y that the arc passes
    /// (found by walking from start, then once more from the extreme found). A full circle
    /// (start equal to end) gets the whole box of the circle.
    SYS_Box GetBox() const noexcept {
        SYS_Box box = SYS_Segment::GetBox();
        for (int axis = 0; axis < 2; ++axis) {
            SYS_Point at = start;
            for (int step = 0; step < 2; ++step) {
                int const side = NearestExtrem(at, &at, axis);
                if (side == 0) break;
                int32_t& edge = axis == 0 ? (side < 0 ? box.left : box.right) : (side < 0 ? box.lower : box.upper);
                edge = axis == 0 ? at.x : at.y;
            }
        }
        return box;
    }

    /// The ends and the centre through t. The radius keeps its value and its sign, also under
    /// a mirror or a scale.
    inline void Transform(SYS_Transform const& t) noexcept;

private:
    int32_t AngleOf(SYS_Point const& p) const noexcept {
        return SYS_DoublePoint(static_cast<double>(p.x) - center.x, static_cast<double>(p.y) - center.y)
            .GetPolarAngle();
    }

    uint32_t OffCircle(SYS_Point const& p) const noexcept {
        double const r = radius;
        SYS_Point const d = p - center;
        return mortar::UnsignedAbs(mortar::RoundHalfAway(d.ScalarProduct(d) - r * r));
    }

    // The extremes walk, for X (axis 0) or Y (axis 1). Both axes run the same tests on
    // different terms, each taken times the sign s of the direction: pv says on which side of
    // the centre p lies across the walked axis (for X: below the centre is positive; for Y:
    // right of it), pu where p lies along the other axis, ev where end lies across. For X, p
    // heads for the leftmost point when pv < 0 or pu equals the signed radius R; for Y, p
    // heads for the lowest point when pv < 0 or pu equals -R.
    int NearestExtrem(SYS_Point const& from, SYS_Point* out, int axis) const noexcept {
        using mortar::WrapMul;
        using mortar::WrapSub;
        SYS_Point const p = from; // out may be the same point
        int32_t const s = radius < 0 ? -1 : 1;
        int32_t const pc = axis == 0 ? p.x : p.y; // the coordinate walked to its extreme
        int32_t const ec = axis == 0 ? end.x : end.y;
        int32_t const cc = axis == 0 ? center.x : center.y;
        int32_t const ev = axis == 0 ? WrapMul(s, WrapSub(center.y, end.y)) : WrapMul(s, WrapSub(end.x, center.x));
        int32_t const pv = axis == 0 ? WrapMul(s, WrapSub(center.y, p.y)) : WrapMul(s, WrapSub(p.x, center.x));
        int32_t const pu = axis == 0 ? WrapMul(s, WrapSub(p.x, center.x)) : WrapMul(s, WrapSub(center.y, p.y));
        int32_t const magnitude = static_cast<int32_t>(mortar::UnsignedAbs(radius));
        int32_t const towardLow = axis == 0 ? radius : mortar::WrapNeg(radius);
        int result = 0;
        if ((pv < 0 || pu == towardLow) && (ev > 0 || pc <= ec))
            result = -1;
        else if ((pv > 0 || pu == mortar::WrapNeg(towardLow)) && (ev < 0 || pc >= ec))
            result = 1;
        if (out) {
            *out = center;
            if (result != 0) {
                int32_t const at = result < 0 ? WrapSub(cc, magnitude) : mortar::WrapAdd(cc, magnitude);
                (axis == 0 ? out->x : out->y) = at;
            }
        }
        return result;
    }
};

#endif
