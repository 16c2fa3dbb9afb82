#include <mortar/scc/SCC_SharedBuffer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

namespace {

static_assert(sizeof(SCC_SharedBuffer) == sizeof(void*), "the count is as wide as a pointer");
static_assert(std::is_same<decltype(std::declval<SCC_SharedBuffer&>().GetRefCount()), intptr_t>::value,
              "pointer-wide count");

// A shared object that reports its death.
struct Tracked : SCC_SharedBuffer {
    explicit Tracked(int* deaths = nullptr) : deaths(deaths) {}
    ~Tracked() {
        if (deaths) ++*deaths;
    }
    int* deaths;
};

// A shared object whose count does not sit at the address of the complete object.
struct WithTable {
    virtual ~WithTable() = default;
    int filler = 0;
};
struct Offset : WithTable, SCC_SharedBuffer {};

TEST(SharedBuffer, HeapObjectsDieWithTheirLastReference) {
    int deaths = 0;
    Tracked* heap = new Tracked(&deaths);
    EXPECT_EQ(SCC_SharedBuffer::s_LastAllocated, static_cast<void*>(heap));
    EXPECT_EQ(heap->GetRefCount(), 0); // fresh
    EXPECT_EQ(heap->IsShared(), 0);
    {
        SCC_SharedPointer<Tracked> p(heap);
        EXPECT_EQ(heap->GetRefCount(), 1);
        EXPECT_EQ(heap->IsShared(), 0);
        {
            SCC_SharedPointer<Tracked> q(p);
            EXPECT_EQ(heap->GetRefCount(), 2);
            EXPECT_EQ(heap->IsShared(), 1);
            EXPECT_TRUE(p == q);
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
    EXPECT_EQ(moved->GetRefCount(), 1);
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
            EXPECT_EQ(onStack.IsShared(), 1); // a buffer on the stack always looks shared
            SCC_SharedPointer<Tracked> q(p);
            EXPECT_EQ(onStack.GetRefCount(), 3);
        }
        EXPECT_EQ(onStack.GetRefCount(), 1);
        EXPECT_EQ(deaths, 0);
        { SCC_SharedPointer<Tracked> again(&onStack); }
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1); // the stack object's own end

    // Ref with an address other than the block of operator new: not a heap object.
    Offset* offset = new Offset;
    SCC_SharedBuffer* part = offset;
    ASSERT_NE(static_cast<void*>(part), static_cast<void*>(offset));
    EXPECT_EQ(part->Ref(part), 2);
    EXPECT_EQ(part->Deref(), 1);
    delete offset;
    // With the address of the complete object it is one.
    Offset* whole = new Offset;
    EXPECT_EQ(whole->Ref(whole), 1);
    EXPECT_EQ(whole->Deref(), 0);
    delete whole;
}

TEST(SharedBuffer, ObjectsBuiltBeforeAnySharedAllocationAreNotHeapObjects) {
    void* const saved = SCC_SharedBuffer::s_LastAllocated;
    SCC_SharedBuffer::s_LastAllocated = nullptr; // the state at the start of the process
    int deaths = 0;
    {
        Tracked early(&deaths);
        EXPECT_EQ(early.GetRefCount(), 0);
        { SCC_SharedPointer<Tracked> p(&early); EXPECT_EQ(early.GetRefCount(), 2); }
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);
    SCC_SharedBuffer::s_LastAllocated = saved;

    // A freed block is forgotten, so an object built later at that address is not taken for it.
    { SCC_SharedPointer<Tracked> p(new Tracked); }
    EXPECT_EQ(SCC_SharedBuffer::s_LastAllocated, nullptr);
    // A plain heap object with a shared member, built where the freed block may come back.
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
    Tracked a;
    Tracked b;
    SCC_SharedPointer<Tracked> pa(&a);
    SCC_SharedPointer<Tracked> pb(&b);
    SCC_SharedPointer<Tracked> pb2(&b);
    Tracked copy(a);
    EXPECT_EQ(copy.GetRefCount(), 0);
    a = b;
    EXPECT_EQ(a.GetRefCount(), 2);
    EXPECT_EQ(b.GetRefCount(), 3);
}

// Holds a reference on another object.
struct Holder : SCC_SharedBuffer {
    SCC_SharedPointer<Tracked> held;
};

TEST(SharedBuffer, AssignmentTakesTheNewReferenceBeforeReleasingTheOld) {
    int deaths = 0;
    // a = a on the only reference keeps the object alive.
    SCC_SharedPointer<Tracked> only(new Tracked(&deaths));
    only = only;
    Tracked* raw = only;
    only = raw;
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(raw->GetRefCount(), 1);

    // The old object keeps the new one alive until the new reference is taken.
    Holder* holder = new Holder;
    holder->held = new Tracked(&deaths);
    Tracked* inner = holder->held;
    SCC_SharedPointer<Holder> outer(holder);
    SCC_SharedPointer<Tracked> p(inner);
    EXPECT_EQ(inner->GetRefCount(), 2);
    outer = nullptr; // releases the holder, and with it one reference on inner
    EXPECT_EQ(inner->GetRefCount(), 1);
    EXPECT_EQ(deaths, 0);

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
    p = nullptr;
    EXPECT_EQ(deaths, 2);
}

} // namespace
