// A peer: an agent made of net-snmp's agent library, with as many watched integers as the card has variables.
// Configuration files, logging, sub-agents and access control are off: nothing stands between request and
// value but the library itself.
//
// usage: bench_snmp_agent PORT
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <string>

#include "serving.h"
#include "variables.h"

namespace {

int values[bench::scalarVariables];

void watchValues() {
    for (unsigned int number = 0; number < bench::scalarVariables; ++number) {
        values[number] = static_cast<int>(bench::valueOf(number));
        const oid name[] = {1, 3, 6, 1, 3, number + 1, 0};
        netsnmp_register_int_instance("value", name, OID_LENGTH(name), &values[number], nullptr);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string transport = "udp:127.0.0.1:" + std::to_string(bench::portIn(argc, argv));
    snmp_disable_log();
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_ROOT_ACCESS, 1);
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, transport.c_str());
    if (init_agent("bench") != 0)
        bench::stop("the agent cannot be initialised");
    watchValues();
    init_snmp("bench");
    if (init_master_agent() != 0)
        bench::stop("the port cannot be had");
    bench::sayListening();
    for (;;)
        agent_check_and_process(1);
}
