#include "lcmpModelObjects.h"

#include <utility>

#include "detail/rules.h"
#include "lcmpModelProperties.h"

using namespace lcmpdetail;

namespace {

// Tells the card what a peer has written.
template <typename Object>
class CardObject : public Object {
public:
    template <typename... Arguments>
    explicit CardObject(const LcmpModelObjects::Written& written, Arguments&&... arguments)
        : Object(std::forward<Arguments>(arguments)...), m_written(written) {}

    bool updated(LcmpProperty* property, unsigned int /*row*/) override {
        return m_written == nullptr || m_written(*property);
    }

private:
    const LcmpModelObjects::Written& m_written;
};

std::unique_ptr<LcmpObject> makeObject(const LcmpModelObject& object,
                                       const LcmpModelObjects::Written& written) {
    if (object.isTable())
        return std::make_unique<CardObject<LcmpTable>>(written, object.name, object.id, object.common,
                                                       object.rows);
    return std::make_unique<CardObject<LcmpScalar>>(written, object.name, object.id, object.common);
}

// Makes the properties of one variable, one a row. What the checks of all rows share is made once.
class PropertyMaker {
public:
    explicit PropertyMaker(const LcmpModelVariable& variable) : m_variable(variable) {}
    virtual ~PropertyMaker() = default;
    PropertyMaker(const PropertyMaker&) = delete;
    PropertyMaker& operator=(const PropertyMaker&) = delete;

    virtual std::unique_ptr<LcmpProperty> make(const std::string& name) const = 0;

protected:
    const LcmpModelVariable& m_variable;
};

template <typename T>
class NumberMaker : public PropertyMaker {
public:
    explicit NumberMaker(const LcmpModelVariable& variable) : PropertyMaker(variable) {
        const auto ranges = allowedRanges(variable);
        if (!ranges)
            return;
        auto list = std::make_shared<typename LcmpModelNumberCheck<T>::Ranges>();
        for (const LcmpModelRange& range : *ranges)
            list->emplace_back(numberOf(range.low), numberOf(range.high));
        m_ranges = list;
    }

    std::unique_ptr<LcmpProperty> make(const std::string& name) const override {
        return std::make_unique<TypeProperty<T>>(
            m_variable.id, name.c_str(), m_variable.access, numberOf(m_variable.defaultValue),
            m_ranges == nullptr ? nullptr : new LcmpModelNumberCheck<T>(m_ranges), m_variable.eventable);
    }

private:
    static T numberOf(const LcmpModelValue& value) {
        if constexpr (std::is_signed_v<T>)
            return static_cast<T>(std::get<long long>(value));
        else
            return static_cast<T>(std::get<unsigned long long>(value));
    }

    std::shared_ptr<const typename LcmpModelNumberCheck<T>::Ranges> m_ranges;
};

class TextMaker : public PropertyMaker {
public:
    explicit TextMaker(const LcmpModelVariable& variable)
        : PropertyMaker(variable), m_rule(textRuleOf(variable)) {
        if (!variable.pattern.empty())
            m_pattern = std::make_shared<LcmpModelPattern>(variable.pattern);
    }

    std::unique_ptr<LcmpProperty> make(const std::string& name) const override {
        return std::make_unique<StringProperty>(
            m_variable.id, name.c_str(), m_variable.access, std::get<std::string>(m_variable.defaultValue),
            m_rule.exists ? new LcmpModelTextCheck(m_rule.shortest, m_rule.longest, m_pattern) : nullptr,
            m_variable.eventable);
    }

private:
    TextRule m_rule;
    std::shared_ptr<const LcmpModelPattern> m_pattern;
};

// The types that have no rules.
class PlainMaker : public PropertyMaker {
public:
    using PropertyMaker::PropertyMaker;

    std::unique_ptr<LcmpProperty> make(const std::string& name) const override {
        const unsigned int id = m_variable.id;
        const IfcCardVarAccessType access = m_variable.access;
        const bool eventable = m_variable.eventable;
        const LcmpModelValue& value = m_variable.defaultValue;
        switch (m_variable.type) {
            case BOOLEAN:
                return std::make_unique<TypeProperty<bool>>(id, name.c_str(), access, std::get<bool>(value),
                                                            eventable);
            case IPv4ADDRESS:
                return std::make_unique<IpAddressProperty>(
                    id, name.c_str(), access, static_cast<unsigned int>(std::get<unsigned long long>(value)),
                    eventable);
            case UNIX_TIME:
                return std::make_unique<UnixTimeProperty>(id, name.c_str(), access,
                                                          std::get<long long>(value), eventable);
            case MAC_ADDRESS: {
                std::string bytes = std::get<std::string>(value);
                return std::make_unique<MacAddressProperty>(
                    id, name.c_str(), access, reinterpret_cast<unsigned char*>(bytes.data()), eventable);
            }
            default:
                return std::make_unique<LcmpModelBytesProperty>(id, name.c_str(), access,
                                                                std::get<std::string>(value), eventable);
        }
    }
};

std::unique_ptr<PropertyMaker> makerOf(const LcmpModelVariable& variable) {
    switch (variable.type) {
        case UINT64:
            return std::make_unique<NumberMaker<unsigned long long>>(variable);
        case UINT32:
            return std::make_unique<NumberMaker<unsigned int>>(variable);
        case UINT16:
            return std::make_unique<NumberMaker<unsigned short>>(variable);
        case UINT8:
            return std::make_unique<NumberMaker<unsigned char>>(variable);
        case INT64:
            return std::make_unique<NumberMaker<long long>>(variable);
        case INT32:
            return std::make_unique<NumberMaker<int>>(variable);
        case INT16:
            return std::make_unique<NumberMaker<short>>(variable);
        case INT8:
            return std::make_unique<NumberMaker<signed char>>(variable);
        case STRING:
            return std::make_unique<TextMaker>(variable);
        default:
            return std::make_unique<PlainMaker>(variable);
    }
}

const LcmpModelValue& firstValueOf(const LcmpModelVariable& variable, unsigned int row) {
    const auto value = variable.values.find(row);
    return value == variable.values.end() ? variable.defaultValue : value->second;
}

// Not by `set`: what a card starts with is no change.
void storeFirstValue(const LcmpModelVariable& variable, unsigned int row, LcmpProperty& property) {
    if (variable.values.count(row) == 0)
        return;
    lcmpModelSet(property, firstValueOf(variable, row));
    property.sendEvent();
}

void addVariables(const LcmpModelObject& object, LcmpObject& target) {
    for (const LcmpModelVariable& variable : object.variables) {
        const std::unique_ptr<PropertyMaker> maker = makerOf(variable);
        for (unsigned int row = 0; row < object.rows; ++row) {
            std::unique_ptr<LcmpProperty> property = maker->make(lcmpModelName({&object, &variable, row}));
            storeFirstValue(variable, row, *property);
            // Refused only for an id that is there already, and a model was judged for that.
            if (target.addProp(property.get(), row))
                static_cast<void>(property.release());
        }
    }
}

}  // namespace

LcmpModelObjects::LcmpModelObjects(const LcmpModel& model, Written written)
    : m_model(model), m_written(std::move(written)) {
    for (const LcmpModelObject& object : model.objects) {
        m_objects.push_back(makeObject(object, m_written));
        addVariables(object, *m_objects.back());
    }
}

LcmpModelObjects::~LcmpModelObjects() = default;

std::vector<LcmpObject*> LcmpModelObjects::objects() const {
    std::vector<LcmpObject*> all;
    for (const auto& object : m_objects)
        all.push_back(object.get());
    return all;
}

void LcmpModelObjects::registerWith(LcmpProtocolBase& endpoint) const {
    for (const auto& object : m_objects)
        endpoint.registerObject(object.get());
}

LcmpProperty* LcmpModelObjects::find(const LcmpModelCell& cell) const {
    const auto* first = m_model.objects.data();
    const bool isOurs = cell.object >= first && cell.object < first + m_model.objects.size();
    if (!isOurs || cell.row >= cell.object->rows)
        return nullptr;
    return m_objects[static_cast<std::size_t>(cell.object - first)]->getProp(cell.variable->id, cell.row);
}

LcmpProperty* LcmpModelObjects::find(const std::string& name) const {
    LcmpModelCell cell;
    std::string problem;
    return lcmpModelFindName(m_model, name, cell, problem) ? find(cell) : nullptr;
}

void LcmpModelObjects::restart() {
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        const LcmpModelObject& object = m_model.objects[i];
        for (const LcmpModelVariable& variable : object.variables) {
            for (unsigned int row = 0; row < object.rows; ++row)
                lcmpModelSet(*m_objects[i]->getProp(variable.id, row), firstValueOf(variable, row));
        }
    }
}
