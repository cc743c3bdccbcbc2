// A card on the ready transport, as an application would write it.
//
// usage: bench_card PORT scalar|table [OBJECTS]
//
// Serves the variables as one scalar or as one table, registered behind so many others that there are
// OBJECTS.
#include <csignal>

#include "fillerObjects.h"
#include "lcmpUdpEndpoint.h"
#include "servedObjects.h"
#include "serving.h"
#include "traceObject.h"

namespace {

volatile std::sig_atomic_t stopped = 0;

}  // namespace

int main(int argc, char** argv) {
    const std::uint16_t port = bench::portIn(argc, argv);
    const bool isTable = bench::isFirstWord(argc, argv, 2, "table", "scalar");
    const unsigned int objects = argc > 3 ? bench::numberIn(argc, argv, 3, 1, 192) : 1;

    TraceObject trace;  // writes errors, of which there are none
    trace.setLevel(3);
    g_traceObject = &trace;

    const std::unique_ptr<LcmpObject> served = isTable ? bench::makeTable() : bench::makeScalar();
    const bench::FillerObjects others(objects - 1, *served);
    LcmpUdpEndpoint endpoint;
    others.registerAll(endpoint);
    endpoint.registerObject(served.get());
    endpoint.setEventPeriod(std::chrono::seconds(1));
    if (!endpoint.open("127.0.0.1", port))
        bench::stop(endpoint.getLastError().c_str());

    std::signal(SIGTERM, [](int) { stopped = 1; });
    bench::sayListening();
    while (stopped == 0 && endpoint.poll(LcmpUdpEndpoint::Milliseconds(-1)) >= 0) {
    }
    return stopped != 0 ? 0 : 1;
}
