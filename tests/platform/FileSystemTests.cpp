#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>

#include "TempFolder.h"
#include "platform/FileSystem.h"

using namespace tidemark;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace {

const std::string composed = "caf\xC3\xA9";
const std::string decomposed = "cafe\xCC\x81";

class FileSystemTest : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return folder_.path(name); }
    void makeFolder(const std::string& name) { std::filesystem::create_directories(path(name)); }
    void link(const std::string& target, const std::string& name)
    {
        ASSERT_EQ(::symlink(target.c_str(), path(name).c_str()), 0);
    }

    std::set<std::string> names(const std::string& name = "") const
    {
        std::set<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path(name)))
            found.insert(entry.path().filename());
        return found;
    }

    test::TempFolder folder_;
};

template <class T>
testing::AssertionResult failsNaming(const Result<T>& result, const std::string& path)
{
    if (result) return testing::AssertionFailure() << "no failure";
    if (result.error().domain != "POSIX" || result.error().description().find(path) == std::string::npos)
        return testing::AssertionFailure() << result.error().domain << ": " << result.error().description();
    return testing::AssertionSuccess();
}

} // namespace

TEST_F(FileSystemTest, AttributesFollowLinks)
{
    folder_.write("file", "12345");
    link("file", "to file");
    link("nowhere", "dangling");
    link(".", "to folder");
    auto file = fs::attributes(path("to file")).value();
    EXPECT_EQ(file.kind, fs::FileKind::file);
    EXPECT_EQ(file.size, 5);
    EXPECT_TRUE(file.isLink);
    EXPECT_FALSE(fs::attributes(path("file"))->isLink);
    EXPECT_EQ(fs::attributes(path("to folder"))->kind, fs::FileKind::folder);
    EXPECT_TRUE(failsNaming(fs::attributes(path("dangling")), path("dangling")));
    EXPECT_FALSE(fs::exists(path("dangling")));
    EXPECT_FALSE(fs::isFolder(path("file")));
}

TEST_F(FileSystemTest, AListingLeavesOutWhatLeadsNowhere)
{
    folder_.write("file", "1");
    makeFolder("folder");
    link("file", "link");
    link("nowhere", "dangling");
    link("loop", "loop");
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    std::set<std::pair<std::string, fs::FileKind>> found;
    auto entries = fs::listFolder(folder_.path()).value();
    for (const auto& entry : entries)
        found.emplace(entry.name, entry.attributes.kind);
    EXPECT_THAT(
        found, UnorderedElementsAre(std::pair("file", fs::FileKind::file), std::pair("link", fs::FileKind::file),
                                    std::pair("folder", fs::FileKind::folder), std::pair("pipe", fs::FileKind::other)));
    EXPECT_TRUE(failsNaming(fs::listFolder(path("missing")), path("missing")));
}

TEST_F(FileSystemTest, TimesComeBackAsTheyWereSet)
{
    folder_.write("file", "");
    for (double time : {1700000000.123456, 0.0, 1.9999999999, -86400.75, 4102444800.5}) {
        ASSERT_TRUE(fs::setModified(path("file"), time));
        EXPECT_NEAR(fs::attributes(path("file"))->modified, time, 1e-6);
    }
    ASSERT_TRUE(fs::setModified(path("file"), 1700000000.123456));
    auto once = fs::attributes(path("file"))->modified;
    ASSERT_TRUE(fs::setModified(path("file"), once));
    EXPECT_EQ(fs::attributes(path("file"))->modified, once);
    EXPECT_TRUE(failsNaming(fs::setModified(path("file"), 1e300), path("file")));
    EXPECT_TRUE(failsNaming(fs::setModified(path("missing"), 1), path("missing")));
}

TEST_F(FileSystemTest, FoldersAreMadeWithAllAboveThem)
{
    EXPECT_TRUE(fs::createFolders(path("a/b/c/")));
    EXPECT_TRUE(fs::createFolders(path("a/b")));
    EXPECT_TRUE(fs::isFolder(path("a/b/c")));
    folder_.write("file", "");
    auto refused = fs::createFolders(path("file/x"));
    EXPECT_TRUE(failsNaming(refused, path("file")));
    EXPECT_TRUE(failsNaming(fs::createFolders(path("file")), path("file")));
}

TEST_F(FileSystemTest, ATreeIsRemovedWithoutFollowingLinks)
{
    makeFolder("kept/inside");
    folder_.write("kept/file", "precious");
    makeFolder("tree/a/b/c");
    makeFolder("tree/a/empty");
    folder_.write("tree/a/b/file", "x");
    link("../../kept", "tree/a/link");
    link("../kept/file", "tree/file link");
    link("kept", "top link");
    EXPECT_TRUE(fs::removeTree(path("tree")));
    EXPECT_TRUE(fs::removeTree(path("top link")));
    EXPECT_THAT(names(), UnorderedElementsAre("kept"));
    EXPECT_THAT(names("kept"), UnorderedElementsAre("inside", "file"));
    EXPECT_TRUE(fs::removeTree(path("kept/file")));
    EXPECT_TRUE(failsNaming(fs::removeTree(path("tree")), path("tree")));
}

TEST_F(FileSystemTest, ADeepTreeIsRemovedWithFewOpenFiles)
{
    constexpr rlim_t openFiles = 64;
    constexpr int depth = 200;
    std::string deep = "deep";
    for (int i = 0; i < depth; ++i)
        deep += "/d";
    ASSERT_TRUE(fs::createFolders(path(deep)));
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few{openFiles, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_TRUE(fs::removeTree(path("deep")));
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_THAT(names(), UnorderedElementsAre());
}

TEST_F(FileSystemTest, ReadingIsLimited)
{
    folder_.write("file", "12345");
    EXPECT_EQ(fs::readFile(path("file"), 5).value(), "12345");
    EXPECT_EQ(fs::readFile(path("file"), 4).error().code, EFBIG);
    EXPECT_FALSE(fs::readFile("/proc/self/status").value().empty());
    EXPECT_EQ(fs::readFile("/proc/self/status", 3).error().code, EFBIG);
    EXPECT_TRUE(failsNaming(fs::readFile(folder_.path()), folder_.path()));
}

TEST_F(FileSystemTest, OnlyACommittedReplacementIsSeen)
{
    folder_.write("file", "old");
    {
        auto replacement = fs::DurableReplacement::begin(path("file")).value();
        ASSERT_TRUE(replacement.write(std::string(1 << 20, 'x')));
        EXPECT_EQ(folder_.read("file"), "old");
    }
    EXPECT_EQ(folder_.read("file"), "old");
    EXPECT_THAT(names(), UnorderedElementsAre("file"));
    auto mask = ::umask(077);
    EXPECT_TRUE(fs::replaceFile(path("file"), "new", 0640));
    ::umask(mask);
    EXPECT_EQ(folder_.read("file"), "new");
    struct stat status
    {
    };
    ::stat(path("file").c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_THAT(names(), UnorderedElementsAre("file"));
    makeFolder("folder/x");
    EXPECT_TRUE(failsNaming(fs::replaceFile(path("folder"), "new"), path("folder")));
    EXPECT_TRUE(failsNaming(fs::replaceFile(path("missing/file"), "new"), path("missing/file")));
    EXPECT_THAT(names(), UnorderedElementsAre("file", "folder"));
}

TEST_F(FileSystemTest, OneHoldsALockUntilItLetsGo)
{
    auto first = fs::FileLock::tryAcquire(path("lock")).value();
    ASSERT_TRUE(first);
    EXPECT_FALSE(fs::FileLock::tryAcquire(path("lock")).value());
    first.reset();
    EXPECT_TRUE(fs::FileLock::tryAcquire(path("lock")).value());
    folder_.write("lock", "left behind by an owner that died");
    EXPECT_TRUE(fs::FileLock::tryAcquire(path("lock")).value());
    EXPECT_TRUE(failsNaming(fs::FileLock::tryAcquire(path("missing/lock")), path("missing/lock")));
}

TEST_F(FileSystemTest, ExtendedAttributes)
{
    folder_.write("file", "");
    ASSERT_TRUE(fs::setExtendedAttribute(path("file"), "marlock.test", std::string(2000, 'v')));
    EXPECT_EQ(fs::extendedAttribute(path("file"), "marlock.test"), std::string(2000, 'v'));
    ASSERT_TRUE(fs::setExtendedAttribute(path("file"), "marlock.test", ""));
    EXPECT_EQ(fs::extendedAttribute(path("file"), "marlock.test"), "");
    EXPECT_TRUE(fs::removeExtendedAttribute(path("file"), "marlock.test"));
    EXPECT_TRUE(fs::removeExtendedAttribute(path("file"), "marlock.test"));
    EXPECT_EQ(fs::extendedAttribute(path("file"), "marlock.test"), std::nullopt);
    EXPECT_TRUE(failsNaming(fs::setExtendedAttribute(path("missing"), "marlock.test", "v"), path("missing")));
}

TEST_F(FileSystemTest, NamesAreFoundInWhateverFormTheyLieOnTheDisk)
{
    auto resolved = [&](const std::string& pathname) { return fs::resolve(folder_.path(), pathname).value(); };
    makeFolder(decomposed);
    folder_.write(decomposed + "/" + decomposed + ".txt", "");
    folder_.write("\xE2\x84\xAA", ""); // the Kelvin sign composes to K
    auto onDisk = path(decomposed + "/" + decomposed + ".txt");
    EXPECT_EQ(resolved("/" + composed + "/" + composed + ".txt"), onDisk);
    EXPECT_EQ(resolved("/" + composed + "/new " + composed), path(decomposed + "/new " + composed));
    EXPECT_EQ(resolved("/K"), path("\xE2\x84\xAA"));
    makeFolder(composed);
    EXPECT_EQ(resolved("/" + composed + "/x"), path(composed + "/x"));
    EXPECT_EQ(resolved("/none/below/this"), path("none/below/this"));
}

TEST_F(FileSystemTest, NothingLeadsOutOfTheRoot)
{
    makeFolder("root/folder");
    makeFolder("outside");
    link("../outside", "root/link");
    auto root = path("root");
    for (const char* pathname : {"", "/", "x", "/..", "/folder/../x", "/./x", "//x", "/folder/", "/link/x"})
        EXPECT_TRUE(failsNaming(fs::resolve(root, pathname), root)) << pathname;
    EXPECT_FALSE(fs::resolve(root, std::string("/a\0b", 4)));
    EXPECT_EQ(fs::resolve(root, "/link").value(), root + "/link");
    EXPECT_EQ(fs::resolve(root + "/", "/..x").value(), root + "/..x");
}

TEST(FileSystemPaths, AreTakenApartAndJoined)
{
    EXPECT_EQ(fs::parentPath("/a/b/"), "/a");
    EXPECT_EQ(fs::parentPath("/a"), "/");
    EXPECT_EQ(fs::parentPath("/"), "/");
    EXPECT_EQ(fs::parentPath("a"), "");
    EXPECT_EQ(fs::lastPathComponent("/a/b//"), "b");
    EXPECT_EQ(fs::lastPathComponent("/"), "");
    EXPECT_EQ(fs::joinPath("/a/", "/b"), "/a/b");
    EXPECT_EQ(fs::joinPath("/", "b"), "/b");
    EXPECT_EQ(fs::joinPath("", "b"), "b");
}
