// scan_request FOLDER: asks the scanner on the device, as the store library does after a download,
// and prints the answer.

#include <cstdio>
#include <string>

#include "tabulet.h"

int main(int, char** argv) {
  const std::string text = std::string("-scan:") + argv[1];
  const int task = FindTaskByAppName("/ebrmain/bin/scanner.app");
  const int answer = SendRequestTo(task, 84, text.data(), static_cast<int>(text.size()), 0, 2000);
  std::printf("answer %d\n", answer);
  return 0;
}
