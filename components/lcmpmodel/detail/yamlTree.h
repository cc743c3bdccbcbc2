// YAML text as a tree that remembers where everything stood. Aliases are refused, and so is more than the
// limits of lcmpModel.h allow, before it takes memory or stack.
#pragma once

#include <string>
#include <vector>

#include "lcmpModel.h"

namespace lcmpdetail {

/// Both from 1; 0: the file as a whole.
struct YamlPlace {
    unsigned int line = 0;
    unsigned int column = 0;
};

struct YamlNode {
    enum class Kind { nothing, scalar, list, map };

    Kind kind = Kind::nothing;
    YamlPlace place;
    std::string text;             // of a scalar
    std::vector<YamlNode> items;  // of a list; of a map key, value, key, value ...

    bool isScalar() const { return kind == Kind::scalar; }
    bool isList() const { return kind == Kind::list; }
    bool isMap() const { return kind == Kind::map; }
};

/// "a list": what a node is, for messages.
const char* kindText(const YamlNode& node);

/// False: `problem` and `place` say what is wrong.
bool readYaml(const std::string& text, YamlNode& root, std::string& problem, YamlPlace& place);

}  // namespace lcmpdetail
