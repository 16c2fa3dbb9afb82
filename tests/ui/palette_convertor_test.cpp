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

// Reading goes through the variant's integer conversion, exceptions included, to the main
// surface; writing hands the value through, type and content.
TEST(PaletteColorConvertor, ReadingTurnsAnIndexIntoTheMainSurfacesColour) {
    Convertor convertor;
    SCC_Variant const none = convertor.Convert(SCC_Variant(3), 0);
    EXPECT_TRUE(none.GetType() == SCC_Variant::ValueInteger && static_cast<int32_t>(none) == 0)
        << "no main surface";
    PaletteSurface surface;
    UI_DrawArea::SetMainDrawArea(&surface);
    SCC_Variant const colour = convertor.Convert(SCC_Variant(5), 0);
    EXPECT_TRUE(colour.GetType() == SCC_Variant::ValueInteger && static_cast<int32_t>(colour) == 0x100005);
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(" 12 "), 0)), 0x10000C) << "a text scans";
    EXPECT_THROW(convertor.Convert(SCC_Variant("red"), 0), SYS_Exception);
    SCC_Variant const text = convertor.Convert(SCC_Variant("red"), 1);
    SCC_Variant const number = convertor.Convert(SCC_Variant(2.5), -1);
    EXPECT_TRUE(text.GetType() == SCC_Variant::ValueString && static_cast<SYS_StringBase>(text) == "red");
    EXPECT_TRUE(number.GetType() == SCC_Variant::ValueDouble && static_cast<double>(number) == 2.5);
    EXPECT_EQ(surface.asked, (std::vector<int>{5, 12})) << "nor for what doesn't convert, nor when writing";
    UI_DrawArea::SetMainDrawArea(nullptr);
}

// A copy's hook and an assigned convertor's hook stand directly ahead of the source's; the
// convertors' hooks are silent, so listeners placed ahead of each show the order.
TEST(PaletteColorConvertor, CopiesAndAssignmentsStandAheadOfTheirSource) {
    Log log;
    Listener before(log, "before");
    Convertor source;
    Listener tail(log, "tail");
    Convertor copy(source), assigned;
    SCC_SharedPointer<SCC_Convertor> held(&assigned);
    intptr_t const count = assigned.GetRefCount();
    Listener last(log, "last");
    assigned = source;
    assigned = static_cast<Convertor&>(assigned); // to itself: moves nothing
    EXPECT_EQ(copy.GetRefCount(), 0) << "a copy is a new shared object";
    EXPECT_EQ(assigned.GetRefCount(), count) << "the reference count is the object's own";
    Listener aheadOfCopy(log, "copy"), aheadOfAssigned(log, "assigned"), aheadOfSource(log, "source");
    aheadOfCopy.InsertBefore(&copy.paletteHook);
    aheadOfAssigned.InsertBefore(&assigned.paletteHook);
    aheadOfSource.InsertBefore(&source.paletteHook);
    Convertor::NotifyPaletteChange();
    EXPECT_EQ(log, (Log{"before:4", "copy:4", "assigned:4", "source:4", "tail:4", "last:4"}));
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
    // The copy outlives its source; a listener lets go of the last convertor during the walk.
    head.action = [&] { second = nullptr; };
    Convertor::NotifyPaletteChange();
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(log, (Log{"head:4", "tail:4"}));
}

} // namespace
