// UI_DrawArea: the abstract drawing surface of the family, and the opaque types that stand
// in its signatures.
#ifndef MORTAR_UI_UI_DRAWAREA_H
#define MORTAR_UI_UI_DRAWAREA_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Event.h>
#include <mortar/sys/SYS_Geom_Inline.h>
#include <mortar/ui/UI_ScreenCoordConverter.h>

#include <cstdint>

// Types of the family's other libraries. They stand in signatures only: this library never
// looks into them and passes them along as it gets them.
class SDB_Database;
class DBD_GeomHdr;
class GRA_SegmentData;

/// The drawing mode of a surface, one 32-bit word passed by value. Its bits are the
/// surface's affair; the library stores and hands on the word without reading it.
union gra_mode_union {
    uint32_t word;
};

static_assert(sizeof(gra_mode_union) == 4, "the drawing mode is one 32-bit word");

class CDynamic;

/// The abstract drawing surface: everything that applications draw goes through its virtual
/// operations.
///
/// Real surfaces, which own windows, pens, bitmaps and fonts, derive from this class outside
/// the library and override what they support. This class fixes the shape of the interface
/// and the default of every operation: by itself it draws nothing, every operation with a
/// result answers 0 or its equivalent, and out arguments are left as they came. The
/// exceptions are listed with their operations: GetScale and GetWorldScale (1.0), IsOnTop (1).
///
/// Slot order. The virtual slots are the ten of UI_ScreenCoordConverter, then the destructor,
/// then the operations below exactly in the order of declaration, overloads included
/// (DrawXorBox(SYS_Box) comes before DrawXorBox(SYS_Point, SYS_Point)). Surfaces built
/// outside the library rely on that order: new operations may only ever be added at the end.
///
/// What the library relies on of a surface:
///   - PenMode(2) puts it into exclusive-or drawing; GetPenMode gives a value that PenMode
///     can restore.
///   - Scale2ScreenX and Scale2ScreenY give pixels.
///   - DrawLine takes the width that PenSize takes and the colour that PenColor takes.
///   - DrawXorText with a flag of 0 only measures and returns the box that the text covers;
///     with a flag of 1 it draws. Both overloads mean the same.
///   - TextPath takes its angle in degrees.
///   - InstallDynamic makes the surface accept a recorder. RedrawDynamic(recorder, box, 0)
///     takes the recorded drawing off the screen and RedrawDynamic(recorder, box, 1) shows
///     it, the box being the area that it covers (see CDynamic).
///   - GetCurrentPaletteColorRGB maps a palette index to a colour value.
///
/// The object has no fields of its own; copying and assigning copy nothing. Units: world
/// values are base units, angles of TextPath degrees; the meaning of pen, brush, colour,
/// face and alignment codes belongs to the concrete surface.
class MORTAR_API UI_DrawArea : public UI_ScreenCoordConverter {
public:
    /// The data of a surface's redraw event chain, SCC_Event<UI_DrawArea::RedrawBlock>. The
    /// library passes pointers to it along and reads nothing of it, so it is empty here; a
    /// surface that carries data in its redraw notifications derives its own block from it.
    struct RedrawBlock {};

    /// The main surface, null until SetMainDrawArea. Not owned.
    static UI_DrawArea* GetMainDrawArea() noexcept;
    /// Stores the main surface. The library takes no ownership and never clears the pointer:
    /// whoever sets it sets it back (to null before the surface goes).
    static void SetMainDrawArea(UI_DrawArea* area) noexcept;

    UI_DrawArea() noexcept = default;
    /// Copies nothing beyond the object's type.
    UI_DrawArea(UI_DrawArea const& source) noexcept : UI_ScreenCoordConverter(source) {}
    /// Assigns nothing and returns this object.
    UI_DrawArea& operator=(UI_DrawArea const&) noexcept { return *this; }
    /// Does nothing; virtual so that a surface can be deleted through this class.
    virtual ~UI_DrawArea();

    // View and window.

    /// The viewport in world coordinates into box. Default: box unchanged.
    virtual void GetVP(SYS_Box& box) const;
    /// The user's viewport into box. Default: box unchanged.
    virtual void GetUserVP(SYS_Box& box);
    virtual void SetVP(SYS_Box& box);
    virtual void SetUserVP(SYS_Box& box);
    /// Connects hook to the surface's redraw chain. Default: the hook is left as it is.
    virtual void RegisterRedrawHook(SCC_EventHook<UI_DrawArea::RedrawBlock>* hook);
    /// Adjusts box to the proportions of the window. Default: box unchanged.
    virtual void FitRectToWindow(SYS_Box& box);

    // Pens and brushes.

    virtual void SwitchPen(int pen, int32_t size, int color);
    virtual void PenCap(int cap);
    virtual void PenColor(int color);
    /// Pen mode 2 is exclusive-or drawing.
    virtual void PenMode(int mode);
    /// A value that PenMode restores. Default: 0.
    virtual int GetPenMode();
    /// The pen width in base units.
    virtual void PenSize(int32_t size);
    virtual void BackColor(int color);
    virtual int GetBackColor();
    /// Default: 0.
    virtual int RegisterBrush(uint32_t pattern);
    virtual void SetSolidBrush(int color);
    virtual void SetHatchBrush(int style, int color);

    // Areas, cursor and scale.

    virtual void EraseRect(SYS_Box box);
    virtual void FillRect(SYS_Box box, int color);
    virtual void MoveCursor(int32_t x, int32_t y);
    /// Default: 1.0, and center is not written.
    virtual double GetScale(SYS_Point* center);
    /// Default: 0, nothing changed.
    virtual int SetScale(double scale, SYS_Point* center, int redraw);
    /// Default: 1.0.
    virtual double GetWorldScale();

    // Redraw.

    virtual void SetBitmapRedraw(int on);
    virtual void SetRgnRedraw(SYS_Box* box, int on);
    virtual void Redraw(SYS_Box box);
    virtual void Redraw();
    virtual void RedrawRect(SYS_Box box);
    virtual void InvalidateRect(SYS_Box const* box);
    virtual void StartResize();
    virtual void EndResize();
    /// Makes the surface accept the recorder (see CDynamic). Default: nothing.
    virtual void InstallDynamic(CDynamic* dynamic);
    /// show 0 takes the recorded drawing off the screen, show 1 puts it on; box is the area
    /// that the recording covers. Default: nothing.
    virtual void RedrawDynamic(CDynamic* dynamic, SYS_Box* box, int show);

    // Exclusive-or shapes and marks.

    virtual void DrawXorBox(SYS_Box box);
    virtual void DrawXorBox(SYS_Point lowerLeft, SYS_Point upperRight);
    /// flag 0 measures: returns the box that the text covers at (x, y) and draws nothing;
    /// flag 1 draws. Default: the zero box, nothing drawn.
    virtual SYS_Box DrawXorText(char const* text, int a, int b, int32_t x, int32_t y, int flag);
    /// As the overload above, at p. Default: the zero box, nothing drawn.
    virtual SYS_Box DrawXorText(char const* text, int a, int b, SYS_Point p, int flag);
    virtual void DrawOriginMark(SYS_Point p);
    virtual void DrawOriginMark(int32_t x, int32_t y);
    virtual void RefreshCursor(SYS_Point* p);

    // Batches and the screen.

    virtual void StartBatchDraw();
    virtual void EndBatchDraw();
    virtual void StartScreenDraw();
    virtual void EndScreenDraw();
    virtual void DrawOnScreen(bool on);
    virtual void DiscardSplit();

    // Primitives.

    virtual void FastMoveTo(SYS_Point const& p);
    virtual void FastLineTo(SYS_Point const& p);
    virtual void FastPaintOval(SYS_Box box);
    virtual void FastPaintOval(SYS_Point const& p, int32_t size, int flag);
    /// start and end in degrees.
    virtual void FrameArc(SYS_Box box, double start, double end);
    virtual void FastFrameOval(SYS_Box const& box);
    /// n polylines; counts[i] points each, one after the other in points.
    virtual void FastPolyPolyline(SYS_Point* points, int const* counts, int n);
    virtual void FastPolyPolygon(SYS_Point* points, int const* counts, int n, int32_t fill);
    virtual void FastFrameArc(SYS_Box const& box, SYS_Point const& start, SYS_Point const& end);
    /// A polyline of n points.
    virtual void FastPolyLine(int n, SYS_Point* points, int32_t a, int b);

    // Text.

    virtual void TextAlign(int horizontal, int vertical);
    virtual void TextExtra(int extra);
    virtual void TextFace(int face);
    /// The direction of text, in degrees.
    virtual void TextPath(double degrees, char const* text);
    virtual void TextSize(int width, int height, char const* text);
    /// Default: 0.
    virtual int StrokeTextLen(char const* text, int from, int count);
    /// Default: 0.
    virtual int StrokeTextLen(char const* text);
    virtual int StrokeTextAscendingHeight();
    virtual int StrokeTextDescendingHeight();
    virtual int StrokeTextFontHeight();
    virtual void DrawString(char const* text);
    virtual void DrawStyledString(char const* text, void* style, SYS_Position at, int a, int b);

    // Clipping.

    /// Default: box unchanged.
    virtual void InitClip(SYS_Box& box);
    virtual void ResetClip();
    virtual void InitLayerClip(SDB_Database* database, int32_t layer);
    virtual void FinishLayerClip(SDB_Database* database, int32_t layer);
    virtual void ClipCircle(SYS_Point const& center, int32_t radius);
    virtual void ClipPolyPolygon(SYS_Point* points, int const* counts, int n);

    // Lines and exclusive-or sequences.

    /// width as PenSize takes it, color as PenColor takes it.
    virtual void DrawLine(SYS_Point const& p1, SYS_Point const& p2, int32_t width, int color);
    virtual void StartXORDraw();
    virtual void XORCross(SYS_Point const& p);
    virtual void XORFrameArc(SYS_Box const& box, SYS_Point const& start, SYS_Point const& end);
    virtual void XORFrameOval(SYS_Point const& center, int32_t const& radius);
    virtual void XORPaintOval(SYS_Point const& center, int32_t const& radius);
    virtual void XORLineTo(SYS_Point const& p);
    virtual void XORMoveTo(SYS_Point const& p);
    virtual void XORPenColor(int32_t const& color);
    virtual void EndXORDraw();
    /// Default: 0.
    virtual int SetArcDirection(int direction);

    // Pixels, mode, palette, queries.

    virtual void SetPixel(SYS_Point const& p);
    /// Default: the arguments unchanged.
    virtual void DrawDotGrid(SYS_Point& origin, int32_t dx, int32_t dy, SYS_Box& area);
    /// Default: 0.0.
    virtual double GetPixelSize();
    /// Default: the word 0.
    virtual gra_mode_union GetGRAMode();
    virtual void SetGRAMode(gra_mode_union mode);
    /// Writes the colours into colors and returns their number. Default: 0, nothing written.
    virtual int32_t GetDefaultPaletteColors(int32_t* colors) const;
    /// Writes the colours into colors and returns their number. Default: 0, nothing written.
    virtual int32_t GetCurrentPaletteColors(int32_t* colors) const;
    /// The colour value of a palette index. Default: 0.
    virtual int32_t GetCurrentPaletteColorRGB(int index) const;
    virtual void SetCurrentPaletteColors(int32_t* colors);
    /// Default: null.
    virtual void* GetComponentSpecificData(void* component) const;
    /// Default: 0.
    virtual int GetCompSideSegmentVisible(GRA_SegmentData const& segment, int side) const;
    /// Default: 1, on top.
    virtual int IsOnTop(DBD_GeomHdr* geometry, int side) const;

protected:
    /// The main surface (see GetMainDrawArea).
    static UI_DrawArea* s_pMainDrawArea;
};

// The redraw chain is built into the library, so that the recorder, the surfaces and their
// clients share one copy of its code, virtual tables and type information.
extern template class MORTAR_API SCC_EventNode<UI_DrawArea::RedrawBlock>;
extern template class MORTAR_API SCC_Event<UI_DrawArea::RedrawBlock>;
extern template class MORTAR_API SCC_EventHook<UI_DrawArea::RedrawBlock>;

#endif
