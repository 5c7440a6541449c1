#include <fstream>

#include "on_device.h"

namespace saltmoor::quire {
namespace {

TEST(Fakes, AreLoaded_AndTheShippedLibraryOverThem) {
  std::ifstream maps("/proc/self/maps");
  std::set<std::string> files;
  for (std::string line; std::getline(maps, line);) {
    const std::size_t path = line.find('/');
    if (path != std::string::npos) files.insert(line.substr(path));
  }
  const std::string folder = QUIRE_LIBRARY_FOLDER;
  for (const char* name : {"libtabulet.so", "libsaltmoor_utilities.so", "libsaltmoor_opds.so"}) {
    EXPECT_EQ(files.count(folder + "/fake/" + name), 1u) << name;
    EXPECT_EQ(files.count(folder + "/" + name), 0u) << name;
  }
  EXPECT_EQ(files.count(folder + "/libquire_store_lib.so"), 1u);
}

}  // namespace
}  // namespace saltmoor::quire
