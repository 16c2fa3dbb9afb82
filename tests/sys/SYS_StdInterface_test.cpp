#include <mortar/sys/SYS_Memory.h>
#include <mortar/sys/SYS_StdInterface.h>
#include <mortar/sys/SYS_TestRec.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <vector>

namespace {

std::vector<int> Walk(SYS_StdInterface& object) {
    std::vector<int> handles;
    for (object.GetFirst(nullptr); object.IsValid(); object.GetNext()) {
        handles.push_back(object.GetHandle());
        if (handles.size() > 100) break;
    }
    handles.push_back(object.GetHandle());
    return handles;
}

TEST(StdInterface, WalksFromOneToMaxHandle) {
    struct Case {
        char const* name;
        int maxHandle;
        std::vector<int> walk;
    } const cases[] = {
        {"empty set", 0, {0}},
        {"negative largest handle", -5, {0}},
        {"one element", 1, {1, 0}},
        {"three elements", 3, {1, 2, 3, 0}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        SYS_StdInterface object(c.maxHandle);
        EXPECT_EQ(object.MaxHandle, c.maxHandle);
        EXPECT_EQ(Walk(object), c.walk);
        EXPECT_EQ(object.IsValid(), 0);
    }

    SYS_StdInterface object(3);
    object.SetHandle(3, nullptr);
    EXPECT_EQ(object.IsValid(), 1);
    object.GetNext();
    EXPECT_EQ(object.Handle, 0);
    object.GetNext();
    EXPECT_EQ(object.Handle, 1) << "from 0 the walk starts over";
    object.SetMaxHandle(INT_MAX);
    object.SetHandle(INT_MAX, nullptr);
    object.GetNext();
    EXPECT_EQ(object.Handle, 0) << "the largest int ends the walk without overflow";
    object.SetHandle(-3, nullptr);
    EXPECT_EQ(object.IsValid(), 1);
    EXPECT_EQ(object.GetChangeEvent(nullptr), nullptr);
    object.OnUpdatePointers();
    EXPECT_EQ(object.Handle, -3);

    SYS_StdInterface copy(object);
    EXPECT_EQ(copy.Handle, -3);
    EXPECT_EQ(copy.MaxHandle, INT_MAX);
    SYS_StdInterface assigned;
    EXPECT_EQ(assigned.MaxHandle, 0);
    assigned = object;
    EXPECT_EQ(assigned.Handle, -3);
    EXPECT_EQ(assigned.MaxHandle, INT_MAX);
}

TEST(StdInterface, DerivedClassesTakePartThroughTheirSlots) {
    // Walks only the even handles and counts how often the storage moved.
    struct EvenHandles : SYS_StdInterface {
        SCC_Notifier changes;
        int* destroyed;
        explicit EvenHandles(int* d) : SYS_StdInterface(8), destroyed(d) {}
        ~EvenHandles() override { ++*destroyed; }
        SCC_Notifier* GetChangeEvent(void*) override { return &changes; }
        void GetFirst(void*) override { Handle = 2; }
        void GetNext() override {
            SYS_StdInterface::GetNext();
            if (Handle) SYS_StdInterface::GetNext();
        }
    };
    int destroyed = 0;
    std::unique_ptr<SYS_StdInterface> object = std::make_unique<EvenHandles>(&destroyed);
    EXPECT_EQ(Walk(*object), (std::vector<int>{2, 4, 6, 8, 0}));
    EXPECT_NE(object->GetChangeEvent(nullptr), nullptr);
    object.reset();
    EXPECT_EQ(destroyed, 1) << "deleted through the base class";
}

TEST(StdInterface, DefaultSortIsTheDifference) {
    EXPECT_EQ(SYS_StdInterface::DefaultSort(7, 3), 4);
    EXPECT_EQ(SYS_StdInterface::DefaultSort(3, 7), -4);
    EXPECT_EQ(SYS_StdInterface::DefaultSort(5, 5), 0);
    EXPECT_EQ(SYS_StdInterface::DefaultSort(INT_MIN, 1), INT_MAX) << "wraps in 32 bits";
    EXPECT_EQ(SYS_StdInterface::DefaultSort(INT_MAX, -1), INT_MIN);

    std::vector<int> handles = {5, 3, 9, 1, 1, 0};
    std::sort(handles.begin(), handles.end(),
              [](int a, int b) { return SYS_StdInterface::DefaultSort(a, b) < 0; });
    EXPECT_EQ(handles, (std::vector<int>{0, 1, 1, 3, 5, 9}));
}

TEST(PlainRecords, AssignmentReturnsTheTarget) {
    SYS_Memory memory, otherMemory;
    EXPECT_EQ(&(memory = otherMemory), &memory);
    SYS_TestFncID id, otherId;
    EXPECT_EQ(&(id = otherId), &id);
    SYS_TestRec rec, otherRec;
    EXPECT_EQ(&(rec = otherRec), &rec);
    SYS_TestRepeater repeater, otherRepeater;
    EXPECT_EQ(&(repeater = otherRepeater), &repeater);
}

} // namespace
