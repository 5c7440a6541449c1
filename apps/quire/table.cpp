#include "table.h"

#include <algorithm>
#include <boost/algorithm/string/trim.hpp>
#include <numeric>

#include "text.h"

namespace app {
namespace {

constexpr int kGap = 2;
constexpr int kMaxPadding = 200;  // columns to which cells are padded if they are not cut
constexpr int kMaxHeadLines = 3;  // of a card

std::string Spaces(int count) {
  return std::string(static_cast<std::size_t>(std::max(count, 0)), ' ');
}

/// Narrows the widest columns that may be truncated until `widths` fit. False when they cannot.
bool ShrinkToFit(std::vector<int>& widths, const std::vector<Column>& columns, int width) {
  const int gaps = kGap * (static_cast<int>(columns.size()) - 1);
  int excess = std::accumulate(widths.begin(), widths.end(), gaps) - width;
  while (excess > 0) {
    int widest = -1;
    for (int i = 0; i < static_cast<int>(columns.size()); ++i) {
      const int least = columns[i].min_width;
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

Cell::Cell(std::string value, Style shown_style) : text(MakePrintable(value)), style(shown_style) {}

void Table::Print() const {
  Screen::Out().Write(Render(Screen::Out().WidthLimit()));
}

std::string Table::Render(int width) const {
  std::vector<int> widths;
  for (const Column& column : columns_) widths.push_back(DisplayWidth(column.heading));
  const bool is_limited = width > 0;
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const int columns = DisplayWidth(row[i].text);
      if (is_limited || columns <= kMaxPadding) widths[i] = std::max(widths[i], columns);
    }
  }
  if (is_limited && !ShrinkToFit(widths, columns_, width)) return RenderCards(width);
  return RenderRows(widths, is_limited);
}

std::string Table::RenderRows(const std::vector<int>& widths, bool truncates) const {
  std::string out;
  const auto add_line = [&](const std::vector<Cell>& cells) {
    std::string line;
    int pending = 0;  // spaces before the next text, so that none end a line
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const Cell& cell = cells[i];
      const std::string text = truncates ? Truncate(cell.text, widths[i]) : cell.text;
      const int padding = std::max(widths[i] - DisplayWidth(text), 0);
      if (columns_[i].is_right_aligned) pending += padding;
      if (!text.empty()) {
        line += Spaces(pending) + Screen::Out().ApplyStyle(cell.style, text);
        pending = 0;
      }
      pending += (columns_[i].is_right_aligned ? 0 : padding) + kGap;
    }
    out += line + "\n";
  };
  std::vector<Cell> headings;
  for (const Column& column : columns_) headings.emplace_back(column.heading, Style::kBold);
  add_line(headings);
  for (const auto& row : rows_) add_line(row);
  return out;
}

std::string Table::RenderCards(int width) const {
  std::size_t truncatable = 0;
  while (columns_[truncatable].min_width == 0) ++truncatable;
  std::string out;
  for (const auto& row : rows_) {
    const std::size_t head = row[truncatable].text.empty() ? 0 : truncatable;
    const std::string title = Truncate(row[head].text, kMaxHeadLines * width);
    for (const std::string& line : Wrap(title, width)) {
      out += Screen::Out().ApplyStyle(Style::kBold, line) + "\n";
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
        if (used > 0) line += Screen::Out().ApplyStyle(Style::kDim, " · ");
        line += Screen::Out().ApplyStyle(row[i].style, part);
        used += (used > 0 ? 3 : 0) + columns;
      }
    }
    end_line();
  }
  return out;
}

std::string RenderDetails(int width, const std::vector<std::pair<std::string, Cell>>& details) {
  int names = 0;
  for (const auto& [name, cell] : details) {
    if (!cell.text.empty()) names = std::max(names, DisplayWidth(name));
  }
  std::string out;
  for (const auto& [name, cell] : details) {
    if (cell.text.empty()) continue;
    std::string head =
        Screen::Out().ApplyStyle(Style::kDim, name) + Spaces(names - DisplayWidth(name) + kGap);
    const bool is_url =
        cell.text.find("://") != std::string::npos;  // not wrapped, so that it can be copied
    const int available = width > 0 && !is_url ? std::max(width - names - kGap, 1) : 0;
    for (const std::string& line : Wrap(cell.text, available)) {
      out += boost::trim_right_copy(head + Screen::Out().ApplyStyle(cell.style, line)) + "\n";
      head = Spaces(names + kGap);
    }
  }
  return out;
}

}  // namespace app
