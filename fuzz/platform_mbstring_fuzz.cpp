// Walks arbitrary bytes with the multi-byte string operations under both code pages and
// checks that every result stays inside the text and agrees with the character walk.
#include <mortar/platform/codepage.h>
#include <mortar/platform/mbstring.h>

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    if (size < 1) return 0;
    std::string text(reinterpret_cast<char const*>(data) + 1, size - 1);
    std::size_t split = text.find('\0');
    std::string set = split == std::string::npos ? std::string("\\a") : text.substr(split + 1);
    if (split != std::string::npos) text.resize(split);
    mortar::SetCodePage(data[0] & 1 ? 932 : 1252);

    char const* s = text.c_str();
    char const* end = s + text.size();
    std::size_t characters = 0;
    for (char const* p = s; *p != '\0'; p = mortar::mbsinc(p)) {
        if (p >= end) std::abort();
        ++characters;
    }
    if (mortar::mbsspn(s, set.c_str()) > text.size() || mortar::mbscspn(s, set.c_str()) > text.size()) std::abort();
    char const* hit = mortar::mbspbrk(s, set.c_str());
    if (hit != nullptr && (hit < s || hit >= end)) std::abort();
    unsigned int c = set.empty() ? 0 : mortar::mbsnextc(set.c_str());
    char const* first = mortar::mbschr(s, c);
    char const* last = mortar::mbsrchr(s, c);
    if ((first == nullptr) != (last == nullptr) || (first != nullptr && last < first)) std::abort();
    if (mortar::mbscmp(s, s) != 0 || mortar::mbsicmp(s, s) != 0) std::abort();
    if (mortar::mbscmp(s, set.c_str()) != -mortar::mbscmp(set.c_str(), s)) std::abort();
    if (mortar::mbsncmp(s, set.c_str(), characters) != -mortar::mbsncmp(set.c_str(), s, characters)) std::abort();
    mortar::SetCodePage(1252);
    return 0;
}
