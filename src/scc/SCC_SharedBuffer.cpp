// The allocation side of SCC_SharedBuffer's heap detection (see SCC_SharedBuffer.h).
#include <mortar/scc/SCC_SharedBuffer.h>

#include <new>

void* SCC_SharedBuffer::s_LastAllocated = nullptr;

void* SCC_SharedBuffer::operator new(std::size_t size) {
    void* block = ::operator new(size);
    s_LastAllocated = block;
    return block;
}

void SCC_SharedBuffer::operator delete(void* p) noexcept {
    // A freed block may come back from the allocator for an object that is not a shared one
    // (or a member of one); it must not be mistaken for the block noted here.
    if (p == s_LastAllocated) s_LastAllocated = nullptr;
    ::operator delete(p);
}
