#include "table.h"

#include <algorithm>
#include <numeric>

#include "text.h"

namespace app {
namespace {

constexpr int kGap = 2;

std::string Blanks(int count) {
  return std::string(static_cast<std::size_t>(std::max(count, 0)), ' ');
}

std::string Trimmed(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

/// Takes columns off the widest that may be cut until `widths` fit. False when they cannot.
bool Fit(std::vector<int>& widths, const std::vector<Column>& columns, int width) {
  const int gaps = kGap * (static_cast<int>(columns.size()) - 1);
  int excess = std::accumulate(widths.begin(), widths.end(), gaps) - width;
  while (excess > 0) {
    int widest = -1;
    for (int i = 0; i < static_cast<int>(columns.size()); ++i) {
      const int least = columns[i].least_columns;
      if (least == 0 || widths[i] <= least) continue;
      if (widest < 0 || widths[i] > widths[widest]) widest = i;
    }
    if (widest < 0) return false;
    --widths[widest];
    --excess;
  }
  return true;
}

}  // namespace

Cell::Cell(std::string value, Tone shown_in) : text(Printable(value)), tone(shown_in) {}

void Table::Print(const Screen& screen) const {
  screen.Write(Render(screen, screen.Width()));
}

std::string Table::Render(const Screen& screen, int width) const {
  std::vector<int> widths;
  for (const Column& column : columns_) widths.push_back(DisplayWidth(column.title));
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], DisplayWidth(row[i].text));
    }
  }
  if (width > 0 && !Fit(widths, columns_, width)) return RenderCards(screen, width);
  return RenderRows(screen, widths);
}

std::string Table::RenderRows(const Screen& screen, const std::vector<int>& widths) const {
  std::string out;
  const auto add_line = [&](auto&& cell_at) {
    std::string line;
    int pending = 0;  // blanks due before the next text: none end a line
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const Cell& cell = cell_at(i);
      const std::string text = Cut(cell.text, widths[i]);
      const int padding = widths[i] - DisplayWidth(text);
      if (columns_[i].right) pending += padding;
      if (!text.empty()) {
        line += Blanks(pending) + screen.Paint(cell.tone, text);
        pending = 0;
      }
      pending += (columns_[i].right ? 0 : padding) + kGap;
    }
    out += line + "\n";
  };
  std::vector<Cell> heads;
  for (const Column& column : columns_) heads.emplace_back(column.title, Tone::kStrong);
  add_line([&](std::size_t i) -> const Cell& { return heads[i]; });
  for (const auto& row : rows_) add_line([&](std::size_t i) -> const Cell& { return row[i]; });
  return out;
}

std::string Table::RenderCards(const Screen& screen, int width) const {
  const auto may_be_cut = [](const Column& column) { return column.least_columns > 0; };
  const auto found = std::find_if(columns_.begin(), columns_.end(), may_be_cut);
  const auto first_choice =
      found == columns_.end() ? 0 : static_cast<std::size_t>(found - columns_.begin());
  std::string out;
  for (const auto& row : rows_) {
    const std::size_t head = row[first_choice].text.empty() ? 0 : first_choice;
    for (const std::string& line : Wrap(row[head].text, width)) {
      out += screen.Paint(Tone::kStrong, line) + "\n";
    }
    std::string line;
    int used = 0;
    const auto end_line = [&] {
      if (used > 0) out += "  " + line + "\n";
      line.clear();
      used = 0;
    };
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (i == head) continue;
      for (const std::string& part : Wrap(row[i].text, width - 2)) {
        if (part.empty()) continue;
        const int columns = DisplayWidth(part);
        if (used > 0 && used + 3 + columns > width - 2) end_line();
        if (used > 0) line += screen.Paint(Tone::kQuiet, " · ");
        line += screen.Paint(row[i].tone, part);
        used += (used > 0 ? 3 : 0) + columns;
      }
    }
    end_line();
  }
  return out;
}

std::string RenderDetails(const Screen& screen, int width,
                          const std::vector<std::pair<std::string, Cell>>& details) {
  int names = 0;
  for (const auto& [name, cell] : details) {
    if (!cell.text.empty()) names = std::max(names, DisplayWidth(name));
  }
  std::string out;
  for (const auto& [name, cell] : details) {
    if (cell.text.empty()) continue;
    std::string head = screen.Paint(Tone::kQuiet, name) + Blanks(names - DisplayWidth(name) + kGap);
    const bool is_address = cell.text.find("://") != std::string::npos;  // kept whole, to be copied
    const int room = width > 0 && !is_address ? std::max(width - names - kGap, 1) : 0;
    for (const std::string& line : Wrap(cell.text, room)) {
      out += Trimmed(head + screen.Paint(cell.tone, line)) + "\n";
      head = Blanks(names + kGap);
    }
  }
  return out;
}

}  // namespace app
