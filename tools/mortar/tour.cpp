// mortar tour [--out DIR]: a guided walk through Mortar on data bundled into the program.
//
// Everything here uses the library's public interface only, as a client would.
#include "command.h"
#include "raster.h"

#include <mortar/mortar.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace mortar::tool {

namespace {

char const kHelp[] =
    "usage: mortar tour [--out DIR]\n\n"
    "A guided walk through Mortar on a small bundled board: a live collection of its parts,\n"
    "a property edited across a selection, units, placements, patterns, the message catalog\n"
    "and a rubber-band frame drawn by exclusive-or. The pictures (PNG) and the compiled\n"
    "catalog are written into DIR (default: the current directory).\n";

// The bundled board -----------------------------------------------------------------------------

constexpr int32_t kMil = 19050;             // base units per mil
constexpr int32_t kDegree = 1800000;        // angle units per degree

struct Part {
    char const* ref;
    int32_t ohms;   // the value property of resistors; 0 for the others
    char const* value;
    int32_t xMils, yMils;
    int32_t degrees;
    int mirror;
};

std::vector<Part> g_Board = {
    {"R1", 10000, "10k", 300, 250, 0, 0},     {"R10", 1000, "1k", 1250, 250, 180, 1},
    {"C3", 0, "100n", 700, 800, 90, 0},       {"R2", 4700, "4k7", 300, 550, 90, 0},
    {"U1", 0, "MCU QFP48", 1450, 750, 45, 0}, {"R4", 220, "220", 850, 250, 270, 0},
    {"C12", 0, "10u", 350, 950, 0, 1},
};

Part& PartOf(int handle) { return g_Board[static_cast<std::size_t>(handle - 1)]; }
SYS_Point PositionOf(int handle) { return SYS_Point(PartOf(handle).xMils * kMil, PartOf(handle).yMils * kMil); }

void Section(char const* title) { std::printf("\n== %s\n\n", title); }

// The client's data source: the parts in board order, and a notifier that says what changed.
class BoardSource {
public:
    SCC_Notifier notifier;
    int First() const { return g_Board.empty() ? 0 : 1; }
    int After(int handle) const { return handle >= static_cast<int>(g_Board.size()) ? 0 : handle + 1; }
    int Before(int handle) const { return handle <= 1 ? 0 : handle - 1; }
    void Changed(int handle) { notifier.Notify(CN_ItemChanged, mortar::HandleToData(handle)); }
};

// A collection over the board: the library keeps items, focus and order; this class only walks.
class PartsCollection : public SCC_StdCollection {
public:
    explicit PartsCollection(BoardSource* source) : m_Source(source) {
        SetEvent(&source->notifier);
        AllowReload(1);
    }

protected:
    int _GetSlider() override { return m_Slider; }
    void _SetSlider(int handle) override { m_Slider = handle; }
    int _GetFirst() override { return (m_Slider = m_Source->First()) != 0; }
    int _GetNext() override { return (m_Slider = m_Source->After(m_Slider)) != 0; }
    int _GetPrev() override { return (m_Slider = m_Source->Before(m_Slider)) != 0; }

private:
    BoardSource* m_Source;
    int m_Slider = 0;
};

// A child collection: the pads of the parts selected in its parent. A pad's handle is the
// part's handle times 100 plus the pad's number.
class PadsCollection : public SCC_StdCollection {
public:
    explicit PadsCollection(SCC_StdCollection* parent) : m_Parent(parent) {
        SetParent(parent);
        AllowReload(1);
    }

protected:
    int _GetSlider() override { return m_Slider; }
    void _SetSlider(int handle) override { m_Slider = handle; }
    int _GetFirst() override {
        m_Pads.clear();
        for (int32_t i = 0; m_Parent && m_Parent->GetFocus(i) != 0; ++i) {
            int part = m_Parent->GetFocus(i);
            int count = std::strncmp(PartOf(part).ref, "U", 1) == 0 ? 4 : 2;
            for (int pad = 1; pad <= count; ++pad) m_Pads.push_back(part * 100 + pad);
        }
        m_At = 0;
        m_Slider = m_Pads.empty() ? 0 : m_Pads[0];
        return m_Slider != 0;
    }
    int _GetNext() override {
        m_Slider = ++m_At < m_Pads.size() ? m_Pads[m_At] : 0;
        return m_Slider != 0;
    }
    int _GetFirstByParentSlider() override { return _GetFirst(); }
    int _GetNextByParentSlider() override { return _GetNext(); }

private:
    SCC_StdCollection* m_Parent;
    std::vector<int> m_Pads;
    std::size_t m_At = 0;
    int m_Slider = 0;
};

int IsResistor(SYS_Filter const*, int handle) { return PartOf(handle).ref[0] == 'R' ? 1 : 0; }
int ByDesignator(int const& a, int const& b) { return _tcsnumcmp(PartOf(a).ref, PartOf(b).ref); }

std::string Refs(SCC_StdCollection& c) {
    std::string out;
    for (int32_t i = 0; c.GetAt(i) != 0; ++i) out += std::string(i ? ", " : "") + PartOf(c.GetAt(i)).ref;
    return out.empty() ? "(none)" : out;
}

std::string Pads(SCC_StdCollection& c) {
    std::string out;
    for (int32_t i = 0; c.GetAt(i) != 0; ++i) {
        int h = c.GetAt(i);
        out += std::string(i ? ", " : "") + PartOf(h / 100).ref + "." + std::to_string(h % 100);
    }
    return out.empty() ? "(none)" : out;
}

char const* CodeName(int code) {
    static char const* const names[] = {"?", "added", "removed", "changed", "notice", "ignored", "all changed", "all removed", "handles changed"};
    return code >= 1 && code <= 8 ? names[code] : names[0];
}

// Prints the notifications of a collection as they come.
class NotificationPrinter : public SCC_EventNode<int> {
public:
    explicit NotificationPrinter(char const* name) : m_Name(name) {}
    int OnNotification(int code, int* data) override {
        int handle = mortar::DataToHandle(data);
        std::printf("   %s heard (%d, %s): %s\n", m_Name, code, handle ? PartOf(handle).ref : "0", CodeName(code));
        return 0;
    }

private:
    char const* m_Name;
};

// The resistance of a resistor, in ohms, as a property of the part behind a handle.
class OhmsProperty : public SCC_TypedProperty<int32_t> {
public:
    OhmsProperty(BoardSource* source) : m_Source(source) { SetValidation("[1,10000000]"); }
    int HasSetMethod() override { return 1; }
    int GetTypedValue(int handle, int32_t& value) override {
        value = PartOf(handle).ohms;
        return 1;
    }
    int SetTypedValue(int handle, int32_t& value) override {
        PartOf(handle).ohms = value;
        m_Source->Changed(handle);
        return 1;
    }

private:
    BoardSource* m_Source;
};

std::string Text(SCC_Variant const& v) {
    if (v.IsEmpty()) return "(mixed)";
    return static_cast<SYS_StringBase>(v).GetString();
}

// The sections of the tour -------------------------------------------------------------------------

void ShowBoard() {
    Section("1. The board");
    std::printf("A small board, bundled into the program. Coordinates are integers in base units\n"
                "(1/750 of a micron: 19050 to the mil); angles count 1/1,800,000 of a degree.\n\n");
    SYS_Convert mils(SYS_UnitMils);
    std::printf("   %-4s %-10s %-16s %8s  %s\n", "ref", "value", "position (mils)", "turned", "mirrored");
    for (int h = 1; h <= static_cast<int>(g_Board.size()); ++h) {
        Part const& p = PartOf(h);
        SYS_Position where(PositionOf(h), p.degrees * kDegree, p.mirror);
        std::printf("   %-4s %-10s %-16s %7s°  %s\n", p.ref, p.value, mils.Point2String(where.GetOrigin()).GetString(),
                    mils.Angle2Str(where.GetOrientation()).GetString(), where.GetMirror() ? "yes" : "no");
    }
}

void ShowCollections(BoardSource& source, PartsCollection& resistors, PadsCollection& pads) {
    Section("2. A live collection, and a child that hangs on its focus");
    PartsCollection everything(&source);
    std::printf("All parts, in the source's order:      %s\n", Refs(everything).c_str());
    std::printf("Filtered to resistors, sorted naturally: %s\n", Refs(resistors).c_str());
    std::printf("   (natural order: R2 before R10; a plain byte order would give R1, R10, R2, R4)\n");
    resistors.SetFocus(4, false); // R2
    std::printf("Focus on R2; the child collection of pads: %s\n", Pads(pads).c_str());
    resistors.SetFocus(2, false); // R10
    std::printf("Focus moved to R10; the pads follow:       %s\n", Pads(pads).c_str());
}

void EditProperty(BoardSource& source, PartsCollection& resistors) {
    Section("3. A property edited across a focus");
    SCC_SharedPointer<OhmsProperty> ohms(new OhmsProperty(&source));
    resistors.SetFocus(1, false); // R1
    resistors.SetFocus(2, true);  // R10
    NotificationPrinter printer("collection");
    resistors.SetNotificationHandler(&printer);
    SCC_Variant value;
    ohms->GetValue(&resistors, value);
    std::printf("Focus R1 (10k) and R10 (1k): the merged value is %s.\n", Text(value).c_str());

    std::printf("\nSetting 0 ohms, checked first against the validation text \"%s\":\n", ohms->GetValidation());
    SCC_Variant zero(0);
    if (!ohms->SetValue(&resistors, zero, 1)) std::printf("   refused: \"%s\"\n", Text(zero).c_str());

    std::printf("\nSetting 4700 ohms: checked, then stored; the source notifies each change:\n");
    SCC_Variant good(4700);
    if (ohms->SetValue(&resistors, good, 1) && ohms->SetValue(&resistors, good, 0)) {
        SCC_Variant now;
        ohms->GetValue(&resistors, now);
        std::printf("   stored; the merged value is now %s.\n", Text(now).c_str());
    }

    std::printf("\nRenaming R10 to R3 moves it in the sort order:\n");
    PartOf(2).ref = "R3";
    source.Changed(2);
    std::printf("   resistors now: %s\n", Refs(resistors).c_str());
    printer.Remove();
}

void ShowUnits() {
    Section("4. Positions in user units");
    SYS_Convert mils(SYS_UnitMils), mm(SYS_UnitMetric), inches(SYS_UnitInches);
    std::printf("   %-4s %-16s %-20s %s\n", "ref", mils.GetUnitName(), mm.GetUnitName(), inches.GetUnitName());
    for (int h = 1; h <= static_cast<int>(g_Board.size()); ++h) {
        SYS_Point p = PositionOf(h);
        std::printf("   %-4s %-16s %-20s %s\n", PartOf(h).ref, mils.Point2String(p).GetString(),
                    mm.Point2String(p).GetString(), inches.Point2String(p).GetString());
    }
    int32_t base = 0;
    if (mm.Str2Base("2.54", &base))
        std::printf("\nThe text \"2.54\" in millimetres is %d base units, %s mils.\n", base,
                    mils.Base2Str(base).GetString());
}

void ShowPlacement() {
    Section("5. A placement, turned and mirrored");
    SYS_Position where(PositionOf(5), 90 * kDegree, 1); // U1, turned by 90 degrees and mirrored
    SYS_Transform place(where, 0, 1, 0);                // from the part's own coordinates to the board
    SYS_Convert mils(SYS_UnitMils);
    std::printf("U1 placed at %s, turned 90°, mirrored. Its pads, from the footprint to the board:\n",
                mils.Point2String(where.GetOrigin()).GetString());
    SYS_Point const pads[4] = {{-100 * kMil, 50 * kMil}, {100 * kMil, 50 * kMil}, {100 * kMil, -50 * kMil}, {-100 * kMil, -50 * kMil}};
    for (int i = 0; i < 4; ++i) {
        SYS_Point board = place.Transform(pads[i]);
        std::printf("   pad %d  %-14s -> %s\n", i + 1, mils.Point2String(pads[i]).GetString(), mils.Point2String(board).GetString());
    }
    SYS_Transform back;
    place.SetRConv(back);
    SYS_Point first = back.Transform(place.Transform(pads[0]));
    std::printf("Taken back through the inverse, pad 1 is at %s again.\n", mils.Point2String(first).GetString());
    SYS_Location turned(SYS_Point(0, 0), 30 * kDegree);
    turned.Transform(place);
    std::printf("A label turned 30° on the part reads %s° on the board.\n", mils.Angle2Str(turned.GetOrientation()).GetString());
}

void ShowPatterns() {
    Section("6. Patterns over the designators");
    struct Search {
        char const* pattern;
        char const* meaning;
    } const searches[] = {
        {"^R:z$", "a resistor: R and a whole number"},
        {"^(C|U):d+", "a capacitor or an IC"},
        {"^C.@2$", "C, then the fewest characters up to a final 2"},
    };
    for (Search const& s : searches) {
        SYS_StrPattern pattern(s.pattern);
        std::printf("   %-10s (%s):", s.pattern, s.meaning);
        for (Part const& p : g_Board) {
            int length = 0;
            int at = pattern.Match(p.ref, &length);
            if (at >= 0) std::printf(" %s[%d,%d]", p.ref, at, length);
        }
        std::printf("\n");
    }
    SYS_StrPattern resistor("^R");
    std::printf("\nSubstituting \"RES-\" for the pattern ^R:");
    for (Part const& p : g_Board) {
        SYS_StringBase ref(p.ref);
        if (resistor.Substitute(ref, "RES-", 0)) std::printf(" %s", ref.GetString());
    }
    std::printf("\n");
}

char const kCatalog[] =
    "; The tour's message catalog, in the text form\n"
    "[Board]\n"
    "0:The board has %d parts.\n"
    "1:Placement done.\n"
    "[Checks]\n"
    "0:Clearance violation between %s and %s.\n"
    "1:Unrouted net %s.\n"
    "2:Part %s has no value.   $\n";

bool ShowMessages(std::string const& dir) {
    Section("7. The message catalog");
    std::string const text = dir + "/tour-messages.txt";
    std::string const compiled = dir + "/tour-messages.mdb";
    if (std::FILE* f = std::fopen(text.c_str(), "w")) {
        std::fputs(kCatalog, f);
        std::fclose(f);
    } else {
        return false;
    }
    {
        SFM_MessageDB source(SYS_StringBase(text.c_str()), 0);
        source.Save(SYS_StringBase(compiled.c_str()));
    }
    std::printf("The bundled catalog (text form) was compiled to %s.\n", compiled.c_str());
    SFM_MessageDB db{SYS_StringBase(compiled.c_str())};
    int32_t checks = db.GetSectionBase("Checks");
    std::printf("Read back from the compiled file:\n");
    std::printf("   by key %d: \"%s\"\n", checks + 2, db.getTxt(checks + 2).GetString());
    std::printf("   section Checks, message by message:\n");
    for (SFM_MessageDB::SectionIterator it(&db, "Checks"); !it.IsEmpty(); ++it)
        std::printf("      %d: \"%s\"\n", it.GetPosition(), static_cast<SYS_StringBase>(it).GetString());
    return true;
}

void ShowChecks() {
    Section("8. Checks and the assertion manager");
    std::printf("Every internal check ends in the application's SSM; a hook sees each failure.\n");
    SSM manager;
    struct Hook {
        int Monitor(int type, int* data) {
            auto* record = reinterpret_cast<SSM::AssertData*>(data);
            std::printf("   monitor: type %d, \"%s\", count %d, at line %d\n", type,
                        record->Message.GetString(), record->Count, record->Line);
            return 0;
        }
    } hook;
    SCC_ObjectEventHook<Hook, int> monitor(&hook, &Hook::Monitor);
    monitor.Connect(&manager.MonitorEvent);
    SCC_Array<int> numbers;
    numbers.Append(3);
    numbers.Append(1);
    std::printf("Reading element 7 of a two-element array through its const view:\n");
    SCC_Array<int> const& view = numbers;
    (void)view[7];
    std::printf("The check reported and the program went on.\n");
}

bool ShowRubberBand(std::string const& dir) {
    Section("9. A rubber-band frame, drawn by exclusive-or");
    SYS_Box const world(0, 0, 2000 * kMil, 1200 * kMil);
    RasterSurface screen(400, 240, world);
    // The board: its edges, and a pad for each part.
    screen.DrawLine(SYS_Point(0, 0), SYS_Point(2000 * kMil - 1, 0), 1, 2);
    screen.DrawLine(SYS_Point(0, 1200 * kMil - 1), SYS_Point(2000 * kMil - 1, 1200 * kMil - 1), 1, 2);
    for (int h = 1; h <= static_cast<int>(g_Board.size()); ++h) {
        SYS_Point p = PositionOf(h);
        screen.FillRect(SYS_Box(p.x - 40 * kMil, p.y - 25 * kMil, p.x + 40 * kMil, p.y + 25 * kMil), 1);
    }
    std::vector<uint8_t> const board = screen.Pixels();
    bool ok = screen.SavePng(dir + "/tour-board.png");

    // One frame: a ring around U1, a selection box dragged around R1 and R2, a line from it to
    // the ring and a measuring line. Recording draws nothing; EndBatchDraw shows the frame. The
    // ring comes first: its replay puts the surface in exclusive-or mode, in which the line
    // behind it replays too.
    CDynamic rubber(&screen);
    rubber.StartBatchDraw();
    rubber.PenColor(15);
    rubber.DrawXorOval(SYS_Box(1300 * kMil, 600 * kMil, 1600 * kMil, 900 * kMil));
    rubber.DrawXorBox(SYS_Point(200 * kMil, 150 * kMil), SYS_Point(450 * kMil, 650 * kMil));
    rubber.FastMoveTo(SYS_Point(450 * kMil, 400 * kMil));
    rubber.FastLineTo(SYS_Point(1300 * kMil, 750 * kMil));
    rubber.DrawLine(SYS_Point(1150 * kMil, 120 * kMil), SYS_Point(1750 * kMil, 120 * kMil), 1, 15);
    rubber.EndBatchDraw();
    SYS_Box const b = rubber.GetBounds();
    SYS_Convert mils(SYS_UnitMils);
    std::printf("The frame was recorded as %zu words covering %s to %s mils, and shown.\n",
                rubber.GetRecords().size(), mils.Point2String(b.GetLowerLeft()).GetString(),
                mils.Point2String(b.GetUpperRight()).GetString());
    ok = ok && screen.SavePng(dir + "/tour-frame-shown.png");

    // Shown a second time, by the surface's redraw notification, the frame takes itself off.
    rubber.OnNotification(1, nullptr);
    ok = ok && screen.SavePng(dir + "/tour-frame-removed.png");
    bool const restored = screen.Pixels() == board;
    std::printf("Shown a second time, exclusive-or takes it off: the pixels %s.\n",
                restored ? "are exactly the board's again" : "DIFFER from the board's");
    std::printf("Pictures: %s/tour-board.png, %s/tour-frame-shown.png, %s/tour-frame-removed.png\n", dir.c_str(),
                dir.c_str(), dir.c_str());
    return ok && restored;
}

} // namespace

int Tour(Args const& args) {
    if (WantsHelp(args)) {
        std::fputs(kHelp, stdout);
        return ExitOk;
    }
    std::string dir = ".";
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--out" && i + 1 < args.size()) {
            dir = args[++i];
        } else {
            return Fail("tour", "unexpected argument '" + args[i] + "' (see mortar tour --help)", ExitUsage);
        }
    }
    struct stat info;
    if (stat(dir.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return Fail("tour", "'" + dir + "' is not a folder");

    std::printf("Mortar tour: the foundation library of a family of PCB design tools, at work on a\n"
                "small board. Each section shows one part of the library.\n");
    SFM files; // the application's file manager, before any managed file
    BoardSource source;
    PartsCollection resistors(&source);
    SYS_Filter onlyResistors(nullptr, nullptr, IsResistor);
    resistors.SetFilter(&onlyResistors);
    resistors.SetSort(ByDesignator, 0);
    PadsCollection pads(&resistors);

    ShowBoard();
    ShowCollections(source, resistors, pads);
    EditProperty(source, resistors);
    ShowUnits();
    ShowPlacement();
    ShowPatterns();
    if (!ShowMessages(dir)) return Fail("tour", "can't write into '" + dir + "'");
    ShowChecks();
    if (!ShowRubberBand(dir)) return Fail("tour", "the pictures could not be written into '" + dir + "'");
    std::printf("\nThe tour is over; its files are in %s.\n", dir.c_str());
    return ExitOk;
}

} // namespace mortar::tool
