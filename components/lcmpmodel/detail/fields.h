// Reading maps and values of a YAML tree; everything that is wrong is collected, and reading goes on.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "detail/yamlTree.h"
#include "lcmpModel.h"

namespace lcmpdetail {

class Faults {
public:
    explicit Faults(std::string file) : m_file(std::move(file)) {}

    void add(const YamlPlace& place, const std::string& message);
    bool none() const { return m_errors.empty(); }

    /// By line and column. At most the first hundred, and how many more there are.
    std::vector<LcmpModelError> sorted() const;

private:
    std::string m_file;
    std::vector<LcmpModelError> m_errors;
};

/// The entries of one map. Keys that are unknown or come twice are faults.
class Fields {
public:
    /// `what` is what the map describes, "a variable". A node that is no map is a fault, and has no entries.
    Fields(const YamlNode& map, std::string what, const std::vector<std::string>& keys, Faults& faults);

    /// The value of a key, or null.
    const YamlNode* find(const std::string& key) const;

    /// The same; that it is missing is a fault.
    const YamlNode* require(const std::string& key) const;

    const YamlPlace& place() const { return m_map.place; }
    Faults& faults() const { return m_faults; }

private:
    void checkKey(const YamlNode& key, const std::vector<std::string>& keys);

    const YamlNode& m_map;
    std::string m_what;
    Faults& m_faults;
    std::map<std::string, const YamlNode*> m_entries;
};

// Each takes one value. False: a fault is noted, and the result is as it was. A null node is false alone.
bool readText(const YamlNode* node, const std::string& key, Faults& faults, std::string& text);
bool readNumber(const YamlNode* node, const std::string& key, unsigned int low, unsigned int high,
                Faults& faults, unsigned int& number);
bool readFlag(const YamlNode* node, const std::string& key, Faults& faults, bool& flag);
bool readValue(const YamlNode& node, const std::string& key, LcmpTlvType type, Faults& faults,
               LcmpModelValue& value);
bool readDecimal(const YamlNode& node, const std::string& key, Faults& faults, double& number);

/// A name as objects and variables have it: letters, digits and _, the first no digit, at most 63.
bool readName(const YamlNode* node, Faults& faults, std::string& name);

}  // namespace lcmpdetail
