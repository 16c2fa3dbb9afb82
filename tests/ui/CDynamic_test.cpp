#include <mortar/ui/CDynamic.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <iomanip>
#include <limits>
#include <new>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// Allocation that can be made to fail once, to see a record go in whole or not at all. Out of
// line, so that the compiler does not pair the malloc and free inside with new and delete.
static bool g_failNextAllocation = false;

__attribute__((noinline)) void* operator new(std::size_t size) {
    if (std::exchange(g_failNextAllocation, false)) throw std::bad_alloc();
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* p) noexcept {
    std::free(p);
}
__attribute__((noinline)) void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace {

using Words = std::vector<int32_t>;
using Log = std::vector<std::string>;

std::ostream& operator<<(std::ostream& o, SYS_Point const& p) {
    return o << '(' << p.x << ' ' << p.y << ')';
}
std::ostream& operator<<(std::ostream& o, SYS_Box const& b) {
    return o << '[' << b.left << ' ' << b.lower << ' ' << b.right << ' ' << b.upper << ']';
}
std::string Points(SYS_Point const* p, int n) {
    std::ostringstream o;
    for (int i = 0; i < n; ++i)
        o << p[i];
    return o.str();
}

// A surface that logs, as "Name(arguments)", every call that a recorder may make on it, so
// that a replay compares call by call. It keeps a pen mode and measures a text as 10 units per
// character by 20.
class LogSurface : public UI_DrawArea {
public:
    mutable Log log;
    int mode = 5;
    SYS_Point const* lastPoints = nullptr;          // of the last FastPolyLine
    std::function<void(std::string const&)> onCall; // runs after each logged call

    template <class... A>
    void Note(char const* name, A const&... args) const {
        std::ostringstream o;
        o.precision(10);
        o << std::boolalpha << name << '(';
        int i = 0;
        ((o << (i++ ? "," : "") << args), ...);
        log.push_back(o.str() + ')');
        if (onCall) onCall(log.back());
    }

    void InstallDynamic(CDynamic*) override { Note("InstallDynamic"); }
    void RedrawDynamic(CDynamic* d, SYS_Box* b, int show) override {
        EXPECT_EQ(b, &d->GetBounds()) << "the surface gets the recorder's own box";
        Note("RedrawDynamic", d->GetRecords().size(), *b, show);
    }
    void StartScreenDraw() override { Note("StartScreenDraw"); }
    void PenColor(int c) override { Note("PenColor", c); }
    void PenSize(int32_t s) override { Note("PenSize", s); }
    void PenCap(int c) override { Note("PenCap", c); }
    void PenMode(int m) override { Note("PenMode", m), mode = m; }
    int GetPenMode() override { return Note("GetPenMode"), mode; }
    void SwitchPen(int a, int32_t b, int c) override { Note("SwitchPen", a, b, c); }
    void DrawXorBox(SYS_Box b) override { Note("DrawXorBox", b); }
    void DrawXorBox(SYS_Point a, SYS_Point b) override { Note("DrawXorBox", a, b); }
    SYS_Box DrawXorText(char const* t, int a, int b, int32_t x, int32_t y, int flag) override {
        Note("DrawXorText", std::quoted(t), a, b, x, y, flag);
        return SYS_Box(x, y, x + 10 * int32_t(std::strlen(t)), y + 20);
    }
    SYS_Box DrawXorText(char const* t, int a, int b, SYS_Point p, int flag) override {
        return Note("DrawXorText", std::quoted(t), a, b, p, flag), SYS_Box();
    }
    void FillRect(SYS_Box b, int c) override { Note("FillRect", b, c); }
    void DrawLine(SYS_Point const& a, SYS_Point const& b, int32_t w, int c) override {
        Note("DrawLine", a, b, w, c);
    }
    void FastFrameArc(SYS_Box const& b, SYS_Point const& s, SYS_Point const& e) override {
        Note("FastFrameArc", b, s, e);
    }
    void FastFrameOval(SYS_Box const& b) override { Note("FastFrameOval", b); }
    void FastPaintOval(SYS_Box b) override { Note("FastPaintOval", b); }
    void FastMoveTo(SYS_Point const& p) override { Note("FastMoveTo", p); }
    void FastLineTo(SYS_Point const& p) override { Note("FastLineTo", p); }
    void FastPolyPolyline(SYS_Point* p, int const* counts, int n) override {
        std::string c;
        int total = 0;
        for (int i = 0; i < n; ++i)
            c += (i ? " " : "") + std::to_string(counts[i]), total += counts[i];
        Note("FastPolyPolyline", Points(p, total), c, n);
    }
    void FastPolyLine(int n, SYS_Point* p, int32_t a, int b) override {
        lastPoints = p;
        Note("FastPolyLine", n, Points(p, n), a, b);
    }
    void TextAlign(int h, int v) override { Note("TextAlign", h, v); }
    void TextExtra(int e) override { Note("TextExtra", e); }
    void TextFace(int f) override { Note("TextFace", f); }
    void TextPath(double d, char const* t) override { Note("TextPath", d, std::quoted(t)); }
    void TextSize(int w, int h, char const* t) override { Note("TextSize", w, h, std::quoted(t)); }
    void DrawString(char const* t) override { Note("DrawString", std::quoted(t)); }
    void SetGRAMode(gra_mode_union m) override { Note("SetGRAMode", m.word); }
    void DrawOnScreen(bool on) override { Note("DrawOnScreen", on); }
};

// The second surface, which converts: 1000 base units to the pixel, mirrored both ways, so
// that a shape can be large on it and a negative answer counts by its magnitude.
class ScaledSurface : public LogSurface {
public:
    int Scale2ScreenX(int32_t l) const override { return Note("Scale2ScreenX", l), -l / 1000; }
    int Scale2ScreenY(int32_t l) const override { return Note("Scale2ScreenY", l), -l / 1000; }
};

// The calls of a replay on surface, without the GetPenMode at its start and the PenMode that
// restores the mode at its end, which are checked here.
Log Replay(CDynamic& dynamic, LogSurface& surface) {
    surface.log.clear();
    dynamic.SetDrawArea(&surface);
    EXPECT_EQ(dynamic.OnNotification(0, nullptr), 0);
    Log const calls = surface.log;
    bool const framed = calls.size() >= 2 && calls.front() == "GetPenMode()" && calls.back() == "PenMode(5)";
    EXPECT_TRUE(framed) << "replay not framed by GetPenMode() ... PenMode(5)";
    return framed ? Log(calls.begin() + 1, calls.end() - 1) : calls;
}

// A recorder with a logging target, the log emptied after the Install.
struct OnSurface : testing::Test {
    LogSurface surface;
    CDynamic dynamic{&surface};
    OnSurface() { surface.log.clear(); }
};

SYS_Point pts[] = {{0, 0}, {10, -5}, {3, 7}};
uint32_t counts[] = {2, 1};

// Calls that pass through unchanged.
void PassThrough(UI_DrawArea& area) {
    area.SwitchPen(1, 250, 3), area.PenColor(4), area.PenSize(-4), area.PenCap(1);
    area.FastMoveTo(SYS_Point(-SYS_COORD_LIMIT, 0)), area.FastLineTo(SYS_Point(SYS_COORD_LIMIT, INT32_MIN));
    area.DrawXorBox(SYS_Box(1, 2, 3, 4)), area.FastPaintOval(SYS_Box(5, 5, 1, 1));
    area.FastFrameOval(SYS_Box(5, 5, 1, 1)), area.FastPolyLine(2, pts, 7, 8);
    area.TextAlign(2, 1), area.TextExtra(-1), area.TextFace(7), area.DrawString("r\xFF"), area.DrawString("");
    area.SetGRAMode(gra_mode_union{0x80000001u}), area.DrawOnScreen(true), area.DrawOnScreen(false);
}

struct RecordCase {
    char const* name;
    std::function<void(CDynamic&)> record;
    Words words;
    Log replay;     // on a ScaledSurface
    SYS_Box bounds; // of a recorder without target
};

// clang-format off
std::vector<RecordCase> const cases = {
    {"an empty stream still reads the pen mode and puts it back", [](CDynamic&) {}, {}, {}, SYS_Box()},
    {"calls that pass through replay as drawn directly", PassThrough,
     {10, 1, 250, 3, 0, 4, 1, -4, 8, 1, 11, -SYS_COORD_LIMIT, 0, 12, SYS_COORD_LIMIT, INT32_MIN, 2, 1, 2, 3, 4,
      13, 5, 5, 1, 1, 15, 5, 5, 1, 1, 14, 7, 8, 2, 0, 0, 10, -5, 16, 2, 1, 17, -1, 18, 7, 21, 2, 'r', 255, 21, 0,
      22, int32_t(0x80000001u), 23, 1, 23, 0},
     [] { LogSurface direct; PassThrough(direct); return direct.log; }(),
     {-SYS_COORD_LIMIT, INT32_MIN, SYS_COORD_LIMIT, 4}}, // the ovals' inverted boxes as given
    {"xor box from points, kept inverted", [](CDynamic& d) { d.DrawXorBox(SYS_Point(5, 6), SYS_Point(1, 2)); },
     {2, 5, 6, 1, 2}, {"DrawXorBox([5 6 1 2])"}, {5, 6, 1, 2}},
    {"xor box from an inverted box, ordered", [](CDynamic& d) { d.DrawXorBox(SYS_Box(5, 6, 1, 2)); },
     {2, 1, 2, 5, 6}, {"DrawXorBox([1 2 5 6])"}, {1, 2, 5, 6}},
    {"xor ovals: large when 2 by 2 pixels, else their boxes",
     [](CDynamic& d) {
         d.DrawXorOval(SYS_Box(2010, 2020, 10, 20)), d.DrawXorOval(SYS_Box(10, 20, 2009, 5020));
         d.DrawXorOval(SYS_Box(10, 20, 5010, 1020));
     },
     {3, 10, 20, 2010, 2020, 3, 10, 20, 2009, 5020, 3, 10, 20, 5010, 1020},
     {"Scale2ScreenX(2000)", "Scale2ScreenY(2000)", "PenMode(2)", "FastFrameOval([10 20 2010 2020])",
      "Scale2ScreenX(1999)", "Scale2ScreenY(5000)", "DrawXorBox([10 20 2009 5020])",
      "Scale2ScreenX(5000)", "Scale2ScreenY(1000)", "DrawXorBox([10 20 5010 1020])"}, {10, 20, 5010, 5020}},
    {"fill rect", [](CDynamic& d) { d.FillRect(SYS_Box(4, 4, 1, 2), 7); },
     {4, 1, 2, 4, 4, 7}, {"PenMode(2)", "FillRect([1 2 4 4],7)"}, {1, 2, 4, 4}},
    {"xor texts count their terminator; null is empty; no target, no box",
     [](CDynamic& d) {
         EXPECT_EQ(d.DrawXorText("a\xE9", 7, 8, 1, 2, 0), SYS_Box());
         d.DrawXorText(nullptr, 0, 0, SYS_Point(3, 4), 0);
     },
     {5, 1, 2, 7, 8, 3, 97, 233, 0, 5, 3, 4, 0, 0, 1, 0},
     {"DrawXorText(\"a\xE9\",7,8,(1 2),1)", "DrawXorText(\"\",0,0,(3 4),1)"}, SYS_Box()},
    {"line", [](CDynamic& d) { d.DrawLine(SYS_Point(3, 4), SYS_Point(1, 2), 5, 6); },
     {6, 3, 4, 1, 2, 5, 6}, {"PenMode(2)", "PenColor(6)", "PenSize(5)", "DrawLine((3 4),(1 2),5,6)"}, {1, 2, 3, 4}},
    {"arcs: large, and small as their chords",
     [](CDynamic& d) {
         d.DrawArc(SYS_Box(3010, 3020, 10, 20), SYS_Point(1, 0), SYS_Point(0, 1), 4, 5);
         d.DrawArc(SYS_Box(10, 20, 3010, 1519), SYS_Point(1, 0), SYS_Point(0, 1), 4, 5);
     },
     {7, 10, 20, 3010, 3020, 1, 0, 0, 1, 4, 5, 7, 10, 20, 3010, 1519, 1, 0, 0, 1, 4, 5},
     {"PenMode(2)", "PenColor(5)", "PenSize(4)", "Scale2ScreenX(3000)", "Scale2ScreenY(3000)",
      "FastFrameArc([10 20 3010 3020],(1 0),(0 1))", "PenMode(2)", "PenColor(5)", "PenSize(4)",
      "Scale2ScreenX(3000)", "Scale2ScreenY(1499)", "DrawLine((1 0),(0 1),4,5)"}, {10, 20, 3010, 3020}},
    {"poly-polyline", [](CDynamic& d) { d.FastPolyPolyline(pts, counts, 2); },
     {9, 2, 2, 1, 0, 0, 10, -5, 3, 7}, {"FastPolyPolyline((0 0)(10 -5)(3 7),2 1,2)"}, {0, -5, 10, 7}},
    {"poly-polylines of empty lines, of no lines, of -3 (not replayed), without counts",
     [](CDynamic& d) {
         uint32_t const none[] = {0, 0};
         d.FastPolyPolyline(pts, none, 2), d.FastPolyPolyline(pts, counts, 0), d.FastPolyPolyline(pts, counts, -3);
         d.FastPolyPolyline(pts, static_cast<uint32_t const*>(nullptr), 2);
     },
     {9, 2, 0, 0, 9, 0, 9, -3, 9, 0},
     {"FastPolyPolyline(,0 0,2)", "FastPolyPolyline(,,0)", "FastPolyPolyline(,,0)"}, SYS_Box()},
    {"polylines (never a box) of 3 points, of none, of -1 (not replayed), without points",
     [](CDynamic& d) {
         d.FastPolyLine(3, pts, 7, 8), d.FastPolyLine(0, pts, 7, 8), d.FastPolyLine(-1, pts, 7, 8);
         d.FastPolyLine(4, nullptr, 7, 8);
     },
     {14, 7, 8, 3, 0, 0, 10, -5, 3, 7, 14, 7, 8, 0, 14, 7, 8, -1, 14, 7, 8, 0},
     {"FastPolyLine(3,(0 0)(10 -5)(3 7),7,8)", "FastPolyLine(0,,7,8)", "FastPolyLine(0,,7,8)"}, SYS_Box()},
    {"text size and a null string", [](CDynamic& d) { d.TextSize(10, 20), d.DrawString(nullptr); },
     {20, 10, 20, 21, 0}, {"TextSize(10,20,\"\")", "DrawString(\"\")"}, SYS_Box()},
};
// clang-format on

// Each case alone, then all in one stream: the stream is the records back to back and its
// replay their replays in order, so no record's length is misread and the exclusive-or mode
// that a shape sets stays for the records after it.
TEST(CDynamic, RecordsAndTheirReplays) {
    CDynamic all;
    Words allWords;
    Log allReplay;
    ScaledSurface surface;
    for (RecordCase const& c : cases) {
        SCOPED_TRACE(c.name);
        CDynamic one;
        c.record(one);
        EXPECT_EQ(one.GetRecords(), c.words);
        EXPECT_EQ(one.GetBounds(), c.bounds);
        EXPECT_EQ(Replay(one, surface), c.replay);
        c.record(all);
        allWords.insert(allWords.end(), c.words.begin(), c.words.end());
        allReplay.insert(allReplay.end(), c.replay.begin(), c.replay.end());
    }
    EXPECT_EQ(all.GetRecords(), allWords);
    EXPECT_EQ(Replay(all, surface), allReplay);
    EXPECT_EQ(Replay(all, surface), allReplay) << "a replay leaves the stream as it was";
}

// Steps on one recorder, each with the bounds it leaves.
TEST(CDynamic, BoundsGrowByTheirRule) {
    auto line = [](int x1, int y1, int x2, int y2) {
        return [=](CDynamic& d) { d.DrawLine(SYS_Point(x1, y1), SYS_Point(x2, y2), 1, 1); };
    };
    auto reset = [](CDynamic& d) { d.Reset(); };
    // clang-format off
    std::tuple<char const*, std::function<void(CDynamic&)>, SYS_Box> const steps[] = {
        {"a line before any move covers its end alone", [](CDynamic& d) { d.FastLineTo(SYS_Point(7, 8)); }, {7, 8, 7, 8}},
        {"and goes on from there", [](CDynamic& d) { d.FastLineTo(SYS_Point(9, 6)); }, {7, 6, 9, 8}},
        {"reset empties them", reset, SYS_Box()},
        {"a first box", [](CDynamic& d) { d.FillRect(SYS_Box(20, 20, 10, 10), 1); }, {10, 10, 20, 20}},
        {"a later one combines", line(30, 0, 25, 15), {10, 0, 30, 20}},
        {"clear without target keeps them", [](CDynamic& d) { d.Clear(); }, {10, 0, 30, 20}},
        {"a zero-length line is a point", [&](CDynamic& d) { reset(d), line(5, 5, 5, 5)(d); }, {5, 5, 5, 5}},
        {"which the next box replaces", [](CDynamic& d) { d.DrawXorOval(SYS_Box(10, 10, 20, 20)); }, {10, 10, 20, 20}},
        {"a horizontal line is no point", [&](CDynamic& d) { reset(d), line(0, 5, 10, 5)(d); }, {0, 5, 10, 5}},
        {"so the next box combines with it", [](CDynamic& d) { d.FastPaintOval(SYS_Box(20, 20, 30, 30)); }, {0, 5, 30, 30}},
    };
    // clang-format on
    CDynamic dynamic;
    for (auto const& [name, draw, bounds] : steps) {
        draw(dynamic);
        EXPECT_EQ(dynamic.GetBounds(), bounds) << name;
    }
}

TEST(CDynamic, TextPathReducesToOneTurn) {
    double const nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    // clang-format off
    std::pair<double, int32_t> const cases[] = {{1800000.0, 10000}, {-1800000.0, 3590000}, {-1.0, 3599999},
        {648000000.0, 0}, {-648000000.0 * 3, 0}, {2147483647.0, 1130464}, {1e30, 1600000}, {nan, 0}, {inf, 0}, {-inf, 0}};
    // clang-format on
    for (auto const& c : cases) {
        CDynamic dynamic;
        dynamic.TextPath(c.first);
        EXPECT_EQ(dynamic.GetRecords(), (Words{19, c.second})) << c.first;
    }
    std::mt19937 random(7);
    std::uniform_real_distribution<double> any(-1e12, 1e12);
    CDynamic dynamic;
    for (int i = 0; i < 1000; ++i)
        dynamic.TextPath(any(random));
    for (size_t i = 1; i < dynamic.GetRecords().size(); i += 2)
        EXPECT_TRUE(dynamic.GetRecords()[i] >= 0 && dynamic.GetRecords()[i] <= 3599999)
            << dynamic.GetRecords()[i];
}

// With a target, a text is measured there (flag 0, nothing drawn) and its box added.
TEST_F(OnSurface, BatchesShowAndRemoveFramesAndTextsAreMeasured) {
    dynamic.EndBatchDraw(); // no batch to end
    dynamic.StartBatchDraw(), dynamic.StartBatchDraw();
    dynamic.FillRect(SYS_Box(1, 2, 3, 4), 5);
    EXPECT_EQ(dynamic.DrawXorText("abc", 7, 8, SYS_Point(100, 200), 1), SYS_Box(100, 200, 130, 220));
    dynamic.EndBatchDraw(), dynamic.EndBatchDraw(), dynamic.EndBatchDraw();
    EXPECT_EQ(dynamic.GetBatchDepth(), 0);
    dynamic.StartBatchDraw();
    // The size of the stream, the bounds and the show flag, as the surface received them: a
    // frame is taken off with its stream still in place.
    EXPECT_EQ(surface.log, (Log{"RedrawDynamic(0,[0 0 0 0],0)", "RedrawDynamic(0,[0 0 0 0],0)",
                                "DrawXorText(\"abc\",7,8,100,200,0)", "RedrawDynamic(16,[1 2 130 220],1)",
                                "RedrawDynamic(16,[1 2 130 220],1)", "RedrawDynamic(16,[1 2 130 220],0)"}));
    EXPECT_TRUE(dynamic.GetRecords().empty());
    EXPECT_EQ(dynamic.GetBounds(), SYS_Box());
}

TEST_F(OnSurface, NotificationsReplayDropTheTargetAndClear) {
    SCC_Event<UI_DrawArea::RedrawBlock> chain;
    chain.Add(&dynamic);
    // Look-alikes of recording operations, which neither draw nor record; the pen mode is 0.
    int const n[] = {1};
    SYS_Box box(1, 2, 3, 4);
    dynamic.PenMode(2);
    EXPECT_EQ(dynamic.GetPenMode(), 0);
    dynamic.TextPath(90.0, "x"), dynamic.TextSize(1, 2, "x"), dynamic.FastPolyPolyline(pts, n, 1);
    dynamic.FastPaintOval(pts[0], 3, 4), dynamic.InvalidateRect(&box), dynamic.EndScreenDraw();

    UI_DrawArea::RedrawBlock block;
    dynamic.PenColor(1);
    chain.Notify(0, &block), chain.Notify(1, &block);
    for (int code : {4, -1, 99})
        EXPECT_EQ(dynamic.OnNotification(code, &block), 0);
    chain.Notify(3, nullptr);
    EXPECT_EQ(surface.log, (Log{"GetPenMode()", "PenColor(1)", "PenMode(5)", "GetPenMode()", "PenColor(1)",
                                "PenMode(5)", "RedrawDynamic(2,[0 0 0 0],0)"}));
    EXPECT_TRUE(dynamic.GetRecords().empty());

    // Code 2: the surface goes away, and nothing reaches it any more.
    dynamic.StartBatchDraw();
    dynamic.PenColor(2);
    chain.Notify(2, nullptr);
    surface.log.clear();
    dynamic.EndBatchDraw();
    EXPECT_EQ(dynamic.GetBatchDepth(), 1) << "the depth stays without a target";
    dynamic.Clear();
    EXPECT_EQ(dynamic.GetRecords(), (Words{0, 2})) << "the stream stays without a target";
    chain.Notify(0, nullptr);
    dynamic.StartScreenDraw();
    EXPECT_TRUE(surface.log.empty());
    EXPECT_FALSE(dynamic.IsFlushing());

    // Install(null) keeps the target; Install tells the new one (SetDrawArea, as Replay shows, does not).
    dynamic.SetDrawArea(&surface), dynamic.Install(nullptr);
    EXPECT_EQ(dynamic.GetDrawArea(), &surface);
    dynamic.Install(&surface), dynamic.StartScreenDraw();
    EXPECT_EQ(surface.log, (Log{"InstallDynamic()", "StartScreenDraw()"}));
}

// A recorder whose stream a test can write, as only a damaged stream would look.
struct Damaged : CDynamic {
    using CDynamic::records;
};

TEST(CDynamic, DamagedStreamsReplayWithinBounds) {
    std::pair<Words, Log> const damaged[] = {
        {{99, 0, 1, -7, 17, 2}, {"PenColor(1)", "TextExtra(2)"}},     // unknown codes are single words
        {{0, 1, 6, 1, 2, 3}, {"PenColor(1)"}},                        // a record cut short ends the walk
        {{5, 0, 0, 0, 0, 50, 65}, {}},                                // a text count running past the end
        {{21, -2, 65, 66}, {}},                                       // a negative string length
        {{5, 0, 0, 1, 2, 1, 65}, {"DrawXorText(\"A\",1,2,(0 0),1)"}}, // a text without terminator
        {{9, 1, 5, 0, 0}, {}},                                        // counts promising too many points
        {{19, -1}, {"TextPath(429496.7295,\"\")"}},                   // an angle read unsigned
    };
    for (auto const& [words, replay] : damaged) {
        Damaged dynamic;
        dynamic.records = words;
        LogSurface surface;
        EXPECT_EQ(Replay(dynamic, surface), replay) << words[0];
    }
}

// The target may call back into the recorder while the recorder replays onto it.
TEST_F(OnSurface, ReplayUnderChange) {
    auto replayWith = [&](std::string const& at, std::function<void()> action) {
        surface.log.clear();
        surface.onCall = [&](std::string const& call) {
            if (call.rfind(at, 0) == 0 && action) std::exchange(action, nullptr)();
        };
        dynamic.OnNotification(0, nullptr);
        surface.onCall = nullptr;
        return surface.log;
    };
    dynamic.PenColor(1), dynamic.PenColor(2);
    EXPECT_EQ(replayWith("PenColor(1)", [&] { dynamic.TextFace(3); }),
              (Log{"GetPenMode()", "PenColor(1)", "PenColor(2)", "TextFace(3)", "PenMode(5)"}))
        << "a record made during the walk is reached";
    EXPECT_EQ(replayWith("PenColor(1)", [&] { dynamic.Reset(); }),
              (Log{"GetPenMode()", "PenColor(1)", "PenMode(5)"}))
        << "the walk ends with the stream";
    dynamic.PenColor(1), dynamic.PenColor(2);
    EXPECT_EQ(replayWith("PenColor(1)", [&] { dynamic.OnNotification(2, nullptr); }),
              (Log{"GetPenMode()", "PenColor(1)"}))
        << "a dropped target hears nothing more, not even the restore";
    LogSurface other;
    dynamic.SetDrawArea(&surface);
    EXPECT_EQ(replayWith("PenColor(1)", [&] { dynamic.SetDrawArea(&other); }),
              (Log{"GetPenMode()", "PenColor(1)"}));
    EXPECT_TRUE(other.log.empty()) << "nor does the new target hear the rest of the walk";

    // A replay inside a replay runs whole, and the points that the outer one handed to the
    // surface survive it, though the inner one replays a larger polyline.
    dynamic.SetDrawArea(&surface);
    dynamic.Reset();
    dynamic.FastPolyLine(2, pts, 0, 0);
    std::vector<SYS_Point> many(100, SYS_Point(1, 1));
    Log const log = replayWith("FastPolyLine(2,", [&] {
        SYS_Point const* outer = surface.lastPoints;
        dynamic.FastPolyLine(100, many.data(), 0, 0);
        dynamic.OnNotification(1, nullptr);
        EXPECT_TRUE(dynamic.IsFlushing()) << "still inside the outer replay";
        EXPECT_EQ(outer[1], SYS_Point(10, -5));
    });
    ASSERT_EQ(log.size(), 8u);
    EXPECT_EQ(log[2], "GetPenMode()") << "the inner replay runs inside the outer one's first call";
    EXPECT_EQ(log[6].substr(0, 16), "FastPolyLine(100");

    // A target that throws ends the replay; the recorder is no longer flushing.
    EXPECT_THROW(replayWith("FastPolyLine(2,", [] { throw std::runtime_error("device lost"); }),
                 std::runtime_error);
    EXPECT_FALSE(dynamic.IsFlushing());
}

// A record goes in whole or not at all; a text of any length replays whole; emptying keeps
// the memory, so that the next frame appends without allocating.
TEST(CDynamic, LongTexts) {
    std::string const text = std::string(5000, 'x') + 'y';
    CDynamic dynamic;
    dynamic.PenColor(1);
    g_failNextAllocation = true; // the stream must grow for the text
    EXPECT_THROW(dynamic.DrawString(text.c_str()), std::bad_alloc);
    g_failNextAllocation = false;
    EXPECT_EQ(dynamic.GetRecords(), (Words{0, 1}));
    LogSurface surface;
    for (std::string const& t : {text.substr(text.size() - 1024), text}) {
        dynamic.Reset();
        dynamic.DrawXorText(t.c_str(), 1, 2, 3, 4, 0), dynamic.DrawString(t.c_str());
        EXPECT_EQ(Replay(dynamic, surface),
                  (Log{"DrawXorText(\"" + t + "\",1,2,(3 4),1)", "DrawString(\"" + t + "\")"}))
            << t.size();
    }
    dynamic.Reset();
    g_failNextAllocation = true;
    dynamic.DrawString(text.c_str());
    EXPECT_TRUE(std::exchange(g_failNextAllocation, false)) << "no allocation";
}

TEST_F(OnSurface, CopiesAndTheRedrawChain) {
    SCC_Event<UI_DrawArea::RedrawBlock> chain;
    chain.Add(&dynamic);
    dynamic.StartBatchDraw();
    dynamic.FastMoveTo(SYS_Point(1, 1));
    dynamic.PenColor(1);

    CDynamic copy(dynamic);
    EXPECT_EQ(copy.GetRoot(), nullptr) << "a copy starts out of the chain";
    EXPECT_TRUE(copy.GetRecords() == dynamic.GetRecords() && copy.GetDrawArea() == &surface &&
                copy.GetBatchDepth() == 1);
    copy.FastLineTo(SYS_Point(3, 3));
    EXPECT_EQ(copy.GetBounds(), SYS_Box(1, 1, 3, 3)) << "the current point is copied too";

    CDynamic assigned;
    assigned = dynamic;
    EXPECT_EQ(assigned.GetBatchDepth(), 1);
    assigned.Reset();
    assigned.PenColor(2);
    {
        CDynamic gone;
        gone.SetDrawArea(&surface);
        chain.Add(&gone);
    }
    surface.log.clear();
    chain.Notify(0, nullptr);
    EXPECT_EQ(surface.log, (Log{"GetPenMode()", "PenColor(2)", "PenMode(5)", "GetPenMode()",
                                "FastMoveTo((1 1))", "PenColor(1)", "PenMode(5)"}))
        << "an assigned recorder joins the chain, directly ahead of its source; a destroyed one leaves it";
}

} // namespace
