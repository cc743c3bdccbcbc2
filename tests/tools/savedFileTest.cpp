#include "savedFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/failureOf.h"

namespace {

namespace fs = std::filesystem;
using tool::saveFile;

class SavedFile : public testing::Test {
protected:
    SavedFile() {
        std::string pattern = testing::TempDir() + "lcmp-saved-XXXXXX";
        m_folder = mkdtemp(pattern.data());
    }
    ~SavedFile() override { fs::remove_all(m_folder); }

    std::string path(const std::string& name) const { return (m_folder / name).string(); }
    std::string content(const std::string& name) const {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator(m_folder))
            all.push_back(entry.path().filename().string());
        return all;
    }

private:
    fs::path m_folder;
};

TEST_F(SavedFile, IsThereWholeAndAlone) {
    const std::string text(100000, 'x');
    saveFile(path("a"), text);
    EXPECT_EQ(content("a"), text);
    EXPECT_THAT(names(), testing::ElementsAre("a"));
}

TEST_F(SavedFile, ANewOneHasTheRightsThatAnyNewFileHas) {
    const mode_t before = umask(027);
    saveFile(path("a"), "x");
    umask(before);
    EXPECT_EQ(fs::status(path("a")).permissions(), fs::perms(0640));
}

TEST_F(SavedFile, OneThatIsReplacedKeepsItsRights) {
    std::ofstream(path("a")) << "before";
    fs::permissions(path("a"), fs::perms(0600));
    saveFile(path("a"), "after");
    EXPECT_EQ(content("a"), "after");
    EXPECT_EQ(fs::status(path("a")).permissions(), fs::perms(0600));
}

TEST_F(SavedFile, ReplacesWhatALinkPointsToAndNotTheLink) {
    std::ofstream(path("a")) << "before";
    fs::create_symlink("a", path("link"));
    saveFile(path("link"), "after");
    EXPECT_EQ(content("a"), "after");
    EXPECT_TRUE(fs::is_symlink(path("link")));
}

TEST_F(SavedFile, WritesIntoWhatIsNoRegularFile) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const int reader = open(path("pipe").c_str(), O_RDONLY | O_NONBLOCK);
    saveFile(path("pipe"), "text");
    std::string text(16, '\0');
    const ssize_t size = read(reader, text.data(), text.size());
    close(reader);
    ASSERT_EQ(size, 4);
    EXPECT_EQ(text.substr(0, 4), "text");
    EXPECT_TRUE(fs::is_fifo(path("pipe")));
    EXPECT_THAT(names(), testing::ElementsAre("pipe"));
}

TEST_F(SavedFile, AFailureNamesTheFileAndLeavesNothingBehind) {
    EXPECT_EQ(failureOf([&] { saveFile(path("none/a"), "x"); }),
              "1: " + path("none/a") + ": No such file or directory");
    EXPECT_EQ(failureOf([&] { saveFile("/dev/full", "x"); }), "1: /dev/full: No space left on device");
    fs::create_directory(path("folder"));
    EXPECT_EQ(failureOf([&] { saveFile(path("folder"), "x"); }), "1: " + path("folder") + ": Is a directory");
    EXPECT_THAT(names(), testing::ElementsAre("folder"));
}

}  // namespace
