#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "ond/util/xml/Element.h"

namespace {

using ond::util::xml::Element;
using ond::util::xml::Tag;
using ond::util::xml::Text;
namespace fs = std::filesystem;

/// A folder of its own for each test, gone behind it.
class XmlFile : public testing::Test {
  protected:
    void SetUp() override {
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        m_folder = fs::temp_directory_path() / ("xmlfile-" + std::to_string(::getpid()) + "-" + info->name());
        fs::create_directory(m_folder);
    }
    void TearDown() override { fs::remove_all(m_folder); }

    [[nodiscard]] std::string path(const std::string& name = "tree.xml") const { return (m_folder / name).string(); }
    [[nodiscard]] std::ptrdiff_t filesInFolder() const {
        return std::distance(fs::directory_iterator(m_folder), fs::directory_iterator());
    }

    static void put(const std::string& file, const std::string& bytes) {
        std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    static std::string get(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    fs::path m_folder;
};

Element tree() {
    Element e{Tag("a")};
    e.setAttribute("k", "v");
    e.addChild(Tag("b")).addChild(Text("one\ntwo"));
    e.addChild(Tag("c"));
    return e;
}

constexpr const char* kTreeFile = "<?xml version=\"1.0\"?>\n<a k=\"v\">\n\t<b>one&#10;two</b>\n\t<c/>\n</a>";

TEST_F(XmlFile, SaveWritesHeadLineAndIndentedTree) {
    ASSERT_TRUE(tree().save(path()));
    EXPECT_EQ(get(path()), kTreeFile);
    EXPECT_EQ(filesInFolder(), 1);
}

TEST_F(XmlFile, LoadReadsBackWhatSaveWrote) {
    ASSERT_TRUE(tree().save(path()));
    Element back;
    EXPECT_EQ(back.load(path()), 0);
    EXPECT_TRUE(back.equalsDeep(Element("<a k='v'><b>one&#10;two</b>\t<c/></a>")));
    EXPECT_EQ(back.getChild("b").getTextContent(), "one\ntwo");
}

TEST_F(XmlFile, WrittenLineFeedSurvivesARealOneIsLost) {
    put(path(), "<a>one\ntwo&#10;three</a>\n");
    Element e;
    ASSERT_EQ(e.load(path()), 0);
    EXPECT_EQ(e.getTextContent(), "onetwo\nthree");
}

TEST_F(XmlFile, LostLineBreakJoinsWhatItSeparated) {
    put(path(), "<a\nk='v'/>");
    Element e;
    ASSERT_EQ(e.load(path()), 0);
    EXPECT_EQ(e.text, "ak='v'");
}

TEST_F(XmlFile, LoadDropsLineFeedsOnly) {
    put(path(), "<a>x\r\ny\tz</a>");
    Element e;
    ASSERT_EQ(e.load(path()), 0);
    EXPECT_EQ(e.getTextContent(), "x\ry\tz");
}

TEST_F(XmlFile, LoadOfAMissingFileGivesOneAndLeavesTheElement) {
    Element e = tree();
    EXPECT_EQ(e.load(path("missing.xml")), 1);
    EXPECT_TRUE(e.equalsDeep(tree()));
}

TEST_F(XmlFile, LoadOfAFolderGivesOne) {
    Element e = tree();
    EXPECT_EQ(e.load(m_folder.string()), 1);
    EXPECT_TRUE(e.equalsDeep(tree()));
}

TEST_F(XmlFile, LoadOfAnEmptyFileGivesTwo) {
    put(path(), "");
    Element e = tree();
    EXPECT_EQ(e.load(path()), 2);
    EXPECT_TRUE(e.isEmpty());
}

TEST_F(XmlFile, LoadReportsWhatTheParserSays) {
    put(path(), "<a></b>");
    EXPECT_EQ(Element().load(path()), 4);
}

TEST_F(XmlFile, LoadOfAnEndlessFileEndsAtItsFirstNul) {
    Element e;
    EXPECT_EQ(e.load("/dev/zero"), 2);
}

TEST_F(XmlFile, LoadReadsFilesLargerThanItsBuffer) {
    Element e{Tag("a")};
    e.addChild(Text(std::string(300000, 'x') + "end"));
    ASSERT_TRUE(e.save(path()));
    Element back;
    ASSERT_EQ(back.load(path()), 0);
    EXPECT_TRUE(back.equalsDeep(e));
}

TEST_F(XmlFile, SaveReplacesAnOlderFile) {
    put(path(), std::string(10000, 'x'));
    ASSERT_TRUE(tree().save(path()));
    EXPECT_EQ(get(path()), kTreeFile);
    EXPECT_EQ(filesInFolder(), 1);
}

TEST_F(XmlFile, SaveKeepsAccessRights) {
    put(path(), "old");
    ASSERT_EQ(::chmod(path().c_str(), 0640), 0);
    ASSERT_TRUE(tree().save(path()));
    struct stat status {};
    ASSERT_EQ(::stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST_F(XmlFile, SaveWritesThroughASymbolicLink) {
    put(path("real.xml"), "old");
    fs::create_symlink("real.xml", path("link.xml"));
    ASSERT_TRUE(tree().save(path("link.xml")));
    EXPECT_TRUE(fs::is_symlink(path("link.xml")));
    EXPECT_EQ(get(path("real.xml")), kTreeFile);
}

TEST_F(XmlFile, SaveMakesTheFileThatALinkPromises) {
    fs::create_symlink("real.xml", path("link.xml"));
    ASSERT_TRUE(tree().save(path("link.xml")));
    EXPECT_TRUE(fs::is_symlink(path("link.xml")));
    EXPECT_EQ(get(path("real.xml")), kTreeFile);
}

TEST_F(XmlFile, SaveTakesTheLongestNameAFolderCanHold) {
    const std::string longest = path(std::string(255, 'n'));
    ASSERT_TRUE(tree().save(longest));
    EXPECT_EQ(get(longest), kTreeFile);
}

TEST_F(XmlFile, SaveTakesARelativePath) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    const bool saved = tree().save("plain.xml");
    fs::current_path(before);
    EXPECT_TRUE(saved);
    EXPECT_EQ(get(path("plain.xml")), kTreeFile);
}

TEST_F(XmlFile, SaveFailsWhereNoFileCanBe) {
    EXPECT_FALSE(tree().save(path("missing/tree.xml")));
    EXPECT_FALSE(tree().save(m_folder.string()));
    EXPECT_FALSE(tree().save(""));
    EXPECT_EQ(filesInFolder(), 0);
}

/// Runs `action` as a user to whom a folder of mode 0555 is closed, which it is not to root.
bool asOrdinaryUser(const std::function<bool()>& action) {
    if (::geteuid() != 0) return action();
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        ::_exit(::setuid(kNobody) == 0 && action() ? 0 : 1);
    }
    int status = 1;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(XmlFile, SaveWritesAFileWhoseFolderTakesNoNewOne) {
    put(path(), "older");
    ASSERT_EQ(::chmod(path().c_str(), 0666), 0);
    ASSERT_EQ(::chmod(m_folder.c_str(), 0555), 0);
    const bool saved = asOrdinaryUser([this] { return tree().save(path()); });
    const bool savedNew = asOrdinaryUser([this] { return tree().save(path("new.xml")); });
    ASSERT_EQ(::chmod(m_folder.c_str(), 0755), 0);
    EXPECT_TRUE(saved);
    EXPECT_FALSE(savedNew);
    EXPECT_EQ(get(path()), kTreeFile);
    EXPECT_EQ(filesInFolder(), 1);
}

TEST_F(XmlFile, SaveReportsAFullDevice) {
    EXPECT_FALSE(tree().save("/dev/full"));
    EXPECT_TRUE(tree().save("/dev/null"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(XmlFile, FailedSaveLeavesTheOlderFileWhole) {
    const std::string old = "an older file, longer than the limit below: " + std::string(5000, 'x');
    put(path(), old);
    Element large{Tag("a")};
    large.addChild(Text(std::string(100000, 'y')));

    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tight{4096, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
    const bool saved = large.save(path());
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);

    EXPECT_FALSE(saved);
    EXPECT_EQ(get(path()), old);
    EXPECT_EQ(filesInFolder(), 1);
}

}  // namespace
