// Counts what the heap is asked for while an endpoint with a socket serves a request.
//
// usage: bench_allocations
//
// Prints "KIND VARIABLES ALLOCATIONS", one line a case: calls of malloc, calloc, realloc and new for one
// request, once the endpoint has served a few.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>

#include "lcmpUdpEndpoint.h"
#include "memoryEndpoint.h"
#include "variables.h"

// ---------------------------------------------------------------- the count

#define LCMP_BENCH_PREEMPTS __attribute__((visibility("default")))

extern "C" {
// The C library's own, under the names it keeps for programs that replace the public ones.
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* pointer, std::size_t size) noexcept;
}

namespace {

unsigned long allocations = 0;

}  // namespace

extern "C" LCMP_BENCH_PREEMPTS void* malloc(std::size_t size) noexcept {
    ++allocations;
    return __libc_malloc(size);
}

extern "C" LCMP_BENCH_PREEMPTS void* calloc(std::size_t count, std::size_t size) noexcept {
    ++allocations;
    return __libc_calloc(count, size);
}

extern "C" LCMP_BENCH_PREEMPTS void* realloc(void* pointer, std::size_t size) noexcept {
    ++allocations;
    return __libc_realloc(pointer, size);
}

// All other forms of new end here.
LCMP_BENCH_PREEMPTS void* operator new(std::size_t size) {
    void* const memory = malloc(size != 0 ? size : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

LCMP_BENCH_PREEMPTS void operator delete(void* memory) noexcept { std::free(memory); }
LCMP_BENCH_PREEMPTS void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

// ---------------------------------------------------------------- the requests

namespace {

using Properties = std::vector<LcmpProperty*>;

void check(bool good, const char* reason) {
    if (good)
        return;
    std::fprintf(stderr, "%s\n", reason);
    std::exit(1);
}

class Card {
public:
    explicit Card(const Properties& properties) {
        for (LcmpProperty* const property : properties)
            m_scalar.addProp(property, 0);
        m_endpoint.registerObject(&m_scalar);
        check(m_endpoint.open("127.0.0.1", 0), "no socket for the endpoint");
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(m_endpoint.getLocalAddress().port);
        check(m_client >= 0 && connect(m_client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0,
              "no socket for the client");
    }

    ~Card() { close(m_client); }
    Card(const Card&) = delete;
    Card& operator=(const Card&) = delete;

    double allocationsFor(LcmpAction action) {
        std::string request = bench::requestFor(action, m_scalar.getProperties());
        for (int i = 0; i < 16; ++i)
            serve(request);
        constexpr int counted = 64;
        const unsigned long before = allocations;
        for (int i = 0; i < counted; ++i)
            serve(request);
        return static_cast<double>(allocations - before) / counted;
    }

private:
    void serve(std::string& request) {
        static std::uint16_t number = 0;
        static char reply[65535];
        ++number;
        request[6] = static_cast<char>(number >> 8);
        request[7] = static_cast<char>(number);
        check(send(m_client, request.data(), request.size(), 0) > 0, "a request was not sent");
        check(m_endpoint.poll(LcmpUdpEndpoint::Milliseconds(1000)) == 1, "a request was not handled");
        check(recv(m_client, reply, sizeof reply, MSG_DONTWAIT) >= 11 && reply[8] == 0,
              "a request was not served");
    }

    LcmpScalar m_scalar{"scalar", bench::scalarGroup, false};
    LcmpUdpEndpoint m_endpoint;
    int m_client = socket(AF_INET, SOCK_DGRAM, 0);
};

Properties integers(unsigned int count) {
    Properties properties;
    for (unsigned int id = 0; id < count; ++id)
        properties.push_back(new TypeProperty<unsigned int>(id, "value", IFC_CARD_VAR_WRITABLE, id, true));
    return properties;
}

// Every fourth a text, longer than what a std::string keeps in itself where the response has room for that.
Properties integersAndTexts(unsigned int count) {
    Properties properties = integers(count - count / 4);
    const std::string text(count > 16 ? 5 : 40, 'x');
    for (auto id = static_cast<unsigned int>(properties.size()); id < count; ++id)
        properties.push_back(new StringProperty(id, "text", IFC_CARD_VAR_WRITABLE, text));
    return properties;
}

// 150 variables fill a read response of 1,200 bytes: numbers of one byte, texts of one or none.
Properties smallOnes() {
    Properties properties;
    for (unsigned int id = 0; id < 100; ++id)
        properties.push_back(new TypeProperty<unsigned char>(id, "value", IFC_CARD_VAR_WRITABLE, 1));
    for (unsigned int id = 100; id < 150; ++id)
        properties.push_back(new StringProperty(id, "text", IFC_CARD_VAR_WRITABLE, id < 139 ? "x" : ""));
    return properties;
}

void report(const char* kind, LcmpAction action, const Properties& properties) {
    Card card(properties);
    std::printf("%s %zu %.2f\n", kind, properties.size(), card.allocationsFor(action));
}

}  // namespace

int main() {
    for (const unsigned int count : {1U, 16U, 100U})
        report("read", LCMP_ACTION_READ, integers(count));
    for (const unsigned int count : {4U, 16U, 100U})
        report("read-texts", LCMP_ACTION_READ, integersAndTexts(count));
    report("read-texts", LCMP_ACTION_READ, smallOnes());
    for (const unsigned int count : {1U, 16U, 100U, 150U})
        report("write", LCMP_ACTION_WRITE, integers(count));
    return 0;
}
