// Recording and replaying frames of rubber-band drawing, side by side with the display lists a
// user would write instead: a std::vector of std::function<void(UI_DrawArea&)>, and a
// std::vector of tagged records (std::variant).
//
// A frame is 10,000 records of mixed kinds (pens, lines, boxes, ovals, arcs, polylines, texts,
// text paths, drawing modes), drawn from a fixed random sequence. Replays go to a surface that
// does nothing but convert lengths at 1000 base units to the pixel, so that both branches of
// the size test occur. The peers replay the same calls on it as the recorder does (the
// exclusive-or pen, the size test, the restored pen mode), so the figures compare the storage
// and the dispatch, not different drawing. The peers keep no bounds; the recorder does.
//
// Counters: "ns/record" is the time per record; "allocs/frame" the heap allocations per frame
// once a first frame has been drawn, counted by the replaced operator new below.
#include <mortar/ui/CDynamic.h>

#include "support/allocation_counter.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <new>
#include <random>
#include <string>
#include <variant>
#include <vector>


namespace {

constexpr int kRecords = 10000;

// A surface that draws nothing. Its conversions make a shape of 2000 base units two pixels.
class NullSurface : public UI_DrawArea {
public:
    int Scale2ScreenX(int32_t length) const override { return length / 1000; }
    int Scale2ScreenY(int32_t length) const override { return length / 1000; }
};

enum class Kind {
    PenColor,
    PenSize,
    MoveTo,
    LineTo,
    Line,
    XorBox,
    FillRect,
    XorOval,
    Arc,
    PolyLine,
    PolyPoly,
    Text,
    Path,
    Mode
};

// One drawing call of the frame, with its arguments drawn at random.
struct Op {
    Kind kind;
    int32_t v[4];
    SYS_Point points[6];
};

std::vector<Op> const& Frame() {
    static std::vector<Op> const frame = [] {
        // Lines dominate rubber-band drawing; the rest comes now and then.
        Kind const mix[] = {Kind::LineTo,  Kind::LineTo,   Kind::LineTo,   Kind::Line,     Kind::Line,
                            Kind::MoveTo,  Kind::PenColor, Kind::PenSize,  Kind::XorBox,   Kind::FillRect,
                            Kind::XorOval, Kind::Arc,      Kind::PolyLine, Kind::PolyPoly, Kind::Text,
                            Kind::Path,    Kind::Mode};
        std::mt19937 random(42);
        std::uniform_int_distribution<int> pick(0, int(sizeof mix / sizeof mix[0]) - 1);
        std::uniform_int_distribution<int32_t> coord(-5000, 5000);
        std::vector<Op> ops(kRecords);
        for (Op& op : ops) {
            op.kind = mix[pick(random)];
            for (int32_t& v : op.v)
                v = coord(random);
            for (SYS_Point& p : op.points)
                p.Set(coord(random), coord(random));
        }
        return ops;
    }();
    return frame;
}

SYS_Box BoxOf(Op const& op) {
    return SYS_Box(op.v[0], op.v[1], op.v[2], op.v[3]);
}

uint32_t const kPolyCounts[] = {3, 3};
char const kText[] = "net-42";

// ---- The recorder --------------------------------------------------------------------------

void RecordFrame(CDynamic& d) {
    for (Op const& op : Frame()) {
        switch (op.kind) {
        case Kind::PenColor:
            d.PenColor(op.v[0] & 15);
            break;
        case Kind::PenSize:
            d.PenSize(op.v[0] & 1023);
            break;
        case Kind::MoveTo:
            d.FastMoveTo(op.points[0]);
            break;
        case Kind::LineTo:
            d.FastLineTo(op.points[0]);
            break;
        case Kind::Line:
            d.DrawLine(op.points[0], op.points[1], op.v[0] & 1023, op.v[1] & 15);
            break;
        case Kind::XorBox:
            d.DrawXorBox(BoxOf(op));
            break;
        case Kind::FillRect:
            d.FillRect(BoxOf(op), op.v[0] & 15);
            break;
        case Kind::XorOval:
            d.DrawXorOval(BoxOf(op));
            break;
        case Kind::Arc:
            d.DrawArc(BoxOf(op), op.points[0], op.points[1], 100, 3);
            break;
        case Kind::PolyLine:
            d.FastPolyLine(4, const_cast<SYS_Point*>(op.points), 1, 2);
            break;
        case Kind::PolyPoly:
            d.FastPolyPolyline(const_cast<SYS_Point*>(op.points), kPolyCounts, 2);
            break;
        case Kind::Text:
            d.DrawXorText(kText, 1, 2, op.points[0], 1);
            break;
        case Kind::Path:
            d.TextPath(double(op.v[0]) * 1000.0);
            break;
        case Kind::Mode:
            d.SetGRAMode(gra_mode_union{uint32_t(op.v[0])});
            break;
        }
    }
}

// Runs frame once to size whatever the way of drawing keeps, then once per iteration, and
// reports the time per record and the allocations per frame.
template <class F>
void RunFrames(benchmark::State& state, F&& frame) {
    frame();
    std::uint64_t allocations = 0;
    for (auto _ : state) {
        std::uint64_t const start = bench::Allocations();
        frame();
        allocations += bench::Allocations() - start;
    }
    state.counters["ns/record"] = benchmark::Counter(kRecords, benchmark::Counter::kIsIterationInvariantRate |
                                                                   benchmark::Counter::kInvert);
    state.counters["allocs/frame"] =
        static_cast<double>(allocations) / static_cast<double>(state.iterations());
}

void BM_Record_CDynamic(benchmark::State& state) {
    NullSurface surface;
    CDynamic dynamic(&surface);
    RunFrames(state, [&] {
        dynamic.StartBatchDraw();
        RecordFrame(dynamic);
        dynamic.EndBatchDraw();
        benchmark::DoNotOptimize(dynamic.GetRecords().data());
    });
}
BENCHMARK(BM_Record_CDynamic);

void BM_Replay_CDynamic(benchmark::State& state) {
    NullSurface surface;
    CDynamic dynamic(&surface);
    RecordFrame(dynamic);
    RunFrames(state, [&] { dynamic.OnNotification(0, nullptr); });
}
BENCHMARK(BM_Replay_CDynamic);

// ---- The same calls, as the replay of a display list makes them -----------------------------

bool IsLarge(UI_DrawArea& s, SYS_Box const& b) {
    int const w = s.Scale2ScreenX(b.right - b.left), h = s.Scale2ScreenY(b.upper - b.lower);
    return (w < 0 ? -w : w) >= 2 && (h < 0 ? -h : h) >= 2;
}
void ReplayLine(UI_DrawArea& s, SYS_Point a, SYS_Point b, int32_t width, int color) {
    s.PenMode(2), s.PenColor(color), s.PenSize(width), s.DrawLine(a, b, width, color);
}
void ReplayOval(UI_DrawArea& s, SYS_Box b) {
    if (IsLarge(s, b))
        s.PenMode(2), s.FastFrameOval(b);
    else
        s.DrawXorBox(b);
}
void ReplayArc(UI_DrawArea& s, SYS_Box b, SYS_Point start, SYS_Point end, int32_t width, int color) {
    s.PenMode(2), s.PenColor(color), s.PenSize(width);
    if (IsLarge(s, b))
        s.FastFrameArc(b, start, end);
    else
        s.DrawLine(start, end, width, color);
}
double Degrees(double angle) {
    double d = angle / 1800000.0;
    while (d < 0.0)
        d += 360.0;
    while (d >= 360.0)
        d -= 360.0;
    return d;
}

// ---- Peer: a vector of std::function -------------------------------------------------------

using FunctionList = std::vector<std::function<void(UI_DrawArea&)>>;

void RecordFrame(FunctionList& list) {
    for (Op const& op : Frame()) {
        SYS_Box b = BoxOf(op);
        b.Normalize();
        SYS_Point const p = op.points[0], q = op.points[1];
        switch (op.kind) {
        case Kind::PenColor:
            list.emplace_back([c = op.v[0] & 15](UI_DrawArea& s) { s.PenColor(c); });
            break;
        case Kind::PenSize:
            list.emplace_back([w = op.v[0] & 1023](UI_DrawArea& s) { s.PenSize(w); });
            break;
        case Kind::MoveTo:
            list.emplace_back([p](UI_DrawArea& s) { s.FastMoveTo(p); });
            break;
        case Kind::LineTo:
            list.emplace_back([p](UI_DrawArea& s) { s.FastLineTo(p); });
            break;
        case Kind::Line:
            list.emplace_back(
                [p, q, w = op.v[0] & 1023, c = op.v[1] & 15](UI_DrawArea& s) { ReplayLine(s, p, q, w, c); });
            break;
        case Kind::XorBox:
            list.emplace_back([b](UI_DrawArea& s) { s.DrawXorBox(b); });
            break;
        case Kind::FillRect:
            list.emplace_back([b, c = op.v[0] & 15](UI_DrawArea& s) { s.PenMode(2), s.FillRect(b, c); });
            break;
        case Kind::XorOval:
            list.emplace_back([b](UI_DrawArea& s) { ReplayOval(s, b); });
            break;
        case Kind::Arc:
            list.emplace_back([b, p, q](UI_DrawArea& s) { ReplayArc(s, b, p, q, 100, 3); });
            break;
        case Kind::PolyLine:
            list.emplace_back([pts = std::vector<SYS_Point>(op.points, op.points + 4)](
                                  UI_DrawArea& s) mutable { s.FastPolyLine(4, pts.data(), 1, 2); });
            break;
        case Kind::PolyPoly:
            list.emplace_back(
                [pts = std::vector<SYS_Point>(op.points, op.points + 6)](UI_DrawArea& s) mutable {
                    int const counts[] = {3, 3};
                    s.FastPolyPolyline(pts.data(), counts, 2);
                });
            break;
        case Kind::Text:
            list.emplace_back(
                [t = std::string(kText), p](UI_DrawArea& s) { s.DrawXorText(t.c_str(), 1, 2, p, 1); });
            break;
        case Kind::Path:
            list.emplace_back([d = Degrees(double(op.v[0]) * 1000.0)](UI_DrawArea& s) { s.TextPath(d, ""); });
            break;
        case Kind::Mode:
            list.emplace_back([m = gra_mode_union{uint32_t(op.v[0])}](UI_DrawArea& s) { s.SetGRAMode(m); });
            break;
        }
    }
}

void ReplayFrame(FunctionList& list, UI_DrawArea& surface) {
    int const mode = surface.GetPenMode();
    for (auto& f : list)
        f(surface);
    surface.PenMode(mode);
}

void BM_Record_FunctionList(benchmark::State& state) {
    FunctionList list;
    RunFrames(state, [&] {
        list.clear();
        RecordFrame(list);
        benchmark::DoNotOptimize(list.data());
    });
}
BENCHMARK(BM_Record_FunctionList);

void BM_Replay_FunctionList(benchmark::State& state) {
    NullSurface surface;
    FunctionList list;
    RecordFrame(list);
    RunFrames(state, [&] { ReplayFrame(list, surface); });
}
BENCHMARK(BM_Replay_FunctionList);

// ---- Peer: a vector of tagged records ------------------------------------------------------

struct PenColorRec {
    int c;
};
struct PenSizeRec {
    int32_t w;
};
struct MoveRec {
    SYS_Point p;
};
struct LineToRec {
    SYS_Point p;
};
struct LineRec {
    SYS_Point a, b;
    int32_t w;
    int c;
};
struct XorBoxRec {
    SYS_Box b;
};
struct FillRec {
    SYS_Box b;
    int c;
};
struct OvalRec {
    SYS_Box b;
};
struct ArcRec {
    SYS_Box b;
    SYS_Point start, end;
    int32_t w;
    int c;
};
struct PolyLineRec {
    std::vector<SYS_Point> points;
};
struct PolyPolyRec {
    std::vector<int> counts;
    std::vector<SYS_Point> points;
};
struct TextRec {
    std::string text;
    SYS_Point p;
};
struct PathRec {
    double degrees;
};
struct ModeRec {
    gra_mode_union m;
};

using Tagged = std::variant<PenColorRec, PenSizeRec, MoveRec, LineToRec, LineRec, XorBoxRec, FillRec, OvalRec,
                            ArcRec, PolyLineRec, PolyPolyRec, TextRec, PathRec, ModeRec>;
using TaggedList = std::vector<Tagged>;

void RecordFrame(TaggedList& list) {
    for (Op const& op : Frame()) {
        SYS_Box b = BoxOf(op);
        b.Normalize();
        switch (op.kind) {
        case Kind::PenColor:
            list.emplace_back(PenColorRec{op.v[0] & 15});
            break;
        case Kind::PenSize:
            list.emplace_back(PenSizeRec{op.v[0] & 1023});
            break;
        case Kind::MoveTo:
            list.emplace_back(MoveRec{op.points[0]});
            break;
        case Kind::LineTo:
            list.emplace_back(LineToRec{op.points[0]});
            break;
        case Kind::Line:
            list.emplace_back(LineRec{op.points[0], op.points[1], op.v[0] & 1023, op.v[1] & 15});
            break;
        case Kind::XorBox:
            list.emplace_back(XorBoxRec{b});
            break;
        case Kind::FillRect:
            list.emplace_back(FillRec{b, op.v[0] & 15});
            break;
        case Kind::XorOval:
            list.emplace_back(OvalRec{b});
            break;
        case Kind::Arc:
            list.emplace_back(ArcRec{b, op.points[0], op.points[1], 100, 3});
            break;
        case Kind::PolyLine:
            list.emplace_back(PolyLineRec{{op.points, op.points + 4}});
            break;
        case Kind::PolyPoly:
            list.emplace_back(PolyPolyRec{{3, 3}, {op.points, op.points + 6}});
            break;
        case Kind::Text:
            list.emplace_back(TextRec{kText, op.points[0]});
            break;
        case Kind::Path:
            list.emplace_back(PathRec{Degrees(double(op.v[0]) * 1000.0)});
            break;
        case Kind::Mode:
            list.emplace_back(ModeRec{gra_mode_union{uint32_t(op.v[0])}});
            break;
        }
    }
}

struct TaggedReplay {
    UI_DrawArea& s;
    void operator()(PenColorRec const& r) const { s.PenColor(r.c); }
    void operator()(PenSizeRec const& r) const { s.PenSize(r.w); }
    void operator()(MoveRec const& r) const { s.FastMoveTo(r.p); }
    void operator()(LineToRec const& r) const { s.FastLineTo(r.p); }
    void operator()(LineRec const& r) const { ReplayLine(s, r.a, r.b, r.w, r.c); }
    void operator()(XorBoxRec const& r) const { s.DrawXorBox(r.b); }
    void operator()(FillRec const& r) const { s.PenMode(2), s.FillRect(r.b, r.c); }
    void operator()(OvalRec const& r) const { ReplayOval(s, r.b); }
    void operator()(ArcRec const& r) const { ReplayArc(s, r.b, r.start, r.end, r.w, r.c); }
    void operator()(PolyLineRec& r) const { s.FastPolyLine(int(r.points.size()), r.points.data(), 1, 2); }
    void operator()(PolyPolyRec& r) const {
        s.FastPolyPolyline(r.points.data(), r.counts.data(), int(r.counts.size()));
    }
    void operator()(TextRec const& r) const { s.DrawXorText(r.text.c_str(), 1, 2, r.p, 1); }
    void operator()(PathRec const& r) const { s.TextPath(r.degrees, ""); }
    void operator()(ModeRec const& r) const { s.SetGRAMode(r.m); }
};

void BM_Record_TaggedList(benchmark::State& state) {
    TaggedList list;
    RunFrames(state, [&] {
        list.clear();
        RecordFrame(list);
        benchmark::DoNotOptimize(list.data());
    });
}
BENCHMARK(BM_Record_TaggedList);

void BM_Replay_TaggedList(benchmark::State& state) {
    NullSurface surface;
    TaggedList list;
    RecordFrame(list);
    RunFrames(state, [&] {
        int const mode = surface.GetPenMode();
        for (Tagged& r : list)
            std::visit(TaggedReplay{surface}, r);
        surface.PenMode(mode);
    });
}
BENCHMARK(BM_Replay_TaggedList);

} // namespace

BENCHMARK_MAIN();
