// What a card, or a model in its place, holds at one time.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "cardWalk.h"

namespace tool {

/// The value of an element as a model holds it. None: its length is not that of its type, or there is no such
/// type.
std::optional<LcmpModelValue> heldValue(const Element& element);

/// A variable and its value.
struct Held {
    Variable variable;
    Element value;
};

/// In the order of the model. Lives no longer than the model.
using Snapshot = std::vector<Held>;

/// What a card of this model holds when it starts.
Snapshot snapshotOf(const LcmpModel& model);

/// Keeps what a walk has read.
class SnapshotSink : public WalkSink {
public:
    void take(const WalkCell& cell) override;

    /// What was kept, once.
    Snapshot takeSnapshot() { return std::move(m_snapshot); }

private:
    Snapshot m_snapshot;
};

}  // namespace tool
