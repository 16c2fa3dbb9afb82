#include <mortar/sys/SYS_Memory.h>
#include <mortar/sys/SYS_StdInterface.h>
#include <mortar/sys/SYS_TestRec.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

namespace {

// The handles of a walk, then the handle it ends on.
std::vector<int> Walk(SYS_StdInterface& object) {
    std::vector<int> handles;
    for (object.GetFirst(nullptr); object.IsValid() && handles.size() < 100; object.GetNext())
        handles.push_back(object.GetHandle());
    handles.push_back(object.GetHandle());
    return handles;
}

TEST(StdInterface, WalksFromOneToMaxHandle) {
    SYS_StdInterface none, negative(-5), object(3);
    EXPECT_TRUE(Walk(none) == std::vector<int>{0} && Walk(negative) == std::vector<int>{0});
    EXPECT_EQ(Walk(object), (std::vector<int>{1, 2, 3, 0}));
    object.GetNext();
    EXPECT_EQ(object.Handle, 1) << "from 0 the walk starts over";
    object.SetMaxHandle(INT_MAX);
    object.SetHandle(INT_MAX, nullptr);
    object.GetNext();
    EXPECT_EQ(object.Handle, 0) << "the largest int ends the walk without overflow";
    object.SetHandle(-3, nullptr);
    EXPECT_TRUE(object.IsValid() && object.GetChangeEvent(nullptr) == nullptr);
    // The default order is the difference, wrapping in 32 bits.
    EXPECT_TRUE(SYS_StdInterface::DefaultSort(3, 7) == -4 &&
                SYS_StdInterface::DefaultSort(INT_MIN, 1) == INT_MAX);
}

TEST(StdInterface, DerivedClassesTakePartThroughTheirSlots) {
    // Starts its walks at 2, and counts its destruction.
    struct FromTwo : SYS_StdInterface {
        explicit FromTwo(int* d) : SYS_StdInterface(4), destroyed(d) {}
        ~FromTwo() override { ++*destroyed; }
        void GetFirst(void*) override { Handle = 2; }
        int* destroyed;
    };
    int destroyed = 0;
    std::unique_ptr<SYS_StdInterface> object = std::make_unique<FromTwo>(&destroyed);
    EXPECT_EQ(Walk(*object), (std::vector<int>{2, 3, 4, 0}));
    object.reset();
    EXPECT_EQ(destroyed, 1) << "deleted through the base class";

    // The plain records' assignments return their target.
    SYS_Memory memory, otherMemory;
    SYS_TestFncID id, otherId;
    SYS_TestRec rec, otherRec;
    SYS_TestRepeater repeater, otherRepeater;
    EXPECT_TRUE(&(memory = otherMemory) == &memory && &(id = otherId) == &id && &(rec = otherRec) == &rec &&
                &(repeater = otherRepeater) == &repeater);
}

} // namespace
