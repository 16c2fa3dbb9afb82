// The recorder of rubber-band drawing: recording into the word stream, and its replay.
#include <mortar/ui/CDynamic.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace {

// The record codes of the stream.
// clang-format off
enum Code : int32_t {
    kPenColor, kPenSize, kXorBox, kXorOval, kFillRect, kXorText, kLine, kArc, kPenCap, kPolyPolyline,
    kSwitchPen, kMoveTo, kLineTo, kPaintOval, kPolyLine, kFrameOval, kTextAlign, kTextExtra, kTextFace,
    kTextPath, kTextSize, kString, kGRAMode, kOnScreen, kCodes
};

// The words of each record up to its count, or of the whole record where it has no count.
constexpr uint8_t kHead[kCodes] = {2, 2, 5, 5, 6, 6, 7, 11, 2, 2, 4, 3, 3, 5, 4, 5, 3, 2, 2, 2, 3, 2, 2, 2};
// clang-format on

using Stream = std::vector<int32_t>;

// Grows the capacity of the stream for `words` more words, geometrically and before anything
// is written, so that a record goes in whole or, when the stream cannot grow, not at all.
__attribute__((noinline)) void Grow(Stream& stream, size_t words) {
    size_t const used = stream.size();
    size_t const limit = stream.max_size();
    if (words > limit - used) throw std::length_error("record too long for the stream");
    size_t const doubled = stream.capacity() > limit / 2 ? limit : 2 * stream.capacity();
    stream.reserve(std::max({used + words, doubled, size_t(256)}));
}

void Reserve(Stream& stream, size_t words) {
    if (stream.capacity() - stream.size() < words) Grow(stream, words);
}

// Appends words that Reserve has made room for; push_back then never reallocates.
template <size_t N>
void Push(Stream& stream, int32_t const (&words)[N]) {
    for (int32_t w : words)
        stream.push_back(w);
}

// Appends a record of fixed size.
template <size_t N>
void Put(Stream& stream, int32_t const (&words)[N]) {
    Reserve(stream, N);
    Push(stream, words);
}

SYS_Box Normalized(SYS_Box box) noexcept {
    box.Normalize();
    return box;
}

// A count as a word of the stream. A text of 2^31 bytes or more has no count that fits; it is
// refused like any other record that the stream cannot hold.
int32_t CountWord(size_t n) {
    if (n > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
        throw std::length_error("record too long for the stream");
    return static_cast<int32_t>(n);
}

// Characters as words of their byte values, 0 to 255, after Reserve.
void PushText(Stream& stream, char const* text, size_t n) {
    for (size_t i = 0; i < n; ++i)
        stream.push_back(static_cast<unsigned char>(text[i]));
}

// Points as x, y words, after Reserve.
void PushPoints(Stream& stream, SYS_Point const* points, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        stream.push_back(points[i].x);
        stream.push_back(points[i].y);
    }
}

SYS_Box BoxAt(int32_t const* w) noexcept {
    return SYS_Box(w[0], w[1], w[2], w[3]);
}
SYS_Point PointAt(int32_t const* w) noexcept {
    return SYS_Point(w[0], w[1]);
}

// The working arrays of a replay only ever grow: their size is the largest that a replay has
// needed so far, and each use fills the front. So a replay that needs no more than an earlier
// one touches no allocator, and the arrays are never null.
template <class T>
T* Room(std::vector<T>& array, size_t n) {
    if (array.size() < n || array.empty()) array.resize(n ? n : 1);
    return array.data();
}

// n points read from the stream into a working array.
SYS_Point* LoadPoints(std::vector<SYS_Point>& to, int32_t const* w, size_t n) {
    SYS_Point* points = Room(to, n);
    for (size_t i = 0; i < n; ++i)
        points[i] = PointAt(w + 2 * i);
    return points;
}

// n characters read from the stream, terminated, into a working array.
char const* LoadText(std::vector<char>& to, int32_t const* w, size_t n) {
    char* text = Room(to, n + 1);
    for (size_t i = 0; i < n; ++i)
        text[i] = static_cast<char>(static_cast<unsigned char>(w[i]));
    text[n] = '\0';
    return text;
}

// The size test of ovals and arcs: large when the box measures at least 2 pixels both ways on
// the surface. Both conversions are asked, X first.
bool IsLarge(UI_DrawArea& surface, SYS_Box const& box) {
    uint32_t const w = mortar::UnsignedAbs(surface.Scale2ScreenX(box.GetDX()));
    uint32_t const h = mortar::UnsignedAbs(surface.Scale2ScreenY(box.GetDY()));
    return w >= 2 && h >= 2;
}

// A word that is no record code. The text is composed where a debugger can see it and is
// reported to nobody: the replay goes on with the next word.
void WrongCode(int32_t code) noexcept {
    char text[256];
    std::snprintf(text, sizeof text, "Dynamic: wrong draw operation Code (%d)", static_cast<int>(code));
}

// Below this many degrees the reduction to one turn runs as a loop of whole turns (at most a
// thousand steps); beyond it, fmod does the same exactly without a step per turn.
constexpr double kLoopLimit = 360.0 * 1024;

} // namespace

CDynamic::CDynamic(UI_DrawArea* area)
    : target(nullptr), batchDepth(0), bounds(), currentPoint(0, 0), flushing(false), currentPointSet(false),
      replayDepth(0) {
    Install(area);
}

CDynamic::CDynamic(CDynamic const& source)
    : SCC_EventNode<UI_DrawArea::RedrawBlock>(source), UI_DrawArea(source), records(source.records),
      target(source.target), batchDepth(source.batchDepth), bounds(source.bounds),
      currentPoint(source.currentPoint), flushing(source.flushing), currentPointSet(source.currentPointSet),
      replayDepth(0) {}

CDynamic& CDynamic::operator=(CDynamic& source) {
    if (&source != this) records = source.records; // first, so that a failed copy changes nothing
    SCC_EventNode<UI_DrawArea::RedrawBlock>::operator=(source);
    target = source.target;
    batchDepth = source.batchDepth;
    bounds = source.bounds;
    currentPoint = source.currentPoint;
    flushing = source.flushing;
    currentPointSet = source.currentPointSet;
    return *this;
}

CDynamic::~CDynamic() = default;

void CDynamic::Install(UI_DrawArea* area) {
    if (!area) return;
    target = area;
    area->InstallDynamic(this);
}

void CDynamic::Clear() {
    if (!target) return;
    target->RedrawDynamic(this, &bounds, 0);
    Reset();
}

void CDynamic::Reset() noexcept {
    records.clear();
    bounds.SetEmpty();
}

void CDynamic::AddBox(SYS_Box const& box) noexcept {
    if (bounds.left == bounds.right && bounds.lower == bounds.upper)
        bounds = box;
    else
        bounds.Combine(box);
}

// Recording.

void CDynamic::PenColor(int color) {
    Put(records, {kPenColor, color});
}

void CDynamic::PenSize(int32_t size) {
    Put(records, {kPenSize, size});
}

void CDynamic::PenCap(int cap) {
    Put(records, {kPenCap, cap});
}

void CDynamic::SwitchPen(int pen, int32_t size, int color) {
    Put(records, {kSwitchPen, pen, size, color});
}

void CDynamic::DrawXorBox(SYS_Point a, SYS_Point b) {
    Put(records, {kXorBox, a.x, a.y, b.x, b.y});
    AddBox(SYS_Box(a, b));
}

void CDynamic::DrawXorBox(SYS_Box box) {
    box.Normalize();
    DrawXorBox(box.GetLowerLeft(), box.GetUpperRight());
}

void CDynamic::DrawXorOval(SYS_Box box) {
    box.Normalize();
    Put(records, {kXorOval, box.left, box.lower, box.right, box.upper});
    AddBox(box);
}

void CDynamic::FillRect(SYS_Box box, int color) {
    box.Normalize();
    Put(records, {kFillRect, box.left, box.lower, box.right, box.upper, color});
    AddBox(box);
}

SYS_Box CDynamic::DrawXorText(char const* text, int a, int b, int32_t x, int32_t y, int) {
    if (!text) text = "";
    size_t const n = std::strlen(text) + 1; // the terminating 0 goes in too
    Reserve(records, 6 + static_cast<size_t>(CountWord(n)));
    Push(records, {kXorText, x, y, a, b, static_cast<int32_t>(n)});
    PushText(records, text, n);
    if (!target) return SYS_Box();
    SYS_Box const box = target->DrawXorText(text, a, b, x, y, 0);
    AddBox(box);
    return box;
}

SYS_Box CDynamic::DrawXorText(char const* text, int a, int b, SYS_Point p, int) {
    return DrawXorText(text, a, b, p.x, p.y, 1);
}

void CDynamic::DrawLine(SYS_Point const& p1, SYS_Point const& p2, int32_t width, int color) {
    Put(records, {kLine, p1.x, p1.y, p2.x, p2.y, width, color});
    AddBox(Normalized(SYS_Box(p1, p2)));
}

void CDynamic::DrawArc(SYS_Box box, SYS_Point const& start, SYS_Point const& end, int32_t width, int color) {
    box.Normalize();
    Put(records,
        {kArc, box.left, box.lower, box.right, box.upper, start.x, start.y, end.x, end.y, width, color});
    AddBox(box);
}

void CDynamic::FastPolyPolyline(SYS_Point* points, uint32_t const* counts, int n) {
    if (n >= 1 && !counts) n = 0;
    uint64_t total = 0;
    for (int i = 0; i < n; ++i)
        total += counts[i];
    if (total > 0 && !points) n = 0, total = 0;
    size_t const lines = n >= 1 ? static_cast<size_t>(n) : 0;
    // At most 2^31 counts of 2^32 points each: the sum and the word count stay far below 2^64.
    uint64_t const words = 2 + lines + 2 * total;
    if (words > static_cast<uint64_t>(records.max_size()))
        throw std::length_error("record too long for the stream");
    Reserve(records, static_cast<size_t>(words));
    Push(records, {kPolyPolyline, n});
    for (size_t i = 0; i < lines; ++i)
        records.push_back(static_cast<int32_t>(counts[i]));
    if (total == 0) return;
    PushPoints(records, points, static_cast<size_t>(total));
    SYS_Box box(points[0], points[0]);
    for (size_t i = 1; i < total; ++i)
        box.Increase(points[i].x, points[i].y);
    AddBox(box);
}

void CDynamic::FastMoveTo(SYS_Point const& p) {
    Put(records, {kMoveTo, p.x, p.y});
    currentPoint = p;
    currentPointSet = true;
}

void CDynamic::FastLineTo(SYS_Point const& p) {
    Put(records, {kLineTo, p.x, p.y});
    AddBox(Normalized(SYS_Box(currentPointSet ? currentPoint : p, p)));
    currentPoint = p;
    currentPointSet = true;
}

void CDynamic::FastPaintOval(SYS_Box box) {
    Put(records, {kPaintOval, box.left, box.lower, box.right, box.upper});
    AddBox(box);
}

void CDynamic::FastFrameOval(SYS_Box const& box) {
    Put(records, {kFrameOval, box.left, box.lower, box.right, box.upper});
    AddBox(box);
}

void CDynamic::FastPolyLine(int n, SYS_Point* points, int32_t a, int b) {
    if (n >= 1 && !points) n = 0;
    size_t const count = n >= 1 ? static_cast<size_t>(n) : 0;
    Reserve(records, 4 + 2 * count);
    Push(records, {kPolyLine, a, b, n});
    PushPoints(records, points, count);
}

void CDynamic::TextAlign(int horizontal, int vertical) {
    Put(records, {kTextAlign, horizontal, vertical});
}

void CDynamic::TextExtra(int extra) {
    Put(records, {kTextExtra, extra});
}

void CDynamic::TextFace(int face) {
    Put(records, {kTextFace, face});
}

void CDynamic::TextPath(double angle) {
    double d = angle / 180000.0 / 10.0; // degrees
    if (!std::isfinite(d))
        d = 0.0;
    else if (std::fabs(d) >= kLoopLimit)
        d = std::fmod(d, 360.0);
    while (d < 0.0)
        d += 360.0;
    while (d >= 360.0)
        d -= 360.0;
    Put(records, {kTextPath, mortar::TruncToInt32(d * 10000.0)});
}

void CDynamic::TextSize(int width, int height) {
    Put(records, {kTextSize, width, height});
}

void CDynamic::DrawString(char const* text) {
    if (!text) text = "";
    size_t const n = std::strlen(text);
    Reserve(records, 2 + static_cast<size_t>(CountWord(n)));
    Push(records, {kString, static_cast<int32_t>(n)});
    PushText(records, text, n);
}

void CDynamic::SetGRAMode(gra_mode_union mode) {
    Put(records, {kGRAMode, static_cast<int32_t>(mode.word)});
}

void CDynamic::DrawOnScreen(bool on) {
    Put(records, {kOnScreen, on ? 1 : 0});
}

// Other overrides.

void CDynamic::PenMode(int) {}

int CDynamic::GetPenMode() {
    return 0;
}

void CDynamic::InvalidateRect(SYS_Box const*) {}

void CDynamic::StartScreenDraw() {
    if (target) target->StartScreenDraw();
}

void CDynamic::StartBatchDraw() {
    Clear();
    batchDepth = mortar::WrapAdd(batchDepth, 1);
}

void CDynamic::EndBatchDraw() {
    if (batchDepth <= 0 || !target) return;
    target->RedrawDynamic(this, &bounds, 1);
    if (batchDepth > 0) --batchDepth; // the surface may have ended the batch meanwhile
}

int CDynamic::OnNotification(int code, UI_DrawArea::RedrawBlock*) {
    switch (code) {
    case 0:
    case 1:
        Redraw();
        break;
    case 2:
        target = nullptr;
        break;
    case 3:
        Clear();
        break;
    default:
        break;
    }
    return 0;
}

// The replay.

void CDynamic::Redraw() {
    // flushing stays true until the outermost replay of this recorder ends, also by exception.
    struct Flushing {
        CDynamic& self;
        explicit Flushing(CDynamic& d) : self(d) {
            ++self.replayDepth;
            self.flushing = true;
        }
        ~Flushing() { self.flushing = --self.replayDepth > 0; }
    } const flushingNow(*this);
    if (!target) return;
    if (replayDepth == 1) {
        ReplayOn(target, buffers);
    } else {
        // A replay inside a replay: the outer one still holds pointers into its arrays.
        ReplayBuffers own;
        ReplayOn(target, own);
    }
}

// Walks the stream and makes its calls on surface. The walk goes by position and reads the
// operands of a record before it makes the record's first call, since a call may change the
// stream (record, Clear, assign) or the target; no pointer into the stream outlives a call.
void CDynamic::ReplayOn(UI_DrawArea* surface, ReplayBuffers& work) {
    int const mode = surface->GetPenMode();
    size_t at = 0;
    for (;;) {
        if (target != surface) return; // dropped or changed by the surface: nothing more goes there
        size_t const size = records.size();
        if (at >= size) break;
        int32_t const* w = records.data() + at;
        int32_t const code = w[0];
        if (code < 0 || code >= kCodes) {
            WrongCode(code);
            ++at;
            continue;
        }
        // The words after the head, where a count gives them; `tail` tells whether they are
        // all in the stream. A record cut short by the end of the stream ends the walk.
        if (kHead[code] > size - at) break;
        at += kHead[code];
        size_t const left = size - at;
        auto tail = [&](uint64_t words) {
            if (words > left) return false;
            at += static_cast<size_t>(words);
            return true;
        };

        switch (code) {
        case kPenColor:
            surface->PenColor(w[1]);
            break;
        case kPenSize:
            surface->PenSize(w[1]);
            break;
        case kXorBox:
            surface->DrawXorBox(BoxAt(w + 1));
            break;
        case kXorOval: {
            SYS_Box const box = BoxAt(w + 1);
            if (IsLarge(*surface, box)) {
                surface->PenMode(2);
                surface->FastFrameOval(box);
            } else {
                surface->DrawXorBox(box);
            }
            break;
        }
        case kFillRect: {
            SYS_Box const box = BoxAt(w + 1);
            int const color = w[5];
            surface->PenMode(2);
            surface->FillRect(box, color);
            break;
        }
        case kXorText: {
            if (w[5] < 0 || !tail(static_cast<uint64_t>(w[5]))) return Restore(surface, mode);
            SYS_Point const p = PointAt(w + 1);
            int const a = w[3], b = w[4];
            char const* text = LoadText(work.text, w + 6, static_cast<size_t>(w[5]));
            surface->DrawXorText(text, a, b, p, 1);
            break;
        }
        case kLine: {
            SYS_Point const p1 = PointAt(w + 1), p2 = PointAt(w + 3);
            int32_t const width = w[5];
            int const color = w[6];
            surface->PenMode(2);
            surface->PenColor(color);
            surface->PenSize(width);
            surface->DrawLine(p1, p2, width, color);
            break;
        }
        case kArc: {
            SYS_Box const box = BoxAt(w + 1);
            SYS_Point const start = PointAt(w + 5), end = PointAt(w + 7);
            int32_t const width = w[9];
            int const color = w[10];
            surface->PenMode(2);
            surface->PenColor(color);
            surface->PenSize(width);
            if (IsLarge(*surface, box))
                surface->FastFrameArc(box, start, end);
            else
                surface->DrawLine(start, end, width, color);
            break;
        }
        case kPenCap:
            surface->PenCap(w[1]);
            break;
        case kPolyPolyline: {
            int const n = w[1];
            if (n < 0) break; // recorded, but there is nothing to draw
            size_t const lines = static_cast<size_t>(n);
            if (!tail(lines)) return Restore(surface, mode);
            uint64_t total = 0;
            for (size_t i = 0; i < lines; ++i)
                total += static_cast<uint32_t>(w[2 + i]);
            if (!tail(2 * total)) return Restore(surface, mode);
            int* counts = Room(work.counts, lines);
            std::copy(w + 2, w + 2 + lines, counts);
            SYS_Point* points = LoadPoints(work.points, w + 2 + lines, static_cast<size_t>(total));
            surface->FastPolyPolyline(points, counts, n);
            break;
        }
        case kSwitchPen:
            surface->SwitchPen(w[1], w[2], w[3]);
            break;
        case kMoveTo:
            surface->FastMoveTo(PointAt(w + 1));
            break;
        case kLineTo:
            surface->FastLineTo(PointAt(w + 1));
            break;
        case kPaintOval:
            surface->FastPaintOval(BoxAt(w + 1));
            break;
        case kPolyLine: {
            int32_t const a = w[1];
            int const b = w[2], n = w[3];
            if (n < 0) break; // recorded, but there is nothing to draw
            if (!tail(2 * static_cast<uint64_t>(n))) return Restore(surface, mode);
            SYS_Point* points = LoadPoints(work.points, w + 4, static_cast<size_t>(n));
            surface->FastPolyLine(n, points, a, b);
            break;
        }
        case kFrameOval:
            surface->FastFrameOval(BoxAt(w + 1));
            break;
        case kTextAlign:
            surface->TextAlign(w[1], w[2]);
            break;
        case kTextExtra:
            surface->TextExtra(w[1]);
            break;
        case kTextFace:
            surface->TextFace(w[1]);
            break;
        case kTextPath:
            surface->TextPath(static_cast<uint32_t>(w[1]) / 10000.0, "");
            break;
        case kTextSize:
            surface->TextSize(w[1], w[2], "");
            break;
        case kString:
            if (w[1] < 0 || !tail(static_cast<uint64_t>(w[1]))) return Restore(surface, mode);
            surface->DrawString(LoadText(work.text, w + 2, static_cast<size_t>(w[1])));
            break;
        case kGRAMode:
            surface->SetGRAMode(gra_mode_union{static_cast<uint32_t>(w[1])});
            break;
        case kOnScreen:
            surface->DrawOnScreen(w[1] != 0);
            break;
        default:
            break;
        }
    }
    Restore(surface, mode);
}

// The end of a replay: the pen mode goes back, on a surface that is still the target.
void CDynamic::Restore(UI_DrawArea* surface, int mode) {
    if (target == surface) surface->PenMode(mode);
}
