// Runs inputs from files, where there is no fuzzing engine: any compiler, any machine.
//
// usage: TARGET FILE_OR_FOLDER...
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// The program ends somewhere below the input at fault: its name stands before that, in the last line.
void runFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open())
        std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
    std::printf("\r%s ", path.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

int runAll(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) {
        runFile(path);
        return 1;
    }
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        runFile(entry.path());
        ++count;
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    int count = 0;
    for (int i = 1; i < argc; ++i)
        count += runAll(argv[i]);
    std::printf("\nreplayed %d\n", count);
    return count > 0 ? 0 : 1;
}
