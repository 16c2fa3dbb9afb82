#include "png.h"

#include <array>
#include <fstream>

namespace mortar::tool {

namespace {

uint32_t Crc32(uint8_t const* data, std::size_t size, uint32_t crc = 0) {
    static std::array<uint32_t, 256> const table = [] {
        std::array<uint32_t, 256> t{};
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t c = n;
            for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    crc = ~crc;
    for (std::size_t i = 0; i < size; ++i) crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

void PutBig32(std::vector<uint8_t>& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(v >> shift));
}

void Chunk(std::vector<uint8_t>& out, char const* type, std::vector<uint8_t> const& data) {
    PutBig32(out, static_cast<uint32_t>(data.size()));
    std::size_t const start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    PutBig32(out, Crc32(out.data() + start, out.size() - start));
}

// The rows, each behind a filter byte of 0, as a zlib stream of stored deflate blocks.
std::vector<uint8_t> Zlib(int width, int height, std::vector<uint8_t> const& rgb) {
    std::vector<uint8_t> raw;
    std::size_t const row = static_cast<std::size_t>(width) * 3;
    for (int y = 0; y < height; ++y) {
        raw.push_back(0);
        auto const* first = rgb.data() + static_cast<std::size_t>(y) * row;
        raw.insert(raw.end(), first, first + row);
    }
    std::vector<uint8_t> z = {0x78, 0x01};
    std::size_t at = 0;
    do {
        std::size_t const n = std::min<std::size_t>(raw.size() - at, 65535);
        bool const last = at + n == raw.size();
        z.push_back(last ? 1 : 0);
        z.push_back(static_cast<uint8_t>(n));
        z.push_back(static_cast<uint8_t>(n >> 8));
        z.push_back(static_cast<uint8_t>(~n));
        z.push_back(static_cast<uint8_t>(~n >> 8));
        z.insert(z.end(), raw.begin() + static_cast<std::ptrdiff_t>(at), raw.begin() + static_cast<std::ptrdiff_t>(at + n));
        at += n;
    } while (at < raw.size());
    uint32_t a = 1, b = 0;
    for (uint8_t byte : raw) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    PutBig32(z, (b << 16) | a);
    return z;
}

} // namespace

bool WritePng(std::string const& path, int width, int height, std::vector<uint8_t> const& rgb) {
    if (width <= 0 || height <= 0 || rgb.size() != static_cast<std::size_t>(width) * height * 3) return false;
    std::vector<uint8_t> out = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> header;
    PutBig32(header, static_cast<uint32_t>(width));
    PutBig32(header, static_cast<uint32_t>(height));
    header.insert(header.end(), {8, 2, 0, 0, 0}); // 8 bits, RGB, deflate, no filter, no interlace
    Chunk(out, "IHDR", header);
    Chunk(out, "IDAT", Zlib(width, height, rgb));
    Chunk(out, "IEND", {});
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<char const*>(out.data()), static_cast<std::streamsize>(out.size()));
    return static_cast<bool>(file.flush());
}

} // namespace mortar::tool
