#ifndef QUIRE_APP_TABLE_H_
#define QUIRE_APP_TABLE_H_

#include <string>
#include <utility>
#include <vector>

#include "screen.h"

namespace app {

struct Column {
  std::string title;
  int min_columns = 0;  ///< how far it may be cut when room is short; 0: never
  bool right = false;   ///< set to the right, as numbers are
};

struct Cell {
  // NOLINTBEGIN(google-explicit-constructor): a plain text is a cell
  Cell(std::string value = {}, Style shown_as = Style::kPlain);
  Cell(const char* value) : Cell(std::string(value)) {}
  // NOLINTEND(google-explicit-constructor)

  std::string text;  ///< made printable
  Style style;
};

/// Rows under headings, made to fit: columns that may be cut are; where that is not enough, each
/// row becomes a few lines of its own, led by its first cell that may be cut.
class Table {
 public:
  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /// One cell for each column.
  void AddRow(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }

  void Print(const Screen& screen) const;

  /// \param width  columns to fit into; 0: no limit.
  std::string Render(const Screen& screen, int width) const;

 private:
  std::string RenderRows(const Screen& screen, const std::vector<int>& widths) const;
  std::string RenderCards(const Screen& screen, int width) const;

  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

/// Names and values, one pair a line; pairs without a value are left out. `width` as in Table.
std::string RenderDetails(const Screen& screen, int width,
                          const std::vector<std::pair<std::string, Cell>>& details);

}  // namespace app

#endif  // QUIRE_APP_TABLE_H_
