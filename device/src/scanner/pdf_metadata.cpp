#include "pdf_metadata.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <sstream>
#include <string>
#include <string_view>

#include "../util.h"

namespace scanner {
namespace {

constexpr rlim_t kMaxMemory_bytes = 512 << 20;
constexpr rlim_t kMaxCpu_s = 2;
constexpr std::chrono::seconds kTimeout{10};
constexpr std::size_t kMaxOutput_bytes = 64 << 10;

void Limit(int resource, rlim_t most) {
  const rlimit limit = {most, most};
  setrlimit(static_cast<__rlimit_resource>(resource), &limit);
}

/// Becomes pdfinfo in the child process.
[[noreturn]] void ExecPdfinfo(const std::string& file, int output) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  Limit(RLIMIT_AS, kMaxMemory_bytes);
  Limit(RLIMIT_CPU, kMaxCpu_s);
  Limit(RLIMIT_FSIZE, 0);
  Limit(RLIMIT_CORE, 0);
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(null, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(null, STDERR_FILENO);
  Exec({"pdfinfo", "-enc", "UTF-8", file});
  _exit(1);
}

/// Reads a pipe up to its end, the timeout or kMaxOutput_bytes.
std::string ReadOutput(int pipe) {
  using std::chrono::steady_clock;
  const auto deadline = steady_clock::now() + kTimeout;
  std::string output;
  std::array<char, 4096> buffer{};
  while (output.size() < kMaxOutput_bytes) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
    pollfd polled = {pipe, POLLIN, 0};
    const int ready = left.count() > 0 ? poll(&polled, 1, static_cast<int>(left.count())) : 0;
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) break;
    const ssize_t count = read(pipe, buffer.data(), buffer.size());
    if (count <= 0) break;
    output.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return output;
}

/// What pdfinfo prints about the file.
std::string RunPdfinfo(const std::string& file) {
  std::array<int, 2> pipe{};
  if (pipe2(pipe.data(), O_CLOEXEC) != 0) return {};
  const pid_t child = fork();
  if (child == 0) ExecPdfinfo(file, pipe[1]);
  close(pipe[1]);
  std::string output;
  if (child > 0) {
    output = ReadOutput(pipe[0]);
    kill(child, SIGKILL);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  close(pipe[0]);
  return output;
}

}  // namespace

BookMetadata ReadPdfMetadata(const std::filesystem::path& file) {
  constexpr std::string_view kTitle = "Title:";
  constexpr std::string_view kAuthor = "Author:";
  BookMetadata metadata;
  std::istringstream lines(RunPdfinfo(std::filesystem::absolute(file).string()));
  for (std::string line; std::getline(lines, line);) {
    const std::string_view text = line;
    if (text.starts_with(kTitle)) metadata.SetTitle(text.substr(kTitle.size()));
    if (text.starts_with(kAuthor) && metadata.author.empty()) {
      metadata.AddAuthor(text.substr(kAuthor.size()));
    }
  }
  return metadata;
}

}  // namespace scanner
