// Tables for people: columns that stand below each other.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace tool {

/// Places that a UTF-8 text takes on a terminal: two for a wide character, none for one that goes on top of
/// the one before. A byte that is no UTF-8 takes one.
std::size_t displayWidth(const std::string& text);

class TableText {
public:
    enum class Align { left, right };

    /// Adds a column on the right, before there are rows.
    void addColumn(const std::string& heading, Align align);

    /// Adds a row; it has a text for each column.
    void addRow(std::vector<std::string> cells);

    bool empty() const { return m_rows.empty(); }

    /// Prints the headings and the rows, two blanks between columns, none at the end of a line.
    void print(std::ostream& out) const;

private:
    struct Column {
        std::string heading;
        Align align;
        std::size_t width;
    };

    void printLine(std::ostream& out, const std::vector<std::string>& cells) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

}  // namespace tool
