// How the cost of serving and of looking for changes grows with what there is, inside one process.
//
// usage: bench_growth SECONDS_PER_CASE
//
// Prints "GROUP CASE NANOSECONDS", one line a case; the README of this folder says what the groups are.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "fillerObjects.h"
#include "memoryEndpoint.h"
#include "servedObjects.h"
#include "timing.h"

namespace {

using Requests = std::vector<std::string>;

void check(bool good, const char* reason) {
    if (good)
        return;
    std::fprintf(stderr, "%s\n", reason);
    std::exit(1);
}

// An endpoint with objects of its own and the requests it is asked in turns.
struct Setting {
    std::vector<std::unique_ptr<LcmpObject>> objects;
    std::unique_ptr<bench::FillerObjects> fillers;
    bench::MemoryEndpoint endpoint;
    Requests requests;
    std::size_t next = 0;

    void own(std::unique_ptr<LcmpObject> object) {
        objects.push_back(std::move(object));
        endpoint.registerObject(objects.back().get());
    }

    void serveNext() {
        check(endpoint.serve(requests[next]), "a request was not served");
        next = next + 1 == requests.size() ? 0 : next + 1;
    }
};

class Report {
public:
    explicit Report(double secondsPerCase) : m_timing(secondsPerCase) {}

    void addServing(const std::string& name, std::shared_ptr<Setting> setting) {
        m_cases.push_back({name, [setting = std::move(setting)] { setting->serveNext(); }});
    }

    void add(const std::string& name, std::function<void()> run) {
        m_cases.push_back({name, std::move(run)});
    }

    void print(const char* group) {
        m_timing.measure(m_cases);
        for (const bench::TimedCase& timed : m_cases)
            std::printf("%s %s %.1f\n", group, timed.name.c_str(), timed.nanoseconds);
        std::fflush(stdout);
        m_cases.clear();
    }

private:
    bench::Timing m_timing;
    std::vector<bench::TimedCase> m_cases;
};

constexpr unsigned int variables = 100;
constexpr unsigned int variedRequests = 1024;

// ---------------------------------------------------------------- objects, rows, elements

// The same read of 100, of the object that is registered last.
void reportObjects(Report& report) {
    for (const unsigned int count : {1U, 2U, 4U, 16U, 64U, 192U}) {
        auto setting = std::make_shared<Setting>();
        auto scalar = bench::makeScalar();
        setting->fillers = std::make_unique<bench::FillerObjects>(count - 1, *scalar);
        setting->fillers->registerAll(setting->endpoint);
        setting->requests = {bench::requestFor(LCMP_ACTION_READ, scalar->getProperties())};
        setting->own(std::move(scalar));
        report.addServing(std::to_string(count), setting);
    }
    report.print("objects");
}

std::unique_ptr<LcmpObject> makeTableOf(unsigned int rows, unsigned int columns) {
    auto table = std::make_unique<LcmpTable>("table", bench::tableId, false, rows);
    for (unsigned int row = 0; row < rows; ++row) {
        for (unsigned int column = 0; column < columns; ++column)
            table->addProp(bench::newVariable(column, row * columns + column), row);
    }
    return table;
}

// Reads of 100 variables out of four columns: the same again and again, or others each time.
void reportRows(Report& report, const char* group, unsigned int requests) {
    for (const unsigned int rows : {1U, 16U, 128U, 1024U, 16384U}) {
        auto setting = std::make_shared<Setting>();
        auto table = makeTableOf(rows, 4);
        setting->requests = bench::variedReads(table->getProperties(), requests, variables);
        setting->own(std::move(table));
        report.addServing(std::to_string(rows), setting);
    }
    report.print(group);
}

// As many elements as a read response can carry: 150 fit when some of them are empty texts.
void reportElements(Report& report) {
    constexpr unsigned int numbers = 139;
    for (const unsigned int count : {1U, 2U, 4U, 16U, 64U, 100U, 150U}) {
        auto setting = std::make_shared<Setting>();
        auto scalar = std::make_unique<LcmpScalar>("scalar", bench::scalarGroup, false);
        for (unsigned int id = 0; id < count; ++id) {
            if (id < numbers)
                scalar->addProp(new TypeProperty<unsigned char>(id, "value", IFC_CARD_VAR_WRITABLE, 1), 0);
            else
                scalar->addProp(new StringProperty(id, "text", IFC_CARD_VAR_WRITABLE, std::string()), 0);
        }
        setting->requests = {bench::requestFor(LCMP_ACTION_READ, scalar->getProperties())};
        setting->own(std::move(scalar));
        report.addServing(std::to_string(count), setting);
    }
    report.print("elements");
}

// ---------------------------------------------------------------- changes

// Tables of up to 16,384 rows, as many as it takes.
std::shared_ptr<Setting> settingOf(unsigned int properties) {
    constexpr unsigned int columns = 50;
    constexpr unsigned int mostRows = 5000;
    auto setting = std::make_shared<Setting>();
    for (unsigned int left = properties / columns; left > 0;) {
        const unsigned int rows = std::min(left, mostRows);
        setting->own(makeTableOf(rows, columns));
        left -= rows;
    }
    return setting;
}

void reportChanges(Report& report) {
    std::vector<std::shared_ptr<Setting>> settings;
    for (const unsigned int properties : {100U, 10000U, 1000000U}) {
        auto setting = settingOf(properties);
        auto all = std::make_shared<std::vector<LcmpProperty*>>();
        for (const auto& object : setting->objects) {
            const auto some = object->getProperties();
            all->insert(all->end(), some.begin(), some.end());
        }
        check(all->size() == properties, "the tables do not hold what they should");
        setting->endpoint.eventHandler();  // what there is at start-up is no change
        settings.push_back(setting);
        report.add("unchanged/" + std::to_string(properties),
                   [setting] { check(setting->endpoint.eventHandler() == 0, "a change out of nothing"); });
        report.add("one/" + std::to_string(properties),
                   [setting, all, next = std::size_t{0}, value = 1U]() mutable {
                       next = (next + 7919) % all->size();
                       (*all)[next]->set(++value);
                       check(setting->endpoint.eventHandler() == 1, "a change was not found");
                   });
    }
    report.print("changes");
}

}  // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::strtod(argv[1], nullptr) : 0;
    check(seconds > 0, "usage: bench_growth SECONDS_PER_CASE");
    Report report(seconds);
    reportObjects(report);
    reportRows(report, "rows-fixed", 1);
    reportRows(report, "rows-varied", variedRequests);
    reportElements(report);
    reportChanges(report);
    return 0;
}
