#ifndef QUIRE_APP_SCREEN_H_
#define QUIRE_APP_SCREEN_H_

#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace app {

enum class Style { kPlain, kBold, kDim, kGood, kBad };

/// One of the process's two output streams, as a person sees it.
class Screen {
 public:
  static const Screen& Out();
  static const Screen& Err();

  /// Whether colours and moving lines are welcome: a terminal, and NO_COLOR not set.
  bool IsInteractive() const { return interactive_; }

  /// Columns to fit into: what COLUMNS says, else the terminal, else 80.
  int Width() const;

  /// A printable text in a style, where the stream shows styles.
  std::string ApplyStyle(Style style, const std::string& text) const;

  /// Any text as a line; on a terminal as lines that fit, with commands for the user such as
  /// "quire cart" left whole. What a server sent becomes harmless here.
  void PrintLine(std::string_view text, Style style = Style::kPlain) const;

  /// A path on a line of its own that is not broken, so that it can be copied.
  void PrintPath(std::string_view path) const;

  /// Text that is fit to print already.
  void Write(std::string_view text) const;

  /// Replaces the line that the cursor stands in; only on a live stream.
  void ReplaceLine(std::string_view text) const;

 private:
  Screen(int descriptor, std::ostream& stream);

  int descriptor_;
  std::ostream& stream_;
  bool terminal_;
  bool interactive_;
};

/// While it lives, a line on the error stream moves and says what is waited for. It appears only
/// after a moment, and only on a live terminal. Its thread does nothing but print.
class Spinner {
 public:
  explicit Spinner(std::string text);
  ~Spinner();
  Spinner(const Spinner&) = delete;
  Spinner& operator=(const Spinner&) = delete;

 private:
  void Spin(const std::string& text);

  std::mutex mutex_;
  std::condition_variable ended_;
  bool end_ = false;
  std::thread thread_;
};

/// A line of `columns` columns with a title and a bar that is filled to `percent` (0 to 100).
std::string ProgressLine(std::string_view title, int percent, int columns);

}  // namespace app

#endif  // QUIRE_APP_SCREEN_H_
