// A peer: a libcoap server with one resource for each number of variables that is asked for. A GET is
// answered with the values, four big-endian bytes each, written anew from memory for each request.
//
// usage: bench_coap_server PORT
#include <arpa/inet.h>
#include <coap3/coap.h>

#include <string>

#include "serving.h"
#include "variables.h"

namespace {

std::uint32_t values[bench::scalarVariables];

void answerGet(coap_resource_t* resource, coap_session_t* /*session*/, const coap_pdu_t* /*request*/,
               const coap_string_t* /*query*/, coap_pdu_t* response) {
    const unsigned int count = *static_cast<const unsigned int*>(coap_resource_get_userdata(resource));
    std::uint8_t payload[4 * bench::scalarVariables];
    std::uint8_t* end = payload;
    for (unsigned int number = 0; number < count; ++number) {
        for (const int shift : {24, 16, 8, 0})
            *end++ = static_cast<std::uint8_t>(values[number] >> shift);
    }
    coap_pdu_set_code(response, COAP_RESPONSE_CODE_CONTENT);
    coap_add_data(response, static_cast<std::size_t>(end - payload), payload);
}

// The resource is named after the number of its variables.
void addResource(coap_context_t* context, const char* name, unsigned int* count) {
    coap_resource_t* const resource = coap_resource_init(coap_make_str_const(name), 0);
    coap_resource_set_userdata(resource, count);
    coap_register_handler(resource, COAP_REQUEST_GET, answerGet);
    coap_add_resource(context, resource);
}

coap_address_t loopback(std::uint16_t port) {
    coap_address_t address;
    coap_address_init(&address);
    address.size = sizeof address.addr.sin;
    address.addr.sin.sin_family = AF_INET;
    address.addr.sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.addr.sin.sin_port = htons(port);
    return address;
}

}  // namespace

int main(int argc, char** argv) {
    const coap_address_t address = loopback(bench::portIn(argc, argv));
    for (unsigned int number = 0; number < bench::scalarVariables; ++number)
        values[number] = bench::valueOf(number);

    coap_startup();
    coap_set_log_level(LOG_EMERG);
    coap_context_t* const context = coap_new_context(nullptr);
    if (context == nullptr || coap_new_endpoint(context, &address, COAP_PROTO_UDP) == nullptr)
        bench::stop("the port cannot be had");
    unsigned int counts[] = {1, 16, 100};
    addResource(context, "1", &counts[0]);
    addResource(context, "16", &counts[1]);
    addResource(context, "100", &counts[2]);
    bench::sayListening();
    while (coap_io_process(context, COAP_IO_WAIT) >= 0) {
    }
    bench::stop("receiving failed");
}
