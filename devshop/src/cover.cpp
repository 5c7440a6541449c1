#include "cover.h"

#include <png.h>

#include <array>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <vector>

namespace devshop {
namespace {

constexpr unsigned kWidth = 150, kHeight = 200;
constexpr unsigned kStripeHeight = 25;
constexpr std::size_t kColours = kHeight / kStripeHeight;

}  // namespace

std::string DrawCover(const std::string& ean) {
  std::seed_seq seed(ean.begin(), ean.end());
  std::mt19937 random(seed);
  std::array<png_byte, 3 * kColours> colours{};
  for (png_byte& part : colours) part = static_cast<png_byte>(random() % 192);
  std::vector<png_byte> pixels(std::size_t{kWidth} * kHeight);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    pixels[i] = static_cast<png_byte>(i / kWidth / kStripeHeight);
  }
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = kWidth;
  image.height = kHeight;
  image.format = PNG_FORMAT_RGB_COLORMAP;
  image.colormap_entries = kColours;
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  std::string png(size, '\0');
  const bool written = png_image_write_to_memory(&image, png.data(), &size, 0, pixels.data(), 0,
                                                 colours.data()) != 0;
  png_image_free(&image);
  if (!written) throw std::runtime_error(std::string("Cannot draw a cover: ") + image.message);
  png.resize(size);
  return png;
}

}  // namespace devshop
