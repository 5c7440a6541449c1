#include "program.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace app {
namespace {

constexpr rlimit kMaxMemory_bytes = {1 << 30, 1 << 30};
constexpr rlimit kMaxCpu_s = {5, 5};

struct Close {
  void operator()(FILE* file) const { std::fclose(file); }
};

/// A file without a name that contains `text`; null on failure.
std::unique_ptr<FILE, Close> CreateInput(const std::string& text) {
  std::unique_ptr<FILE, Close> file(std::tmpfile());
  const bool is_written = file &&
                          std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() &&
                          std::fflush(file.get()) == 0;
  if (is_written) std::rewind(file.get());
  return is_written ? std::move(file) : nullptr;
}

/// Becomes the program in the child process, where another thread may have held any lock.
[[noreturn]] void ExecProgram(char* const* arguments, int input, int output, bool is_limited) {
  if (is_limited) {
    setrlimit(RLIMIT_AS, &kMaxMemory_bytes);
    setrlimit(RLIMIT_CPU, &kMaxCpu_s);
  }
  if (input >= 0) dup2(input, STDIN_FILENO);
  if (output >= 0) {
    dup2(output, STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
  }
  execvp(arguments[0], arguments);
  _exit(kProgramNotFound);
}

void ReadToEnd(int fd, std::string* text) {
  std::array<char, 4096> buffer{};
  while (true) {
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    text->append(buffer.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

int RunProgram(const std::vector<std::string>& command, const ProgramOptions& options) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const auto input = options.input.empty() ? nullptr : CreateInput(options.input);
  std::array<int, 2> pipe = {-1, -1};
  if ((!input && !options.input.empty()) ||
      (options.output != nullptr && pipe2(pipe.data(), O_CLOEXEC) != 0)) {
    return kProgramNotFound;
  }
  const pid_t child = fork();
  if (child == 0)
    ExecProgram(arguments.data(), input ? fileno(input.get()) : -1, pipe[1], options.is_limited);
  if (options.output != nullptr) {
    close(pipe[1]);
    if (child > 0) ReadToEnd(pipe[0], options.output);
    close(pipe[0]);
  }
  int status = 0;
  if (child < 0) return kProgramNotFound;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return kProgramNotFound;
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace app
