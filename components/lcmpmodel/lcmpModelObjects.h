// The objects of a card model, for an endpoint to serve. Used by the thread that runs the endpoint.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lcmpExport.h"
#include "lcmpModel.h"
#include "lcmpProtocolBase.h"

/// The objects of a model, and what becomes of them.
class LCMP_API LcmpModelObjects {
public:
    /// Runs after a peer has written a variable, inside handleLcmpMsg. False answers the write with
    /// result 12.
    using Written = std::function<bool(LcmpProperty&)>;

    /// Every variable has its first value. Properties are named as cells are, "temperature[2].value". The
    /// model outlives the objects. Memory aside, every model that was loaded can be built.
    explicit LcmpModelObjects(const LcmpModel& model, Written written = nullptr);

    /// An endpoint that serves the objects is gone by now, or no longer serves them.
    ~LcmpModelObjects();

    LcmpModelObjects(const LcmpModelObjects&) = delete;
    LcmpModelObjects& operator=(const LcmpModelObjects&) = delete;

    /// The model they were made of.
    const LcmpModel& model() const { return m_model; }

    /// In the order of the model. They belong to this.
    std::vector<LcmpObject*> objects() const;

    /// Lets the endpoint serve them all.
    void registerWith(LcmpProtocolBase& endpoint) const;

    // The property of a cell, or of its name; null where there is none.
    LcmpProperty* find(const LcmpModelCell& cell) const;
    LcmpProperty* find(const std::string& name) const;

    /// Gives every variable its first value again: `values` of the model, else the default. What that changes
    /// is marked, as by `set`.
    void restart();

private:
    const LcmpModel& m_model;
    Written m_written;
    std::vector<std::unique_ptr<LcmpObject>> m_objects;
};
