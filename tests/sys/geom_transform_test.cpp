#include <mortar/sys/SYS_Geom_Inline.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <type_traits>

namespace {

using mortar::kPi;
SYS_Point const kOrigin(0, 0);
constexpr int32_t kRight = 162000000, kHalf = 324000000;

static_assert(std::is_same_v<decltype(SYS_Transform().IsRotate()), int16_t> &&
                  std::is_same_v<decltype(SYS_Transform() == SYS_Transform()), int16_t> &&
                  std::is_same_v<decltype(SYS_Transform().Invert()), int16_t>,
              "the transform's truth values are 16-bit");

SYS_Transform Rotation(SYS_Point p, int32_t angle) { SYS_Transform t; t.SetRotate(p, angle); return t; }
SYS_Transform Mirror(SYS_Point p, int32_t angle) { SYS_Transform t; t.SetMirror(p, angle); return t; }
SYS_Transform Scale(SYS_Point p, double f) { SYS_Transform t; t.SetScale(p, f); return t; }

TEST(Location, OrientationAndTransform) {
    // Reduced by the truncated remainder of a full turn, which keeps the sign.
    struct Case { int32_t given, stored; } const cases[] = {{700000000, 52000000}, {-700000000, -52000000},
        {648000000, 0}, {-kRight, -kRight}, {INT32_MIN, -203483648}, {INT32_MAX, 203483647}};
    for (auto const& c : cases)
        EXPECT_TRUE(SYS_Location(1, 2, c.given).GetOrientation() == c.stored &&
                    SYS_Position(SYS_Point(1, 2), c.given, 0).GetOrientation() == c.stored) << c.given;
    EXPECT_NE(SYS_Location(0, 0, -kRight), SYS_Location(0, 0, 3 * kRight));
    EXPECT_EQ(SYS_Location(1, 2, 600000000) + SYS_Location(3, 4, 100000000), SYS_Location(4, 6, 52000000));

    SYS_Location l(0, 0, 648000000 - 50);
    l.Transform(Rotation(kOrigin, 100));
    EXPECT_EQ(l.GetOrientation(), 50);
    l.SetOrientation(-500000000);
    l.Transform(Mirror(kOrigin, 0)); // no reduction from above after the mirror step
    EXPECT_TRUE(l.GetOrientation() == 824000000 && !l.IsValid());

    SYS_Position pos(SYS_Location(5, 6, -kRight), 7); // the flag becomes 1
    pos.Transform(Rotation(kOrigin, kRight));        // no mirror: the flag stays
    EXPECT_EQ(pos, SYS_Position(-6, 5, 0, 1));
    pos += SYS_Position(1, 1, kRight, 1);
    EXPECT_EQ(pos, SYS_Position(-5, 6, kRight, 0));
    pos.Transform(SYS_Transform(10, 0, 0, 1)); // a placement that mirrors about x = 10
    EXPECT_EQ(pos, SYS_Position(25, 6, 3 * kRight, 1));
}

TEST(Transform, PlacementWithEachFlag) {
    // Pivot (10, 20); the input is (1, 2) relative to it.
    struct Case { char const* name; int32_t angle; int mirror, mirrorFirst, noMoveToOrigin, noMoveBack;
                  SYS_Point out; int32_t orientation; } const cases[] = {
        {"mirror only", 0, 1, 0, 0, 0, {9, 22}, kHalf},       {"turn only", kRight, 0, 0, 0, 0, {8, 21}, kRight},
        {"turn, then mirror", kRight, 1, 0, 0, 0, {12, 21}, kRight},
        {"mirror first, then turn", kRight, 1, 1, 0, 0, {8, 19}, 3 * kRight},
        {"no move to origin", kRight, 0, 0, 1, 0, {-12, 31}, kRight},
        {"no move back", kRight, 0, 0, 0, 1, {-2, 1}, kRight}, {"neither move", kRight, 0, 0, 1, 1, {-22, 11}, kRight},
        {"mirror first, no move to origin", kRight, 1, 1, 1, 0, {-12, 9}, 3 * kRight}};
    for (auto const& c : cases) {
        SYS_Transform const t(10, 20, c.angle, c.mirror, c.mirrorFirst, c.noMoveToOrigin, c.noMoveBack);
        EXPECT_EQ(t.Transform(SYS_Point(11, 22)), c.out) << c.name;
        EXPECT_TRUE(t.GetOrientation() == c.orientation && t.GetMirror() == c.mirror) << c.name;
        SYS_Position const pos(10, 20, c.angle, c.mirror);
        EXPECT_TRUE(SYS_Transform(pos, c.mirrorFirst, c.noMoveToOrigin, c.noMoveBack) == t) << c.name;
    }
}

TEST(Transform, Setters) {
    EXPECT_EQ(Rotation(kOrigin, 700000000).orientation, 700000000); // not reduced
    // Directions: the exact angle lands on the axes and diagonals.
    struct Case { double c, s, theta; int32_t orientation; } const directions[] = {
        {0, 1, kPi / 2, kRight},               {-1, 1, kPi - kPi / 4, 243000000},
        {-1, -1, kPi / 4 + kPi, 405000000},    {0, -1, 4.71238898038469, 486000000},
        {1, -1, 2 * kPi - kPi / 4, 567000000}, {3, 4, kPi / 2 - std::atan2(0.6, 0.8), 95634184},
        {1e-5, 1e-5, 0, 0}}; // too short: no rotation
    SYS_Transform t;
    for (auto const& c : directions) {
        t.SetRotate(kOrigin, c.c, c.s);
        EXPECT_TRUE(t.angleOffset == c.theta && t.orientation == c.orientation) << c.c << "," << c.s;
    }

    // Mirror directions: unit Y flips x; (1, 1) is shorter than 2 and stands for the X axis;
    // (3, 4) is the line along (0.6, 0.8).
    t.SetMirror(kOrigin, 0.0, 1.0);
    EXPECT_TRUE(t.Transform(SYS_Point(100, 30)) == SYS_Point(-100, 30) && t.orientation == kHalf);
    t.SetMirror(kOrigin, 1.0, 1.0);
    EXPECT_TRUE(t.Transform(SYS_Point(100, 30)) == SYS_Point(100, -30) && t.orientation == 0);
    t.SetMirror(kOrigin, 3.0, 4.0);
    EXPECT_TRUE(t.Transform(SYS_Point(100, 30)) == SYS_Point(1, 104) && t.angleFactor == -1.0 && t.GetMirror());
    // By an angle: orientation twice the angle; about a pivot; a pure mirror counts as a rotation.
    EXPECT_TRUE(Mirror(kOrigin, 81000000).Transform(SYS_Point(3, 7)) == SYS_Point(7, 3) &&
                Mirror(kOrigin, 81000000).orientation == kRight && Mirror(kOrigin, 0).IsRotate());
    EXPECT_EQ(Mirror(SYS_Point(10, 5), 0).Transform(SYS_Point(3, 7)), SYS_Point(3, 3));

    // A scale by -1 is a half turn, not a mirror.
    t = Scale(SYS_Point(5, 5), -1.0);
    EXPECT_TRUE(t.orientation == kHalf && t.scale == -1.0 && t.angleOffset == kPi && !t.GetMirror());
    EXPECT_EQ(t.Transform(SYS_Point(6, 7)), SYS_Point(4, 3));
    t.SetRotate(kOrigin, 100); // leaves angleOffset as it was
    EXPECT_TRUE(t.angleOffset == kPi && t.scale == 1.0);
    t.SetMove(0, 0); // replaces everything
    EXPECT_TRUE(t == SYS_Transform() && t.IsRotate() + t.GetMirror() + t.IsScale() == 0);

    SYS_Transform coord, axis;
    coord.SetCoordSys(SYS_Point(10, 20), kRight);
    axis.SetCoordSys(SYS_Point(10, 20), 1.0, 0.0);
    EXPECT_TRUE(coord.Transform(SYS_Point(10, 25)) == SYS_Point(5, 0) &&
                axis.Transform(SYS_Point(10, 25)) == SYS_Point(5, 0));

    SYS_Transform fit;
    fit.SetBoxConv(SYS_Point(0, 0), SYS_Point(10, 20), SYS_Box(0, 0, 100, 100));
    EXPECT_TRUE(fit.scale == 5.0 && fit.Transform(SYS_Point(10, 20)) == SYS_Point(75, 100));
    fit.SetBoxConv(SYS_Point(0, 0), SYS_Point(0, 20), SYS_Box(0, 0, 100, 100)); // flat in X: Y decides
    EXPECT_EQ(fit.scale, 5.0);
    fit.SetBoxConv(SYS_Point(3, 3), SYS_Point(3, 3), SYS_Box(0, 0, 100, 100)); // a point: only centred
    EXPECT_TRUE(fit.scale == 1.0 && fit.Transform(SYS_Point(4, 3)) == SYS_Point(51, 50));

    // Lengths: half-away rounded; divided by a zero scale they saturate, and 0 / 0 is 0.
    t = Scale(kOrigin, 2.5);
    int32_t length = 3;
    t.Convert(length);
    EXPECT_TRUE(length == 8 && t + -3 == -8 && t - 4 == 2 && t - -4 == -2 && t - 3 == 1);
    SYS_Transform const zero = Scale(kOrigin, 0.0);
    EXPECT_TRUE(zero - 5 == INT32_MAX && zero - -5 == INT32_MIN && zero - 0 == 0);
    EXPECT_EQ(Scale(kOrigin, 1e10) + SYS_COORD_LIMIT, INT32_MAX);
}

TEST(Transform, ShapesThroughATransform) {
    SYS_Box box(1200000000, 1200000000, 1300000000, 1300000000); // bounds start from the unset box
    box.Transform(SYS_Transform());
    EXPECT_EQ(box, SYS_Box(SYS_COORD_LIMIT, SYS_COORD_LIMIT, 1300000000, 1300000000));
    box.Set(0, 0, 10, 10);
    box.Transform(Rotation(kOrigin, 81000000));
    EXPECT_EQ(box, SYS_Box(-7, 0, 7, 14));
    SYS_Arc arc(SYS_Point(3, 4), SYS_Point(-4, 3), kOrigin, 5); // the radius is kept, sign and all
    arc.Transform(SYS_Transform(0, 0, 0, 1));
    EXPECT_EQ(arc, SYS_Arc(SYS_Point(-3, 4), SYS_Point(4, 3), kOrigin, 5));
    arc.Transform(Scale(SYS_Point(1, 0), 2.0));
    EXPECT_EQ(arc, SYS_Arc(SYS_Point(-7, 8), SYS_Point(7, 6), SYS_Point(-1, 0), 5));
}

TEST(Transform, ConvertAngleAndSweep) {
    SYS_Transform half;
    half.SetMirror(kOrigin, 0.0, 1.0); // angleOffset pi, added as stored
    half.sweepOffset = -0.75;          // the sweep is truncated
    struct Case { char const* name; SYS_Transform t; int32_t angle, sweep, angleOut, sweepOut; } const cases[] = {
        {"full turn stays", SYS_Transform(), 648000000, 0, 648000000, 0},
        {"negative angle", SYS_Transform(), -1, 0, 647999999, 0},
        {"just over two turns", SYS_Transform(), 1296000001, 0, 1, 0},
        {"two turns are one", SYS_Transform(), 1296000000, 0, 648000000, 0},
        {"int32 limits", SYS_Transform(), INT32_MIN, INT32_MIN, 444516352, 648000000},
        {"rotation adds", Rotation(kOrigin, 100), 647999950, 7, 50, 7},
        {"mirror by angle", Mirror(kOrigin, 0), 100, 50, 647999900, -50},
        {"mirror with offsets", half, 100, 50, 647999903, -50}};
    for (auto const& c : cases) {
        int32_t angle = c.angle, sweep = c.sweep;
        c.t.Convert(angle, sweep);
        EXPECT_TRUE(angle == c.angleOut && sweep == c.sweepOut) << c.name << ": " << angle << ", " << sweep;
    }
    EXPECT_EQ(Rotation(kOrigin, -kRight).CalcAngle(), 3 * kRight);
}

TEST(Transform, CompositionIsOrdered) {
    SYS_Transform move, self = Rotation(kOrigin, kRight);
    move.SetMove(10, 0);
    EXPECT_TRUE((move + self).Transform(SYS_Point(1, 0)) == SYS_Point(0, 11) &&
                (self + move).Transform(SYS_Point(1, 0)) == SYS_Point(10, 1) &&
                (move - self).Transform(SYS_Point(1, 0)) == SYS_Point(0, -11));
    self.AddConv(self);
    EXPECT_TRUE(self.Transform(SYS_Point(1, 0)) == SYS_Point(-1, 0) && self.orientation == kHalf);

    // Each angle part goes through its own factor: orientations truncated, offsets not.
    SYS_Transform first, second;
    first.orientation = 101, first.angleOffset = 0.5, first.sweepOrientation = 7, first.sweepOffset = 0.25;
    second.angleFactor = -0.5, second.orientation = 3, second.sweepFactor = 2.0, second.scale = 3.0;
    first.AddConv(second);
    EXPECT_TRUE(first.orientation == -50 + 3 && first.angleOffset == -0.25 && first.angleFactor == -0.5);
    EXPECT_TRUE(first.sweepOrientation == 14 && first.sweepOffset == 0.5 && first.scale == 3.0);
}

// Random transforms built from every setter: composed with the inverse that SetRConv writes,
// each gives back every point it is applied to.
TEST(Transform, InverseComposesToIdentity) {
    std::mt19937 rng(11);
    std::uniform_int_distribution<int32_t> coord(-1000000, 1000000), angle(-648000000, 648000000), kind(0, 3);
    std::uniform_real_distribution<double> factor(0.1, 10.0);
    for (int round = 0; round < 500; ++round) {
        SYS_Transform t;
        for (int step = 0; step < 3; ++step) {
            SYS_Point const p(coord(rng), coord(rng));
            SYS_Transform s;
            switch (kind(rng)) {
            case 0: s.SetRotate(p, angle(rng)); break;
            case 1: s.SetMirror(p, angle(rng)); break;
            case 2: s.SetScale(p, round % 2 ? factor(rng) : -factor(rng)); break;
            default: s.SetMove(coord(rng), coord(rng)); break;
            }
            t.AddConv(s);
        }
        SYS_Transform inverse, there = t, back = t;
        ASSERT_EQ(t.SetRConv(inverse), 1);
        there.AddConv(inverse);
        back.SubConv(t);
        for (int i = 0; i < 20; ++i) {
            SYS_Point const q(coord(rng), coord(rng));
            ASSERT_TRUE(there.Transform(q) == q && back.Transform(q) == q) << "round " << round;
        }
    }
}

TEST(Transform, InversionFailures) {
    SYS_Transform out = Rotation(kOrigin, 5), singular = Scale(kOrigin, 0.0);
    EXPECT_TRUE(singular.SetRConv(out) == 0 && out == SYS_Transform() && singular.Invert() == 0);
    singular.RConv(); // unconditionally: the identity it was left
    EXPECT_TRUE(singular == SYS_Transform());

    SYS_Transform thin;
    thin.m00 = 1e-15, thin.orientation = 5; // determinant 1e-15: refused by SetRConv, accepted by Invert
    EXPECT_TRUE(thin.SetRConv(out) == 0 && thin.Invert() == 1 && thin.orientation == 0);
    EXPECT_DOUBLE_EQ(thin.scale, 1e15);
    thin.m00 = 1e-19;
    SYS_Transform const before = thin;
    EXPECT_TRUE(thin.Invert() == 0 && thin == before);

    SYS_Transform noAngles;
    noAngles.m02 = 5.0;
    noAngles.angleFactor = 0.0; // the matrix is written, the angle parts are not
    EXPECT_TRUE(noAngles.SetRConv(out) == 0 && out.m02 == -5.0 && out.angleFactor == 1.0);
    SYS_Transform noScale = Rotation(kOrigin, kRight);
    noScale.scale = 0.0;
    EXPECT_TRUE(noScale.SetRConv(out) == 0 && noScale.scale == 1.0); // the source's own scale is reset
    EXPECT_TRUE(out.scale == 1.0 && out.orientation == -kRight);
    SYS_Transform nearOne;
    nearOne.angleFactor = 1.0 + 1e-13; // within the tolerance of 1: kept, not inverted
    EXPECT_TRUE(nearOne.SetRConv(out) == 1 && out.angleFactor == 1.0 + 1e-13);

    SYS_Transform turn = Rotation(SYS_Point(3, 4), kRight);
    EXPECT_TRUE(turn - SYS_Point(3, 9) == SYS_Point(8, 4) && turn + SYS_Point(8, 4) == SYS_Point(3, 9));
    turn.RConv();
    EXPECT_TRUE(turn.Transform(SYS_Point(3, 9)) == SYS_Point(8, 4) && turn.orientation == -kRight);
}

// Transform of an integer point gives exactly the rounded formula, for every transform and
// point, also where the result leaves the 32-bit range (whatever path the platform takes).
TEST(TransformExactness, PointsFollowTheRoundedFormula) {
    std::mt19937 rng(99);
    std::uniform_real_distribution<double> coef(-3.0, 3.0);
    std::uniform_int_distribution<int32_t> coord(INT32_MIN, INT32_MAX);
    for (int t = 0; t < 200; ++t) {
        SYS_Transform m;
        m.m00 = coef(rng), m.m01 = coef(rng), m.m02 = coef(rng) * 1e9;
        m.m10 = coef(rng), m.m11 = coef(rng), m.m12 = coef(rng) * 1e9;
        if (t % 50 == 0) m.m02 = std::nan("");
        for (int i = 0; i < 200; ++i) {
            SYS_Point p(coord(rng) / (i % 2 ? 1 : 4096), coord(rng) / (i % 3 ? 1 : 4096));
            double const x = p.x, y = p.y;
            SYS_Point const expected(mortar::RoundHalfAway((m.m01 * y + m.m00 * x) + m.m02),
                                     mortar::RoundHalfAway((m.m10 * x + m.m11 * y) + m.m12));
            ASSERT_EQ(m.Transform(p), expected) << "transform " << t << ", point " << i;
        }
    }
}

} // namespace
