#include "savedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "exitStatus.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failed(const std::string& file, int error) {
    throw Failure(ExitStatus::localFailure, file + ": " + std::strerror(error));
}

// The error, or 0.
int writeAll(int fileDescriptor, const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t written = ::write(fileDescriptor, text.data() + at, text.size() - at);
        if (written < 0 && errno != EINTR)
            return errno;
        at += written < 0 ? 0 : static_cast<std::size_t>(written);
    }
    return 0;
}

mode_t rightsFor(const std::string& file) {
    struct stat before {};
    if (stat(file.c_str(), &before) == 0)
        return before.st_mode & 0777U;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

void writeInPlace(const std::string& file, const std::string& text) {
    const int fileDescriptor = open(file.c_str(), O_WRONLY | O_CLOEXEC);
    if (fileDescriptor < 0)
        failed(file, errno);
    const int error = writeAll(fileDescriptor, text);
    close(fileDescriptor);
    if (error != 0)
        failed(file, error);
}

// A file that exists for as long as it is not put in the place of another.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& beside)
        : m_path(beside + ".XXXXXX"), m_descriptor(mkstemp(m_path.data())) {
        if (m_descriptor < 0)
            failed(beside, errno);
    }
    ~TemporaryFile() {
        close(m_descriptor);
        if (!m_path.empty())
            unlink(m_path.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// The error, or 0. On the disk before it has the name, or a crash could leave the name without it.
    int write(const std::string& text, mode_t rights) const {
        if (const int error = writeAll(m_descriptor, text))
            return error;
        return fchmod(m_descriptor, rights) != 0 || fsync(m_descriptor) != 0 ? errno : 0;
    }

    int becomes(const std::string& file) {
        if (std::rename(m_path.c_str(), file.c_str()) != 0)
            return errno;
        m_path.clear();
        return 0;
    }

private:
    std::string m_path;
    int m_descriptor;
};

}  // namespace

void saveFile(const std::string& file, const std::string& text) {
    std::error_code ignored;
    if (fs::exists(file, ignored) && !fs::is_regular_file(file, ignored))
        return writeInPlace(file, text);
    const fs::path real = fs::weakly_canonical(file, ignored);
    const std::string place = real.empty() ? file : real.string();
    TemporaryFile temporary(place);
    int error = temporary.write(text, rightsFor(place));
    if (error == 0)
        error = temporary.becomes(place);
    if (error != 0)
        failed(file, error);
}

}  // namespace tool
