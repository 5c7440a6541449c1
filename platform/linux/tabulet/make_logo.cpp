/// \file
/// Writes the logo of the payment browser, three folded sheets, as a BMP file: `make_logo PATH`.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

constexpr int kSize = 96;  // pixels, width and height
constexpr int kSamples = 4;

struct Colour {
  double red, green, blue;
};

constexpr Colour kPaper{250, 248, 242};
constexpr Colour kInk{31, 58, 95};

/// Whether a point is on one of the sheets, which are folded in the middle and nested.
bool IsOnSheet(double x, double y) {
  const double from_fold = std::abs(x - kSize / 2.0);
  if (from_fold > 38) return false;
  for (const double fold_y : {44.0, 59.0, 74.0}) {
    const double sheet_y = fold_y - 9 * std::sqrt(from_fold / 6);
    if (std::abs(y - sheet_y) < 3.2) return true;
  }
  return false;
}

Colour PixelAt(int column, int row) {
  int hits = 0;
  for (int down = 0; down < kSamples; ++down) {
    for (int across = 0; across < kSamples; ++across) {
      hits += IsOnSheet(column + (across + 0.5) / kSamples, row + (down + 0.5) / kSamples);
    }
  }
  const double ink = static_cast<double>(hits) / (kSamples * kSamples);
  const auto mix = [ink](double paper, double line) { return paper + (line - paper) * ink; };
  return {mix(kPaper.red, kInk.red), mix(kPaper.green, kInk.green), mix(kPaper.blue, kInk.blue)};
}

void AppendNumber(std::string* bytes, std::uint32_t number, int size) {
  for (; size > 0; --size, number >>= 8) *bytes += static_cast<char>(number & 0xff);
}

std::string DrawBmp() {
  constexpr std::uint32_t kHeader_bytes = 54;
  constexpr std::uint32_t kPixel_bytes = kSize * kSize * 3;
  static_assert(kSize * 3 % 4 == 0, "a row is a multiple of four bytes");

  std::string bmp = "BM";
  AppendNumber(&bmp, kHeader_bytes + kPixel_bytes, 4);
  AppendNumber(&bmp, 0, 4);
  AppendNumber(&bmp, kHeader_bytes, 4);
  AppendNumber(&bmp, 40, 4);  // size of the second header
  AppendNumber(&bmp, kSize, 4);
  AppendNumber(&bmp, kSize, 4);
  AppendNumber(&bmp, 1, 2);   // planes
  AppendNumber(&bmp, 24, 2);  // bits per pixel
  AppendNumber(&bmp, 0, 4);   // no compression
  AppendNumber(&bmp, kPixel_bytes, 4);
  AppendNumber(&bmp, 3780, 4);  // pixels per metre, both axes
  AppendNumber(&bmp, 3780, 4);
  AppendNumber(&bmp, 0, 4);
  AppendNumber(&bmp, 0, 4);
  for (int row = kSize - 1; row >= 0; --row) {
    for (int column = 0; column < kSize; ++column) {
      const Colour pixel = PixelAt(column, row);
      for (const double part : {pixel.blue, pixel.green, pixel.red}) {
        AppendNumber(&bmp, static_cast<std::uint32_t>(std::lround(part)), 1);
      }
    }
  }
  return bmp;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: make_logo PATH\n", stderr);
    return 2;
  }
  std::ofstream file(argv[1], std::ios::binary);
  file << DrawBmp() << std::flush;
  if (!file) std::fprintf(stderr, "make_logo: cannot write %s\n", argv[1]);
  return file ? 0 : 1;
}
