// The program around the tests. Called without arguments it tells promise by promise what the
// implementation keeps, each in a process of its own, so that one that crashes or hangs hides no
// other. With arguments of GoogleTest's it does what they say, in one process.

#include "suite.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <cstring>
#include <iostream>
#include <regex>
#include <string_view>

#include "child.h"
#include "device_folder.h"
#include "this_device.h"

namespace {

constexpr unsigned kTimeLimit_s = 60;

struct Surroundings {
  const DeviceFolder folder;
  const Certificate authority = MakeAuthority("Trusted");
};
const Surroundings* surroundings = nullptr;

/// "ConfigFiles.AMissingFileIsCreated" as people read it.
std::string InWords(const testing::TestInfo& test) {
  std::string words;
  for (const char c : std::string(test.test_suite_name()) + ":" + test.name()) {
    if (std::isupper(c) && !words.empty()) words += ' ';
    words += static_cast<char>(std::tolower(c));
  }
  return words;
}

void Tell(const testing::TestInfo& test, const std::string& faults) {
  std::cout << (faults.empty() ? "kept    " : "BROKEN  ") << InWords(test) << '\n'
            << faults << std::flush;
}

class Report : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& part) override {
    if (!part.failed()) return;
    const std::string_view file = part.file_name() ? part.file_name() : "unknown place";
    faults_ += "        " + std::string(file.substr(file.rfind('/') + 1)) + ':' +
               std::to_string(part.line_number()) + ": " +
               std::regex_replace(part.message(), std::regex("\n"), "\n            ") + '\n';
  }
  void OnTestEnd(const testing::TestInfo& test) override {
    Tell(test, faults_);
    faults_.clear();
  }
  std::string faults_;
};

bool IsKept(const testing::TestInfo& test) {
  Child child([&test] {
    alarm(kTimeLimit_s);
    GTEST_FLAG_SET(filter, std::string(test.test_suite_name()) + '.' + test.name());
    return RUN_ALL_TESTS();
  });
  const int exit_code = child.Wait();
  if (exit_code < 0) {
    Tell(test, "        ended by signal " + std::to_string(-exit_code) + ", " +
                   strsignal(-exit_code) + '\n');
  }
  return exit_code == 0;
}

int TellAll() {
  int kept = 0;
  const testing::UnitTest& all = *testing::UnitTest::GetInstance();
  for (int i = 0; i < all.total_test_suite_count(); ++i) {
    const testing::TestSuite& suite = *all.GetTestSuite(i);
    for (int k = 0; k < suite.total_test_count(); ++k) kept += IsKept(*suite.GetTestInfo(k));
  }
  const int broken = all.total_test_count() - kept;
  std::cout << kept << " promises kept, " << broken << " broken\n";
  return broken == 0 ? 0 : 1;
}

}  // namespace

const Certificate& TrustedAuthority() {
  return surroundings->authority;
}

Certificate GoodCertificate() {
  return MakeCertificate(TrustedAuthority(), "IP:127.0.0.1");
}

std::string LogFile() {
  return surroundings->folder / "log";
}

int main(int argc, char** argv) {
  const bool tell_all = argc == 1;
  testing::InitGoogleTest(&argc, argv);
  const Surroundings these;
  surroundings = &these;
  these.authority.Save(these.folder / "ca.pem");
  this_device::Prepare(these.folder / "ca.pem", LogFile());

  testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
  delete listeners.Release(listeners.default_result_printer());
  listeners.Append(new Report);
  return tell_all ? TellAll() : RUN_ALL_TESTS();
}
