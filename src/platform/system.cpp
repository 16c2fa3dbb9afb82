#include <mortar/platform/system.h>

#include <cerrno>
#include <cstring>

namespace mortar {

uint32_t GetLastError() { return static_cast<uint32_t>(errno); }

void SetLastError(uint32_t error) { errno = static_cast<int>(error); }

bool SystemErrorText(uint32_t error, std::string& text) {
    text.clear();
    if (error > 0x7FFFFFFFu) return false;
    // strerrordesc_np gives no text (null) for a number that the C library does not know,
    // unlike strerror, which makes up "Unknown error N".
    char const* description = strerrordesc_np(static_cast<int>(error));
    if (description == nullptr) return false;
    text = description;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    return true;
}

} // namespace mortar
