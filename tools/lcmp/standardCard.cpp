#include "standardCard.h"

#include <boost/any.hpp>
#include <stdexcept>
#include <utility>

namespace tool {
namespace {

bool accepts(const CardVariableDef& definition, std::size_t length, const boost::any& value) {
    if (definition.lengthInvalid != nullptr && definition.lengthInvalid(static_cast<unsigned int>(length)))
        return false;
    return definition.valueInvalid == nullptr || !definition.valueInvalid(value);
}

template <typename T>
class NumberRules : public TypeProperty<T>::TypeValueCheck {
public:
    explicit NumberRules(const CardVariableDef& definition) : m_definition(definition) {}

    bool checkValue(T value) override { return accepts(m_definition, sizeof value, value); }

private:
    const CardVariableDef& m_definition;
};

class TextRules : public StringProperty::StringValueCheck {
public:
    explicit TextRules(const CardVariableDef& definition) : m_definition(definition) {}

    bool checkValue(std::string value) override { return accepts(m_definition, value.size(), value); }

private:
    const CardVariableDef& m_definition;
};

// A card that goes back to its defaults has changed, and says so.
template <typename T>
class NumberProperty : public TypeProperty<T> {
public:
    using TypeProperty<T>::TypeProperty;

    void setToDefault() override {
        if (!this->isDefault())
            this->markEvent();
        TypeProperty<T>::setToDefault();
    }
};

// One default of the catalogue is of another type than its variable; nothing of that type, then.
template <typename T>
T defaultOf(const CardVariableDef& definition) {
    const T* value = boost::any_cast<T>(&definition.defaultValue);
    return value == nullptr ? T() : *value;
}

// What a property is made of, beside its type.
struct Making {
    const CardVariableDef& definition;
    std::string name;
    bool eventable;

    unsigned int id() const { return static_cast<unsigned int>(definition.id); }
    IfcCardVarAccessType access() const { return static_cast<IfcCardVarAccessType>(definition.access); }
};

template <typename T>
std::unique_ptr<LcmpProperty> makeNumber(const Making& making) {
    return std::make_unique<NumberProperty<T>>(making.id(), making.name.c_str(), making.access(),
                                               defaultOf<T>(making.definition),
                                               new NumberRules<T>(making.definition), making.eventable);
}

std::unique_ptr<LcmpProperty> makeText(const Making& making) {
    return std::make_unique<StringProperty>(making.id(), making.name.c_str(), making.access(),
                                            defaultOf<std::string>(making.definition),
                                            new TextRules(making.definition), making.eventable);
}

std::unique_ptr<LcmpProperty> makeProperty(const Making& making) {
    switch (making.definition.type) {
        case UINT64:
            return makeNumber<unsigned long long>(making);
        case UINT32:
            return makeNumber<unsigned int>(making);
        case UINT8:
            return makeNumber<unsigned char>(making);
        case INT32:
            return makeNumber<int>(making);
        case BOOLEAN:
            return makeNumber<bool>(making);
        case STRING:
            return makeText(making);
        default:
            throw std::logic_error("no variable of the standard card has the type of " + making.name);
    }
}

// Tells the card what a peer has written.
class CardScalar : public LcmpScalar {
public:
    CardScalar(const StandardObject& object, const StandardCard::Written& written)
        : LcmpScalar(object.name, object.group.number, object.group.common), m_written(written) {}

    bool updated(LcmpProperty* property, unsigned int /*row*/) override {
        m_written(*property);
        return true;
    }

private:
    const StandardCard::Written& m_written;
};

}  // namespace

StandardCard::StandardCard(const std::set<std::string>& eventable, Written written)
    : m_written(std::move(written)) {
    for (const StandardObject& object : standardObjects()) {
        m_objects.push_back(makeObject(object));
        for (unsigned int row = 0; row < object.rows; ++row)
            addVariables(object, row, *m_objects.back(), eventable);
    }
}

void StandardCard::registerWith(LcmpProtocolBase& endpoint) const {
    for (const auto& object : m_objects)
        endpoint.registerObject(object.get());
}

void StandardCard::setToDefault() {
    for (const auto& object : m_objects)
        object->setToDefault();
}

// No variable of a table can be written, so tables need not tell.
std::unique_ptr<LcmpObject> StandardCard::makeObject(const StandardObject& object) {
    if (object.isTable())
        return std::make_unique<LcmpTable>(object.name, object.group.number, object.group.common,
                                           object.rows);
    return std::make_unique<CardScalar>(object, m_written);
}

void StandardCard::addVariables(const StandardObject& object, unsigned int row, LcmpObject& target,
                                const std::set<std::string>& eventable) {
    const std::string column = std::string(object.name) + ".";
    const std::string cell = object.name + (object.isTable() ? "[" + std::to_string(row) + "]." : ".");
    for (const CardVariableDef& definition : object.group.variables) {
        const std::string variableName = object.variableName(definition.id);
        const std::string name = cell + variableName;
        auto property = makeProperty({definition, name, eventable.count(column + variableName) != 0});
        if (!target.addProp(property.get(), row))
            throw std::logic_error("two variables of the standard card are called " + name);
        m_variables[name] = property.release();
    }
}

}  // namespace tool
