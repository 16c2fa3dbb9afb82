#include <mortar/sys/SYS_Geom_Inline.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string Show(SYS_Box const& b) {
    std::ostringstream s;
    s << "(" << b.left << ", " << b.lower << ", " << b.right << ", " << b.upper << ")";
    return s.str();
}

SYS_Box const kUnset(SYS_COORD_LIMIT, SYS_COORD_LIMIT, -SYS_COORD_LIMIT, -SYS_COORD_LIMIT);

TEST(Box, StatedChoices) {
    EXPECT_TRUE(SYS_Box(0, 0, 0, 5).IsValid() && SYS_Box(0, 0, 0, 5).IsEmpty());
    EXPECT_FALSE(SYS_Box(5, 5, 0, 0).IsValid() || SYS_Box(5, 5, 0, 0).IsEmpty() || kUnset.IsValid());
    SYS_Box b(0, 0, 10, 10);
    b.Expand(-6); // shrunk past the middle, then normalised
    EXPECT_TRUE(b == SYS_Box(4, 4, 6, 6) && SYS_Box(SYS_Point(10, 10), -5) == SYS_Box(5, 5, 10, 10));
    // The centre sums wrap and the halves truncate toward zero.
    EXPECT_TRUE(SYS_Box(-3, -3, 0, 0).GetCenter() == SYS_Point(-1, -1) &&
                SYS_Box(INT32_MAX, 0, INT32_MAX, 2).GetCenter() == SYS_Point(-1, 1));
    b.Set(0, 0, 5, 3);
    b.SetCenter(SYS_Point(-10, 10));
    EXPECT_EQ(b, SYS_Box(-12, 9, -7, 12)); // width 5 and height 3 kept
    b.Set(2, 2, 4, 4);
    EXPECT_TRUE(b.IsInclude(SYS_Point(2, 2)) && b.IsInclude(SYS_Point(4, 4)));
    EXPECT_FALSE(b.IsInclude(SYS_Point(5, 3)) || SYS_Box(4, 4, 2, 2).IsInclude(SYS_Point(3, 3)));
    SYS_Point const& ll = b.GetLowerLeft(); // a reference to the stored fields
    b.SetLeft(-7);
    b.Move(SYS_Point(1, 1));
    EXPECT_TRUE(ll == SYS_Point(-6, 3) && b.GetUpperRight() == SYS_Point(5, 5));

    b = kUnset;
    for (SYS_Box const& next : {kUnset, SYS_Box(1, 2, 3, 4), kUnset, SYS_Box(-5, 3, 2, 9)}) b.Combine(next);
    SYS_Box zero;
    zero.Combine(SYS_Box(10, 10, 20, 20)); // the zero box is a box like any other
    EXPECT_TRUE(b == SYS_Box(-5, 2, 3, 9) && zero == SYS_Box(0, 0, 20, 20));

    struct Case { SYS_Box a, b; int result; SYS_Box expected; } const cases[] = {
        {{0, 0, 10, 10}, {5, -5, 15, 5}, 1, {5, 0, 10, 5}},
        {{0, 0, 10, 10}, {10, 0, 20, 10}, 0, {10, 0, 10, 10}},   // touching
        {{0, 0, 10, 10}, {20, 20, 30, 30}, 0, {10, 20, 10, 10}}, // apart: left drops, Y stays inverted
        {{0, 0, 10, 10}, {0, 20, 10, 30}, 0, {0, 10, 10, 10}}};  // apart in Y only: lower drops
    for (auto const& c : cases) {
        SYS_Box r(99, 99, 99, 99);
        EXPECT_EQ(r.SetAsIntersection(c.a, c.b), c.result) << Show(c.b);
        EXPECT_EQ(Show(r), Show(c.expected));
    }
    SYS_Box self(0, 0, 10, 10);
    EXPECT_TRUE(self.SetAsIntersection(self, SYS_Box(5, 5, 20, 20)) == 1 && self == SYS_Box(5, 5, 10, 10));
}

TEST(Box, ClipByHand) {
    struct Case { char const* name; SYS_Box clip, b; std::string pieces; } const cases[] = {
        {"hole", {2, 2, 4, 4}, {0, 0, 6, 6}, "(0, 0, 2, 6)(2, 0, 4, 2)(2, 4, 4, 6)(4, 0, 6, 6)"},
        {"b inverted", {2, 2, 4, 4}, {6, 6, 0, 0}, "(0, 0, 2, 6)(2, 0, 4, 2)(2, 4, 4, 6)(4, 0, 6, 6)"},
        {"apart, split at the clip's edge", {5, 20, 15, 30}, {0, 0, 10, 10}, "(0, 0, 5, 10)(5, 0, 10, 10)"},
        {"zero-size clip inside", {5, 5, 5, 5}, {0, 0, 10, 10}, "(0, 0, 5, 10)(5, 0, 10, 10)"},
        {"corner overlap", {3, 3, 7, 7}, {0, 0, 5, 5}, "(0, 0, 3, 5)(3, 0, 5, 3)"},
        {"near the 32-bit limits", {-5, -5, 5, 5}, {INT32_MIN, INT32_MIN, INT32_MAX, 0},
         "(-2147483648, -2147483648, -5, 0)(-5, -2147483648, 5, -5)(5, -2147483648, 2147483647, 0)"}};
    for (auto const& c : cases) {
        SYS_Box out[4];
        int const n = c.clip.Clip(c.b, out);
        std::string got;
        for (int i = 0; i < n; ++i) got += Show(out[i]);
        EXPECT_TRUE(got == c.pieces && c.clip.Clip(c.b, nullptr) == n) << c.name << ": " << got;
    }
}

// Random boxes on an 8 x 8 grid, inverted and degenerate ones included: every unit cell of
// b lies in exactly one piece or in the clipping box, and every piece is well formed and not empty.
TEST(Box, ClipCoversExactlyWithoutOverlap) {
    std::mt19937 rng(20240601);
    std::uniform_int_distribution<int32_t> coord(0, 8);
    auto const inside = [](SYS_Box b, int x, int y) {
        b.Normalize();
        return b.left <= x && x + 1 <= b.right && b.lower <= y && y + 1 <= b.upper;
    };
    for (int round = 0; round < 3000; ++round) {
        SYS_Box const clip(coord(rng), coord(rng), coord(rng), coord(rng));
        SYS_Box const b(coord(rng), coord(rng), coord(rng), coord(rng));
        SYS_Box out[4];
        int const n = clip.Clip(b, out);
        ASSERT_LE(n, 4);
        for (int i = 0; i < n; ++i)
            ASSERT_TRUE(out[i].IsValid() && !out[i].IsEmpty()) << Show(clip) << Show(b) << Show(out[i]);
        for (int x = 0; x < 8; ++x)
            for (int y = 0; y < 8; ++y) {
                int count = inside(clip, x, y) && inside(b, x, y);
                for (int i = 0; i < n; ++i) count += inside(out[i], x, y);
                ASSERT_EQ(count, inside(b, x, y) ? 1 : 0) << "cell " << x << "," << y << Show(clip) << Show(b);
            }
    }
}

TEST(Curves, SegmentCircleAndArcValues) {
    SYS_Segment const s(4, 6, 1, 2);
    EXPECT_TRUE(s[0] == SYS_Point(4, 6) && s[5] == SYS_Point(1, 2) && s.GetLength() == 5.0 &&
                s.GetBox() == SYS_Box(1, 2, 4, 6));
    EXPECT_EQ(SYS_Circle(1, 1, -5).GetBox(), SYS_Box(6, 6, -4, -4)); // a negative radius inverts

    SYS_Arc quarter(SYS_Point(10, 0), SYS_Point(0, 10), SYS_Point(0, 0), 10);
    EXPECT_TRUE(quarter.GetSizeAngle() == 162000000 && quarter.GetLength() == 5 * mortar::kPi);
    quarter.SetRadius(-10); // clockwise: the long way round
    EXPECT_TRUE(quarter.GetSizeAngle() == -486000000 && quarter.GetLength() == 15 * mortar::kPi);
    SYS_Arc tiny(SYS_Point(1000000000, 97), SYS_Point(1000000000, 49), SYS_Point(0, 0), 1000000000);
    ASSERT_TRUE(tiny.GetStartAngle() == 10 && tiny.GetEndAngle() == 5);
    EXPECT_EQ(tiny.GetSizeAngle(), 647999995); // the long way round
    tiny.SetRadius(-1000000000);
    EXPECT_EQ(tiny.GetSizeAngle(), -5);
    SYS_Arc full(SYS_Point(3, 4), SYS_Point(3, 4), SYS_Point(0, 0), 5);
    EXPECT_TRUE(full.GetSizeAngle() == 0 && full.GetLength() == 0.0);
    full.SetRadius(-5);
    EXPECT_TRUE(full.GetSizeAngle() == 0 && full.GetLength() == 0.0);

    // The tolerance is one square unit: r^2 + 1 and r^2 - 1 pass, r^2 + 2 does not.
    EXPECT_TRUE(SYS_Arc(SYS_Point(5, 1), SYS_Point(3, 4), SYS_Point(0, 0), 5).IsValidArc() &&
                SYS_Arc(SYS_Point(2, 2), SYS_Point(3, 0), SYS_Point(0, 0), -3).IsValidArc());
    EXPECT_FALSE(SYS_Arc(SYS_Point(4, 1), SYS_Point(3, 3), SYS_Point(0, 0), 4).IsValidArc() ||
                 SYS_Arc(SYS_Point(3, 4), SYS_Point(3, 4), SYS_Point(INT32_MIN, 0), 5).IsValidArc());
}

TEST(Arc, BoxThroughEveryQuadrant) {
    // Points on the circle of radius 5 in each quadrant, and on the axes.
    SYS_Point const q1(3, 4), q2(-4, 3), q3(-3, -4), q4(4, -3), east(5, 0), north(0, 5), west(-5, 0),
        south(0, -5);
    struct Case { char const* name; SYS_Point start, end; int32_t radius; SYS_Box box; } const cases[] = {
        {"Q1 to Q2 ccw", q1, q2, 5, {-4, 3, 3, 5}},          {"Q1 to Q2 cw", q1, q2, -5, {-5, -5, 5, 4}},
        {"Q1 to Q4 ccw", q1, q4, 5, {-5, -5, 4, 5}},         {"Q1 to Q3 cw", q1, q3, -5, {-3, -5, 5, 4}},
        {"Q2 to Q1 ccw", q2, q1, 5, {-5, -5, 5, 4}},         {"Q2 to Q1 cw", q2, q1, -5, {-4, 3, 3, 5}},
        {"Q4 to Q1 ccw", q4, q1, 5, {3, -3, 5, 4}},          {"Q4 to Q3 cw", q4, q3, -5, {-3, -5, 4, -3}},
        {"Q1 full circle ccw", q1, q1, 5, {-5, -5, 5, 5}},   {"Q3 full circle cw", q3, q3, -5, {-5, -5, 5, 5}},
        {"west to east ccw", west, east, 5, {-5, -5, 5, 0}}, {"west to east cw", west, east, -5, {-5, 0, 5, 5}},
        {"east to north cw", east, north, -5, {-5, -5, 5, 5}},
        {"south full circle cw", south, south, -5, {-5, -5, 5, 5}}};
    for (auto const& c : cases)
        EXPECT_EQ(Show(SYS_Arc(c.start, c.end, SYS_Point(0, 0), c.radius).GetBox()), Show(c.box)) << c.name;
    SYS_Point out(1, 1);
    SYS_Arc const arc(q1, q3, SYS_Point(0, 0), 5);
    EXPECT_EQ(arc.GetXNearestExtrem(q1, &out), -1);
    EXPECT_EQ(out, SYS_Point(-5, 0));
    EXPECT_EQ(arc.GetXNearestExtrem(out, &out), 0); // out may be p: the walk reaches end first
    EXPECT_EQ(out, SYS_Point(0, 0));
}

// The box of the arc about c from s to e (given relative to c) holds every point sampled along
// the arc, and misses no extreme by more than the sampling can.
void ExpectBoxHoldsSamples(SYS_Point c, SYS_Point s, SYS_Point e, int32_t radius) {
    SYS_Arc const arc(s + c, e + c, c, radius);
    SYS_Box const box = arc.GetBox();
    double const from = std::atan2(s.y, s.x), to = std::atan2(e.y, e.x), turn = 2 * mortar::kPi, r = std::abs(radius);
    // The sweep in the arc's direction; equal ends make a full circle.
    double sweep = s == e ? turn : std::fmod(to - from + 2 * turn, turn);
    if (radius < 0) sweep = s == e ? -sweep : sweep - turn;
    double lo[2] = {1e18, 1e18}, hi[2] = {-1e18, -1e18};
    for (int i = 0; i <= 2000; ++i) {
        double const t = from + sweep * i / 2000;
        double const xy[2] = {c.x + r * std::cos(t), c.y + r * std::sin(t)};
        for (int a = 0; a < 2; ++a) lo[a] = std::min(lo[a], xy[a]), hi[a] = std::max(hi[a], xy[a]);
    }
    double const slack = 1e-5 * r;
    int32_t const low[2] = {box.left, box.lower}, high[2] = {box.right, box.upper};
    for (int a = 0; a < 2; ++a)
        EXPECT_TRUE(low[a] <= lo[a] + 1e-6 && low[a] > lo[a] - slack && high[a] >= hi[a] - 1e-6 &&
                    high[a] < hi[a] + slack)
            << Show(SYS_Box(arc.start, arc.end)) << " about " << c.x << "," << c.y << " radius " << radius
            << " gives " << Show(box);
}

// Every arc between two lattice points of a circle of radius 25 (all quadrants and axes, two
// points in each octant), both directions, full circles too, small and large, near the origin
// and near the coordinate limit.
TEST(Arc, BoxHoldsTheSampledArc) {
    std::vector<SYS_Point> ring;
    for (SYS_Point p : {SYS_Point(25, 0), SYS_Point(24, 7), SYS_Point(20, 15), SYS_Point(15, 20), SYS_Point(7, 24)})
        for (int q = 0; q < 4; ++q, p = SYS_Point(-p.y, p.x)) ring.push_back(p);
    for (int32_t k : {1, 40000})
        for (SYS_Point s : ring)
            for (SYS_Point e : ring)
                for (int32_t radius : {25 * k, -25 * k}) {
                    ExpectBoxHoldsSamples(SYS_Point(-3, 8), s * k, e * k, radius);
                    SYS_Point const nearLimit(SYS_COORD_LIMIT - 25 * k, 25 * k - SYS_COORD_LIMIT);
                    ExpectBoxHoldsSamples(nearLimit, s * k, e * k, radius);
                }
}

} // namespace
