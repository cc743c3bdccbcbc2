#include "tableText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace tool {
namespace {

struct CharacterRange {
    std::uint32_t first;
    std::uint32_t last;
};

// Accents that are written behind their letter, joiners, and what chooses between forms of a character.
constexpr std::array<CharacterRange, 8> noPlace = {{{0x0300, 0x036F},
                                                    {0x0483, 0x0489},
                                                    {0x1AB0, 0x1AFF},
                                                    {0x1DC0, 0x1DFF},
                                                    {0x200B, 0x200F},
                                                    {0x20D0, 0x20FF},
                                                    {0xFE00, 0xFE0F},
                                                    {0xFE20, 0xFE2F}}};

// East Asian scripts and pictures.
constexpr std::array<CharacterRange, 9> twoPlaces = {{{0x1100, 0x115F},
                                                      {0x2E80, 0x303E},
                                                      {0x3041, 0xA4CF},
                                                      {0xAC00, 0xD7A3},
                                                      {0xF900, 0xFAFF},
                                                      {0xFE30, 0xFE6F},
                                                      {0xFF00, 0xFF60},
                                                      {0x1F300, 0x1FAFF},
                                                      {0x20000, 0x3FFFD}}};

template <std::size_t count>
bool isIn(const std::array<CharacterRange, count>& ranges, std::uint32_t character) {
    return std::any_of(ranges.begin(), ranges.end(), [character](const CharacterRange& range) {
        return character >= range.first && character <= range.last;
    });
}

std::size_t bytesAfter(unsigned char first) {
    if (first < 0xC2 || first >= 0xF5)
        return 0;
    return first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
}

// The character at `at`, which moves behind it; of bytes that are no UTF-8 the first alone.
std::uint32_t takeCharacter(const std::string& text, std::size_t& at) {
    const auto first = static_cast<unsigned char>(text[at++]);
    const std::size_t more = bytesAfter(first);
    if (more == 0 || more > text.size() - at)
        return first;
    std::uint32_t character = first & (0x3FU >> more);
    for (std::size_t i = 0; i < more; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80)
            return first;
        character = character << 6 | (next & 0x3FU);
    }
    at += more;
    return character;
}

}  // namespace

std::size_t displayWidth(const std::string& text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::uint32_t character = takeCharacter(text, at);
        width += isIn(noPlace, character) ? 0 : isIn(twoPlaces, character) ? 2 : 1;
    }
    return width;
}

void TableText::addColumn(const std::string& heading, Align align) {
    m_columns.push_back({heading, align, displayWidth(heading)});
}

void TableText::addRow(std::vector<std::string> cells) {
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        m_columns[i].width = std::max(m_columns[i].width, displayWidth(cells[i]));
    m_rows.push_back(std::move(cells));
}

void TableText::print(std::ostream& out) const {
    std::vector<std::string> headings;
    for (const Column& column : m_columns)
        headings.push_back(column.heading);
    printLine(out, headings);
    for (const std::vector<std::string>& row : m_rows)
        printLine(out, row);
}

void TableText::printLine(std::ostream& out, const std::vector<std::string>& cells) const {
    std::string line;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const std::string blanks(m_columns[i].width - displayWidth(cells[i]), ' ');
        line += i == 0 ? "" : "  ";
        line += m_columns[i].align == Align::right ? blanks + cells[i] : cells[i] + blanks;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

}  // namespace tool
