#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"
#include "platform/linux/tabulet/resources.h"
#include "tabulet.h"

struct ibitmap_s {
  std::string bmp;  ///< a BMP file, uncompressed, 24 or 32 bits per pixel
};

namespace {

using saltmoor::platform::CatchAtBoundary;
using saltmoor::platform::Error;
using saltmoor::platform::Log;
using saltmoor::platform::LogLevel;

std::uint32_t ReadLittleEndian(const std::string& bytes, std::size_t at, std::size_t size) {
  std::uint32_t number = 0;
  while (size-- > 0) number = number << 8 | static_cast<unsigned char>(bytes[at + size]);
  return number;
}

/// Whether a BMP file is complete and of the kind that all programs of the device can read.
bool IsValidBmp(const std::string& file) {
  constexpr std::size_t kHeader_bytes = 54;
  if (file.size() < kHeader_bytes || file.compare(0, 2, "BM") != 0) return false;
  const std::uint64_t pixels_at = ReadLittleEndian(file, 10, 4);
  const auto width = static_cast<std::int32_t>(ReadLittleEndian(file, 18, 4));
  const auto height =
      static_cast<std::int32_t>(ReadLittleEndian(file, 22, 4));  // negative: top-down
  const std::uint32_t bits = ReadLittleEndian(file, 28, 2);
  const std::uint32_t compression = ReadLittleEndian(file, 30, 4);
  if (width <= 0 || height == 0 || (bits != 24 && bits != 32) || compression != 0) return false;

  const std::uint64_t row_bytes = (static_cast<std::uint64_t>(width) * bits + 31) / 32 * 4;
  const auto rows = static_cast<std::uint64_t>(std::llabs(height));
  return pixels_at >= kHeader_bytes && pixels_at <= file.size() &&
         row_bytes <= (file.size() - pixels_at) / rows;
}

std::unique_ptr<ibitmap_s> Load(const std::string& name) {
  auto bitmap = std::make_unique<ibitmap_s>();
  Error error = saltmoor::platform::ReadResource("resources", name + ".bmp", &bitmap->bmp);
  if (!error && !IsValidBmp(bitmap->bmp)) {
    error = Error::InvalidData("the resource " + name +
                               ".bmp is not an uncompressed BMP of 24 or 32 bits");
  }
  if (!error) return bitmap;
  if (!error.IsSystem(ENOENT)) Log(LogLevel::kError, error.message());
  return nullptr;
}

/// Returns the resource of that name, read at its first use; null if there is none.
ibitmap_s* FindResource(const std::string& name) {
  static std::mutex& mutex = *new std::mutex;
  static auto& loaded = *new std::map<std::string, std::unique_ptr<ibitmap_s>>;
  const std::lock_guard<std::mutex> lock(mutex);
  const auto known = loaded.find(name);
  if (known != loaded.end()) return known->second.get();
  return loaded.emplace(name, Load(name)).first->second.get();
}

int Save(const char* path, const ibitmap_s& bitmap) {
  const Error error = saltmoor::platform::ReplaceFile(path, bitmap.bmp);
  if (error) Log(LogLevel::kError, error.message());
  return error ? 0 : 1;
}

}  // namespace

ibitmap_s* GetResource(const char* name, ibitmap_s* fallback) {
  return CatchAtBoundary(fallback, [=] {
    ibitmap_s* bitmap = name ? FindResource(name) : nullptr;
    return bitmap ? bitmap : fallback;
  });
}

int SaveBitmap(const char* path, const ibitmap_s* bitmap) {
  if (!path || !bitmap) return 0;
  return CatchAtBoundary(0, [=] { return Save(path, *bitmap); });
}
