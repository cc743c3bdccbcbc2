// Card models from the installed library, and what generated code needs of it.
#include <lcmpModelGenerate.h>
#include <lcmpModelObjects.h>
#include <lcmpModelProperties.h>

#include <iostream>

namespace {

class SilentCard : public LcmpProtocolBase {
public:
    bool sendMessage(LCMPMessage*) override { return false; }
};

}  // namespace

int main() {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    const bool loaded = lcmpModelLoadText(
        "card: lamp\n"
        "objects:\n"
        "  - {name: lamp, kind: scalar, id: 10,\n"
        "     variables: [{id: 1, name: brightness, type: UINT8, access: writable, max: 100}]}\n",
        "lamp.yaml", model, errors);
    if (!loaded)
        return 1;
    LcmpModelObjects objects(model);
    SilentCard card;
    objects.registerWith(card);
    const LcmpProperty* brightness = objects.find("lamp.brightness");
    const bool refuses = !lcmpModelLoadText("card: 1\nobjects: 2\n", "f", model, errors);
    const LcmpModelPattern pattern("[a-z]+");
    std::cout << (refuses ? lcmpModelErrorText(errors.at(0)) : "nothing is wrong") << '\n';
    return brightness != nullptr && brightness->getOid() == 0x05000001 && refuses && pattern.matches("abc") &&
                   lcmpModelStandard().objects.size() == 11 &&
                   !lcmpModelGenerate(lcmpModelStandard(), "standard").source.empty()
               ? 0
               : 1;
}
