#ifndef TESTS_APP_QUIRE_ON_DEVICE_H_
#define TESTS_APP_QUIRE_ON_DEVICE_H_

#include <gtest/gtest.h>

#include <string>

#include "support/development_shop.h"
#include "support/files.h"
#include "support/process.h"

namespace tests {

/// The application on a device and with a development shop of the test's own.
class QuireOnDevice : public testing::Test {
 protected:
  explicit QuireOnDevice(const Command& shop_options = {});

  /// Runs quire with `input` as its standard input. The test fails when it ends with another exit
  /// code, or when a failure is not reported in one line.
  ProcessResult Run(int exit_code, const Command& arguments, const std::string& input = "");

  /// The JSON that a command prints which has to succeed.
  Json RunJson(const Command& arguments);

  /// The titles that "catalogue" lists with these arguments.
  Json ListTitles(const Command& arguments = {"--all"}) {
    return RunJson(Command{"catalogue"} + arguments)["titles"];
  }

  /// Starts quire on a terminal of that width.
  Process StartOnTerminal(int columns, const Command& arguments) const;

  void LogIn() { Run(0, {"login", "anna@quire.example"}, "secret\n"); }

  /// EANs that the shop sells and the user has not bought.
  std::vector<std::string> FindUnboughtEans();

  /// The EAN of a bought EPUB.
  std::string FindBoughtEpub();

  /// The host's path of a path on the device's storage.
  std::string HostPath(const std::string& device_path) const;

  DevelopmentShop shop_;
  const TemporaryDirectory files_;
  const std::string device_ = files_ / "device";
  Environment environment_;
  Command launcher_options_{"--no-scanner"};

 private:
  Command OnDevice(const Command& arguments) const;
};

/// Fails the test unless `text` contains `part`.
void ExpectContains(const std::string& text, const std::string& part);
void ExpectLacks(const std::string& text, const std::string& part);

}  // namespace tests

#endif  // TESTS_APP_QUIRE_ON_DEVICE_H_
