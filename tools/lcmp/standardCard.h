// The standard card as objects: one for every group of the catalogue, with the types, access rights, defaults
// and rules that stand there. Used by one thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "lcmpProtocolBase.h"
#include "standardNames.h"

namespace tool {

class StandardCard {
public:
    /// Runs after a peer has written the variable, inside handleLcmpMsg.
    using Written = std::function<void(const LcmpProperty&)>;

    /// `eventable`: which variables report their changes, "temperature.value", in all rows. Every variable
    /// has its default.
    StandardCard(const std::set<std::string>& eventable, Written written);

    StandardCard(const StandardCard&) = delete;
    StandardCard& operator=(const StandardCard&) = delete;

    /// Lets the endpoint serve the card; the card outlives that.
    void registerWith(LcmpProtocolBase& endpoint) const;

    /// "control.bpClkRef", "temperature[2].value". Throws std::out_of_range for a name that there is not.
    LcmpProperty& variable(const std::string& name) const { return *m_variables.at(name); }

    /// Puts every variable back to its default. Those that report themselves do so for this, too.
    void setToDefault();

private:
    std::unique_ptr<LcmpObject> makeObject(const StandardObject& object);
    void addVariables(const StandardObject& object, unsigned int row, LcmpObject& target,
                      const std::set<std::string>& eventable);

    Written m_written;
    std::vector<std::unique_ptr<LcmpObject>> m_objects;
    std::map<std::string, LcmpProperty*> m_variables;  // by name; m_objects owns them
};

}  // namespace tool
