#include "process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

constexpr long kTimeout_ms = 30'000;

long Now_ms() {
  using std::chrono::milliseconds;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<milliseconds>(now).count();
}

[[noreturn]] void Exec(const std::vector<std::string>& command, const Environment& environment) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_DFL);
  for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command)
    arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  _exit(125);
}

bool ReadFrom(int* fd, std::string* text) {
  char buffer[4096];
  const ssize_t count = read(*fd, buffer, sizeof buffer);
  if (count > 0) {
    text->append(buffer, static_cast<std::size_t>(count));
    return true;
  }
  close(*fd);
  *fd = -1;
  return false;
}

}  // namespace

Process::Process(const std::vector<std::string>& command, const Environment& environment, On on)
    : deadline_ms_(Now_ms() + kTimeout_ms) {
  if (on == On::kTerminal) {
    pid_ = forkpty(&out_, nullptr, nullptr, nullptr);
    if (pid_ == 0) Exec(command, environment);
    return;
  }
  int out[2];
  int err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    setsid();  // no terminal to ask on
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    Exec(command, environment);
  }
  close(out[1]);
  close(err[1]);
  out_ = out[0];
  err_ = err[0];
}

Process::~Process() {
  if (pid_ > 0) {
    kill(-pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  for (const int fd : {out_, err_}) {
    if (fd >= 0) close(fd);
  }
}

void Process::Kill(int signal) const {
  kill(pid_, signal);
}

void Process::Type(const std::string& text) const {
  ASSERT_EQ(write(out_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

/// \return false once there is nothing more to come, or the time is over.
bool Process::ReadMore() {
  pollfd polled[] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
  const long left_ms = deadline_ms_ - Now_ms();
  if ((out_ < 0 && err_ < 0) || left_ms <= 0) return false;
  if (poll(polled, 2, static_cast<int>(left_ms)) <= 0) return false;
  if (polled[0].revents != 0) ReadFrom(&out_, &finished_.out);
  if (polled[1].revents != 0) ReadFrom(&err_, &finished_.err);
  return true;
}

bool Process::WaitForOutput(const std::string& text) {
  while (finished_.out.find(text) == std::string::npos) {
    if (!ReadMore()) return false;
  }
  return true;
}

Finished Process::Wait() {
  while (ReadMore()) {
  }
  if (Now_ms() >= deadline_ms_) {
    ADD_FAILURE() << "still running after " << kTimeout_ms << " ms; its output so far:\n"
                  << finished_.out << finished_.err;
    kill(-pid_, SIGKILL);
  }
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  finished_.exit_code = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  return finished_;
}

Finished RunProgram(const std::vector<std::string>& command, const Environment& environment) {
  return Process(command, environment).Wait();
}

TemporaryFolder::TemporaryFolder() {
  path_ = (std::filesystem::temp_directory_path() / "quire dévice XXXXXX").string();
  if (!mkdtemp(path_.data())) ADD_FAILURE() << "cannot make " << path_;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void WriteFile(const std::string& path, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
