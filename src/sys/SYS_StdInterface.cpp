#include <mortar/sys/SYS_StdInterface.h>

#include <cstdint>

SCC_Notifier* SYS_StdInterface::GetChangeEvent(void*) {
    return nullptr;
}

void SYS_StdInterface::SetMaxHandle(int maxHandle) {
    MaxHandle = maxHandle;
}

int SYS_StdInterface::IsValid() const {
    return Handle != 0 ? 1 : 0;
}

void SYS_StdInterface::SetHandle(int handle, void*) {
    Handle = handle;
}

int SYS_StdInterface::GetHandle() const {
    return Handle;
}

void SYS_StdInterface::GetFirst(void*) {
    Handle = MaxHandle > 0 ? 1 : 0;
}

// Compared before adding, so that a walk up to the largest int ends instead of overflowing.
void SYS_StdInterface::GetNext() {
    Handle = Handle >= MaxHandle ? 0 : Handle + 1;
}

void SYS_StdInterface::OnUpdatePointers() {}

SYS_StdInterface::~SYS_StdInterface() = default;

int SYS_StdInterface::DefaultSort(int const& a, int const& b) {
    return static_cast<int>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
