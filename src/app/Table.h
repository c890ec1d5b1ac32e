// Rows of columns for the terminal: aligned and fitted to a width, or
// separated by tabs with every field whole for scripts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace corva::app {

struct TableColumn {
    std::string caption;
    size_t width;  // the width wanted, in cells
    bool flexible; // gives up cells when the row would not fit
};

class Table {
public:
    // Aligned rows of at most total cells (one blank between columns).
    Table(std::vector<TableColumn> columns, size_t total);
    // Fields separated by tabs, never cut.
    explicit Table(std::vector<TableColumn> columns);

    // Cells are terminal text already (decoded, one line, no controls).
    std::string row(const std::vector<std::string>& cells) const;
    std::string heading() const;
    const std::vector<size_t>& widths() const { return widths_; }

private:
    std::vector<TableColumn> columns_;
    std::vector<size_t> widths_;
    size_t total_ = 0;
    bool tabs_;
};

} // namespace corva::app
