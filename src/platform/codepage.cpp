#include <mortar/platform/codepage.h>

#include <iconv.h>

#include <cerrno>

namespace mortar {

namespace {

int g_codePage = CodePageWestern;

char const* IconvName(int codePage) { return codePage == CodePageJapanese ? "CP932" : "WINDOWS-1252"; }

} // namespace

int GetCodePage() { return g_codePage; }

int SetCodePage(int codePage) {
    if (codePage != CodePageWestern && codePage != CodePageJapanese) return 0;
    g_codePage = codePage;
    return 1;
}

int IsDoubleByteCodePage() { return g_codePage == CodePageJapanese ? 1 : 0; }

std::string WideToMultiByte(unsigned short const* text) {
    std::string result;
    if (text == nullptr) return result;
    std::size_t units = 0;
    while (text[units] != 0) ++units;
    if (units == 0) return result;

    iconv_t cd = iconv_open(IconvName(g_codePage), "UTF-16LE");
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        result.assign(units, '?');
        return result;
    }
    // One character at a time, so that a character the code page lacks becomes '?'
    // and the rest of the text still converts.
    std::size_t i = 0;
    while (i < units) {
        unsigned short unit = text[i];
        std::size_t count = 1;
        bool lone = false;
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            if (i + 1 < units && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
                count = 2;
            else
                lone = true;
        } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
            lone = true;
        }
        char in[4];
        for (std::size_t k = 0; k < count; ++k) {
            in[2 * k] = static_cast<char>(text[i + k] & 0xFF);
            in[2 * k + 1] = static_cast<char>(text[i + k] >> 8);
        }
        char out[16];
        char* inp = in;
        char* outp = out;
        std::size_t inLeft = 2 * count;
        std::size_t outLeft = sizeof out;
        if (lone || iconv(cd, &inp, &inLeft, &outp, &outLeft) == static_cast<std::size_t>(-1)) {
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
            result.push_back('?');
        } else {
            result.append(out, static_cast<std::size_t>(outp - out));
        }
        i += count;
    }
    iconv_close(cd);
    return result;
}

} // namespace mortar
