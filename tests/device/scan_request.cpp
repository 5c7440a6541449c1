// scan_request DIR: sends the scanner the store library's request and prints the answer.

#include <cstdio>
#include <string>

#include "tabulet.h"

int main(int, char** argv) {
  const std::string data = std::string("-scan:") + argv[1];
  const int task = FindTaskByAppName("/ebrmain/bin/scanner.app");
  const int answer = SendRequestTo(task, 84, data.data(), static_cast<int>(data.size()), 0, 2000);
  std::printf("answer %d\n", answer);
  return 0;
}
