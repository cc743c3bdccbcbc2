#include "tableText.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using tool::displayWidth;
using tool::TableText;

std::string printed(const TableText& table) {
    std::ostringstream out;
    table.print(out);
    return out.str();
}

TEST(TableText, NumbersStandOnTheRightAndTextsOnTheLeft) {
    TableText table;
    table.addColumn("row", TableText::Align::right);
    table.addColumn("name", TableText::Align::left);
    table.addColumn("mV", TableText::Align::right);
    table.addRow({"0", "\"Core\"", "1000"});
    table.addRow({"10", "\"I\"", "-5"});
    EXPECT_EQ(printed(table),
              "row  name      mV\n"
              "  0  \"Core\"  1000\n"
              " 10  \"I\"       -5\n");
}

TEST(TableText, EndsNoLineWithABlank) {
    TableText table;
    table.addColumn("a", TableText::Align::right);
    table.addColumn("text", TableText::Align::left);
    table.addRow({"1", ""});
    EXPECT_EQ(printed(table), "a  text\n1\n");
}

TEST(TableText, AlignsWhatHasMoreBytesThanPlaces) {
    TableText table;
    table.addColumn("value °C", TableText::Align::right);
    table.addColumn("ok", TableText::Align::left);
    table.addRow({"20", "é"});
    table.addRow({"1234567890", "x"});
    EXPECT_EQ(printed(table),
              "  value °C  ok\n"
              "        20  é\n"
              "1234567890  x\n");
}

TEST(TableText, IsEmptyUntilThereIsARow) {
    TableText table;
    table.addColumn("a", TableText::Align::left);
    EXPECT_TRUE(table.empty());
    table.addRow({"1"});
    EXPECT_FALSE(table.empty());
}

TEST(DisplayWidth, CountsPlacesOnATerminal) {
    struct Case {
        const char* text;
        std::size_t width;
    };
    const Case cases[] = {
        {"", 0},
        {"abc", 3},
        {"°C", 2},
        {"µs", 2},
        {"Ω", 1},
        {"e\xCC\x81", 1},         // e and an accent on top of it
        {"温度", 4},              // each twice as wide
        {"\xF0\x9F\x8C\xA1", 2},  // a picture of a thermometer
        {"a\xFF"
         "b",
         3},              // no UTF-8
        {"\xE6\xB8", 2},  // a character that is cut off
        {"\xC3(", 2},     // one that is not continued
        {"\xC0\x80", 2},  // a NUL in two bytes is none
    };
    for (const Case& one : cases)
        EXPECT_EQ(displayWidth(one.text), one.width) << one.text;
}

}  // namespace
