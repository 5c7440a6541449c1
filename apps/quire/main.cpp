#include <cstdlib>
#include <string>
#include <vector>

#include "commands.h"
#include "screen.h"
#include "text.h"

int main(int argc, char** argv) {
  app::SetUtf8Locale();
  setenv("TABULET_LOG", "/tmp/quire.log", 0);  // the terminal is for the user
  app::Session session(app::Session::Mode::kSingleCommand);
  const app::ExitCode exit_code = app::RunCommand({argv + 1, argv + argc}, session);
  if (!app::Screen::Out().Flush()) {
    app::PrintError("The output could not be written. Check whether the disk is full.");
    return app::kDevice;
  }
  return exit_code;
}
