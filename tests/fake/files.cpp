// Replaces functions of the C library, in the shipped library too: the test sees the calls that
// read and write files, and lets them fail.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "fake_device.h"

namespace {

template <typename Result, typename... Arguments>
Result Call(const char* name, Arguments... arguments) {
  const int error = fake::device.on_file_call ? fake::device.on_file_call(name) : 0;
  if (error == 0) {
    return reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, name))(arguments...);
  }
  errno = error;
  return -1;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return Call<int>("open", path, flags, mode);
}

__attribute__((visibility("default"))) ssize_t read(int fd, void* bytes, size_t size) {
  return Call<ssize_t>("read", fd, bytes, size);
}

__attribute__((visibility("default"))) ssize_t write(int fd, const void* bytes, size_t size) {
  return Call<ssize_t>("write", fd, bytes, size);
}

__attribute__((visibility("default"))) int fsync(int fd) {
  return Call<int>("fsync", fd);
}

__attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
  return Call<int>("rename", from, to);
}
}
