#include <mortar/ui/UI_DrawArea.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace {

static_assert(sizeof(UI_ScreenCoordConverter) == sizeof(void*), "a converter is its virtual table alone");
static_assert(sizeof(UI_DrawArea) == sizeof(void*), "a surface adds no fields");

// The stated answers: 1 for any length (not the length, not 0: every shape is small on a
// surface that converts nothing), the zero box, 1.0 for the scales, 1 for IsOnTop; out
// arguments are left as they came and null ones are never read.
TEST(DrawArea, DefaultsAnswerNeutrallyAndLeaveOutArgumentsAlone) {
    UI_DrawArea area;
    for (int32_t l : {0, 2, INT32_MIN})
        EXPECT_EQ(area.Scale2ScreenX(l) + area.Scale2ScreenY(l) + area.Scale2WorldX(l) + area.Scale2WorldY(l),
                  4);
    SYS_Box box(1, 2, 3, 4);
    SYS_Point point(7, 8);
    int32_t colors[1] = {11};
    EXPECT_EQ(area.Screen2World(box), SYS_Box());
    EXPECT_EQ(area.World2Screen(box), SYS_Box());
    area.GetVP(box), area.FitRectToWindow(box), area.InitClip(box), area.DrawDotGrid(point, 10, 10, box);
    EXPECT_EQ(area.GetScale(&point) + area.GetWorldScale(), 2.0);
    EXPECT_EQ(area.GetDefaultPaletteColors(colors) + area.GetCurrentPaletteColors(colors), 0);
    EXPECT_TRUE(box == SYS_Box(1, 2, 3, 4) && point == SYS_Point(7, 8) && colors[0] == 11);
    EXPECT_EQ(area.DrawXorText("text", 1, 2, 100, 200, 0), SYS_Box());
    EXPECT_EQ(area.IsOnTop(nullptr, 0), 1);
    area.FastPolyPolyline(nullptr, nullptr, 5), area.DrawString(nullptr);
    area.RedrawDynamic(nullptr, nullptr, 1);
}

#if defined(__GXX_ABI_VERSION) && (defined(__x86_64__) || defined(__i386__))

// Under the Itanium C++ ABI on x86, a pointer to a virtual member function holds 1 plus the
// byte offset of the function's slot in the virtual table.
template <class F>
std::ptrdiff_t Slot(F f) {
    static_assert(sizeof(F) == 2 * sizeof(std::ptrdiff_t), "a pointer and an adjustment");
    std::ptrdiff_t word;
    std::memcpy(&word, &f, sizeof word);
    EXPECT_EQ(word % static_cast<std::ptrdiff_t>(sizeof(void*)), 1) << "not a virtual function";
    return (word - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

// Surfaces built outside the library are compiled against this slot order: the converter's
// ten, the destructor (two entries under this ABI), then the operations of the surface.
TEST(DrawArea, VirtualSlotsStandInTheirOrder) {
    using A = UI_DrawArea;
    using B = SYS_Box;
    using P = SYS_Point;
    // clang-format off
#define S(name) {#name, Slot(&A::name)}
#define O(name, Type) {#name " " #Type, Slot(static_cast<Type>(&A::name))}
    std::vector<std::pair<char const*, std::ptrdiff_t>> const slots = {
        S(Scale2ScreenX), S(Scale2ScreenY), S(Scale2WorldX), S(Scale2WorldY), S(Scale2World), S(Scale2Screen),
        O(Screen2World, B (A::*)(B const&)), O(Screen2World, P (A::*)(P const&)),
        O(World2Screen, B (A::*)(B const&)), O(World2Screen, P (A::*)(P const&)),
        S(GetVP), S(GetUserVP), S(SetVP), S(SetUserVP), S(RegisterRedrawHook), S(FitRectToWindow),
        S(SwitchPen), S(PenCap), S(PenColor), S(PenMode), S(GetPenMode), S(PenSize), S(BackColor),
        S(GetBackColor), S(RegisterBrush), S(SetSolidBrush), S(SetHatchBrush), S(EraseRect), S(FillRect),
        S(MoveCursor), S(GetScale), S(SetScale), S(GetWorldScale), S(SetBitmapRedraw), S(SetRgnRedraw),
        O(Redraw, void (A::*)(B)), O(Redraw, void (A::*)()), S(RedrawRect), S(InvalidateRect),
        S(StartResize), S(EndResize), S(InstallDynamic), S(RedrawDynamic),
        O(DrawXorBox, void (A::*)(B)), O(DrawXorBox, void (A::*)(P, P)),
        O(DrawXorText, B (A::*)(char const*, int, int, int32_t, int32_t, int)),
        O(DrawXorText, B (A::*)(char const*, int, int, P, int)), O(DrawOriginMark, void (A::*)(P)),
        O(DrawOriginMark, void (A::*)(int32_t, int32_t)), S(RefreshCursor), S(StartBatchDraw),
        S(EndBatchDraw), S(StartScreenDraw), S(EndScreenDraw), S(DrawOnScreen), S(DiscardSplit),
        S(FastMoveTo), S(FastLineTo), O(FastPaintOval, void (A::*)(B)),
        O(FastPaintOval, void (A::*)(P const&, int32_t, int)), S(FrameArc), S(FastFrameOval),
        S(FastPolyPolyline), S(FastPolyPolygon), S(FastFrameArc), S(FastPolyLine),
        S(TextAlign), S(TextExtra), S(TextFace), S(TextPath), S(TextSize),
        O(StrokeTextLen, int (A::*)(char const*, int, int)), O(StrokeTextLen, int (A::*)(char const*)),
        S(StrokeTextAscendingHeight), S(StrokeTextDescendingHeight), S(StrokeTextFontHeight),
        S(DrawString), S(DrawStyledString), S(InitClip), S(ResetClip), S(InitLayerClip),
        S(FinishLayerClip), S(ClipCircle), S(ClipPolyPolygon), S(DrawLine), S(StartXORDraw), S(XORCross),
        S(XORFrameArc), S(XORFrameOval), S(XORPaintOval), S(XORLineTo), S(XORMoveTo), S(XORPenColor),
        S(EndXORDraw), S(SetArcDirection), S(SetPixel), S(DrawDotGrid), S(GetPixelSize), S(GetGRAMode),
        S(SetGRAMode), S(GetDefaultPaletteColors), S(GetCurrentPaletteColors),
        S(GetCurrentPaletteColorRGB), S(SetCurrentPaletteColors), S(GetComponentSpecificData),
        S(GetCompSideSegmentVisible), S(IsOnTop),
    };
    // clang-format on
#undef S
#undef O
    ASSERT_EQ(slots.size(), 10u + 97u);
    for (size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(slots[i].second, static_cast<std::ptrdiff_t>(i < 10 ? i : i + 2)) << slots[i].first;
}

#endif

} // namespace
