// BMP to PNG without a compression library.
#include "runtime/bmp_png.h"

#include <fcntl.h>

#include <cstdio>
#include <cstring>

#include "runtime/os_env.h"

namespace {

uint32_t le(const std::vector<uint8_t>& b, size_t at, int bytes) {
  uint32_t v = 0;
  for (int i = bytes - 1; i >= 0; i--) v = (v << 8) | b[at + i];
  return v;
}

void put_be(std::vector<uint8_t>& out, uint32_t v) {
  out.push_back((uint8_t)(v >> 24));
  out.push_back((uint8_t)(v >> 16));
  out.push_back((uint8_t)(v >> 8));
  out.push_back((uint8_t)v);
}

void chunk(std::vector<uint8_t>& out, const char* type, const std::vector<uint8_t>& data) {
  put_be(out, (uint32_t)data.size());
  size_t start = out.size();
  out.insert(out.end(), type, type + 4);
  out.insert(out.end(), data.begin(), data.end());
  put_be(out, bmp_png::crc32(out.data() + start, out.size() - start));
}

// Position of the lowest set bit and the width of a colour mask.
void mask_shape(uint32_t m, int* shift, int* bits) {
  *shift = 0;
  *bits = 0;
  if (!m) return;
  while (!(m & 1)) {
    m >>= 1;
    (*shift)++;
  }
  while (m & 1) {
    m >>= 1;
    (*bits)++;
  }
}

uint8_t scale(uint32_t v, int bits) {
  if (bits <= 0) return 0;
  if (bits >= 8) return (uint8_t)(v >> (bits - 8));
  return (uint8_t)((v * 255u) / ((1u << bits) - 1));
}

}  // namespace

uint32_t bmp_png::crc32(const uint8_t* p, size_t n, uint32_t crc) {
  static uint32_t table[256];
  static bool ready = false;
  if (!ready) {
    for (uint32_t i = 0; i < 256; i++) {
      uint32_t c = i;
      for (int k = 0; k < 8; k++) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      table[i] = c;
    }
    ready = true;
  }
  crc = ~crc;
  for (size_t i = 0; i < n; i++) crc = table[(crc ^ p[i]) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

bool bmp_png::write_png(const std::string& png, int width, int height,
                        const std::vector<uint8_t>& rgb) {
  std::vector<uint8_t> raw;  // filter byte 0 in front of each row
  size_t row = (size_t)width * 3;
  raw.reserve((row + 1) * (size_t)height);
  for (int y = 0; y < height; y++) {
    raw.push_back(0);
    raw.insert(raw.end(), rgb.begin() + (long)(row * y), rgb.begin() + (long)(row * (y + 1)));
  }
  std::vector<uint8_t> z{0x78, 0x01};
  uint32_t a = 1, b = 0;
  for (uint8_t c : raw) {
    a = (a + c) % 65521;
    b = (b + a) % 65521;
  }
  size_t at = 0;
  do {
    size_t n = raw.size() - at;
    if (n > 65535) n = 65535;
    bool last = at + n == raw.size();
    z.push_back(last ? 1 : 0);
    z.push_back((uint8_t)n);
    z.push_back((uint8_t)(n >> 8));
    z.push_back((uint8_t)~n);
    z.push_back((uint8_t)(~n >> 8));
    z.insert(z.end(), raw.begin() + (long)at, raw.begin() + (long)(at + n));
    at += n;
  } while (at < raw.size());
  put_be(z, (b << 16) | a);

  std::vector<uint8_t> out{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::vector<uint8_t> ihdr;
  put_be(ihdr, (uint32_t)width);
  put_be(ihdr, (uint32_t)height);
  ihdr.insert(ihdr.end(), {8, 2, 0, 0, 0});
  chunk(out, "IHDR", ihdr);
  chunk(out, "IDAT", z);
  chunk(out, "IEND", {});
  int fd = os().open(png.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return false;
  bool ok = write_all(fd, out.data(), out.size());
  return os().close(fd) == 0 && ok;
}

namespace {

// What the header of a BMP picture says, with its colour masks and palette.
struct bmp_form {
  uint32_t offset = 0, dib = 0, comp = 0, used = 0;
  int32_t w = 0, h = 0;
  int bpp = 0;
  bool top_down = false;
  uint32_t masks[3] = {0, 0, 0};
  std::vector<uint8_t> pal;  // RGB triples
  size_t stride = 0;
};

bool read_all(const std::string& name, std::vector<uint8_t>* b) {
  int fd = os().open(name.c_str(), O_RDONLY | O_CLOEXEC, 0);
  if (fd < 0) return false;
  uint8_t buf[65536];
  ssize_t n;
  while ((n = read_full(fd, buf, sizeof buf)) > 0) b->insert(b->end(), buf, buf + n);
  os().close(fd);
  return true;
}

// The header; null when it describes a picture this converter reads,
// otherwise why not.
const char* read_header(const std::vector<uint8_t>& b, bmp_form* f) {
  if (b.size() < 54 || b[0] != 'B' || b[1] != 'M') return "not a BMP picture";
  f->offset = le(b, 10, 4), f->dib = le(b, 14, 4);
  if (f->dib < 40 || 14 + (size_t)f->dib > b.size()) return "unknown BMP header";
  f->w = (int32_t)le(b, 18, 4), f->h = (int32_t)le(b, 22, 4);
  f->bpp = (int)le(b, 28, 2);
  f->comp = le(b, 30, 4), f->used = le(b, 46, 4);
  f->top_down = f->h < 0;
  if (f->top_down) f->h = -f->h;
  if (f->w <= 0 || f->h <= 0 || f->w > 40000 || f->h > 40000 || (int64_t)f->w * f->h > 200000000)
    return "picture size out of range";
  int bpp = f->bpp;
  if (f->comp != 0 && !(f->comp == 3 && (bpp == 16 || bpp == 32))) return "compressed BMP";
  if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32)
    return "unsupported bits per pixel";
  return nullptr;
}

// The colour masks of 16 and 32 bits a pixel, the palette of 8 and fewer,
// and the length of a row; null or why not.
const char* read_colours(const std::vector<uint8_t>& b, bmp_form* f) {
  if (f->comp == 3) {
    size_t m = f->dib >= 52 ? 14 + 40 : 14 + f->dib;  // masks inside the header or behind it
    if (m + 12 > b.size()) return "truncated BMP";
    for (int i = 0; i < 3; i++) f->masks[i] = le(b, m + 4 * i, 4);
  } else if (f->bpp == 16) {
    f->masks[0] = 0x7C00, f->masks[1] = 0x03E0, f->masks[2] = 0x001F;
  } else if (f->bpp == 32) {
    f->masks[0] = 0xFF0000, f->masks[1] = 0xFF00, f->masks[2] = 0xFF;
  }
  if (f->bpp <= 8) {
    uint32_t count = f->used ? f->used : (1u << f->bpp);
    size_t p = 14 + f->dib;
    if (count > 256 || p + 4 * (size_t)count > b.size()) return "bad palette";
    for (uint32_t i = 0; i < count; i++) {
      f->pal.push_back(b[p + 4 * i + 2]);
      f->pal.push_back(b[p + 4 * i + 1]);
      f->pal.push_back(b[p + 4 * i]);
    }
  }
  f->stride = (((size_t)f->w * f->bpp + 31) / 32) * 4;
  if ((size_t)f->offset + f->stride * (size_t)f->h > b.size()) return "truncated BMP";
  return nullptr;
}

// The pixels, top row first, 3 bytes each.
std::vector<uint8_t> decode(const std::vector<uint8_t>& b, const bmp_form& f) {
  int sh[3], bits[3];
  for (int i = 0; i < 3; i++) mask_shape(f.masks[i], &sh[i], &bits[i]);
  const int w = f.w, h = f.h, bpp = f.bpp;
  std::vector<uint8_t> rgb((size_t)w * h * 3);
  for (int y = 0; y < h; y++) {
    const uint8_t* src = b.data() + f.offset + f.stride * (size_t)(f.top_down ? y : h - 1 - y);
    uint8_t* dst = rgb.data() + (size_t)y * w * 3;
    for (int x = 0; x < w; x++, dst += 3) {
      if (bpp <= 8) {
        int per = 8 / bpp;
        unsigned idx = (src[x / per] >> ((per - 1 - x % per) * bpp)) & ((1u << bpp) - 1);
        if (idx * 3 + 2 >= f.pal.size()) idx = 0;
        memcpy(dst, &f.pal[idx * 3], 3);
      } else if (bpp == 24) {
        dst[0] = src[3 * x + 2], dst[1] = src[3 * x + 1], dst[2] = src[3 * x];
      } else {
        uint32_t v = bpp == 16 ? (uint32_t)(src[2 * x] | src[2 * x + 1] << 8)
                               : (uint32_t)(src[4 * x] | src[4 * x + 1] << 8 | src[4 * x + 2] << 16 |
                                            (uint32_t)src[4 * x + 3] << 24);
        for (int i = 0; i < 3; i++) dst[i] = scale((v & f.masks[i]) >> sh[i], bits[i]);
      }
    }
  }
  return rgb;
}

}  // namespace

bool bmp_png::convert(const std::string& bmp, const std::string& png, std::string* why) {
  auto fail = [&](const char* text) {
    if (why) *why = text;
    return false;
  };
  std::vector<uint8_t> b;
  if (!read_all(bmp, &b)) return fail("cannot open");
  bmp_form f;
  if (const char* no = read_header(b, &f)) return fail(no);
  if (const char* no = read_colours(b, &f)) return fail(no);
  if (!write_png(png, f.w, f.h, decode(b, f))) return fail("cannot write the PNG file");
  return true;
}
