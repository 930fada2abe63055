// Files are written whole or not at all.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "stage/StageError.h"
#include "stage/TakeTests.h"

namespace ond::test {

using namespace stage;

namespace {

const Bytes kOlder{'o', 'l', 'd', 'e', 'r'};

mode_t modeOf(const std::string& path) {
    struct stat about {};
    EXPECT_EQ(::stat(path.c_str(), &about), 0);
    return about.st_mode & 0777U;
}

TEST(WholeFile, WritesAndReads) {
    OwnFolder folder;
    Bytes bytes(3000000);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 7);
    writeWhole(folder.file("a"), bytes);
    EXPECT_EQ(readWhole(folder.file("a"), bytes.size()), bytes);
    writeWhole(folder.file("a"), std::string());
    EXPECT_EQ(readWhole(folder.file("a"), 0), Bytes());
    EXPECT_EQ(folder.count(), 1u);
}

TEST(WholeFile, KeepsPermissionsAndLinks) {
    OwnFolder folder;
    writeWhole(folder.file("a"), kOlder);
    EXPECT_EQ(modeOf(folder.file("a")) & 0400U, 0400U);
    ASSERT_EQ(::chmod(folder.file("a").c_str(), 0640), 0);
    ASSERT_EQ(::symlink("a", folder.file("link").c_str()), 0);
    writeWhole(folder.file("link"), std::string("newer"));
    EXPECT_EQ(modeOf(folder.file("a")), 0640U);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
    EXPECT_EQ(readFile(folder.file("a")), Bytes({'n', 'e', 'w', 'e', 'r'}));
}

TEST(WholeFile, FullDiskLeavesNothingBehindAndTheOlderFileAlone) {
    OwnFolder folder;
    writeWhole(folder.file("a"), kOlder);
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    struct rlimit tight = before;
    tight.rlim_cur = 100000;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
    const std::string existing = errorOf([&] { writeWhole(folder.file("a"), Bytes(200000)); });
    const std::string fresh = errorOf([&] { writeWhole(folder.file("b"), Bytes(200000)); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(existing, "'" + folder.file("a") + "' cannot be written: File too large");
    EXPECT_EQ(fresh, "'" + folder.file("b") + "' cannot be written: File too large");
    EXPECT_EQ(readFile(folder.file("a")), kOlder);
    EXPECT_EQ(folder.count(), 1u);
}

TEST(WholeFile, DevicesAreWrittenStraight) {
    EXPECT_EQ(errorOf([] { writeWhole("/dev/full", kOlder); }),
              "'/dev/full' cannot be written: No space left on device");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
    writeWhole("/dev/null", kOlder);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST(WholeFile, SaysWhatIsWrong) {
    OwnFolder folder;
    const auto writing = [&](const std::string& path) { return errorOf([&] { writeWhole(path, kOlder); }); };
    EXPECT_EQ(writing(folder.file("")), "'" + folder.file("") + "' cannot be written: it is a folder");
    EXPECT_EQ(writing(folder.file("no/a")),
              "'" + folder.file("no/a") + "' cannot be written: there is no folder '" + folder.file("no") + "'");
    EXPECT_EQ(writing(folder.file("no/")), "'" + folder.file("no/") + "' cannot be written: it names a folder");
    EXPECT_EQ(writing(""), "no name is given for the file to write");
    const auto reading = [&](const std::string& path) { return errorOf([&] { (void)readWhole(path, 3); }); };
    EXPECT_EQ(reading(folder.file("a")), "'" + folder.file("a") + "' cannot be read: there is no such file");
    EXPECT_EQ(reading(folder.file("")), "'" + folder.file("") + "' cannot be read: it is a folder");
    writeWhole(folder.file("a"), kOlder);
    EXPECT_EQ(reading(folder.file("a")), "'" + folder.file("a") + "' cannot be read: it is larger than 3 bytes");
    EXPECT_EQ(reading("/dev/zero"), "'/dev/zero' cannot be read: it is larger than 3 bytes");
}

TEST(WholeFile, WriteProtectedFileStays) {
    if (::geteuid() == 0) GTEST_SKIP() << "root writes everywhere";
    OwnFolder folder;
    writeWhole(folder.file("a"), kOlder);
    ASSERT_EQ(::chmod(folder.file("a").c_str(), 0400), 0);
    EXPECT_EQ(errorOf([&] { writeWhole(folder.file("a"), Bytes(3)); }),
              "'" + folder.file("a") + "' cannot be written: Permission denied");
    EXPECT_EQ(readFile(folder.file("a")), kOlder);
}

}  // namespace
}  // namespace ond::test
