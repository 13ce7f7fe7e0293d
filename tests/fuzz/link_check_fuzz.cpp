// The link checker on a fuzzed page beside a few targets that exist: a
// page, a picture, a folder and a bitmap (which the checker converts to
// PNG and deletes, so it is made again for every input).
#include <cstring>
#include <filesystem>
#include <string_view>

#include "engine/ut_htmst.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

// The smallest Windows bitmap: one white pixel of 24 bits.
const unsigned char one_pixel_bmp[] = {
    'B', 'M', 58, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,  // file header
    40, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 24, 0,  // info: 1 x 1, 24 bits
    0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,    // no compression
    0, 0, 0, 0, 0, 0, 0, 0,                            // no palette
    0xff, 0xff, 0xff, 0};                              // the pixel, padded
static_assert(sizeof one_pixel_bmp == 58, "header, info block and one padded row");

// A bitmap that exists is converted and deleted: a reference to one may
// only name a file of this folder.  A reference's value ends at a quote or
// ">" at the latest, so the text from the last of these before ".bmp" holds
// all of it: no path separator may stand there.
bool bitmap_elsewhere(std::string_view text) {
  for (size_t at = text.find(".bmp"); at != text.npos; at = text.find(".bmp", at + 1)) {
    size_t from = text.find_last_of("\">", at);
    from = from == text.npos ? 0 : from;
    if (text.substr(from, at - from).find_first_of("/\\") != text.npos) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  fuzz::write_file("there.htm", "<a name=\"top\"></a>\n");
  fuzz::write_file("pic.gif", "GIF89a");
  std::filesystem::create_directories("sub");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (bitmap_elsewhere(std::string_view(reinterpret_cast<const char*>(data), size))) return 0;
  fuzz::write_file("pic.bmp", one_pixel_bmp, sizeof one_pixel_bmp);
  fuzz::write_file("page.htm", data, size);
  ut_htmst ut;
  fuzz::accepted([&] {
    int broken = ut.check_file("page.htm");
    if (broken < 0) fuzz::finding("negative count of broken links");
  });
  return 0;
}
