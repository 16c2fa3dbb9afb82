// RasterSurface: a drawing surface of the tour's own, on a small pixel grid.
//
// It overrides what the rubber-band recorder replays: the screen conversions, the pen mode,
// lines, boxes, ovals and arcs. Pixels hold palette indices; in the exclusive-or pen mode (2)
// a shape flips its pixels by exclusive-or with the pen colour, so drawing it twice restores
// what was there. Every shape touches each of its pixels once, and a line leaves out its last
// pixel, so that the segments of a polyline meet without cancelling each other.
#ifndef MORTAR_TOOLS_RASTER_H
#define MORTAR_TOOLS_RASTER_H

#include <mortar/scc/SCC_Event.h>
#include <mortar/ui/CDynamic.h>
#include <mortar/ui/UI_DrawArea.h>

#include <cstdint>
#include <string>
#include <vector>

namespace mortar::tool {

class RasterSurface : public UI_DrawArea {
public:
    /// A surface of width x height pixels showing the world box `world` (base units), y up.
    RasterSurface(int width, int height, SYS_Box const& world);

    int Width() const { return m_Width; }
    int Height() const { return m_Height; }
    std::vector<uint8_t> const& Pixels() const { return m_Pixels; }
    /// Writes the pixels through the palette as a PNG file.
    bool SavePng(std::string const& path) const;

    // Conversions between base units and pixels.
    int Scale2ScreenX(int32_t length) const override;
    int Scale2ScreenY(int32_t length) const override;
    SYS_Point World2Screen(SYS_Point const& point) override;
    SYS_Box World2Screen(SYS_Box const& box) override;

    // Pen state.
    void PenColor(int color) override { m_Color = color; }
    void PenMode(int mode) override { m_Mode = mode; }
    int GetPenMode() override { return m_Mode; }
    void PenSize(int32_t) override {}

    // Shapes.
    void FillRect(SYS_Box box, int color) override;
    void DrawXorBox(SYS_Box box) override;
    void FastMoveTo(SYS_Point const& p) override { m_Current = World2Screen(p); }
    void FastLineTo(SYS_Point const& p) override;
    void FastFrameOval(SYS_Box const& box) override;
    void FastFrameArc(SYS_Box const& box, SYS_Point const& start, SYS_Point const& end) override;
    void DrawLine(SYS_Point const& p1, SYS_Point const& p2, int32_t width, int color) override;

    // The rubber-band recorder: it joins this surface's redraw chain, and a redraw replays it.
    void InstallDynamic(CDynamic* dynamic) override { m_RedrawChain.Add(dynamic); }
    void RedrawDynamic(CDynamic* dynamic, SYS_Box* box, int show) override;
    int Replays() const { return m_Replays; }

private:
    void Plot(std::vector<int>& pixels, int x, int y) const;
    void Line(std::vector<int>& pixels, SYS_Point a, SYS_Point b, bool last) const;
    void Apply(std::vector<int>& pixels, int color);

    int m_Width, m_Height;
    SYS_Box m_World;
    double m_PerPixel;
    std::vector<uint8_t> m_Pixels;
    int m_Color = 1;
    int m_Mode = 0;
    SYS_Point m_Current{0, 0};
    SCC_Event<UI_DrawArea::RedrawBlock> m_RedrawChain;
    int m_Replays = 0;
};

} // namespace mortar::tool

#endif
