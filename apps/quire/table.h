#ifndef QUIRE_APP_TABLE_H_
#define QUIRE_APP_TABLE_H_

#include <string>
#include <utility>
#include <vector>

#include "screen.h"

namespace app {

struct Column {
  std::string heading;
  int min_width = 0;  ///< in terminal columns, down to which it may be truncated; 0: never
  bool is_right_aligned = false;
};

struct Cell {
  // NOLINTBEGIN(google-explicit-constructor): a string is a cell
  Cell(std::string value = {}, Style shown_style = Style::kPlain);
  Cell(const char* value) : Cell(std::string(value)) {}
  // NOLINTEND(google-explicit-constructor)

  std::string text;  ///< made printable
  Style style;
};

/// Rows under headings for the standard output that fit a width: columns that may be truncated are;
/// if that is not enough, each row becomes a card, a few lines that begin with its first cell that
/// may be truncated.
class Table {
 public:
  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /// Adds a row with one cell for each column.
  void AddRow(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }

  /// Prints the table on the standard output.
  void Print() const;

  /// \param width  columns to fit into; 0: no limit, and a very wide cell widens no other row.
  std::string Render(int width) const;

 private:
  std::string RenderRows(const std::vector<int>& widths, bool truncates) const;
  std::string RenderCards(int width) const;

  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

/// Names and values for the standard output, one pair a line, without those whose value is empty.
/// `width` as in Table.
std::string RenderDetails(int width, const std::vector<std::pair<std::string, Cell>>& details);

}  // namespace app

#endif  // QUIRE_APP_TABLE_H_
