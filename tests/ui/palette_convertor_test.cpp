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

// A surface whose palette maps index i to 0x100000 + i and records the indices it was asked.
class PaletteSurface : public UI_DrawArea {
public:
    mutable std::vector<int> asked;

    int32_t GetCurrentPaletteColorRGB(int index) const override {
        asked.push_back(index);
        return 0x100000 + index;
    }
};

// Makes `area` the main surface for the lifetime of the object.
class MainSurface {
public:
    explicit MainSurface(UI_DrawArea* area) { UI_DrawArea::SetMainDrawArea(area); }
    ~MainSurface() { UI_DrawArea::SetMainDrawArea(nullptr); }
    MainSurface(MainSurface const&) = delete;
    MainSurface& operator=(MainSurface const&) = delete;
};

// A listener of the palette notifier that records what it hears, and may act while it hears it.
class Listener : public SCC_EventNode<int> {
public:
    Listener(std::vector<std::string>* log, std::string name) : m_Log(log), m_Name(std::move(name)) {}

    std::function<void()> action;

    int OnNotification(int code, int* data) override {
        m_Log->push_back(m_Name + ":" + std::to_string(code) + (data ? " with data" : ""));
        if (action) action();
        return 0;
    }

private:
    std::vector<std::string>* m_Log;
    std::string m_Name;
};

std::string Thrown(std::function<void()> const& f) {
    try {
        f();
    } catch (SYS_Exception const& e) {
        return e.GetText().GetString();
    }
    return "no exception";
}

TEST(PaletteColorConvertor, ReadingTurnsAnIndexIntoTheMainSurfacesColour) {
    PaletteSurface surface;
    MainSurface main(&surface);
    Convertor convertor;

    SCC_Variant const colour = convertor.Convert(SCC_Variant(5), 0);
    EXPECT_EQ(colour.GetType(), SCC_Variant::ValueInteger);
    EXPECT_EQ(static_cast<int32_t>(colour), 0x100005);
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(7.9), 0)), 0x100007) << "truncated index";
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(" 12 "), 0)), 0x10000C) << "a text scans";
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(), 0)), 0x100000) << "empty is index 0";
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(-1), 0)), 0x100000 - 1);
    EXPECT_EQ(surface.asked, (std::vector<int>{5, 7, 12, 0, -1}));

    EXPECT_EQ(Thrown([&] { convertor.Convert(SCC_Variant("red"), 0); }), "Invalid floating point format.");
    EXPECT_EQ(Thrown([&] { convertor.Convert(SCC_Variant(1e10), 0); }), "Value out of range.");
    EXPECT_EQ(surface.asked.size(), 5u) << "the surface is not asked for an index that doesn't convert";
}

TEST(PaletteColorConvertor, SurfacesWithoutAPaletteGiveZero) {
    Convertor convertor;
    EXPECT_EQ(static_cast<int32_t>(convertor.Convert(SCC_Variant(3), 0)), 0) << "no main surface";
    EXPECT_EQ(convertor.Convert(SCC_Variant(3), 0).GetType(), SCC_Variant::ValueInteger);
    UI_DrawArea bare;
    MainSurface main(&bare);
    for (int index : {0, 1, 255, -7, INT32_MAX}) {
        SCC_Variant const colour = convertor.Convert(SCC_Variant(index), 0);
        EXPECT_EQ(colour.GetType(), SCC_Variant::ValueInteger);
        EXPECT_EQ(static_cast<int32_t>(colour), 0) << index;
    }
}

TEST(PaletteColorConvertor, WritingHandsTheValueThrough) {
    PaletteSurface surface;
    MainSurface main(&surface);
    Convertor convertor;
    for (int flag : {1, -1, 2}) {
        SCC_Variant const text = convertor.Convert(SCC_Variant("red"), flag);
        EXPECT_EQ(text.GetType(), SCC_Variant::ValueString);
        EXPECT_EQ(static_cast<SYS_StringBase>(text), "red");
        SCC_Variant const number = convertor.Convert(SCC_Variant(2.5), flag);
        EXPECT_EQ(number.GetType(), SCC_Variant::ValueDouble);
        EXPECT_EQ(static_cast<double>(number), 2.5);
        EXPECT_TRUE(convertor.Convert(SCC_Variant(), flag).IsEmpty());
    }
    EXPECT_TRUE(surface.asked.empty());
}

TEST(PaletteColorConvertor, ValidationConvertsThroughThePalette) {
    PaletteSurface surface;
    MainSurface main(&surface);
    Convertor convertor;
    SCC_Variant index(3);
    EXPECT_EQ(index.Validate("#[0,10]", &convertor), 1) << "the shown-to-stored direction hands 3 through";
    EXPECT_EQ(index.Validate("#[5,10]", &convertor), 0);
    EXPECT_EQ(static_cast<SYS_StringBase>(index),
              "Please enter a value within the [1048581.000000,1048586.000000] range.")
        << "the limits are shown as colours";
}

TEST(PaletteColorConvertor, NotificationReachesEveryListenerWithCodeFour) {
    std::vector<std::string> log;
    Listener before(&log, "before");
    UI_PaletteColorConvertor::s_Notifier.Add(&before);
    Convertor first, second;
    Listener after(&log, "after");
    UI_PaletteColorConvertor::s_Notifier.Add(&after);

    for (Convertor* c : {&first, &second}) {
        EXPECT_EQ(c->paletteHook.GetRoot(), &UI_PaletteColorConvertor::s_Notifier);
        EXPECT_EQ(c->paletteHook.GetPriority(), 0);
        EXPECT_EQ(c->paletteHook.OnNotification(4, nullptr), 0) << "the hook calls OnEvent, which does nothing";
        EXPECT_EQ(c->OnEvent(4, nullptr), 0);
    }
    UI_PaletteColorConvertor::NotifyPaletteChange();
    EXPECT_EQ(log, (std::vector<std::string>{"before:4", "after:4"}))
        << "null data; the walk passed through both convertors' hooks to the tail";
}

TEST(PaletteColorConvertor, CopiesAndAssignmentsStandAheadOfTheirSource) {
    std::vector<std::string> log;
    Convertor source;
    Listener tail(&log, "tail");
    UI_PaletteColorConvertor::s_Notifier.Add(&tail);

    Convertor copy(source);
    EXPECT_EQ(copy.paletteHook.GetRoot(), &UI_PaletteColorConvertor::s_Notifier);
    EXPECT_EQ(copy.GetRefCount(), 0) << "a copy is a new shared object";
    Listener aheadOfCopy(&log, "ahead of copy");
    aheadOfCopy.InsertBefore(&copy.paletteHook);
    UI_PaletteColorConvertor::NotifyPaletteChange();
    EXPECT_EQ(log, (std::vector<std::string>{"ahead of copy:4", "tail:4"})) << "the copy's hook is ahead of the tail";

    // Assignment moves the hook of `assigned` from the tail to just ahead of the source's hook.
    log.clear();
    aheadOfCopy.Remove();
    Convertor assigned;
    SCC_SharedPointer<SCC_Convertor> held(&assigned);
    intptr_t const count = assigned.GetRefCount();
    Listener last(&log, "last");
    UI_PaletteColorConvertor::s_Notifier.Add(&last);
    assigned = source;
    EXPECT_EQ(assigned.GetRefCount(), count) << "the reference count is the object's own";
    Listener aheadOfAssigned(&log, "ahead of assigned");
    aheadOfAssigned.InsertBefore(&assigned.paletteHook);
    UI_PaletteColorConvertor::NotifyPaletteChange();
    EXPECT_EQ(log, (std::vector<std::string>{"ahead of assigned:4", "tail:4", "last:4"}));

    log.clear();
    Convertor& same = assigned;
    assigned = same;
    UI_PaletteColorConvertor::NotifyPaletteChange();
    EXPECT_EQ(log, (std::vector<std::string>{"ahead of assigned:4", "tail:4", "last:4"}))
        << "assignment to itself moves nothing";
}

TEST(PaletteColorConvertor, CopyOutlivesItsSource) {
    std::vector<std::string> log;
    Listener tail(&log, "tail");
    auto* source = new Convertor;
    SCC_SharedPointer<SCC_Convertor> held(source);
    Convertor copy(*source);
    UI_PaletteColorConvertor::s_Notifier.Add(&tail);
    held = nullptr;
    UI_PaletteColorConvertor::NotifyPaletteChange();
    EXPECT_EQ(copy.paletteHook.GetRoot(), &UI_PaletteColorConvertor::s_Notifier);
    EXPECT_EQ(log, (std::vector<std::string>{"tail:4"}));
}

// Records its destruction, to show that a release through the base pointer destroys it whole.
class CountedConvertor : public UI_PaletteColorConvertor {
public:
    explicit CountedConvertor(int* destroyed) : m_Destroyed(destroyed) {}
    ~CountedConvertor() override { ++*m_Destroyed; }

private:
    int* m_Destroyed;
};

TEST(PaletteColorConvertor, LastReleaseTakesTheHookOutOfTheChain) {
    std::vector<std::string> log;
    Listener head(&log, "head");
    UI_PaletteColorConvertor::s_Notifier.Add(&head);
    int destroyed = 0;
    SCC_SharedPointer<SCC_Convertor> first(new CountedConvertor(&destroyed));
    SCC_SharedPointer<SCC_Convertor> second(new CountedConvertor(&destroyed));
    Listener tail(&log, "tail");
    UI_PaletteColorConvertor::s_Notifier.Add(&tail);

    SCC_SharedPointer<SCC_Convertor> more = first;
    first = nullptr;
    EXPECT_EQ(destroyed, 0);
    more = nullptr;
    EXPECT_EQ(destroyed, 1);
    UI_PaletteColorConvertor::NotifyPaletteChange();
    EXPECT_EQ(log, (std::vector<std::string>{"head:4", "tail:4"})) << "the notifier goes on for the rest";

    // A listener that lets go of the last convertor while the notification walks the chain.
    log.clear();
    head.action = [&] { second = nullptr; };
    UI_PaletteColorConvertor::NotifyPaletteChange();
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(log, (std::vector<std::string>{"head:4", "tail:4"}));
    head.action = nullptr;
}

} // namespace
