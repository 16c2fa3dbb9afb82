#include <mortar/scc/SCC_SharedBuffer.h>

#include <gtest/gtest.h>

#include <utility>

namespace {

static_assert(sizeof(SCC_SharedBuffer) == sizeof(void*), "the count is as wide as a pointer");

// A shared object that counts the deaths of its kind; it can hold the next link of a chain, and
// look at a pointer as it dies.
struct Tracked : SCC_SharedBuffer {
    static inline int deaths = 0;
    static inline int watchedWasNull = -1;
    SCC_SharedPointer<Tracked> next;
    SCC_SharedPointer<Tracked>* watched = nullptr;
    ~Tracked() {
        ++deaths;
        if (watched) watchedWasNull = *watched == nullptr;
    }
};

TEST(SharedBuffer, HeapObjectsDieWithTheirLastReferenceOthersNever) {
    Tracked::deaths = 0;
    Tracked* heap = new Tracked;
    EXPECT_EQ(SCC_SharedBuffer::s_LastAllocated, static_cast<void*>(heap));
    EXPECT_EQ(heap->GetRefCount(), 0); // fresh
    {
        SCC_SharedPointer<Tracked> p(heap), q(p);
        EXPECT_EQ(heap->GetRefCount(), 2);
        EXPECT_EQ(heap->IsShared(), 1);
        q = nullptr;
        EXPECT_EQ(heap->IsShared(), 0);
        EXPECT_EQ(Tracked::deaths, 0);
    }
    EXPECT_EQ(Tracked::deaths, 1);

    SCC_SharedPointer<Tracked> a(new Tracked), b(std::move(a)); // moving doesn't count
    EXPECT_TRUE(a == nullptr);
    a = std::move(b);
    EXPECT_EQ(a->GetRefCount(), 1);
    a = nullptr;
    EXPECT_EQ(Tracked::deaths, 2);

    SCC_SharedPointer<Tracked> keepsAllocating(new Tracked); // s_LastAllocated names another block
    {
        Tracked onStack;
        SCC_SharedPointer<Tracked> p(&onStack);
        EXPECT_EQ(onStack.GetRefCount(), 2);
        EXPECT_EQ(onStack.IsShared(), 1); // an object off the heap always looks shared
        p = nullptr;
        p = &onStack;
        p = nullptr;
        EXPECT_EQ(onStack.GetRefCount(), 1);
        EXPECT_EQ(Tracked::deaths, 2);
    }
    EXPECT_EQ(Tracked::deaths, 3); // the stack object's own end

    // The count not at the address of the complete object: only that address is the heap block.
    struct WithTable { virtual ~WithTable() = default; };
    struct Offset : WithTable, SCC_SharedBuffer {};
    for (bool whole : {true, false}) {
        Offset* offset = new Offset;
        SCC_SharedBuffer* part = offset;
        ASSERT_NE(static_cast<void*>(part), static_cast<void*>(offset));
        EXPECT_EQ(whole ? offset->Ref(offset) : part->Ref(part), whole ? 1 : 2);
        delete offset;
    }
}

TEST(SharedBuffer, EarlyObjectsAndRecycledAddressesAreNotHeapObjects) {
    Tracked::deaths = 0;
    void* const saved = SCC_SharedBuffer::s_LastAllocated;
    SCC_SharedBuffer::s_LastAllocated = nullptr; // the state at the start of the process
    {
        Tracked early;
        SCC_SharedPointer<Tracked> p(&early);
        EXPECT_EQ(early.GetRefCount(), 2);
        p = nullptr;
        EXPECT_EQ(Tracked::deaths, 0);
    }
    SCC_SharedBuffer::s_LastAllocated = saved;

    // A freed block is forgotten, so an object built later at that address is not taken for it.
    { SCC_SharedPointer<Tracked> p(new Tracked); }
    EXPECT_EQ(SCC_SharedBuffer::s_LastAllocated, nullptr);
    struct Plain { Tracked member; };
    Plain* plain = new Plain;
    { SCC_SharedPointer<Tracked> p(&plain->member); EXPECT_EQ(plain->member.GetRefCount(), 2); }
    delete plain;
    EXPECT_EQ(Tracked::deaths, 3); // each once: the early one, the freed one, the member
}

TEST(SharedBuffer, CopiesAndAssignments) {
    Tracked a, b;
    SCC_SharedPointer<Tracked> pa(&a), pb(&b), pb2(&b);
    Tracked copy(a);
    EXPECT_EQ(copy.GetRefCount(), 0); // a copy starts without references
    a = b;                            // and assignment leaves the counts alone
    EXPECT_EQ(a.GetRefCount(), 2);
    EXPECT_EQ(b.GetRefCount(), 3);

    // A pointer takes the new reference before it releases the old: assigning itself, or an
    // object that only the old one keeps alive, is safe.
    Tracked::deaths = 0;
    SCC_SharedPointer<Tracked> only(new Tracked);
    only = only;
    only = static_cast<Tracked*>(only);
    EXPECT_EQ(only->GetRefCount(), 1);
    only->next = new Tracked;
    only = only->next;
    EXPECT_EQ(Tracked::deaths, 1);
    EXPECT_EQ(only->GetRefCount(), 1);

    only = nullptr;
    EXPECT_EQ(Tracked::deaths, 2);
    { // the destructor of a pointer nulls its field before the release
        SCC_SharedPointer<Tracked> last(new Tracked);
        last->watched = &last;
    }
    EXPECT_EQ(Tracked::watchedWasNull, 1);
}

} // namespace
