#include "app/Table.h"

#include "app/Terminal.h"
#include "core/TerminalText.h"

namespace corva::app {

namespace {
// A flexible column keeps at least this much, so it still says something.
constexpr size_t Narrowest = 4;
} // namespace

Table::Table(std::vector<TableColumn> columns, size_t total)
    : columns_(std::move(columns)), total_(total), tabs_(false) {
    size_t wanted = columns_.empty() ? 0 : columns_.size() - 1;
    size_t flexible = 0;
    for (const auto& c : columns_) {
        wanted += c.width;
        if (c.flexible) flexible += c.width;
        widths_.push_back(c.width);
    }
    if (wanted <= total || flexible == 0) return;
    // The flexible columns share what the fixed ones leave, in proportion to
    // the widths they wanted.
    const size_t fixed = wanted - flexible;
    const size_t room = total > fixed ? total - fixed : 0;
    size_t given = 0;
    size_t lastFlexible = 0;
    for (size_t i = 0; i < columns_.size(); ++i) {
        if (!columns_[i].flexible) continue;
        widths_[i] = std::max(Narrowest, columns_[i].width * room / flexible);
        given += widths_[i];
        lastFlexible = i;
    }
    if (given < room) widths_[lastFlexible] += room - given;
}

Table::Table(std::vector<TableColumn> columns) : columns_(std::move(columns)), tabs_(true) {}

std::string Table::row(const std::vector<std::string>& cells) const {
    std::string line;
    for (size_t i = 0; i < cells.size() && i < columns_.size(); ++i) {
        if (tabs_) {
            line += (i ? "\t" : "") + cells[i];
            continue;
        }
        if (i) line += ' ';
        // The last column is cut only where there is a width to keep to.
        if (i + 1 < columns_.size())
            line += fitToWidth(cells[i], widths_[i]);
        else
            line += total_ == Unlimited ? cells[i] : cutToWidth(cells[i], widths_[i]);
    }
    if (tabs_) return line;
    // Columns too narrow to shrink further: the line is cut, never wrapped.
    if (displayWidth(line) > total_) return cutToWidth(line, total_);
    while (!line.empty() && line.back() == ' ') line.pop_back();
    return line;
}

std::string Table::heading() const {
    std::vector<std::string> captions;
    for (const auto& c : columns_) captions.push_back(c.caption);
    return row(captions);
}

} // namespace corva::app
