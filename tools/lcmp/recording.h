// A card's content as a model: what a walk reads becomes the values that variables have at first.
#pragma once

#include <string>
#include <vector>

#include "cardWalk.h"

namespace tool {

/// Makes a recording out of the model that is walked over, which outlives this.
class Recording : public WalkSink {
public:
    /// Every variable has its default until it is taken.
    explicit Recording(LcmpModel& model);

    void beginPart(const WalkPart& part) override;
    void take(const WalkCell& cell) override;

    /// The model as YAML that loads. What it cannot hold keeps its default. A Failure of status
    /// `localFailure` where there is more than a model can hold.
    std::string yaml();

    /// What keeps its default although the card had a value, a line each; complete after `yaml`.
    const std::vector<std::string>& problems() const { return m_problems; }

private:
    bool dropDifferences(const LcmpModel& loaded);
    void dropDifferences(const LcmpModelObject& object, LcmpModelVariable& kept,
                         const LcmpModelVariable& loaded);

    LcmpModel& m_model;
    LcmpModelObject* m_object = nullptr;
    std::vector<std::string> m_problems;
};

}  // namespace tool
