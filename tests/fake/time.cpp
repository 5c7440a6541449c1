// Replaces functions of the C library, in the shipped library too: the test sets the time, and
// sleeps are recorded instead of slept. A program that sleeps without end is aborted.

#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>

#include "fake_device.h"

extern "C" {

__attribute__((visibility("default"))) int usleep(useconds_t microseconds) {
  static int sleeps = 0;
  if (++sleeps > 1000) std::abort();
  fake::device.Record("sleep " + std::to_string(microseconds));
  return 0;
}

__attribute__((visibility("default"))) int gettimeofday(struct timeval* __restrict now,
                                                        void* __restrict /*zone*/) noexcept {
  now->tv_sec = fake::device.Now();
  now->tv_usec = 999999;
  return 0;
}
}
