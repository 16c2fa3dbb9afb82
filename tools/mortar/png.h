// A small PNG writer for the tour's pictures: 8-bit RGB, uncompressed deflate blocks, so that it
// needs nothing beyond the standard library.
#ifndef MORTAR_TOOLS_PNG_H
#define MORTAR_TOOLS_PNG_H

#include <cstdint>
#include <string>
#include <vector>

namespace mortar::tool {

/// Writes `rgb` (width * height * 3 bytes, rows from the top) as a PNG file at `path`.
/// Returns false when the file can't be written.
bool WritePng(std::string const& path, int width, int height, std::vector<uint8_t> const& rgb);

} // namespace mortar::tool

#endif
