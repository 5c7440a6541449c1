// The main program of the tests. Without arguments it runs each test in a process of its own, so
// that a crash or a hang fails only that test. With GoogleTest's arguments it runs all tests in one
// process.

#include "suite.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <random>
#include <stdexcept>
#include <thread>

#include "this_device.h"

namespace {

constexpr unsigned kTimeLimit_s = 60;

struct Environment {
  const TemporaryDirectory directory;
  const Certificate authority = MakeAuthority("Trusted");
};
const Environment* environment = nullptr;

class FailurePrinter : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& part) override {
    if (part.failed()) std::cout << part << std::flush;
  }
};

bool RunInChild(const std::string& test) {
  ForkedProcess child([&test] {
    alarm(kTimeLimit_s);
    testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new FailurePrinter);
    GTEST_FLAG_SET(filter, test);
    return RUN_ALL_TESTS();
  });
  const int exit_code = child.Wait();
  if (exit_code < 0) std::cout << "killed by signal: " << strsignal(-exit_code) << '\n';
  std::cout << (exit_code == 0 ? "passed  " : "FAILED  ") << test << std::endl;
  return exit_code == 0;
}

int RunIsolated() {
  int passed = 0;
  const testing::UnitTest& all = *testing::UnitTest::GetInstance();
  for (int i = 0; i < all.total_test_suite_count(); ++i) {
    const testing::TestSuite& suite = *all.GetTestSuite(i);
    for (int k = 0; k < suite.total_test_count(); ++k) {
      passed += RunInChild(std::string(suite.name()) + '.' + suite.GetTestInfo(k)->name());
    }
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

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteAll(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

void WriteScript(const std::string& path, const std::string& script) {
  WriteAll(path, std::string("#!") + this_device::kShell + "\n" + script);
  fs::permissions(path, fs::perms::owner_all);
}

std::string UniqueBytes(std::size_t size) {
  std::mt19937_64 random(20240229);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

bool WaitFor(const std::function<bool()>& condition) {
  for (const Stopwatch time; time.seconds() < 5;) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return condition();
}

TemporaryDirectory::TemporaryDirectory()
    : path_(std::string(this_device::kDirectory) + "/contract-XXXXXX") {
  if (!mkdtemp(path_.data())) {
    throw std::runtime_error("cannot create " + path_ + " (" + std::strerror(errno) +
                             "); run this program on the device, on a PC with quire-device");
  }
}

std::set<std::string> TemporaryDirectory::Names() const {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(path_)) names.insert(entry.path().filename());
  return names;
}

ForkedProcess::ForkedProcess(const std::function<int()>& body) : pid_(fork()) {
  if (pid_ == 0) _exit(body());
}

int ForkedProcess::Wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int main(int argc, char** argv) try {
  const bool run_isolated = argc == 1;
  testing::InitGoogleTest(&argc, argv);
  const Environment environment_of_run;
  environment = &environment_of_run;
  const std::string ca_file = environment->directory / "ca.pem";
  environment->authority.Save(ca_file);
  this_device::Prepare(ca_file, LogPath());
  return run_isolated ? RunIsolated() : RUN_ALL_TESTS();
} catch (const std::exception& error) {
  std::cerr << program_invocation_short_name << ": " << error.what() << '\n';
  return 2;
}
