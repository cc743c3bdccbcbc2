// What a person types to say which variable, which card, how long and since when, and any 32 bits as an OID:
// it is accepted, and then prints back as itself, or refused with a reason.
#include <arpa/inet.h>
#include <netdb.h>

#include <cstdlib>
#include <cstring>

#include "duration.h"
#include "exitStatus.h"
#include "fuzzTarget.h"
#include "invariants.h"
#include "lcmpModelValue.h"
#include "lcmpObjectId.h"
#include "lcmpObjects.h"
#include "nearestName.h"
#include "standardNames.h"
#include "target.h"
#include "timeText.h"
#include "wire.h"

// Host names end here instead of at a name server: those that begin with a letter up to m are known.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* /*service*/,
                                                                  const addrinfo* /*hints*/,
                                                                  addrinfo** found) {
    if (name == nullptr || *name < 'a' || *name > 'm')
        return EAI_NONAME;
    struct Block {
        addrinfo info;
        sockaddr_in address;
    };
    auto* block = static_cast<Block*>(std::calloc(1, sizeof(Block)));
    block->address.sin_family = AF_INET;
    block->address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    block->info.ai_addr = reinterpret_cast<sockaddr*>(&block->address);
    block->info.ai_addrlen = sizeof block->address;
    *found = &block->info;
    return 0;
}

extern "C" __attribute__((visibility("default"))) void freeaddrinfo(addrinfo* info) { std::free(info); }

namespace {

using tool::ExitStatus;

/// Runs a parser; false when it refuses, which it does in words and with a status for it.
template <typename Action>
bool accepts(const Action& action) {
    try {
        action();
        return true;
    } catch (const tool::Failure& failure) {
        FUZZ_REQUIRE(textRefused,
                     failure.status() == ExitStatus::usage || failure.status() == ExitStatus::unresolved,
                     std::string("refused with another status: ") + failure.what());
        FUZZ_REQUIRE(textRefused, *failure.what() != '\0', "refused without a word");
        return false;
    }
}

unsigned int composed(const LcmpObjectId& id) {
    return id.m_is_table ? LcmpTable("", id.m_id, id.m_common, 0).getOID(id.m_sub_id, id.m_row)
                         : LcmpScalar("", id.m_id, id.m_common, 0).getOID(id.m_sub_id, 0);
}

void tryNumber(unsigned int oid) {
    const LcmpObjectId id(oid);
    const bool valid = fuzz::validOid(oid);
    FUZZ_REQUIRE(roundTrip, (id.m_result == 0) == valid && (id.m_is_table || id.m_is_scalar) == valid,
                 "an OID is judged otherwise: " + id.str());
    FUZZ_REQUIRE(textRefused, (id.str() == "invalid object") == !valid, "its text is " + id.str());
    if (valid)
        FUZZ_REQUIRE(roundTrip, composed(id) == (oid & ~fuzz::ignoredOidBit), "composed again it is another");
    const tool::Variable variable = tool::variableOfOid(oid);
    FUZZ_REQUIRE(roundTrip, variable.oid == oid && !variable.name.empty(), "another variable's OID");
    unsigned int back = 0;
    const bool accepted =
        accepts([&] { FUZZ_REQUIRE(textRefused, tool::parseOid(tool::oidText(oid), back), "no number"); });
    FUZZ_REQUIRE(textRefused, accepted == valid && (!valid || back == oid), "read back it is another OID");
}

void tryVariable(const std::string& text) {
    tool::Variable variable;
    if (!accepts([&] { variable = tool::resolveVariable(text); }))
        return;
    FUZZ_REQUIRE(textRefused, fuzz::validOid(variable.oid), "an OID that is none: " + text);
    const tool::Variable again = tool::resolveVariable(variable.name);
    FUZZ_REQUIRE(roundTrip, again.name == variable.name, "its name is another's: " + variable.name);
    FUZZ_REQUIRE(roundTrip, ((again.oid ^ variable.oid) & ~fuzz::ignoredOidBit) == 0,
                 "its name has another OID");
    const tool::Variable back = tool::variableOfOid(variable.oid);
    FUZZ_REQUIRE(roundTrip, back.name == variable.name, variable.name + " has the OID of " + back.name);
}

void tryAddresses(const std::string& text) {
    LcmpUdpAddress address;
    if (accepts([&] { address = tool::parseTarget(text); })) {
        FUZZ_REQUIRE(textRefused, address.port != 0, "a target with port 0");
        FUZZ_REQUIRE(roundTrip, tool::parseTarget(lcmpUdpToText(address)) == address, "another target");
    }
    if (accepts([&] { address = tool::parseListenAddress("--listen", text); }))
        FUZZ_REQUIRE(roundTrip, tool::parseListenAddress("", lcmpUdpToText(address)) == address,
                     "another address to listen at");
}

void tryAllowList(const std::string& text) {
    constexpr std::uint32_t loopback = 0x7F000001;
    LcmpUdpAllowList list;
    if (!list.add(text)) {
        FUZZ_REQUIRE(textRefused, list.contains(loopback), "a refused block changes the list");
        return;
    }
    std::uint32_t host = 0;
    FUZZ_REQUIRE(textRefused, lcmpUdpParseHost(text.substr(0, text.find('/')), host) && list.contains(host),
                 "a block without its own address: " + text);
}

bool isTime(const std::string& text, long long& seconds) {
    LcmpModelValue value;
    std::string problem;
    if (!lcmpModelParseValue(UNIX_TIME, text, value, problem)) {
        FUZZ_REQUIRE(textRefused, !problem.empty(), "refused without a word");
        return false;
    }
    seconds = std::get<long long>(value);
    return true;
}

void tryTime(const std::string& text) {
    long long seconds = 0;
    if (!isTime(text, seconds) || seconds < 0 || seconds > 0xFFFFFFFFLL)
        return;
    const std::string back = tool::timeText(static_cast<std::uint32_t>(seconds), 0);
    const std::string whole = back.substr(0, back.find('.')) + "Z";
    long long again = 0;
    FUZZ_REQUIRE(roundTrip, isTime(whole, again) && again == seconds, "another time: " + whole);
}

void tryTimes(const std::string& text) {
    constexpr long long longest = 1000LL * 3600 * 1000;
    std::chrono::milliseconds duration{};
    if (accepts([&] { duration = tool::parseDuration("--timeout", text); }))
        FUZZ_REQUIRE(textRefused, duration.count() >= 0 && duration.count() <= longest,
                     "a time out of range");
    tryTime(text);
}

}  // namespace

void fuzz::prepare() { tool::resolveVariable("control.bpClkRef"); }

void fuzz::run(unsigned int mode, Input& input) {
    switch (mode / 2 % 5) {
        case 0:
            return tryNumber(input.u32());
        case 1:
            return tryVariable(input.rest());
        case 2:
            return tryAddresses(input.rest());
        case 3:
            return tryAllowList(input.rest());
        default:
            return tryTimes(input.rest());
    }
}
