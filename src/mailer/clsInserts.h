// The inserts: named text files the composer's "insert" menu puts into a
// message, listed in Inserts.txt in the data folder (title line, file line).
#pragma once

#include <string>
#include <vector>

namespace corva {

struct clsInsert {
    std::string Title;
    std::string Filename;
};

class clsInserts {
public:
    long Count() const { return static_cast<long>(items_.size()); }
    // 1-based; out of range gives an empty insert.
    const clsInsert& Insert(long index) const;
    void Add(const clsInsert& insert) { items_.push_back(insert); }
    void Remove(long index);
    // Reads the whole file; an entry counts only when both its lines, trimmed,
    // hold something. A missing file leaves the collection empty.
    void loadinserts();
    // Writes every entry back, two lines each, in order; false when the write failed.
    bool saveinserts() const;

    // Inserts.txt in the data folder unless a path was set.
    std::string FilePath() const;
    void setFilePath(const std::string& path) { path_ = path; }

private:
    std::vector<clsInsert> items_;
    std::string path_;
};

} // namespace corva
