#include <mortar/platform/codepage.h>
#include <mortar/platform/mbstring.h>

namespace mortar {

namespace {

inline unsigned char Byte(char const* s) { return static_cast<unsigned char>(*s); }

inline bool Lead(unsigned char b) {
    return IsDoubleByteCodePage() && ((b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC));
}

// Reads the character at s: its code and its length in bytes.
inline unsigned int Next(char const* s, int& length) {
    unsigned char b = Byte(s);
    if (Lead(b) && s[1] != '\0') {
        length = 2;
        return (static_cast<unsigned int>(b) << 8) | Byte(s + 1);
    }
    length = 1;
    return b;
}

inline unsigned int FoldAscii(unsigned int c) { return (c >= 'A' && c <= 'Z') ? c + ('a' - 'A') : c; }

inline int Sign(unsigned int a, unsigned int b) { return a < b ? -1 : (a > b ? 1 : 0); }

// True when the character with code c occurs in set.
bool InSet(unsigned int c, char const* set) {
    int length;
    for (char const* p = set; *p != '\0'; p += length) {
        if (Next(p, length) == c) return true;
    }
    return false;
}

template <bool Fold>
int Compare(char const* a, char const* b, std::size_t count) {
    for (std::size_t n = 0; n < count; ++n) {
        int la, lb;
        unsigned int ca = Next(a, la);
        unsigned int cb = Next(b, lb);
        if (Fold) {
            ca = FoldAscii(ca);
            cb = FoldAscii(cb);
        }
        if (ca != cb) return Sign(ca, cb);
        if (ca == 0) return 0;
        a += la;
        b += lb;
    }
    return 0;
}

} // namespace

int ismbblead(unsigned int byte) { return byte <= 0xFF && Lead(static_cast<unsigned char>(byte)) ? 1 : 0; }

int mbclen(char const* s) {
    int length;
    Next(s, length);
    return length;
}

char const* mbsinc(char const* s) { return s + mbclen(s); }

unsigned int mbsnextc(char const* s) {
    int length;
    return Next(s, length);
}

int mbscmp(char const* a, char const* b) { return Compare<false>(a, b, static_cast<std::size_t>(-1)); }

int mbsicmp(char const* a, char const* b) { return Compare<true>(a, b, static_cast<std::size_t>(-1)); }

int mbsncmp(char const* a, char const* b, std::size_t count) { return Compare<false>(a, b, count); }

std::size_t mbsspn(char const* s, char const* set) {
    char const* p = s;
    int length;
    while (*p != '\0') {
        unsigned int c = Next(p, length);
        if (!InSet(c, set)) break;
        p += length;
    }
    return static_cast<std::size_t>(p - s);
}

std::size_t mbscspn(char const* s, char const* set) {
    char const* p = s;
    int length;
    while (*p != '\0') {
        unsigned int c = Next(p, length);
        if (InSet(c, set)) break;
        p += length;
    }
    return static_cast<std::size_t>(p - s);
}

char const* mbspbrk(char const* s, char const* set) {
    char const* p = s + mbscspn(s, set);
    return *p != '\0' ? p : nullptr;
}

char const* mbschr(char const* s, unsigned int c) {
    int length;
    for (char const* p = s;; p += length) {
        unsigned int code = Next(p, length);
        if (code == c) return p;
        if (code == 0) return nullptr;
    }
}

char const* mbsrchr(char const* s, unsigned int c) {
    char const* found = nullptr;
    int length;
    for (char const* p = s;; p += length) {
        unsigned int code = Next(p, length);
        if (code == c) found = p;
        if (code == 0) return found;
    }
}

int ismbcdigit(unsigned int c) { return c >= '0' && c <= '9'; }
int ismbclower(unsigned int c) { return c >= 'a' && c <= 'z'; }
int ismbcupper(unsigned int c) { return c >= 'A' && c <= 'Z'; }
int ismbcalpha(unsigned int c) { return ismbclower(c) || ismbcupper(c); }
int ismbcalnum(unsigned int c) { return ismbcalpha(c) || ismbcdigit(c); }
int ismbcspace(unsigned int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

} // namespace mortar
