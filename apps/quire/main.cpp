#include <iostream>
#include <string>
#include <vector>

#include "command_error.h"
#include "commands.h"
#include "device_log.h"
#include "text.h"

int main(int argc, char** argv) {
  app::UseUtf8();
  app::KeepLogOffTheScreen();
  app::Session session(app::Session::Mode::kSingleCommand);
  const int exit_code = app::RunCommand({argv + 1, argv + argc}, session);
  if (!std::cout.flush()) {
    app::PrintError("The output could not be written. See whether the disk is full.");
    return app::kDevice;
  }
  return exit_code;
}
