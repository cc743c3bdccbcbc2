// A peer: an agent made of net-snmp's agent library, with as many watched integers as the card has variables.
// Configuration files, logging, subordinate agents and access control are off: nothing stands between request
// and value but the library itself.
//
// usage: bench_snmp_agent PORT
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <string>

#include "serving.h"
#include "variables.h"

// Debian's agent library asks the files of the TCP wrappers about every datagram. That is not compared here.
extern "C" __attribute__((visibility("default"))) int hosts_ctl(char*, char*, char*, char*);
int hosts_ctl(char* /*daemon*/, char* /*host*/, char* /*address*/, char* /*user*/) { return 1; }

namespace {

int values[bench::scalarVariables];

void watchValues() {
    for (unsigned int number = 0; number < bench::scalarVariables; ++number) {
        values[number] = static_cast<int>(bench::valueOf(number));
        const oid name[] = {1, 3, 6, 1, 3, number + 1, 0};
        netsnmp_register_int_instance("value", name, OID_LENGTH(name), &values[number], nullptr);
    }
}

// Before anything of the library runs: it reads files, makes folders and logs already while it starts.
void turnOffTheRest() {
    setenv("MIBS", "", 1);
    setenv("SNMP_PERSISTENT_DIR", "/dev/null", 1);
    netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_EMERG);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    for (const int option : {NETSNMP_DS_APP_NO_AUTHORIZATION, NETSNMP_DS_AGENT_NO_ROOT_ACCESS,
                             NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS})
        netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, option, 1);
    std::string noModuleButThis = "values";
    add_to_init_list(noModuleButThis.data());
}

}  // namespace

int main(int argc, char** argv) {
    const std::string transport = "udp:127.0.0.1:" + std::to_string(bench::portIn(argc, argv));
    turnOffTheRest();
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
