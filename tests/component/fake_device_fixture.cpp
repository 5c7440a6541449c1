#include "fake_device_fixture.h"

#include <json/reader.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace saltmoor::quire {

std::string Repeat(const std::string& text, int times) {
  std::string all;
  while (times-- > 0) all += text;
  return all;
}

Lines ListFiles(const std::string& directory) {
  Lines names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Json::Value ParseJson(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
  return value;
}

std::string Describe(const ServerApi::Result& result) {
  const std::string message = result.message_.empty() ? "" : ": " + result.message_;
  return (result.code_ == ServerApi::kOk ? "ok" : "failed") + message;
}

std::string Describe(const Failure& failure) {
  static const char* const kNames[] = {
      "",        "config file",    "credentials",      "network",
      "status",  "unreadable",     "refused",          "no payment page",
      "browser", "payment failed", "no pending order", "download",
      "no book", "not saved"};
  std::string text = kNames[failure.kind];
  if (failure.transport_error != 0) text += " " + std::to_string(failure.transport_error);
  if (failure.http_status != 0) text += " " + std::to_string(failure.http_status);
  if (!failure.path.empty()) text += failure.path.substr(failure.path.rfind('/'));
  if (failure.system_error != 0) text += " " + std::to_string(failure.system_error);
  return failure.message.empty() ? text : text + ": " + failure.message;
}

Book MakeBook(const std::string& ean, const std::string& author, const std::string& title) {
  Book book;
  book.string_props[Book::kEan] = ean;
  book.string_props[Book::kAuthor] = author;
  book.string_props[Book::kTitle] = title;
  return book;
}

void DropPrivileges() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[2]{};
  ASSERT_EQ(syscall(SYS_capset, &header, none), 0);
}

void FakeDeviceFixture::SetUp() {
  ASSERT_TRUE(std::filesystem::is_directory(kConfigDirectory))
      << "This is not a device: run the test through CTest or quire-device.";
  ASSERT_FALSE(Exists(kCartPath) || Exists(kSwitchboardPath)) << "The device is not empty.";
}

void FakeDeviceFixture::TearDown() {
  device.on_file_call = nullptr;
  device.ReleaseDownloads();
  EXPECT_EQ(device.OpenHandles(), 0);
  EXPECT_EQ(device.Misuse(), Lines());
  for (const std::string& line : device.Calls({"log", "message"})) {
    EXPECT_EQ(line.find(kPassword), std::string::npos) << line;
    EXPECT_EQ(line.find(kSession), std::string::npos) << line;
  }
}

void FakeDeviceFixture::PrepareStart() {
  device.config["user_name"] = "anna";
  device.config["secret password"] = kPassword;
  device.AddResponse(kSwitchboardUrl, kSwitchboardResponse);
  device.AddResponse("/login", R"({"response":{"opdsSessionId":")" + kSession + R"("}})");
  device.AddResponse("/getUserEbook", R"({"response":[{"orderItemEAN":"B1"}]})");
}

void FakeDeviceFixture::SetPurchased(const std::string& books_json) {
  device.AddResponse("/getUserEbook", R"({"response":)" + books_json + "}");
  manager().LoadPurchased();
}

}  // namespace saltmoor::quire
