#include <mortar/sys/SYS_Geom_Inline.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

constexpr int32_t kMax = INT32_MAX, kMin = INT32_MIN;
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(GeomArith, ConversionsAreTotal) {
    struct Case { double v; int32_t rounded, truncated; } const cases[] = {
        {2.5, 3, 2}, {-2.5, -3, -2}, {-2.9, -3, -2}, {-0.0, 0, 0}, {2147483646.5, kMax, 2147483646},
        {2147483647.5, kMax, kMax}, {-2147483648.0, kMin, kMin}, {-2147483648.5, kMin, kMin},
        {kInf, kMax, kMax}, {-kInf, kMin, kMin}, {kNaN, 0, 0}};
    for (auto const& c : cases)
        EXPECT_TRUE(mortar::RoundHalfAway(c.v) == c.rounded && mortar::TruncToInt32(c.v) == c.truncated)
            << c.v;
}

TEST(Point, ArithmeticWrapsAndRoundsByItsRule) {
    EXPECT_TRUE(SYS_Point(kMax, kMin) + SYS_Point(1, -1) == SYS_Point(kMin, kMax) &&
                SYS_Point(kMin, 0) - 1 == SYS_Point(kMax, -1));
    EXPECT_EQ(SYS_Point(kMax, 3) * kMax, SYS_Point(1, 2147483645));
    EXPECT_TRUE(SYS_Point(kMin, 0).MLength() == kMin && SYS_Point(kMin, 0).Length() == 2147483648.0);
    // The midpoint wraps its sum first, then halves it away from zero.
    EXPECT_EQ(SYS_Point(kMax, kMin).Median(SYS_Point(1, -1)), SYS_Point(-1073741824, 1073741824));
    EXPECT_EQ(SYS_Point(1, -1).Median(SYS_Point(2, -2)), SYS_Point(2, -2));
    // Division and Scale round half-away, * double truncates; beyond the range they saturate.
    SYS_Point scaled(3, 3);
    scaled.Scale(-0.5, 1.5);
    EXPECT_TRUE(SYS_Point(7, -7) / 2 == SYS_Point(4, -4) && SYS_Point(7, -7) * 0.5 == SYS_Point(3, -3) &&
                scaled == SYS_Point(-2, 5));
    EXPECT_TRUE(SYS_Point(5, -5) / 0 == SYS_Point(kMax, kMin) && SYS_Point(0, 1) / 0 == SYS_Point(0, kMax) &&
                SYS_Point(SYS_COORD_LIMIT, -SYS_COORD_LIMIT) * 3.0 == SYS_Point(kMax, kMin));

    SYS_Point const p(4, 9);
    EXPECT_EQ(p[0] + p[1] + p[-1], 22); // every index but 0 is y
    EXPECT_TRUE(SYS_Point(1, 9) < SYS_Point(2, 0) && SYS_Point(1, 0) < SYS_Point(1, 1) &&
                !(SYS_Point(2, 0) < SYS_Point(1, 9)) && !(SYS_Point(1, 1) < SYS_Point(1, 1)));
    EXPECT_TRUE(SYS_Point(-5, 5).Length() == 5 * 1.4142135623730951 &&
                SYS_Point(4, 6).Distance({1, 2}) == 5.0);
    EXPECT_EQ(SYS_Point(0, 1).VectorProduct(SYS_Point(1, 0)), -1.0); // clockwise: negative
    EXPECT_EQ(SYS_Point(kMax, kMax).ScalarProduct(SYS_Point(kMax, kMax)), 2.0 * 2147483647.0 * 2147483647.0);

    struct Case { int32_t x, y, angle; } const angles[] = {
        {1, 0, 0},           {kMax, kMax, 81000000}, {0, 1, 162000000}, {-1, 0, 324000000}, {0, 0, 0},
        {-1, -1, 405000000}, {0, -1, 486000000},    {1, -1, 567000000},
        {1000000, -1, 647999897}, // just below +X: a negative angle goes once round
        {1000000000, -1, 0}};     // closer still: truncated to 0, never a full turn
    for (auto const& c : angles)
        EXPECT_TRUE(SYS_Point(c.x, c.y).GetPolarAngle() == c.angle &&
                    SYS_DoublePoint(c.x, c.y).GetPolarAngle() == c.angle) << c.x << "," << c.y;
}

TEST(DoublePoint, ValidityAndConversions) {
    EXPECT_EQ(SYS_DoublePoint(1066799999.0, -1066799999.0).IsValid(), 1);
    for (SYS_DoublePoint const d : {SYS_DoublePoint(1066800000.0, 0), SYS_DoublePoint(-1066800000.0, 0),
                                    SYS_DoublePoint(0, -1066800000.0), SYS_DoublePoint(kNaN, 0)})
        EXPECT_FALSE(d.IsValid()) << d.x << "," << d.y;
    EXPECT_NE(SYS_DoublePoint(0.1 + 0.2, 0), SYS_DoublePoint(0.3, 0)); // no tolerance
    EXPECT_TRUE(SYS_DoublePoint(-1.0, -0.0).GetPolarAngle() == 324000000 && // atan2 gives -pi
                SYS_DoublePoint(kNaN, 1.0).GetPolarAngle() == 0);
    SYS_Point p;
    p = SYS_DoublePoint(2.5, -2.5);
    EXPECT_TRUE(p == SYS_Point(3, -3) && SYS_Point(SYS_DoublePoint(1e12, kNaN)) == SYS_Point(kMax, 0));
    p = {1, 2}; // braces pick the integer point
    SYS_DoublePoint d = SYS_Point(kMin, kMax);
    d.Scale(0.5); // nothing rounded
    EXPECT_TRUE(p == SYS_Point(1, 2) && d == SYS_DoublePoint(-1073741824.0, 1073741823.5));
}

} // namespace
