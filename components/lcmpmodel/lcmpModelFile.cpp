#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "detail/modelReader.h"
#include "lcmpModel.h"

using namespace lcmpdetail;

namespace {

bool isOneError(const std::string& file, const YamlPlace& place, const std::string& message,
                std::vector<LcmpModelError>& errors) {
    errors = {{file, place.line, place.column, message}};
    return false;
}

std::string tooLarge() { return "more than " + std::to_string(lcmpModelMaxBytes) + " bytes"; }

// False, with errno: it cannot be read. One byte more than the limit is enough to know.
bool readFile(const std::string& path, std::string& text) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr)
        return false;
    text.resize(lcmpModelMaxBytes + 1);
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    return std::ferror(file.get()) == 0;
}

}  // namespace

std::string lcmpModelErrorText(const LcmpModelError& error) {
    if (error.line == 0)
        return error.file + ": " + error.message;
    return error.file + ":" + std::to_string(error.line) + ":" + std::to_string(error.column) + ": " +
           error.message;
}

bool lcmpModelLoadText(const std::string& text, const std::string& file, LcmpModel& model,
                       std::vector<LcmpModelError>& errors) {
    YamlNode root;
    std::string problem;
    YamlPlace place;
    if (text.size() > lcmpModelMaxBytes)
        return isOneError(file, {}, tooLarge(), errors);
    if (!readYaml(text, root, problem, place))
        return isOneError(file, place, problem, errors);
    Faults faults(file);
    LcmpModel read = readModel(root, faults);
    errors = faults.sorted();
    if (!faults.none())
        return false;
    model = std::move(read);
    return true;
}

bool lcmpModelLoadFile(const std::string& file, LcmpModel& model, std::vector<LcmpModelError>& errors) {
    std::string text;
    if (!readFile(file, text))
        return isOneError(file, {}, std::string("cannot be read: ") + std::strerror(errno), errors);
    return lcmpModelLoadText(text, file, model, errors);
}
