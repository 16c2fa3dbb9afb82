#include <mortar/scc/SCC_SharedBuffer.h>
#include <mortar/sys/SYS_Exception.h>
#include <mortar/ui/UI_DrawArea.h>
#include <mortar/ui/UI_PaletteColorConvertor.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace {

using Convertor = UI_PaletteColorConvertor;
using Log = std::vector<std::string>;

// A surface whose palette maps index i to 0x100000 + i and records the indices it was asked.
struct PaletteSurface : UI_DrawArea {
    mutable std::vector<int> asked;
    int32_t GetCurrentPaletteColorRGB(int index) const override {
        asked.push_back(index);
        return 0x100000 + index;
    }
};

// Makes `area` the main surface for the lifetime of the object.
struct MainSurface {
    explicit MainSurface(UI_DrawArea* area) { UI_DrawArea::SetMainDrawArea(area); }
    ~MainSurface() { UI_DrawArea::SetMainDrawArea(nullptr); }
};

// A listener at the tail of the palette notifier that logs what it hears, and may act then.
struct Listener : SCC_EventNode<int> {
    Listener(Log& log, char const* name) : log(log), name(name) { Convertor::s_Notifier.Add(this); }
    int OnNotification(int code, int* data) override {
        log.push_back(name + (":" + std::to_string(code)) + (data ? " with data" : ""));
        if (action) action();
        return 0;
    }
    Log& log;
    std::string name;
    std::function<void()> action;
};

std::string ThrownText(Convertor& convertor, SCC_Variant value) {
    try {
        convertor.Convert(value, 0);
    } catch (SYS_Exception const& e) {
        return e.GetText().GetString();
    }
    return "no exception";
}

TEST(PaletteColorConvertor, ReadingTurnsAnIndexIntoTheMainSurfacesColour) {
    Convertor convertor;
    EXPECT_EQ(convertor.Convert(SCC_Variant(3), 0).GetType(), SCC_Variant::ValueInteger);
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(3), 0)), 0) << "no main surface";
    PaletteSurface surface;
    MainSurface main(&surface);
    SCC_Variant const colour = convertor.Convert(SCC_Variant(5), 0);
    EXPECT_EQ(colour.GetType(), SCC_Variant::ValueInteger);
    EXPECT_EQ(static_cast<int32_t>(colour), 0x100005);
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(7.9), 0)), 0x100007) << "truncated index";
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(" 12 "), 0)), 0x10000C) << "a text scans";
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(), 0)), 0x100000) << "empty is index 0";
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(-1), 0)), 0x100000 - 1);
    EXPECT_EQ(ThrownText(convertor, SCC_Variant("red")), "Invalid floating point format.");
    EXPECT_EQ(ThrownText(convertor, SCC_Variant(1e10)), "Value out of range.");
    EXPECT_EQ(surface.asked, (std::vector<int>{5, 7, 12, 0, -1})) << "nor asked for what doesn't convert";

    // Writing hands the value through, type and content.
    SCC_Variant const text = convertor.Convert(SCC_Variant("red"), 1);
    SCC_Variant const number = convertor.Convert(SCC_Variant(2.5), -1);
    EXPECT_EQ(text.GetType(), SCC_Variant::ValueString);
    EXPECT_EQ(static_cast<SYS_StringBase>(text), "red");
    EXPECT_EQ(number.GetType(), SCC_Variant::ValueDouble);
    EXPECT_EQ(static_cast<double>(number), 2.5);
    EXPECT_EQ(surface.asked.size(), 5u);

    // Validation converts its limits to colours.
    SCC_Variant index(3);
    EXPECT_EQ(index.Validate("#[0,10]", &convertor), 1) << "the shown-to-stored direction hands 3 through";
    EXPECT_EQ(index.Validate("#[5,10]", &convertor), 0);
    EXPECT_EQ(static_cast<SYS_StringBase>(index),
              "Please enter a value within the [1048581.000000,1048586.000000] range.")
        << "the limits are shown as colours";
}

TEST(PaletteColorConvertor, CopiesAndAssignmentsStandAheadOfTheirSource) {
    Log log;
    Listener before(log, "before");
    Convertor source;
    Listener tail(log, "tail");
    Convertor::NotifyPaletteChange();
    EXPECT_EQ(log, (Log{"before:4", "tail:4"})) << "null data; the walk passed the convertor's hook";

    Convertor copy(source);
    EXPECT_EQ(copy.GetRefCount(), 0) << "a copy is a new shared object";
    Listener aheadOfCopy(log, "ahead of copy");
    aheadOfCopy.InsertBefore(&copy.paletteHook);
    log.clear();
    Convertor::NotifyPaletteChange();
    EXPECT_EQ(log, (Log{"before:4", "ahead of copy:4", "tail:4"})) << "the copy's hook is ahead of the tail";

    // Assignment moves the hook of `assigned` from the tail to just ahead of the source's hook.
    aheadOfCopy.Remove();
    Convertor assigned;
    SCC_SharedPointer<SCC_Convertor> held(&assigned);
    intptr_t const count = assigned.GetRefCount();
    Listener last(log, "last");
    assigned = source;
    EXPECT_EQ(assigned.GetRefCount(), count) << "the reference count is the object's own";
    Listener aheadOfAssigned(log, "ahead of assigned");
    aheadOfAssigned.InsertBefore(&assigned.paletteHook);
    Convertor& same = assigned;
    assigned = same;
    log.clear();
    Convertor::NotifyPaletteChange();
    EXPECT_EQ(log, (Log{"before:4", "ahead of assigned:4", "tail:4", "last:4"}))
        << "assignment to itself moves nothing";
}

// Records its destruction, to show that a release through the base pointer destroys it whole.
struct CountedConvertor : UI_PaletteColorConvertor {
    explicit CountedConvertor(int* destroyed) : destroyed(destroyed) {}
    ~CountedConvertor() override { ++*destroyed; }
    int* destroyed;
};

TEST(PaletteColorConvertor, LastReleaseTakesTheHookOutOfTheChain) {
    Log log;
    Listener head(log, "head");
    int destroyed = 0;
    SCC_SharedPointer<SCC_Convertor> first(new CountedConvertor(&destroyed));
    SCC_SharedPointer<SCC_Convertor> second(new CountedConvertor(&destroyed));
    Convertor copy(static_cast<Convertor&>(*first));
    Listener tail(log, "tail");
    SCC_SharedPointer<SCC_Convertor> more = first;
    first = nullptr;
    EXPECT_EQ(destroyed, 0);
    more = nullptr;
    EXPECT_EQ(destroyed, 1);
    Convertor::NotifyPaletteChange();
    EXPECT_EQ(log, (Log{"head:4", "tail:4"})) << "the copy outlives its source, the walk goes on";

    // A listener that lets go of the last convertor while the notification walks the chain.
    log.clear();
    head.action = [&] { second = nullptr; };
    Convertor::NotifyPaletteChange();
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(log, (Log{"head:4", "tail:4"}));
}

} // namespace
