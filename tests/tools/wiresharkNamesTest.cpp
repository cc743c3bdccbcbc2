#include "wiresharkNames.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

std::string shipped() {
    std::ifstream file(LCMP_WIRESHARK_NAMES);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(WiresharkNames, TheShippedFileIsWhatIsGenerated) {
    EXPECT_EQ(shipped(), tool::wiresharkNames("standard", tool::namedVariables(lcmpModelStandard())));
}

TEST(WiresharkNames, HoldUnitsAndWords) {
    EXPECT_EQ(
        tool::wiresharkNames("my \"card\"", {{0x51404000, "t", "value", "°C", {{-1, "off"}, {2, "on"}}}}),
        "-- The names of a card's variables, for lcmp.lua. Written by `lcmp model generate --wireshark`.\n"
        "return {\n"
        "    card = \"my \\\"card\\\"\",\n"
        "    variables = {\n"
        "        [0x51404000] = {object = \"t\", name = \"value\", unit = \"°C\", "
        "words = {[-1] = \"off\", [2] = \"on\"}},\n"
        "    },\n"
        "}\n");
}

TEST(WiresharkNames, WhateverANameHoldsStaysInItsQuotes) {
    const std::string text = tool::wiresharkNames("", {{1,
                                                        "a\"\\\n\r",
                                                        std::string("\0"
                                                                    "1\x7F",
                                                                    3),
                                                        "",
                                                        {}}});
    EXPECT_NE(text.find("{object = \"a\\\"\\\\\\010\\013\", name = \"\\0001\\127\"}"), std::string::npos)
        << text;
}

}  // namespace
