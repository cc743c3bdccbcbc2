// The standard model and the catalogue say the same.
#include <gtest/gtest.h>

#include "lcmpCardVariables.h"
#include "lcmpModel.h"

namespace {

struct Pair {
    const CardVariableDef& definition;
    const LcmpModelVariable& variable;
};

const LcmpModelObject* objectOf(const CardVariableGroup& group) {
    for (const LcmpModelObject& object : lcmpModelStandard().objects) {
        if (object.id == group.number && object.kind == group.kind)
            return &object;
    }
    return nullptr;
}

template <typename Check>
void forEachVariable(Check check) {
    int checked = 0;
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        const LcmpModelObject* object = objectOf(group);
        ASSERT_NE(object, nullptr) << group.number;
        ASSERT_EQ(object->variables.size(), group.variables.size()) << object->name;
        for (std::size_t i = 0; i < group.variables.size(); ++i) {
            SCOPED_TRACE(object->name + "." + object->variables[i].name);
            check(Pair{group.variables[i], object->variables[i]});
            ++checked;
        }
    }
    EXPECT_EQ(checked, 59);
}

// The value as the catalogue's rules take it.
boost::any anyOf(int type, const LcmpModelValue& value) {
    switch (type) {
        case UINT64:
            return std::get<unsigned long long>(value);
        case UINT32:
            return static_cast<unsigned int>(std::get<unsigned long long>(value));
        case UINT8:
            return static_cast<unsigned char>(std::get<unsigned long long>(value));
        case INT32:
            return static_cast<int>(std::get<long long>(value));
        case BOOLEAN:
            return std::get<bool>(value);
        default:
            return std::get<std::string>(value);
    }
}

unsigned int lengthOf(int type, const LcmpModelValue& value) {
    const unsigned int width = lcmpTlvFixedWidth(static_cast<unsigned int>(type));
    return width != 0 ? width : static_cast<unsigned int>(std::get<std::string>(value).size());
}

bool catalogueAccepts(const CardVariableDef& definition, const LcmpModelValue& value) {
    if (definition.lengthInvalid != nullptr && definition.lengthInvalid(lengthOf(definition.type, value)))
        return false;
    return definition.valueInvalid == nullptr || !definition.valueInvalid(anyOf(definition.type, value));
}

TEST(StandardModel, HasTheObjectsOfTheCatalogueAndNoOthers) {
    EXPECT_EQ(lcmpModelStandard().objects.size(), lcmpCardVariableGroups().size());
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        const LcmpModelObject* object = objectOf(group);
        ASSERT_NE(object, nullptr) << group.number;
        EXPECT_EQ(object->common, group.common) << object->name;
    }
}

TEST(StandardModel, HasTheIdsTypesAndAccessOfTheCatalogue) {
    forEachVariable([](const Pair& pair) {
        EXPECT_EQ(pair.variable.id, static_cast<unsigned int>(pair.definition.id));
        EXPECT_EQ(pair.variable.type, static_cast<LcmpTlvType>(pair.definition.type));
        EXPECT_EQ(pair.variable.access, static_cast<IfcCardVarAccessType>(pair.definition.access));
    });
}

// One default of the catalogue is of another type than its variable; the model says what cards show instead.
TEST(StandardModel, HasTheDefaultsOfTheCatalogue) {
    forEachVariable([](const Pair& pair) {
        const boost::any expected = anyOf(pair.definition.type, pair.variable.defaultValue);
        const boost::any& def = pair.definition.defaultValue;
        if (pair.variable.name == "clearErrors") {
            EXPECT_NE(def.type(), expected.type());
            EXPECT_FALSE(boost::any_cast<bool>(expected));
            return;
        }
        ASSERT_EQ(def.type(), expected.type());
        if (const auto* text = boost::any_cast<std::string>(&def))
            EXPECT_EQ(*text, boost::any_cast<std::string>(expected));
        else if (const auto* wide = boost::any_cast<unsigned long long>(&def))
            EXPECT_EQ(*wide, boost::any_cast<unsigned long long>(expected));
        else if (const auto* word = boost::any_cast<unsigned int>(&def))
            EXPECT_EQ(*word, boost::any_cast<unsigned int>(expected));
        else if (const auto* byte = boost::any_cast<unsigned char>(&def))
            EXPECT_EQ(*byte, boost::any_cast<unsigned char>(expected));
        else if (const auto* number = boost::any_cast<int>(&def))
            EXPECT_EQ(*number, boost::any_cast<int>(expected));
        else
            EXPECT_EQ(boost::any_cast<bool>(def), boost::any_cast<bool>(expected));
    });
}

std::vector<LcmpModelValue> candidatesOf(LcmpTlvType type) {
    std::vector<LcmpModelValue> values;
    if (type == STRING) {
        for (std::size_t length = 0; length <= 300; ++length)
            values.emplace_back(std::string(length, 'a'));
        for (int c = 0; c < 256; ++c)
            values.emplace_back(std::string(35, 'Z') + static_cast<char>(c));
    } else if (type == BOOLEAN) {
        values = {false, true};
    } else {
        for (int number = 0; number < 256; ++number)
            values.push_back(type == INT32 ? LcmpModelValue(-128LL + number)
                                           : LcmpModelValue(static_cast<unsigned long long>(number)));
    }
    return values;
}

TEST(StandardModel, AcceptsWhatTheCatalogueAcceptsAndNothingElse) {
    int accepted = 0;
    int refused = 0;
    forEachVariable([&](const Pair& pair) {
        for (const LcmpModelValue& value : candidatesOf(pair.variable.type)) {
            const bool expected = catalogueAccepts(pair.definition, value);
            ASSERT_EQ(lcmpModelAccepts(pair.variable, value), expected)
                << lcmpModelValueText(pair.variable.type, value);
            ++(expected ? accepted : refused);
        }
    });
    EXPECT_GT(accepted, 5000);
    EXPECT_GT(refused, 3000);
}

}  // namespace
