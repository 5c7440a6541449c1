#ifndef QUIRE_APP_DEVICE_BOOKS_H_
#define QUIRE_APP_DEVICE_BOOKS_H_

#include <cstdint>
#include <string>
#include <vector>

namespace app {

/// A book file on the device. A string is empty where its value is unknown.
struct DeviceBook {
  std::string path;
  std::string title;
  std::string author;
  std::string format;
  std::int64_t size_bytes = 0;
  std::int64_t modified_s = 0;  ///< since the epoch
  std::string ean;              ///< of a book that the application downloaded
  bool is_partial = false;      ///< a download that has not ended

  std::string FileName() const { return path.substr(path.rfind('/') + 1); }
  /// The title; the name of the file where it has none.
  std::string DisplayTitle() const { return title.empty() ? FileName() : title; }
};

// No function here asks the shop.

/// The books that the scanner has recorded, ordered by path. Throws CommandError.
std::vector<DeviceBook> ReadLibrary();

/// All book files on the device: those of ReadLibrary, whose order and numbers they keep; then
/// those that the application has downloaded and the scanner has not recorded, and downloads that
/// have not ended.
std::vector<DeviceBook> FindDeviceBooks();

/// The one book that `name` means, as ChooseTitle finds it; numbers are positions in `books`.
/// Throws CommandError when there is none, or more than one.
const DeviceBook& ChooseBook(const std::vector<DeviceBook>& books, const std::string& name);

/// Deletes the book's file and what a download has left of it, and has the scanner update its
/// records. Throws CommandError when the file cannot be deleted, or is being downloaded.
void DeleteBook(const DeviceBook& book);

}  // namespace app

#endif  // QUIRE_APP_DEVICE_BOOKS_H_
