#include <mortar/scc/SCC_SharedBuffer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

namespace {

static_assert(sizeof(SCC_SharedBuffer) == sizeof(void*), "the count is as wide as a pointer");

// A shared object that reports its death.
struct Tracked : SCC_SharedBuffer {
    explicit Tracked(int* deaths = nullptr) : deaths(deaths) {}
    ~Tracked() {
        if (deaths) ++*deaths;
    }
    int* deaths;
};

TEST(SharedBuffer, HeapObjectsDieWithTheirLastReference) {
    int deaths = 0;
    Tracked* heap = new Tracked(&deaths);
    EXPECT_EQ(SCC_SharedBuffer::s_LastAllocated, static_cast<void*>(heap));
    EXPECT_EQ(heap->GetRefCount(), 0); // fresh
    {
        SCC_SharedPointer<Tracked> p(heap);
        EXPECT_EQ(heap->GetRefCount(), 1);
        EXPECT_EQ(heap->IsShared(), 0);
        {
            SCC_SharedPointer<Tracked> q(p);
            EXPECT_EQ(heap->IsShared(), 1);
        }
        EXPECT_EQ(heap->GetRefCount(), 1);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);

    // Moving hands the reference over without counting.
    Tracked* moved = new Tracked(&deaths);
    SCC_SharedPointer<Tracked> a(moved);
    SCC_SharedPointer<Tracked> b(std::move(a));
    EXPECT_TRUE(a == nullptr);
    a = std::move(b);
    EXPECT_EQ(moved->GetRefCount(), 1);
    a = nullptr;
    EXPECT_EQ(deaths, 2);
}

TEST(SharedBuffer, ObjectsOffTheHeapAreNeverDeleted) {
    int deaths = 0;
    SCC_SharedPointer<Tracked> keepsAllocating(new Tracked); // s_LastAllocated names another block
    {
        Tracked onStack(&deaths);
        {
            SCC_SharedPointer<Tracked> p(&onStack);
            EXPECT_EQ(onStack.GetRefCount(), 2);
            EXPECT_EQ(onStack.IsShared(), 1); // an object off the heap always looks shared
        }
        EXPECT_EQ(onStack.GetRefCount(), 1);
        { SCC_SharedPointer<Tracked> again(&onStack); }
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1); // the stack object's own end

    // The count not at the address of the complete object: only that address counts as the heap
    // block.
    struct WithTable {
        virtual ~WithTable() = default;
        int filler = 0;
    };
    struct Offset : WithTable, SCC_SharedBuffer {};
    Offset* offset = new Offset;
    SCC_SharedBuffer* part = offset;
    ASSERT_NE(static_cast<void*>(part), static_cast<void*>(offset));
    EXPECT_EQ(part->Ref(part), 2);
    delete offset;
    Offset* whole = new Offset;
    EXPECT_EQ(whole->Ref(whole), 1);
    EXPECT_EQ(whole->Deref(), 0);
    delete whole;
}

TEST(SharedBuffer, EarlyObjectsAndRecycledAddressesAreNotHeapObjects) {
    void* const saved = SCC_SharedBuffer::s_LastAllocated;
    SCC_SharedBuffer::s_LastAllocated = nullptr; // the state at the start of the process
    int deaths = 0;
    {
        Tracked early(&deaths);
        { SCC_SharedPointer<Tracked> p(&early); EXPECT_EQ(early.GetRefCount(), 2); }
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);
    SCC_SharedBuffer::s_LastAllocated = saved;

    // A freed block is forgotten, so an object built later at that address is not taken for it.
    { SCC_SharedPointer<Tracked> p(new Tracked); }
    EXPECT_EQ(SCC_SharedBuffer::s_LastAllocated, nullptr);
    struct Plain {
        int before = 0;
        Tracked member;
    };
    Plain* plain = new Plain{0, Tracked(&deaths)};
    { SCC_SharedPointer<Tracked> p(&plain->member); EXPECT_EQ(plain->member.GetRefCount(), 2); }
    delete plain;
    EXPECT_EQ(deaths, 2); // the member died once, with its owner
}

TEST(SharedBuffer, CopiesStartWithoutReferencesAndAssignmentKeepsCounts) {
    Tracked a, b;
    SCC_SharedPointer<Tracked> pa(&a), pb(&b), pb2(&b);
    Tracked copy(a);
    EXPECT_EQ(copy.GetRefCount(), 0);
    a = b;
    EXPECT_EQ(a.GetRefCount(), 2);
    EXPECT_EQ(b.GetRefCount(), 3);
}

TEST(SharedBuffer, AssignmentTakesTheNewReferenceBeforeReleasingTheOld) {
    int deaths = 0;
    // a = a on the only reference keeps the object alive.
    SCC_SharedPointer<Tracked> only(new Tracked(&deaths));
    only = only;
    Tracked* raw = only;
    only = raw;
    EXPECT_EQ(raw->GetRefCount(), 1);

    // The old object holds the only other reference on the new one.
    struct Chain : SCC_SharedBuffer {
        explicit Chain(int* deaths) : deaths(deaths) {}
        ~Chain() { ++*deaths; }
        int* deaths;
        SCC_SharedPointer<Chain> next;
    };
    int chainDeaths = 0;
    SCC_SharedPointer<Chain> head(new Chain(&chainDeaths));
    head->next = new Chain(&chainDeaths);
    head = head->next;
    EXPECT_EQ(chainDeaths, 1);
    EXPECT_EQ(head->GetRefCount(), 1);

    // The destructor of a pointer nulls its field before the release.
    bool sawNull = false;
    {
        struct Watcher : SCC_SharedBuffer {
            SCC_SharedPointer<Watcher>* watched = nullptr;
            bool* sawNull = nullptr;
            ~Watcher() { *sawNull = (*watched == nullptr); }
        };
        Watcher* w = new Watcher;
        SCC_SharedPointer<Watcher> ptr(w);
        w->watched = &ptr;
        w->sawNull = &sawNull;
    }
    EXPECT_TRUE(sawNull);
    only = nullptr;
    head = nullptr;
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(chainDeaths, 2);
}

} // namespace
