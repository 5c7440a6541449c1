// The main program of the tests. Without arguments it runs each test in a process of its own, so
// that a crash or a hang fails only that test. With GoogleTest's arguments it runs all tests in one
// process.

#include "suite.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <iostream>
#include <regex>
#include <string_view>

#include "forked_process.h"
#include "temporary_directory.h"
#include "this_device.h"

namespace {

constexpr unsigned kTimeLimit_s = 60;

struct Environment {
  const TemporaryDirectory directory;
  const Certificate authority = MakeAuthority("Trusted");
};
const Environment* environment = nullptr;

std::string FullName(const testing::TestInfo& test) {
  return std::string(test.test_suite_name()) + '.' + test.name();
}

void PrintResult(const testing::TestInfo& test, const std::string& failures) {
  std::cout << (failures.empty() ? "passed  " : "FAILED  ") << FullName(test) << '\n'
            << failures << std::flush;
}

class ResultPrinter : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& part) override {
    if (!part.failed()) return;
    const std::string_view file = part.file_name() ? part.file_name() : "unknown place";
    failures_ += "        " + std::string(file.substr(file.rfind('/') + 1)) + ':' +
                 std::to_string(part.line_number()) + ": " +
                 std::regex_replace(part.message(), std::regex("\n"), "\n            ") + '\n';
  }
  void OnTestEnd(const testing::TestInfo& test) override {
    PrintResult(test, failures_);
    failures_.clear();
  }
  std::string failures_;
};

bool RunInChild(const testing::TestInfo& test) {
  ForkedProcess child([&test] {
    alarm(kTimeLimit_s);
    GTEST_FLAG_SET(filter, FullName(test));
    return RUN_ALL_TESTS();
  });
  const int exit_code = child.Wait();
  if (exit_code < 0) {
    PrintResult(test, "        killed by signal " + std::to_string(-exit_code) + ", " +
                          strsignal(-exit_code) + '\n');
  }
  return exit_code == 0;
}

int RunIsolated() {
  int passed = 0;
  const testing::UnitTest& all = *testing::UnitTest::GetInstance();
  for (int i = 0; i < all.total_test_suite_count(); ++i) {
    const testing::TestSuite& suite = *all.GetTestSuite(i);
    for (int k = 0; k < suite.total_test_count(); ++k) passed += RunInChild(*suite.GetTestInfo(k));
  }
  const int failed = all.total_test_count() - passed;
  std::cout << passed << " tests passed, " << failed << " failed\n";
  return failed == 0 ? 0 : 1;
}

}  // namespace

const Certificate& TestAuthority() {
  return environment->authority;
}

Certificate TrustedCertificate() {
  return MakeCertificate(TestAuthority(), "IP:127.0.0.1");
}

std::string LogPath() {
  return environment->directory / "log";
}

int main(int argc, char** argv) {
  const bool run_isolated = argc == 1;
  testing::InitGoogleTest(&argc, argv);
  const Environment environment_of_run;
  environment = &environment_of_run;
  const std::string ca_file = environment->directory / "ca.pem";
  environment->authority.Save(ca_file);
  this_device::Prepare(ca_file, LogPath());

  testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
  delete listeners.Release(listeners.default_result_printer());
  listeners.Append(new ResultPrinter);
  return run_isolated ? RunIsolated() : RUN_ALL_TESTS();
}
