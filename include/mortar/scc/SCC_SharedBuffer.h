// Shared buffers: the intrusive reference count of the library and its smart pointer.
//
// Array buffers, sort objects, handles, convertors and properties derive from SCC_SharedBuffer
// and are held through SCC_SharedPointer<T>. The count has one trick: an object learns at its
// first reference whether it was made by `new` on the heap. A heap object dies with its last
// reference; any other object (on the stack, static, a member) is never deleted through a
// pointer, however its references come and go. So a stack object may be handed to an
// SCC_SharedPointer<T> without harm.
//
// How an object knows. `new` of a class derived from SCC_SharedBuffer goes through
// SCC_SharedBuffer::operator new, which notes the block in s_LastAllocated; the constructor,
// running as part of that new-expression, stores the negated address in the count. The first
// Ref(p) compares the count with -p: equal means "the block that operator new returned", so the
// count becomes 1; any other negative value means "not from operator new", and the count becomes
// 2, an extra reference that keeps it from ever reaching 0. The test counts on heap and stack
// addresses having a clear sign bit as intptr_t, which holds for the user space of every 64-bit
// system we build for; the count is therefore as wide as a pointer.
//
// Values of the count:
//   -(intptr_t)s_LastAllocated at construction: no reference yet;
//   0 or more: the references, plus one for an object that is not on the heap;
//   other negative values: no reference yet, not a heap object.
//
// Two situations that would fool the plain scheme are closed:
//   - An object built before any shared allocation finds s_LastAllocated null. It gets the count
//     -1 (no reference, not a heap object) instead of 0, which would read as a heap object.
//   - operator delete clears s_LastAllocated when it frees the block noted there, so an object
//     built later at a recycled address (a member of a plain heap object, say) can't pass for
//     the block that operator new returned.
// The failure mode stays on the safe side: an object built while s_LastAllocated belongs to
// another block (an argument expression that allocates a second shared object between the
// operator new and the constructor of the first) counts as not being on the heap and leaks
// rather than being deleted wrongly. A heap object that nobody ever references is owned by
// whoever called `new`.
//
// Destruction. A release deletes through T's destructor, T being the static type of the
// pointer. A class whose objects are released through a pointer to one of its bases must
// have a virtual destructor; in this library every such base has one (array buffers, handles,
// properties, SCC_Sort<T>), so derived classes that own members are destroyed fully.
//
// Nothing here is thread-safe: s_LastAllocated and the counts are plain memory, and `new` of a
// shared object must not be interleaved with another such allocation.
#ifndef MORTAR_SCC_SCC_SHAREDBUFFER_H
#define MORTAR_SCC_SCC_SHAREDBUFFER_H

#include <mortar/export.h>

#include <cstddef>
#include <cstdint>
#include <utility>

/// The intrusive reference count: a base class with one pointer-wide field and no virtual
/// operations. In a derived class with a virtual table the count is not at the address of the
/// complete object, which is why Ref takes that address as an argument.
class MORTAR_API SCC_SharedBuffer {
public:
    /// The address returned by the most recent operator new, or null: at the start of the
    /// process, and after that block has been freed.
    static void* s_LastAllocated;

    /// No reference yet: count := -(intptr_t)s_LastAllocated (-1 while that is null).
    SCC_SharedBuffer() noexcept : m_Count(FreshCount()) {}

    /// The same as the default constructor: a copy starts with no references, whatever the
    /// count of the source.
    SCC_SharedBuffer(SCC_SharedBuffer const&) noexcept : m_Count(FreshCount()) {}

    /// Leaves this object's count alone: references belong to the object, not to its value.
    SCC_SharedBuffer& operator=(SCC_SharedBuffer const&) noexcept { return *this; }

    /// Global allocation of `size` bytes; notes the block in s_LastAllocated. Fails as the
    /// global allocation fails (std::bad_alloc).
    static void* operator new(std::size_t size);

    /// Global deallocation; clears s_LastAllocated when it names `p`.
    static void operator delete(void* p) noexcept;

    /// Takes a reference. `p` is the address of the complete object (the value of the T* that
    /// refers to it). In this order: a count equal to -p (the block of operator new) becomes 1;
    /// any other negative count becomes 2 (the object is not on the heap); a count of 0 or more
    /// goes up by one. Returns the new count.
    intptr_t Ref(void* p) noexcept {
        intptr_t const self = -static_cast<intptr_t>(reinterpret_cast<uintptr_t>(p));
        if (m_Count == self) m_Count = 1;
        else if (m_Count < 0) m_Count = 2;
        else ++m_Count;
        return m_Count;
    }

    /// count := count - 1, and returns it. Deletes nothing: that is the caller's business.
    intptr_t Deref() noexcept { return --m_Count; }

    /// The count if it is not negative, else 0 (no reference yet).
    intptr_t GetRefCount() const noexcept { return m_Count < 0 ? 0 : m_Count; }

    /// 1 when the count is greater than 1. An object that is not on the heap always looks
    /// shared once referenced.
    int IsShared() const noexcept { return m_Count > 1 ? 1 : 0; }

private:
    static intptr_t FreshCount() noexcept {
        return s_LastAllocated ? -static_cast<intptr_t>(reinterpret_cast<uintptr_t>(s_LastAllocated)) : -1;
    }

    intptr_t m_Count;
};

/// A pointer that holds one reference on an SCC_SharedBuffer-derived object, or null.
///
/// T must derive from SCC_SharedBuffer. Taking a reference is p->Ref(p); releasing one is
/// Deref, and when the count is then exactly 0 the object is deleted through T's destructor.
/// Assignment takes the reference on the new object before it releases the old one, so
/// self-assignment and assignment of an object that only this pointer keeps alive are safe.
/// The destructor nulls the field before releasing, so that a destructor running as a
/// consequence sees a null pointer here. Reads (->, *, conversion to T*) don't check for null.
template <class T>
class SCC_SharedPointer {
public:
    /// Null.
    SCC_SharedPointer() noexcept : m_p(nullptr) {}
    SCC_SharedPointer(std::nullptr_t) noexcept : m_p(nullptr) {}

    /// Stores `p`, then takes a reference if it is not null.
    SCC_SharedPointer(T* p) noexcept : m_p(p) {
        if (p) p->Ref(p);
    }

    /// A second reference on the source's object; the source is not changed.
    SCC_SharedPointer(SCC_SharedPointer<T> const& source) noexcept : SCC_SharedPointer(source.m_p) {}

    /// Takes over the source's reference; the source is left null.
    SCC_SharedPointer(SCC_SharedPointer<T>&& source) noexcept : m_p(source.m_p) { source.m_p = nullptr; }

    ~SCC_SharedPointer() {
        T* old = m_p;
        m_p = nullptr;
        Release(old);
    }

    SCC_SharedPointer<T>& operator=(SCC_SharedPointer<T> const& source) { return *this = source.m_p; }

    SCC_SharedPointer<T>& operator=(SCC_SharedPointer<T>&& source) {
        if (&source != this) {
            T* old = m_p;
            m_p = source.m_p;
            source.m_p = nullptr;
            Release(old);
        }
        return *this;
    }

    /// Remembers the old pointer, stores `p`, takes a reference on it if it is not null, then
    /// releases the old one.
    SCC_SharedPointer<T>& operator=(T* p) {
        T* old = m_p;
        m_p = p;
        if (p) p->Ref(p);
        Release(old);
        return *this;
    }

    T* operator->() const noexcept { return m_p; }
    T& operator*() const noexcept { return *m_p; }
    operator T*() const noexcept { return m_p; }

    /// Identity of the objects, not their values.
    friend bool operator==(SCC_SharedPointer<T> const& a, SCC_SharedPointer<T> const& b) noexcept {
        return a.m_p == b.m_p;
    }
    friend bool operator!=(SCC_SharedPointer<T> const& a, SCC_SharedPointer<T> const& b) noexcept {
        return a.m_p != b.m_p;
    }
    friend bool operator==(SCC_SharedPointer<T> const& a, T* b) noexcept { return a.m_p == b; }
    friend bool operator!=(SCC_SharedPointer<T> const& a, T* b) noexcept { return a.m_p != b; }
    friend bool operator==(T* a, SCC_SharedPointer<T> const& b) noexcept { return a == b.m_p; }
    friend bool operator!=(T* a, SCC_SharedPointer<T> const& b) noexcept { return a != b.m_p; }
    friend bool operator==(SCC_SharedPointer<T> const& a, std::nullptr_t) noexcept { return !a.m_p; }
    friend bool operator!=(SCC_SharedPointer<T> const& a, std::nullptr_t) noexcept { return a.m_p != nullptr; }

private:
    static void Release(T* p) {
        if (p && p->Deref() == 0) Destroy(p);
    }

    // Out of line: inlined into a caller that releases a stack object, the deletion (which the
    // count never lets happen there) would look to the compiler like freeing a non-heap object.
#if defined(__GNUC__) || defined(__clang__)
    __attribute__((noinline))
#endif
    static void Destroy(T* p) {
        delete p;
    }

    T* m_p;
};

#endif
