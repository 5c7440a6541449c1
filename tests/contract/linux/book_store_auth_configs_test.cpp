#include "saltmoor/utilities/book_store_auth_configs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

TEST(BookStoreAuthConfigs, LogOutForgetsTheRecordAndNothingElse) {
  const std::filesystem::path folder = "/mnt/ext1/system/config";
  std::ofstream(folder / "bookstore_auth.cfg") << "shop=authorised\n";
  std::ofstream(folder / "quire_config.cfg") << "user_name=anna\n";
  saltmoor::utilities::BookStoreAuthConfigs::logOut();
  saltmoor::utilities::BookStoreAuthConfigs::logOut();
  EXPECT_FALSE(std::filesystem::exists(folder / "bookstore_auth.cfg"));
  EXPECT_TRUE(std::filesystem::exists(folder / "quire_config.cfg"));
}

}  // namespace
