// The schema that editors use knows the keys that models have.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "modelText.h"

using namespace testing;

namespace {

using Json = nlohmann::json;

Json schema() {
    std::ifstream file(LCMP_MODELS_DIR "/card-model.schema.json");
    return Json::parse(file);
}

std::vector<std::string> keysOf(const Json& description) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : description.at("properties").items())
        keys.push_back(key);
    return keys;
}

// "...; it has card, description, objects"
std::vector<std::string> keysInMessage(const std::string& message) {
    const std::string before = "; it has ";
    std::istringstream list(message.substr(message.find(before) + before.size()));
    std::vector<std::string> keys;
    for (std::string key; list >> key;)
        keys.push_back(key.back() == ',' ? key.substr(0, key.size() - 1) : key);
    return keys;
}

std::vector<std::string> keysLoaded(const std::string& text) {
    const std::vector<std::string> faults = faultsOf(text);
    return faults.empty() ? faults : keysInMessage(faults[0]);
}

const char* const unknown = "zzzzzzzzzzzzzzzz: 1";

TEST(ModelSchema, HasTheKeysThatModelsHave) {
    const Json definitions = schema().at("definitions");
    const std::string variable = "id: 0, name: a, type: UINT8, access: writable";
    EXPECT_THAT(keysOf(schema()),
                UnorderedElementsAreArray(keysLoaded("card: c\nobjects: []\n" + std::string(unknown))));
    EXPECT_THAT(keysOf(definitions.at("object")),
                UnorderedElementsAreArray(
                    keysLoaded("card: c\nobjects: [{name: s, kind: scalar, id: 1, variables: [], " +
                               std::string(unknown) + "}]")));
    EXPECT_THAT(keysOf(definitions.at("variable")),
                UnorderedElementsAreArray(keysLoaded(scalarWith({variable + ", " + unknown}))));
    EXPECT_THAT(keysOf(definitions.at("simulation")),
                UnorderedElementsAreArray(
                    keysLoaded(scalarWith({variable + ", simulate: {shape: counter, " + unknown + "}"}))));
}

TEST(ModelSchema, HasTheTypesAndShapesThatModelsHave) {
    const Json definitions = schema().at("definitions");
    for (const Json& type : definitions.at("variable").at("properties").at("type").at("enum")) {
        LcmpTlvType code{};
        EXPECT_TRUE(lcmpModelParseType(type.get<std::string>(), code)) << type;
    }
    EXPECT_THAT(definitions.at("variable").at("properties").at("type").at("enum"), SizeIs(14));
    for (const Json& shape : definitions.at("simulation").at("properties").at("shape").at("enum")) {
        const std::vector<std::string> faults = faultsOfVariable(
            "id: 0, name: a, type: UINT8, access: writable, simulate: {shape: " + shape.get<std::string>() +
            "}");
        EXPECT_THAT(faults, Each(Not(HasSubstr("there is no shape")))) << shape;
    }
}

}  // namespace
