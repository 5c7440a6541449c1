#ifndef QUIRE_APP_SCREEN_H_
#define QUIRE_APP_SCREEN_H_

#include <chrono>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace app {

enum class Style { kPlain, kBold, kDim, kSuccess, kError };

/// One of the process's two output streams. Not thread-safe.
class Screen {
 public:
  static const Screen& Out();
  static const Screen& Err();

  /// Whether styles and lines that change are shown: on a terminal, unless NO_COLOR is set or it
  /// is a dumb one.
  bool IsInteractive() const { return interactive_; }

  /// Whether progress is shown as plain lines: on a terminal that is not interactive.
  bool IsPlainTerminal() const { return terminal_ && !interactive_; }

  /// Columns to fit into: $COLUMNS, else the terminal's width, else 80.
  int Width() const;

  /// Columns to which tables are cut: Width on a terminal or with $COLUMNS, elsewhere 0: no limit.
  int WidthLimit() const;

  /// A printable string with the escape sequences of a style, if the stream shows styles.
  std::string ApplyStyle(Style style, const std::string& text) const;

  /// Prints a line, made printable; on a terminal it is wrapped, but not within a command such as
  /// "quire cart".
  void PrintLine(std::string_view text, Style style = Style::kPlain) const;

  /// Prints a path on a line of its own that is not wrapped, so that it can be copied.
  void PrintPath(std::string_view path) const;

  /// Writes a string that is printable already.
  void Write(std::string_view text) const;

  /// Writes what is buffered.
  /// \return false when some output could not be written.
  [[nodiscard]] bool Flush() const;

  /// Replaces the cursor's line on an interactive stream; does nothing on another.
  void ReplaceLine(std::string_view text) const;

 private:
  Screen(int descriptor, std::ostream& stream);

  int descriptor_;
  std::ostream& stream_;
  bool terminal_;
  bool interactive_;
};

/// Prints an error on the standard error.
void PrintError(const std::string& text);

/// How often progress is shown on a terminal that is not interactive.
inline constexpr std::chrono::seconds kPlainProgressPeriod{3};

/// Shows on a terminal what the program waits for: from 300 ms after construction until
/// destruction, or as a plain line every few seconds. Its thread only prints.
class Spinner {
 public:
  explicit Spinner(const char* text);

  /// Shows a detail after the text from now on, such as "page 12".
  void SetDetail(const std::string& detail) const;

 private:
  struct Detail;
  std::shared_ptr<Detail> detail_;
  std::jthread thread_;
};

/// A line of `columns` columns with a title and a bar that is filled to `percent` (0 to 100).
std::string ProgressLine(std::string_view title, int percent, int columns);

}  // namespace app

#endif  // QUIRE_APP_SCREEN_H_
