// scan_request DIR: sends the scanner the store library's request and prints the answer.

#include <unistd.h>

#include <cstdio>
#include <string>

#include "tabulet.h"

int main(int, char** argv) {
  const std::string data = std::string("-scan:") + argv[1];
  int task = -1;
  for (int attempts = 0; task == -1 && attempts < 2000; ++attempts) {
    task = FindTaskByAppName("/ebrmain/bin/scanner.app");
    if (task == -1) usleep(5'000);  // the scanner starts together with the program
  }
  const int answer = SendRequestTo(task, 84, data.data(), static_cast<int>(data.size()), 0, 2000);
  std::printf("answer %d\n", answer);
  return 0;
}
