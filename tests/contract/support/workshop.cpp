#include "tests/contract/support/workshop.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace testing_support {
namespace {

std::string MakeFolder() {
  std::string path = (std::filesystem::temp_directory_path() / "contract-XXXXXX").string();
  if (!mkdtemp(path.data())) throw std::runtime_error("no temporary folder");
  return path;
}

}  // namespace

/// Sets the platform's settings before anything reads them, and clears up at the end.
class WorkshopEnvironment : public testing::Environment {
 public:
  void SetUp() override { Workshop::Instance(); }
  void TearDown() override { std::filesystem::remove_all(Workshop::Instance().folder()); }
};

namespace {
const auto* const environment = testing::AddGlobalTestEnvironment(new WorkshopEnvironment);
}

Workshop::Workshop() : folder_(MakeFolder()), authority_(MakeAuthority("Trusted")) {
  WriteFile(folder_ + "/ca.pem", authority_.Pem());
  setenv("TABULET_CA_FILE", (folder_ + "/ca.pem").c_str(), 1);
  setenv("TABULET_LOG", (folder_ + "/log").c_str(), 1);
}

const Workshop& Workshop::Instance() {
  static const Workshop workshop;
  return workshop;
}

std::string Workshop::Log() const {
  return ReadFile(folder_ + "/log");
}

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

std::string UniqueBytes(std::size_t size) {
  std::mt19937_64 random(20240229);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

}  // namespace testing_support
