// Turns a BMP picture (uncompressed, 1, 4, 8, 16, 24 or 32 bits per pixel)
// into a PNG file of 8-bit RGB.  The image data go into stored deflate
// blocks, so no compression library is needed; a PNG reader takes them as
// it takes any other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class bmp_png {
 public:
  // Writes `png` from `bmp`; on failure returns false with the reason.
  static bool convert(const std::string& bmp, const std::string& png, std::string* why);
  // Writes RGB rows (3 bytes a pixel, top row first) as a PNG file.
  static bool write_png(const std::string& png, int width, int height,
                        const std::vector<uint8_t>& rgb);
  static uint32_t crc32(const uint8_t* p, size_t n, uint32_t crc = 0);
};
