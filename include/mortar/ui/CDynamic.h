// CDynamic: the recorder of rubber-band drawing. It is a drawing surface that draws nothing:
// it records the calls it receives into one flat stream of 32-bit words and replays them on
// its target surface, in exclusive-or pen mode, when that surface has to show the shape.
#ifndef MORTAR_UI_CDYNAMIC_H
#define MORTAR_UI_CDYNAMIC_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Event.h>
#include <mortar/sys/SYS_Geom_Inline.h>
#include <mortar/ui/UI_DrawArea.h>

#include <cstdint>
#include <vector>

/// The rubber-band layer of the drawing system.
///
/// Code that draws a temporary shape draws on the recorder exactly as on a real surface. The
/// recorder appends each call to its stream as a few 32-bit words and keeps `bounds`, the box
/// that the recording covers. A replay walks the stream and makes the recorded calls on the
/// target surface; shapes replay in exclusive-or pen mode, so a second replay over the first
/// takes them off the screen again. The recorder is also a node for the target's redraw
/// chain: a notification through that chain replays the stream.
///
/// One frame is one cycle: StartBatchDraw takes the last frame off the screen and empties the
/// stream; the drawing calls of the new frame only record; EndBatchDraw shows the frame. Until
/// the next StartBatchDraw the stream stands for what is on the screen; further recording
/// extends it without drawing.
///
/// The record stream. A record is a code word followed by its operand words, back to back,
/// with no length word and no header. Points go as x, y; boxes as left, lower, right, upper;
/// a text as one word per character holding its byte value (0 to 255). Values are stored as
/// they arrive. Codes and operands:
///
///    0 PenColor          colour
///    1 PenSize           size
///    2 DrawXorBox        x1, y1, x2, y2
///    3 DrawXorOval       box
///    4 FillRect          box, colour
///    5 DrawXorText       x, y, a, b, n, then n characters; n counts the terminating 0,
///                        which is recorded too
///    6 DrawLine          x1, y1, x2, y2, width, colour
///    7 DrawArc           box, start x, start y, end x, end y, width, colour
///    8 PenCap            cap
///    9 FastPolyPolyline  n, then n counts, then as many points as the counts add up to
///   10 SwitchPen         the three arguments in order
///   11 FastMoveTo        x, y
///   12 FastLineTo        x, y
///   13 FastPaintOval     box
///   14 FastPolyLine      a, b (its third and fourth arguments), n, then n points
///   15 FastFrameOval     box
///   16 TextAlign         the two arguments
///   17 TextExtra         the argument
///   18 TextFace          the argument
///   19 TextPath          the angle in 1/10000 degree, 0 to 3,599,999
///   20 TextSize          the two arguments
///   21 DrawString        n, then n characters; no terminator
///   22 SetGRAMode        the word of the union
///   23 DrawOnScreen      0 or 1
///
/// A polyline record with n below 1 ends after n; a poly-polyline whose counts add up to 0
/// ends after the counts. Clear and Reset empty the stream but keep its capacity, so that a
/// frame after the first appends into memory that is already there: recording allocates only
/// when a frame outgrows the largest before it, and a replay allocates only when a polyline or
/// text outgrows the largest one the recorder has replayed.
///
/// Growth of `bounds`. A box is added thus: while `bounds` is a single point (left equal to
/// right and lower equal to upper, the zero box included) it becomes a copy of the new box;
/// otherwise bounds.Combine(box). So a first box replaces the zero box, and the origin does not
/// creep in; a line of zero height is not a point, and the next box combines with it. Each
/// recording operation says whether it adds a box, and whether normalised or as given.
///
/// Notifications (OnNotification), codes of the redraw chain: 0 and 1 replay (Redraw); 2 drops
/// the target (the surface is going away), so that no replay or Clear takes effect until a
/// new target is set; 3 is Clear. Other codes do nothing. The data is not looked at; the
/// result is always 0.
///
/// Cases the recorder settles itself:
///   - A FastLineTo before any FastMoveTo starts its line at its own end: it adds the single
///     point p to `bounds` (so nothing else than p can creep in) and replays as recorded.
///   - A negative n for FastPolyPolyline or FastPolyLine is recorded (the record ends after n)
///     and replays as nothing: the target is not called. An n of 0 replays as a call with 0.
///   - A null text records as the empty text. A null counts array, or a null points array
///     where the counts call for points, records a polyline record with n = 0.
///   - A DrawXorText text of any length replays whole, through a working buffer that grows
///     as needed.
///   - A word that is no code of the table (none is ever recorded) is a record of one word:
///     the replay skips it and goes on. A record cut short by the end of the stream ends the
///     replay; the replay never reads past the stream.
///
/// Exceptions. A record is appended whole or not at all: when the stream cannot grow, the
/// exception of the vector (std::bad_alloc or std::length_error) reaches the caller of the
/// recording operation and the stream is as before the call. An exception from the target
/// during a replay ends the replay, leaves IsFlushing as it was before, and goes to the caller.
///
/// Re-entrancy. Calls come on the caller's thread; `flushing` is no lock, only a sign for the
/// target and whatever it calls that the calls it sees come from a replay. During a replay the
/// target may call back into the recorder: record (the walk reaches the new records too),
/// Clear or Reset (the walk ends where the stream now ends), replay again (the inner replay
/// runs in full first), or drop or change the target (the walk ends before the next record,
/// and the pen mode is restored only on a surface that is still the target). It must not
/// destroy the recorder.
///
/// Copies. The copy constructor copies the stream and every field and starts out of any
/// chain; operator= copies them and joins the chain of its source, directly ahead of it (as
/// SCC_EventNode::operator= does). Neither tells any surface anything.
class MORTAR_API CDynamic : public SCC_EventNode<UI_DrawArea::RedrawBlock>, public UI_DrawArea {
public:
    /// An empty stream, depth 0, zero `bounds`, not flushing, then Install(area).
    explicit CDynamic(UI_DrawArea* area = nullptr);
    /// Copies the stream and every field; the copy is out of any chain.
    CDynamic(CDynamic const& source);
    /// The node part as SCC_EventNode::operator= (joins the chain of source, ahead of it);
    /// then copies the stream and every field.
    CDynamic& operator=(CDynamic& source);
    /// Releases the stream and leaves the redraw chain. The target is told nothing.
    ~CDynamic() override;

    /// With a null area nothing happens and the present target stays; otherwise area becomes
    /// the target and area->InstallDynamic(this) is called.
    void Install(UI_DrawArea* area);
    /// area (null too) becomes the target, without InstallDynamic.
    void SetDrawArea(UI_DrawArea* area) noexcept { target = area; }
    /// The target; null when there is none. Not owned.
    UI_DrawArea* GetDrawArea() const noexcept { return target; }
    /// True while a replay runs (see Redraw).
    bool IsFlushing() const noexcept { return flushing; }

    /// Takes the recording off the screen and empties it: with a target,
    /// target->RedrawDynamic(this, &bounds, 0) while the old stream is still in place, then
    /// the stream is emptied and `bounds` zeroed. Without a target nothing happens at all.
    void Clear();
    /// Empties the stream and zeroes `bounds`, with or without a target, which hears nothing.
    void Reset() noexcept;

    /// The record stream (see the class comment).
    std::vector<int32_t> const& GetRecords() const noexcept { return records; }
    /// The box that the recording covers so far.
    SYS_Box const& GetBounds() const noexcept { return bounds; }
    /// The number of StartBatchDraw calls not yet ended.
    int32_t GetBatchDepth() const noexcept { return batchDepth; }

    // The overloads that the recorder does not override stay reachable (they do nothing here).
    using UI_DrawArea::FastPaintOval;
    using UI_DrawArea::FastPolyPolyline;
    using UI_DrawArea::Redraw;
    using UI_DrawArea::TextPath;
    using UI_DrawArea::TextSize;

    // Recording. Each operation appends its record (code in brackets) and changes nothing
    // else unless it says so.

    /// [0]
    void PenColor(int color) override;
    /// [1]
    void PenSize(int32_t size) override;
    /// [8]
    void PenCap(int cap) override;
    /// [10]
    void SwitchPen(int pen, int32_t size, int color) override;
    /// [2] records (a, b) and adds the box (a, b) as given, without ordering it.
    void DrawXorBox(SYS_Point a, SYS_Point b) override;
    /// No record of its own: normalises box and calls the virtual DrawXorBox with its
    /// lower-left and upper-right corners.
    void DrawXorBox(SYS_Box box) override;
    /// [3] records box normalised and adds it.
    void DrawXorOval(SYS_Box box);
    /// [4] records box normalised and adds it.
    void FillRect(SYS_Box box, int color) override;
    /// [5] records the text (the flag is ignored and not recorded). Without a target the
    /// result is the zero box and `bounds` stays; otherwise the box that
    /// target->DrawXorText(text, a, b, x, y, 0) measures is added and is the result.
    SYS_Box DrawXorText(char const* text, int a, int b, int32_t x, int32_t y, int flag) override;
    /// No record of its own: the virtual overload above with (text, a, b, p.x, p.y, 1).
    SYS_Box DrawXorText(char const* text, int a, int b, SYS_Point p, int flag) override;
    /// [6] adds the normalised box of p1 and p2.
    void DrawLine(SYS_Point const& p1, SYS_Point const& p2, int32_t width, int color) override;
    /// [7] records box normalised and adds it. Not virtual.
    void DrawArc(SYS_Box box, SYS_Point const& start, SYS_Point const& end, int32_t width, int color);
    /// [9] n polylines of counts[i] points each. Not the virtual overload, which takes int
    /// counts and does nothing on the recorder. With n below 1 the record ends after n; when
    /// the counts add up to 0 it ends after the counts; otherwise the smallest box around all
    /// the points is added.
    void FastPolyPolyline(SYS_Point* points, uint32_t const* counts, int n);
    /// [11] the current point becomes p; `bounds` unchanged.
    void FastMoveTo(SYS_Point const& p) override;
    /// [12] adds the normalised box of the current point and p (only p before any
    /// FastMoveTo), then the current point becomes p.
    void FastLineTo(SYS_Point const& p) override;
    /// [13] adds box as given, without ordering it.
    void FastPaintOval(SYS_Box box) override;
    /// [15] adds box as given, without ordering it.
    void FastFrameOval(SYS_Box const& box) override;
    /// [14] a, b, n, then the n points; with n below 1 the record ends after n. `bounds` is
    /// never touched.
    void FastPolyLine(int n, SYS_Point* points, int32_t a, int b) override;
    /// [16]
    void TextAlign(int horizontal, int vertical) override;
    /// [17]
    void TextExtra(int extra) override;
    /// [18]
    void TextFace(int face) override;
    /// [19] angle in the library's angle units (1/1,800,000 degree), reduced to degrees in
    /// [0, 360) by whole turns and recorded in 1/10000 degree, truncated: 0 to 3,599,999.
    /// -1,800,000 records 3,590,000; 648,000,000 records 0. A NaN or infinite angle records 0.
    /// Not virtual.
    void TextPath(double angle);
    /// [20] Not virtual.
    void TextSize(int width, int height);
    /// [21] n is the length of the text; the empty text gives n = 0. `bounds` is never touched.
    void DrawString(char const* text) override;
    /// [22] the word of the union.
    void SetGRAMode(gra_mode_union mode) override;
    /// [23] 1 for true, 0 for false.
    void DrawOnScreen(bool on) override;

    // Other overrides.

    /// Does nothing and records nothing: the replay sets its own pen modes.
    void PenMode(int mode) override;
    /// 0, whatever went into PenMode.
    int GetPenMode() override;
    /// Does nothing.
    void InvalidateRect(SYS_Box const* box) override;
    /// Forwarded at once to the target, if there is one.
    void StartScreenDraw() override;
    /// Clear(), then the batch depth goes up by 1. A nested StartBatchDraw thus clears what
    /// the outer one recorded.
    void StartBatchDraw() override;
    /// With a depth above 0 and a target: target->RedrawDynamic(this, &bounds, 1), then the
    /// depth goes down by 1. Otherwise nothing, the depth included. Stream and `bounds` stay:
    /// the drawing now stands on the screen, and the next StartBatchDraw or Clear removes it.
    void EndBatchDraw() override;

    /// The redraw chain: see the class comment. Always 0.
    int OnNotification(int code, UI_DrawArea::RedrawBlock* data) override;

protected:
    /// The replay. IsFlushing is true while it runs. With a target: m = target->GetPenMode(),
    /// the records are made on the target in stream order, then target->PenMode(m) restores
    /// the pen mode (and nothing else of the pen). Without a target nothing is called.
    ///
    /// How each record replays on the target:
    ///   0, 1, 8, 10, 16, 17, 18  the same call with the operands
    ///   2      DrawXorBox(SYS_Box) with the four operands
    ///   3      size test; large: PenMode(2), FastFrameOval(box); small: DrawXorBox(box)
    ///   4      PenMode(2), FillRect(box, colour)
    ///   5      DrawXorText(text, a, b, SYS_Point(x, y), 1), the result dropped
    ///   6      PenMode(2), PenColor(colour), PenSize(width), DrawLine(p1, p2, width, colour)
    ///   7      PenMode(2), PenColor(colour), PenSize(width), then the size test; large:
    ///          FastFrameArc(box, start, end); small: DrawLine(start, end, width, colour)
    ///   9      FastPolyPolyline(points, counts, n) over copies of the recorded arrays
    ///   11, 12 FastMoveTo, FastLineTo
    ///   13, 15 FastPaintOval(box), FastFrameOval(box)
    ///   14     FastPolyLine(n, points, a, b) over a copy of the points
    ///   19     TextPath(operand as unsigned / 10000.0, "")
    ///   20     TextSize(width, height, "")
    ///   21     DrawString over a terminated copy of the text
    ///   22, 23 SetGRAMode(word), DrawOnScreen(operand != 0)
    ///
    /// The size test: w = |target->Scale2ScreenX(right - left)|, then
    /// h = |target->Scale2ScreenY(upper - lower)|; the shape is large when both are at least
    /// 2 pixels, and a smaller one degenerates: the oval to its box, the arc to its chord. The
    /// exclusive-or mode that codes 3, 4, 6 and 7 set stays set for the records that follow
    /// (a FastLineTo after a DrawLine draws in it) until the final restore.
    void Redraw() override;

    std::vector<int32_t> records; ///< the record stream
    UI_DrawArea* target;          ///< where replays go; not owned, may be null
    int32_t batchDepth;           ///< StartBatchDraw calls not yet ended
    SYS_Box bounds;               ///< the box that the recording covers so far
    SYS_Point currentPoint;       ///< where the last FastMoveTo or FastLineTo ended
    bool flushing;                ///< true while Redraw runs

private:
    // Working arrays of the replay, kept so that replays after the first allocate nothing.
    struct ReplayBuffers {
        std::vector<SYS_Point> points;
        std::vector<int> counts;
        std::vector<char> text;
    };

    void AddBox(SYS_Box const& box) noexcept;
    void ReplayOn(UI_DrawArea* surface, ReplayBuffers& buffers);
    void Restore(UI_DrawArea* surface, int mode);

    bool currentPointSet; // false until the first FastMoveTo or FastLineTo
    int replayDepth;      // replays of this recorder in progress; not copied
    ReplayBuffers buffers;
};

#endif
