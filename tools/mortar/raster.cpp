#include "raster.h"

#include "png.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace mortar::tool {

namespace {

// Palette of the pictures. Exclusive-or with 15 takes each colour to a bright counterpart.
uint8_t const kPalette[16][3] = {
    {16, 64, 32},    {200, 120, 40},  {230, 230, 220}, {60, 60, 60},    {40, 90, 160},  {150, 40, 40},
    {90, 140, 60},   {120, 100, 160}, {80, 80, 80},    {20, 160, 160},  {200, 200, 60}, {40, 200, 90},
    {250, 160, 200}, {200, 80, 220},  {255, 255, 255}, {255, 230, 60},
};

constexpr double kPi = 3.141592653589793;

} // namespace

RasterSurface::RasterSurface(int width, int height, SYS_Box const& world)
    : m_Width(width), m_Height(height), m_World(world),
      m_PerPixel(static_cast<double>(world.GetWidth()) / width),
      m_Pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0) {}

bool RasterSurface::SavePng(std::string const& path) const {
    std::vector<uint8_t> rgb;
    rgb.reserve(m_Pixels.size() * 3);
    for (uint8_t index : m_Pixels) rgb.insert(rgb.end(), kPalette[index & 15], kPalette[index & 15] + 3);
    return WritePng(path, m_Width, m_Height, rgb);
}

int RasterSurface::Scale2ScreenX(int32_t length) const { return static_cast<int>(std::lround(length / m_PerPixel)); }
int RasterSurface::Scale2ScreenY(int32_t length) const { return static_cast<int>(std::lround(length / m_PerPixel)); }

SYS_Point RasterSurface::World2Screen(SYS_Point const& p) {
    long x = std::lround((p.x - m_World.GetLeft()) / m_PerPixel);
    long y = m_Height - 1 - std::lround((p.y - m_World.GetLower()) / m_PerPixel);
    return SYS_Point(static_cast<int32_t>(x), static_cast<int32_t>(y));
}

SYS_Box RasterSurface::World2Screen(SYS_Box const& box) {
    SYS_Box b(World2Screen(box.GetLowerLeft()), World2Screen(box.GetUpperRight()));
    b.Normalize();
    return b;
}

void RasterSurface::Plot(std::vector<int>& pixels, int x, int y) const {
    if (x >= 0 && y >= 0 && x < m_Width && y < m_Height) pixels.push_back(y * m_Width + x);
}

// Bresenham from a to b (pixels); `last` says whether b itself is drawn.
void RasterSurface::Line(std::vector<int>& pixels, SYS_Point a, SYS_Point b, bool last) const {
    int x = a.x, y = a.y;
    int const dx = std::abs(b.x - a.x), dy = -std::abs(b.y - a.y);
    int const sx = a.x < b.x ? 1 : -1, sy = a.y < b.y ? 1 : -1;
    int err = dx + dy;
    while (x != b.x || y != b.y) {
        Plot(pixels, x, y);
        int const e2 = 2 * err;
        if (e2 >= dy) err += dy, x += sx;
        if (e2 <= dx) err += dx, y += sy;
    }
    if (last) Plot(pixels, x, y);
}

// Each pixel once, so that exclusive-or twice gives back what was there.
void RasterSurface::Apply(std::vector<int>& pixels, int color) {
    std::sort(pixels.begin(), pixels.end());
    pixels.erase(std::unique(pixels.begin(), pixels.end()), pixels.end());
    for (int i : pixels) {
        uint8_t& p = m_Pixels[static_cast<std::size_t>(i)];
        p = static_cast<uint8_t>(m_Mode == 2 ? (p ^ color) & 15 : color & 15);
    }
}

void RasterSurface::FillRect(SYS_Box box, int color) {
    SYS_Box const b = World2Screen(box);
    std::vector<int> pixels;
    for (int y = b.GetLower(); y <= b.GetUpper(); ++y)
        for (int x = b.GetLeft(); x <= b.GetRight(); ++x) Plot(pixels, x, y);
    Apply(pixels, color);
}

void RasterSurface::DrawXorBox(SYS_Box box) {
    SYS_Box const b = World2Screen(box);
    SYS_Point const corners[4] = {b.GetLowerLeft(), b.GetLowerRight(), b.GetUpperRight(), b.GetUpperLeft()};
    std::vector<int> pixels;
    for (int i = 0; i < 4; ++i) Line(pixels, corners[i], corners[(i + 1) % 4], true);
    int const mode = m_Mode;
    m_Mode = 2; // a box of this kind is always drawn by exclusive-or
    Apply(pixels, m_Color);
    m_Mode = mode;
}

void RasterSurface::FastLineTo(SYS_Point const& p) {
    SYS_Point const to = World2Screen(p);
    std::vector<int> pixels;
    Line(pixels, m_Current, to, false);
    Apply(pixels, m_Color);
    m_Current = to;
}

void RasterSurface::DrawLine(SYS_Point const& p1, SYS_Point const& p2, int32_t, int color) {
    std::vector<int> pixels;
    Line(pixels, World2Screen(p1), World2Screen(p2), true);
    Apply(pixels, color);
}

void RasterSurface::FastFrameOval(SYS_Box const& box) { FastFrameArc(box, SYS_Point(0, 0), SYS_Point(0, 0)); }

// The part of the oval in `box` from the direction of `start` counter-clockwise to that of
// `end` (the whole oval when the two are equal), in pixels.
void RasterSurface::FastFrameArc(SYS_Box const& box, SYS_Point const& start, SYS_Point const& end) {
    SYS_Box const b = World2Screen(box);
    double const cx = (b.GetLeft() + b.GetRight()) / 2.0, cy = (b.GetLower() + b.GetUpper()) / 2.0;
    double const rx = b.GetWidth() / 2.0, ry = b.GetHeight() / 2.0;
    double const wx = (box.GetLeft() + box.GetRight()) / 2.0, wy = (box.GetLower() + box.GetUpper()) / 2.0;
    double a0 = 0.0, sweep = 2 * kPi;
    if (start != end) {
        a0 = std::atan2(start.y - wy, start.x - wx);
        double a1 = std::atan2(end.y - wy, end.x - wx);
        sweep = a1 - a0;
        if (sweep <= 0) sweep += 2 * kPi;
    }
    int const steps = std::max(16, static_cast<int>(4 * (rx + ry) * sweep));
    std::vector<int> pixels;
    for (int i = 0; i <= steps; ++i) {
        double const a = a0 + sweep * i / steps;
        Plot(pixels, static_cast<int>(std::lround(cx + rx * std::cos(a))), static_cast<int>(std::lround(cy - ry * std::sin(a))));
    }
    Apply(pixels, m_Color);
}

void RasterSurface::RedrawDynamic(CDynamic*, SYS_Box*, int show) {
    ++m_Replays;
    m_RedrawChain.Notify(show ? 1 : 0, nullptr);
}

} // namespace mortar::tool
