#pragma once

#include <string>
#include <vector>

namespace cli {

/// Columns for a terminal, as wide as their widest cell. Numbers stand right, texts left.
class Table {
  public:
    enum class Align { left, right };
    struct Column {
        std::string heading;
        Align align = Align::left;
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}
    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
    bool empty() const { return rows_.empty(); }
    /// Heading and rows, a line each, every line behind `indent`.
    std::string text(const std::string& indent = "") const;
    const std::vector<Column>& headings() const { return columns_; }
    const std::vector<std::vector<std::string>>& rows() const { return rows_; }

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace cli
