/// \file
/// What all tests of the suite share: the device's trust and log, its files, processes and waiting.

#ifndef TESTS_CONTRACT_SUPPORT_SUITE_H_
#define TESTS_CONTRACT_SUPPORT_SUITE_H_

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "certificates.h"
#include "tabulet.h"

namespace fs = std::filesystem;

/// The certificate authority that the platform under test trusts.
const Certificate& TestAuthority();

/// A server certificate of that authority.
Certificate TrustedCertificate();

/// The path of the log that the platform under test was asked to write.
std::string LogPath();

/// The whole file; empty if it cannot be read.
std::string ReadAll(const std::string& path);
void WriteAll(const std::string& path, const std::string& content);
/// Writes a shell script that can be run as a program.
void WriteScript(const std::string& path, const std::string& script);

/// Random bytes without repetitions, so that a misplaced part is noticed.
std::string UniqueBytes(std::size_t size);

/// Waits until a condition holds, at most 5 s.
bool WaitFor(const std::function<bool()>& condition);

/// Measures the time since its creation.
class Stopwatch {
 public:
  double seconds() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }

 private:
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin_ = Clock::now();
};

/// A temporary directory on the device, removed by the destructor.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory() { fs::remove_all(path_); }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }
  std::set<std::string> Names() const;

 private:
  std::string path_;
};

/// A child process that runs `body` and exits with its result. The destructor kills it if Wait was
/// not called.
class ForkedProcess {
 public:
  explicit ForkedProcess(const std::function<int()>& body);
  ~ForkedProcess() {
    if (pid_ > 0) Kill();
  }
  ForkedProcess(const ForkedProcess&) = delete;
  ForkedProcess& operator=(const ForkedProcess&) = delete;

  void Signal(int number) const { kill(pid_, number); }
  int Kill() {
    Signal(SIGKILL);
    return Wait();
  }
  /// \return the exit code; minus the signal's number if a signal killed the child.
  int Wait();

 private:
  pid_t pid_;
};

/// An open configuration file, closed without saving.
class Config {
 public:
  explicit Config(const std::string& path) : config_(OpenConfig(path.c_str(), nullptr)) {}
  ~Config() { CloseConfigNoSave(config_); }
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;
  operator iconfig_s*() const { return config_; }

  std::string Read(const std::string& key) const {
    return ReadString(config_, key.c_str(), "absent");
  }
  std::string Secret(const std::string& key) const {
    return ReadSecret(config_, key.c_str(), "absent");
  }

 private:
  iconfig_s* const config_;
};

#endif  // TESTS_CONTRACT_SUPPORT_SUITE_H_
