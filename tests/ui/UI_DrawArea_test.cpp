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

TEST(ScreenCoordConverter, DefaultsAreNeutralAndIgnoreTheArgument) {
    UI_ScreenCoordConverter converter;
    for (int32_t length : {0, 2, -1, SYS_COORD_LIMIT, INT32_MIN}) {
        EXPECT_EQ(converter.Scale2ScreenX(length) + converter.Scale2ScreenY(length) +
                      converter.Scale2WorldX(length) + converter.Scale2WorldY(length),
                  4)
            << "1 each, not the argument and not 0: " << length;
    }
    SYS_Box const box(-5, -6, 70, 80);
    EXPECT_EQ(converter.Screen2World(box), SYS_Box(0, 0, 0, 0));
    EXPECT_EQ(converter.World2Screen(box), SYS_Box(0, 0, 0, 0));
}

// A bare surface draws nothing, answers neutral values and leaves its out arguments alone.
TEST(DrawArea, DefaultsAnswerNeutrallyAndLeaveOutArgumentsAlone) {
    UI_DrawArea area;
    SYS_Box box(1, 2, 3, 4);
    SYS_Point point(7, 8);
    int32_t colors[1] = {11};
    area.GetVP(box), area.FitRectToWindow(box), area.InitClip(box), area.DrawDotGrid(point, 10, 10, box);
    EXPECT_EQ(area.GetScale(&point), 1.0);
    EXPECT_EQ(area.GetDefaultPaletteColors(colors) + area.GetCurrentPaletteColors(colors), 0);
    EXPECT_EQ(box, SYS_Box(1, 2, 3, 4));
    EXPECT_EQ(point, SYS_Point(7, 8));
    EXPECT_EQ(colors[0], 11);
    area.PenMode(2);
    EXPECT_EQ(area.GetPenMode(), 0) << "a bare surface keeps no pen";
    EXPECT_EQ(area.GetWorldScale(), 1.0);
    EXPECT_EQ(area.GetPixelSize(), 0.0);
    EXPECT_EQ(area.GetGRAMode().word, 0u);
    EXPECT_EQ(area.DrawXorText("text", 1, 2, 100, 200, 0), SYS_Box());
    EXPECT_EQ(area.DrawXorText("text", 1, 2, SYS_Point(100, 200), 1), SYS_Box());
    EXPECT_EQ(area.GetComponentSpecificData(&box), nullptr);
    EXPECT_EQ(area.IsOnTop(nullptr, 0), 1) << "the one integer query whose default is 1";
    area.FastPolyPolyline(nullptr, nullptr, 5), area.DrawString(nullptr),
        area.RedrawDynamic(nullptr, nullptr, 1);
    SCC_EventHook<UI_DrawArea::RedrawBlock> hook;
    area.RegisterRedrawHook(&hook);
    EXPECT_EQ(hook.GetRoot(), nullptr) << "a bare surface has no redraw chain to connect to";
}

TEST(DrawArea, MainSurfaceIsStoredNotOwned) {
    EXPECT_EQ(UI_DrawArea::GetMainDrawArea(), nullptr) << "null before any SetMainDrawArea";
    {
        UI_DrawArea area;
        UI_DrawArea::SetMainDrawArea(&area);
        UI_DrawArea copy(area);
        copy = area;
        EXPECT_EQ(UI_DrawArea::GetMainDrawArea(), &area);
        UI_DrawArea::SetMainDrawArea(nullptr);
    }
    EXPECT_EQ(UI_DrawArea::GetMainDrawArea(), nullptr);
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
    using C = UI_ScreenCoordConverter;
    using A = UI_DrawArea;
    using Box = SYS_Box;
    using Point = SYS_Point;
#define MORTAR_SLOT(Class, name)                                                                             \
    { #name, Slot(&Class::name) }
#define MORTAR_OVERLOAD(Class, name, Type)                                                                   \
    { #name " " #Type, Slot(static_cast <Type>(&Class::name)) }
    // clang-format off
    std::vector<std::pair<char const*, std::ptrdiff_t>> const slots = {
        MORTAR_SLOT(C, Scale2ScreenX), MORTAR_SLOT(C, Scale2ScreenY), MORTAR_SLOT(C, Scale2WorldX),
        MORTAR_SLOT(C, Scale2WorldY), MORTAR_SLOT(C, Scale2World), MORTAR_SLOT(C, Scale2Screen),
        MORTAR_OVERLOAD(C, Screen2World, Box (C::*)(Box const&)),
        MORTAR_OVERLOAD(C, Screen2World, Point (C::*)(Point const&)),
        MORTAR_OVERLOAD(C, World2Screen, Box (C::*)(Box const&)),
        MORTAR_OVERLOAD(C, World2Screen, Point (C::*)(Point const&)),
        MORTAR_SLOT(A, GetVP), MORTAR_SLOT(A, GetUserVP), MORTAR_SLOT(A, SetVP), MORTAR_SLOT(A, SetUserVP),
        MORTAR_SLOT(A, RegisterRedrawHook), MORTAR_SLOT(A, FitRectToWindow),
        MORTAR_SLOT(A, SwitchPen), MORTAR_SLOT(A, PenCap), MORTAR_SLOT(A, PenColor), MORTAR_SLOT(A, PenMode),
        MORTAR_SLOT(A, GetPenMode), MORTAR_SLOT(A, PenSize), MORTAR_SLOT(A, BackColor), MORTAR_SLOT(A, GetBackColor),
        MORTAR_SLOT(A, RegisterBrush), MORTAR_SLOT(A, SetSolidBrush), MORTAR_SLOT(A, SetHatchBrush),
        MORTAR_SLOT(A, EraseRect), MORTAR_SLOT(A, FillRect), MORTAR_SLOT(A, MoveCursor), MORTAR_SLOT(A, GetScale),
        MORTAR_SLOT(A, SetScale), MORTAR_SLOT(A, GetWorldScale),
        MORTAR_SLOT(A, SetBitmapRedraw), MORTAR_SLOT(A, SetRgnRedraw), MORTAR_OVERLOAD(A, Redraw, void (A::*)(Box)),
        MORTAR_OVERLOAD(A, Redraw, void (A::*)()), MORTAR_SLOT(A, RedrawRect), MORTAR_SLOT(A, InvalidateRect),
        MORTAR_SLOT(A, StartResize), MORTAR_SLOT(A, EndResize), MORTAR_SLOT(A, InstallDynamic),
        MORTAR_SLOT(A, RedrawDynamic),
        MORTAR_OVERLOAD(A, DrawXorBox, void (A::*)(Box)), MORTAR_OVERLOAD(A, DrawXorBox, void (A::*)(Point, Point)),
        MORTAR_OVERLOAD(A, DrawXorText, Box (A::*)(char const*, int, int, int32_t, int32_t, int)),
        MORTAR_OVERLOAD(A, DrawXorText, Box (A::*)(char const*, int, int, Point, int)),
        MORTAR_OVERLOAD(A, DrawOriginMark, void (A::*)(Point)),
        MORTAR_OVERLOAD(A, DrawOriginMark, void (A::*)(int32_t, int32_t)), MORTAR_SLOT(A, RefreshCursor),
        MORTAR_SLOT(A, StartBatchDraw), MORTAR_SLOT(A, EndBatchDraw), MORTAR_SLOT(A, StartScreenDraw),
        MORTAR_SLOT(A, EndScreenDraw), MORTAR_SLOT(A, DrawOnScreen), MORTAR_SLOT(A, DiscardSplit),
        MORTAR_SLOT(A, FastMoveTo), MORTAR_SLOT(A, FastLineTo), MORTAR_OVERLOAD(A, FastPaintOval, void (A::*)(Box)),
        MORTAR_OVERLOAD(A, FastPaintOval, void (A::*)(Point const&, int32_t, int)), MORTAR_SLOT(A, FrameArc),
        MORTAR_SLOT(A, FastFrameOval), MORTAR_SLOT(A, FastPolyPolyline), MORTAR_SLOT(A, FastPolyPolygon),
        MORTAR_SLOT(A, FastFrameArc), MORTAR_SLOT(A, FastPolyLine),
        MORTAR_SLOT(A, TextAlign), MORTAR_SLOT(A, TextExtra), MORTAR_SLOT(A, TextFace), MORTAR_SLOT(A, TextPath),
        MORTAR_SLOT(A, TextSize), MORTAR_OVERLOAD(A, StrokeTextLen, int (A::*)(char const*, int, int)),
        MORTAR_OVERLOAD(A, StrokeTextLen, int (A::*)(char const*)), MORTAR_SLOT(A, StrokeTextAscendingHeight),
        MORTAR_SLOT(A, StrokeTextDescendingHeight), MORTAR_SLOT(A, StrokeTextFontHeight), MORTAR_SLOT(A, DrawString),
        MORTAR_SLOT(A, DrawStyledString),
        MORTAR_SLOT(A, InitClip), MORTAR_SLOT(A, ResetClip), MORTAR_SLOT(A, InitLayerClip),
        MORTAR_SLOT(A, FinishLayerClip), MORTAR_SLOT(A, ClipCircle), MORTAR_SLOT(A, ClipPolyPolygon),
        MORTAR_SLOT(A, DrawLine), MORTAR_SLOT(A, StartXORDraw), MORTAR_SLOT(A, XORCross), MORTAR_SLOT(A, XORFrameArc),
        MORTAR_SLOT(A, XORFrameOval), MORTAR_SLOT(A, XORPaintOval), MORTAR_SLOT(A, XORLineTo),
        MORTAR_SLOT(A, XORMoveTo), MORTAR_SLOT(A, XORPenColor), MORTAR_SLOT(A, EndXORDraw),
        MORTAR_SLOT(A, SetArcDirection),
        MORTAR_SLOT(A, SetPixel), MORTAR_SLOT(A, DrawDotGrid), MORTAR_SLOT(A, GetPixelSize), MORTAR_SLOT(A, GetGRAMode),
        MORTAR_SLOT(A, SetGRAMode), MORTAR_SLOT(A, GetDefaultPaletteColors), MORTAR_SLOT(A, GetCurrentPaletteColors),
        MORTAR_SLOT(A, GetCurrentPaletteColorRGB), MORTAR_SLOT(A, SetCurrentPaletteColors),
        MORTAR_SLOT(A, GetComponentSpecificData), MORTAR_SLOT(A, GetCompSideSegmentVisible), MORTAR_SLOT(A, IsOnTop),
    };
    // clang-format on
#undef MORTAR_SLOT
#undef MORTAR_OVERLOAD
    ASSERT_EQ(slots.size(), 10u + 97u);
    for (size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(slots[i].second, static_cast<std::ptrdiff_t>(i < 10 ? i : i + 2)) << slots[i].first;
}

#endif

} // namespace
