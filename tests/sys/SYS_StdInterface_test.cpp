#include <mortar/sys/SYS_Memory.h>
#include <mortar/sys/SYS_StdInterface.h>
#include <mortar/sys/SYS_TestRec.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

namespace {

std::vector<int> Walk(SYS_StdInterface& object) {
    std::vector<int> handles;
    for (object.GetFirst(nullptr); object.IsValid() && handles.size() < 100; object.GetNext())
        handles.push_back(object.GetHandle());
    handles.push_back(object.GetHandle());
    return handles;
}

TEST(StdInterface, WalksFromOneToMaxHandle) {
    EXPECT_EQ(Walk(*std::make_unique<SYS_StdInterface>()), std::vector<int>{0});
    EXPECT_EQ(Walk(*std::make_unique<SYS_StdInterface>(-5)), std::vector<int>{0});
    EXPECT_EQ(Walk(*std::make_unique<SYS_StdInterface>(3)), (std::vector<int>{1, 2, 3, 0}));

    SYS_StdInterface object(3);
    object.SetHandle(3, nullptr);
    object.GetNext();
    EXPECT_EQ(object.Handle, 0);
    object.GetNext();
    EXPECT_EQ(object.Handle, 1) << "from 0 the walk starts over";
    object.SetMaxHandle(INT_MAX);
    object.SetHandle(INT_MAX, nullptr);
    object.GetNext();
    EXPECT_EQ(object.Handle, 0) << "the largest int ends the walk without overflow";
    object.SetHandle(-3, nullptr);
    EXPECT_TRUE(object.IsValid() && object.GetChangeEvent(nullptr) == nullptr);
}

TEST(StdInterface, DerivedClassesTakePartThroughTheirSlots) {
    // Walks only the even handles, and counts its destruction.
    struct EvenHandles : SYS_StdInterface {
        int* destroyed;
        explicit EvenHandles(int* d) : SYS_StdInterface(8), destroyed(d) {}
        ~EvenHandles() override { ++*destroyed; }
        void GetFirst(void*) override { Handle = 2; }
        void GetNext() override {
            SYS_StdInterface::GetNext();
            if (Handle) SYS_StdInterface::GetNext();
        }
    };
    int destroyed = 0;
    std::unique_ptr<SYS_StdInterface> object = std::make_unique<EvenHandles>(&destroyed);
    EXPECT_EQ(Walk(*object), (std::vector<int>{2, 4, 6, 8, 0}));
    object.reset();
    EXPECT_EQ(destroyed, 1) << "deleted through the base class";
}

TEST(StdInterface, DefaultSortIsTheWrappedDifference) {
    EXPECT_EQ(SYS_StdInterface::DefaultSort(3, 7), -4);
    EXPECT_EQ(SYS_StdInterface::DefaultSort(INT_MIN, 1), INT_MAX);
    EXPECT_EQ(SYS_StdInterface::DefaultSort(INT_MAX, -1), INT_MIN);
}

TEST(PlainRecords, AssignmentReturnsTheTarget) {
    SYS_Memory memory, otherMemory;
    SYS_TestFncID id, otherId;
    SYS_TestRec rec, otherRec;
    SYS_TestRepeater repeater, otherRepeater;
    EXPECT_TRUE(&(memory = otherMemory) == &memory && &(id = otherId) == &id && &(rec = otherRec) == &rec &&
                &(repeater = otherRepeater) == &repeater);
}

} // namespace
