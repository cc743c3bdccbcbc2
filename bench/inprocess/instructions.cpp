// One kind of request, served over and over inside the process: to be run under a tool that counts
// instructions, twice with different counts, so that the difference is the requests' alone.
//
// usage: bench_instructions read|varied|objects|write REPEATS
//
//   read      100 integers of one scalar, the only object
//   varied    100 integers of a table of 2,048, others each time
//   objects   as read, the scalar registered as the last of 192 objects
//   write     100 integers of one scalar
#include <cstdio>
#include <cstdlib>

#include "fillerObjects.h"
#include "memoryEndpoint.h"
#include "servedObjects.h"

namespace {

constexpr unsigned int variables = 100;
constexpr unsigned int variedRequests = 128;
constexpr unsigned int manyObjects = 192;

}  // namespace

int main(int argc, char** argv) {
    const std::string kind = argc > 1 ? argv[1] : "";
    const long repeats = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 0;
    const auto served = kind == "varied" ? bench::makeTable() : bench::makeScalar();
    const bench::FillerObjects others(kind == "objects" ? manyObjects - 1 : 0, *served);
    bench::MemoryEndpoint endpoint;
    others.registerAll(endpoint);
    endpoint.registerObject(served.get());

    const LcmpAction action = kind == "write" ? LCMP_ACTION_WRITE : LCMP_ACTION_READ;
    std::vector<std::string> requests =
        kind == "varied" ? bench::variedReads(served->getProperties(), variedRequests, variables)
                         : std::vector<std::string>{bench::requestFor(action, served->getProperties())};
    for (long i = 0; i < repeats; ++i) {
        if (!endpoint.serve(requests[static_cast<std::size_t>(i) % requests.size()])) {
            std::fputs("a request was not served\n", stderr);
            return 1;
        }
    }
    return 0;
}
