// The axis-aligned box: what the drawing layer clips, invalidates and redraws.
//
// Four signed 32-bit fields in base units, left, lower, right, upper, which form the
// lower-left and the upper-right corner back to back. A box is well formed when left is not
// above right and lower not above upper. Nothing enforces that: constructors and setters
// store what they are given, Normalize restores the order on demand.
//
// Three states have names:
//   - the zero box, all four fields 0: made by the default constructor and SetEmpty;
//   - empty: width or height 0, wherever the box lies (IsEmpty);
//   - the unset box, left = lower = SYS_COORD_LIMIT and right = upper = -SYS_COORD_LIMIT,
//     inverted as far as the range allows. It is the start value of an accumulation:
//     Combine replaces it by the first box it meets. Every other operation takes it as four
//     plain numbers; IsValid says 0 for it.
//
// Arithmetic on the fields (Move, Expand, SetCenter, widths) wraps modulo 2^32; callers stay
// within the coordinate limit. The Transform member is defined in SYS_Transform.h.
#ifndef MORTAR_SYS_SYS_BOX_H
#define MORTAR_SYS_SYS_BOX_H

#include <mortar/export.h>
#include <mortar/sys/SYS_Point.h>

#include <cstddef>
#include <cstdint>

// The corners are handed out as SYS_Point references to the stored fields. The box type is
// marked may_alias so that the compiler keeps the two views of the same four integers
// coherent (accesses through it are not disambiguated by type).
#if defined(__GNUC__) || defined(__clang__)
#define MORTAR_SYS_BOX_MAY_ALIAS __attribute__((__may_alias__))
#else
#define MORTAR_SYS_BOX_MAY_ALIAS
#endif

namespace mortar::detail {

/// How two intervals cover one axis: the 2 to 4 distinct edges, and for each slab between
/// neighbouring edges a code with bit 0 for the clipping box and bit 1 for the clipped one.
struct ClipAxis {
    int32_t edge[4];
    int code[3];
    int slabs;
};

/// The coverage sweep of one axis. Each interval adds its weight at its low edge and takes
/// it away at its high edge; an inverted interval has its pair exchanged, so it sweeps like
/// a well-formed one, and one of zero extent cancels itself out. Events at the same
/// coordinate merge, which may leave a boundary of weight 0 that still splits a slab.
inline void SweepAxis(int32_t aLow, int32_t aHigh, int32_t bLow, int32_t bHigh, ClipAxis& axis) noexcept {
    int const a = aLow < aHigh ? 1 : -1;
    int const b = bLow < bHigh ? 2 : -2;
    int32_t at[4] = {aLow, aHigh, bLow, bHigh};
    int weight[4] = {a, -a, b, -b};
    for (int i = 1; i < 4; ++i) {
        for (int j = i; j > 0 && at[j] < at[j - 1]; --j) {
            int32_t const t = at[j];
            at[j] = at[j - 1], at[j - 1] = t;
            int const w = weight[j];
            weight[j] = weight[j - 1], weight[j - 1] = w;
        }
    }
    int merged[4];
    int n = 0;
    for (int i = 0; i < 4; ++i) {
        if (n > 0 && axis.edge[n - 1] == at[i]) {
            merged[n - 1] += weight[i];
        } else {
            axis.edge[n] = at[i];
            merged[n++] = weight[i];
        }
    }
    int cover = 0;
    for (int i = 0; i + 1 < n; ++i) axis.code[i] = cover += merged[i];
    axis.slabs = n - 1;
}

} // namespace mortar::detail

class MORTAR_API MORTAR_SYS_BOX_MAY_ALIAS SYS_Box {
public:
    int32_t left;
    int32_t lower;
    int32_t right;
    int32_t upper;

    /// The zero box.
    SYS_Box() noexcept : left(0), lower(0), right(0), upper(0) {}
    /// Lower-left and upper-right corner, stored without ordering.
    SYS_Box(SYS_Point const& lowerLeft, SYS_Point const& upperRight) noexcept {
        Set(lowerLeft, upperRight);
    }
    /// The four fields, stored without ordering.
    SYS_Box(int32_t l, int32_t lo, int32_t r, int32_t u) noexcept : left(l), lower(lo), right(r), upper(u) {}
    /// The square of the given side with a corner at p: p is the lower-left corner for a side
    /// not negative, the upper-right one for a negative side. Always well formed (in range).
    SYS_Box(SYS_Point const& p, int32_t side) noexcept { Set(p, side); }

    void Set(SYS_Point const& lowerLeft, SYS_Point const& upperRight) noexcept {
        Set(lowerLeft.x, lowerLeft.y, upperRight.x, upperRight.y);
    }
    void Set(int32_t l, int32_t lo, int32_t r, int32_t u) noexcept {
        left = l, lower = lo, right = r, upper = u;
    }
    void Set(SYS_Point const& p, int32_t side) noexcept {
        SYS_Point const q = p + side;
        if (side < 0)
            Set(q, p);
        else
            Set(p, q);
    }

    /// 1 when left <= right and lower <= upper; a box of zero size is valid.
    int IsValid() const noexcept { return left <= right && lower <= upper; }
    /// 1 when the width or the height is 0.
    int IsEmpty() const noexcept { return left == right || lower == upper; }
    /// The zero box.
    void SetEmpty() noexcept { Set(0, 0, 0, 0); }
    /// 1 for the unset box, the start of an accumulation by Combine.
    int IsUnset() const noexcept {
        return left == SYS_COORD_LIMIT && lower == SYS_COORD_LIMIT && right == -SYS_COORD_LIMIT &&
               upper == -SYS_COORD_LIMIT;
    }
    /// Makes this the unset box.
    void SetUnset() noexcept { Set(SYS_COORD_LIMIT, SYS_COORD_LIMIT, -SYS_COORD_LIMIT, -SYS_COORD_LIMIT); }

    int operator==(SYS_Box const& b) const noexcept {
        return left == b.left && lower == b.lower && right == b.right && upper == b.upper;
    }
    int operator!=(SYS_Box const& b) const noexcept { return !(*this == b); }

    int32_t GetLeft() const noexcept { return left; }
    int32_t GetRight() const noexcept { return right; }
    int32_t GetLower() const noexcept { return lower; }
    int32_t GetUpper() const noexcept { return upper; }
    void SetLeft(int32_t v) noexcept { left = v; }
    void SetRight(int32_t v) noexcept { right = v; }
    void SetLower(int32_t v) noexcept { lower = v; }
    void SetUpper(int32_t v) noexcept { upper = v; }

    /// The stored corner (left, lower): a reference that follows later changes of the box.
    SYS_Point const& GetLowerLeft() const noexcept { return *reinterpret_cast<SYS_Point const*>(&left); }
    /// The stored corner (right, upper): a reference that follows later changes of the box.
    SYS_Point const& GetUpperRight() const noexcept { return *reinterpret_cast<SYS_Point const*>(&right); }
    void SetLowerLeft(SYS_Point const& p) noexcept { SetLowerLeft(p.x, p.y); }
    void SetLowerLeft(int32_t x, int32_t y) noexcept { left = x, lower = y; }
    void SetUpperRight(SYS_Point const& p) noexcept { SetUpperRight(p.x, p.y); }
    void SetUpperRight(int32_t x, int32_t y) noexcept { right = x, upper = y; }
    SYS_Point GetUpperLeft() const noexcept { return {left, upper}; }
    SYS_Point GetLowerRight() const noexcept { return {right, lower}; }

    /// right - left, wrapping; negative for an inverted box.
    int32_t GetDX() const noexcept { return mortar::WrapSub(right, left); }
    int32_t GetWidth() const noexcept { return GetDX(); }
    /// upper - lower, wrapping; negative for an inverted box.
    int32_t GetDY() const noexcept { return mortar::WrapSub(upper, lower); }
    int32_t GetHeight() const noexcept { return GetDY(); }

    /// ((left + right) / 2, (lower + upper) / 2): the sums wrap, the division truncates
    /// toward zero, so (-3, -3, 0, 0) has the centre (-1, -1).
    SYS_Point GetCenter() const noexcept {
        return {mortar::WrapAdd(left, right) / 2, mortar::WrapAdd(lower, upper) / 2};
    }
    /// Keeps width w and height h: left = c.x - w / 2, lower = c.y - h / 2 (truncating),
    /// right = left + w, upper = lower + h.
    void SetCenter(SYS_Point c) noexcept {
        int32_t const w = GetWidth(), h = GetHeight();
        left = mortar::WrapSub(c.x, w / 2);
        lower = mortar::WrapSub(c.y, h / 2);
        right = mortar::WrapAdd(left, w);
        upper = mortar::WrapAdd(lower, h);
    }
    /// Adds d to both corners.
    void Move(SYS_Point d) noexcept { Set(GetLowerLeft() + d, GetUpperRight() + d); }

    /// 1 when p lies in the box, all four edges included; 0 for any p in an inverted box.
    int IsInclude(SYS_Point const& p) const noexcept {
        return left <= p.x && p.x <= right && lower <= p.y && p.y <= upper;
    }
    /// Grows the box just enough to hold (x, y).
    void Increase(int32_t x, int32_t y) noexcept {
        if (x < left) left = x;
        if (y < lower) lower = y;
        if (x > right) right = x;
        if (y > upper) upper = y;
    }
    /// Moves every edge outward by d, then Normalize: a negative d shrinks, and past the
    /// middle the sides change places ((0, 0, 10, 10) expanded by -6 is (4, 4, 6, 6)).
    void Expand(int32_t d) noexcept {
        Set(mortar::WrapSub(left, d), mortar::WrapSub(lower, d), mortar::WrapAdd(right, d),
            mortar::WrapAdd(upper, d));
        Normalize();
    }
    /// Swaps left with right when left is greater, lower with upper when lower is greater.
    void Normalize() noexcept {
        if (left > right) {
            int32_t const t = left;
            left = right, right = t;
        }
        if (lower > upper) {
            int32_t const t = lower;
            lower = upper, upper = t;
        }
    }

    /// Accumulates b: an unset box becomes a copy of b, an unset b changes nothing, otherwise
    /// the box stretches to the minimum and maximum of both. The zero box is not special:
    /// combined with a distant box it stretches the result to the origin.
    void Combine(SYS_Box const& b) noexcept {
        if (IsUnset()) {
            *this = b;
        } else if (!b.IsUnset()) {
            if (b.left < left) left = b.left;
            if (b.lower < lower) lower = b.lower;
            if (b.right > right) right = b.right;
            if (b.upper > upper) upper = b.upper;
        }
    }

    /// Makes this the overlap of a and b (either may be this box) and returns 1 when it has
    /// an inside. Boxes that only touch, or do not meet, give 0 and leave a degenerate box on
    /// the edge of the overlap: when the X test fails, left drops to right and lower, upper
    /// stay as computed (possibly out of order); when only the Y test fails, lower drops to
    /// upper.
    int SetAsIntersection(SYS_Box a, SYS_Box b) noexcept {
        left = a.left > b.left ? a.left : b.left;
        lower = a.lower > b.lower ? a.lower : b.lower;
        right = a.right < b.right ? a.right : b.right;
        upper = a.upper < b.upper ? a.upper : b.upper;
        if (left >= right) {
            left = right;
            return 0;
        }
        if (lower >= upper) {
            lower = upper;
            return 0;
        }
        return 1;
    }

    /// Subtracts this box from b and writes what remains of b into out, as 0 to 4 separate
    /// well-formed boxes of nonzero size, and returns their number. This box is not changed;
    /// out must hold four boxes (a null out only counts).
    ///
    /// Each axis is swept for coverage (see mortar::detail::SweepAxis), so inverted boxes clip
    /// like their normalised selves and a box of zero extent covers nothing. Walking the X
    /// slabs from low to high, a slab covered by b alone gives one box over b's whole height
    /// there; a slab covered by both gives one box for each Y slab covered by b alone. The
    /// order is therefore: the strip left of this box, the pieces below and above it, the strip
    /// right of it. Pieces are not merged across X slabs, so b can come back in several pieces
    /// even when this box does not touch it.
    int Clip(SYS_Box b, SYS_Box* out) const noexcept {
        mortar::detail::ClipAxis xs, ys;
        mortar::detail::SweepAxis(left, right, b.left, b.right, xs);
        mortar::detail::SweepAxis(lower, upper, b.lower, b.upper, ys);
        int first = -1, last = -1;
        for (int j = 0; j < ys.slabs; ++j) {
            if (ys.code[j] & 2) {
                if (first < 0) first = j;
                last = j;
            }
        }
        int count = 0;
        auto const emit = [&](int i, int32_t low, int32_t high) {
            if (out) out[count] = SYS_Box(xs.edge[i], low, xs.edge[i + 1], high);
            ++count;
        };
        for (int i = 0; i < xs.slabs; ++i) {
            if (xs.code[i] == 2 && first >= 0) {
                emit(i, ys.edge[first], ys.edge[last + 1]);
            } else if (xs.code[i] == 3) {
                for (int j = 0; j < ys.slabs; ++j)
                    if (ys.code[j] == 2) emit(i, ys.edge[j], ys.edge[j + 1]);
            }
        }
        return count;
    }

    /// Replaces the box by the well-formed bounding box of its four corners taken through t
    /// (lower-left, lower-right, upper-right, upper-left, each rounded as SYS_Point::Transform
    /// rounds). The bounds start from the unset box, so a left or lower edge never comes out
    /// above +SYS_COORD_LIMIT, nor a right or upper edge below -SYS_COORD_LIMIT. Under a
    /// rotation off the right angles the result is larger than the turned box.
    inline void Transform(SYS_Transform const& t) noexcept;
};

static_assert(sizeof(SYS_Box) == 2 * sizeof(SYS_Point) && offsetof(SYS_Box, right) == sizeof(SYS_Point),
              "the corners of a box are two points back to back");

#endif
