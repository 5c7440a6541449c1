#include <fstream>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

TEST(FakeLibraries, AreLoadedUnderShippedLibrary) {
  std::ifstream maps("/proc/self/maps");
  std::set<std::string> files;
  for (std::string line; std::getline(maps, line);) {
    const std::size_t path = line.find('/');
    if (path != std::string::npos) files.insert(line.substr(path));
  }
  const std::string directory = QUIRE_LIBRARY_DIRECTORY;
  for (const char* name : {"libtabulet.so", "libsaltmoor_utilities.so", "libsaltmoor_opds.so"}) {
    EXPECT_EQ(files.count(directory + "/fake/" + name), 1u) << name;
    EXPECT_EQ(files.count(directory + "/" + name), 0u) << name;
  }
  EXPECT_EQ(files.count(directory + "/libquire_store_lib.so"), 1u);
}

}  // namespace
}  // namespace saltmoor::quire
