// Files replaced whole, and what killed writers leave behind.
#include <basalt/sup/whole_file.h>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utime.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>

namespace {
std::string synced; // what was synced, in order: f a file, d a folder
} // namespace

// In the C library's place, as the linker has it.
extern "C" int fsync(int descriptor) {
    struct stat status {};
    fstat(descriptor, &status);
    synced += S_ISDIR(status.st_mode) ? 'd' : 'f';
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace {

class WholeFile : public testing::Test {
protected:
    WholeFile() {
        std::string pattern = testing::TempDir() + "basalt_whole_XXXXXX";
        folder_ = mkdtemp(pattern.data());
    }
    ~WholeFile() override { std::filesystem::remove_all(folder_); }

    std::string read(const std::string& name) const {
        basalt::Descriptor file;
        struct stat status {};
        std::string contents;
        const int error = basalt::open_file(folder_ + name, file, status);
        return error == 0 && basalt::read_whole(file.get(), 1000, contents) == 0 ? contents : "?";
    }
    std::size_t files() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder_), {}));
    }

    std::string folder_;
};

TEST_F(WholeFile, TakesTheOldOnesPlaceWithItsMode) {
    EXPECT_EQ(basalt::replace_file(folder_ + "/x", "old"), 0);
    EXPECT_EQ(basalt::replace_file(folder_ + "/x", std::string(100, 'n'), 0644), 0);
    EXPECT_EQ(read("/x"), std::string(100, 'n'));
    struct stat status {};
    ASSERT_EQ(stat((folder_ + "/x").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644U);
    EXPECT_EQ(files(), 1U);
    std::string bounded;
    basalt::Descriptor file;
    ASSERT_EQ(basalt::open_file(folder_ + "/x", file, status), 0);
    EXPECT_EQ(basalt::read_whole(file.get(), 99, bounded), EFBIG);
}

// A loss of power finds the old file or the new one: first the content is on the disk, then the
// name.
TEST_F(WholeFile, ContentAndFolderAreSynced) {
    synced.clear();
    EXPECT_EQ(basalt::replace_file(folder_ + "/x", "content"), 0);
    EXPECT_EQ(synced, "fd");
}

TEST_F(WholeFile, FailureLeavesNothingBehind) {
    EXPECT_EQ(basalt::replace_file(folder_ + "/none/x", "a"), ENOENT);
    std::filesystem::create_directory(folder_ + "/folder");
    EXPECT_EQ(basalt::replace_file(folder_ + "/folder", "a"), EISDIR);
    EXPECT_EQ(files(), 1U);
}

// kill -9 leaves a file in the making; the next writer in the folder clears it away, but none that
// may still be at work, nor a file that only looks alike.
TEST_F(WholeFile, LeftFilesOfKilledWritersGo) {
    const utimbuf long_ago{time(nullptr) - 7200, time(nullptr) - 7200};
    for (const char* name : {"/.x.cer.making-AbCdEf", "/.y.making-123456", "/other.making-AbCdEf",
                             "/.x.cer.making-AbCdEfG"}) {
        std::ofstream(folder_ + name) << "half";
        if (std::string_view(name) != "/.y.making-123456") {
            utime((folder_ + name).c_str(), &long_ago);
        }
    }
    EXPECT_EQ(basalt::replace_file(folder_ + "/x.cer", "whole"), 0);
    EXPECT_EQ(read("/.x.cer.making-AbCdEf"), "?");
    EXPECT_EQ(read("/.y.making-123456"), "half");
    EXPECT_EQ(files(), 4U);
}

} // namespace
