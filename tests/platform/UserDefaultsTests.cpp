#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "TempFolder.h"
#include "platform/Places.h"
#include "platform/UserDefaults.h"

using namespace tidemark;

TEST(UserDefaults, ReadersSeeWhatOthersWrite)
{
    test::TempFolder folder;
    UserDefaults first(folder.path("new/defaults.plist"));
    UserDefaults second(folder.path("new/defaults.plist"));
    EXPECT_EQ(first.object("key"), std::nullopt);
    second.setObject("key", 5);
    EXPECT_EQ(first.object("key"), PropertyList(5));
    first.setObject("key", 6);
    first.setObject("other", "x");
    EXPECT_EQ(second.object("key"), PropertyList(6));
    second.setObject("key", std::nullopt);
    EXPECT_EQ(first.object("key"), std::nullopt);
    EXPECT_EQ(first.all().size(), 1u);
    EXPECT_TRUE(first.synchronize() && second.synchronize());
}

TEST(UserDefaults, WritersOfSeveralProcessesLoseNothing)
{
    constexpr int writers = 3;
    constexpr int keys = 8;
    test::TempFolder folder;
    auto path = folder.path("defaults.plist");
    auto writeKeys = [&path](int writer) {
        UserDefaults defaults(path);
        for (int i = 0; i < keys; ++i)
            defaults.setObject(std::to_string(writer) + "." + std::to_string(i), i);
        return defaults.synchronize().has_value();
    };
    std::vector<pid_t> children;
    for (int writer = 0; writer < writers; ++writer) {
        auto child = ::fork();
        if (child == 0) ::_exit(writeKeys(writer) ? 0 : 1);
        children.push_back(child);
    }
    for (auto child : children) {
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(UserDefaults(path).all().size(), static_cast<std::size_t>(writers * keys));
    EXPECT_EQ(folder.entryCount(), 1u);
}

TEST(UserDefaults, ADamagedFileIsLeftAlone)
{
    test::TempFolder folder;
    folder.write("defaults.plist", "<plist>half a fi");
    UserDefaults defaults(folder.path("defaults.plist"));
    EXPECT_EQ(defaults.object("key"), std::nullopt);
    defaults.setObject("key", 1);
    auto failed = defaults.synchronize();
    ASSERT_FALSE(failed);
    EXPECT_NE(failed.error().description().find(folder.path("defaults.plist")), std::string::npos);
    EXPECT_EQ(folder.read("defaults.plist"), "<plist>half a fi");
    EXPECT_TRUE(defaults.synchronize());
}

TEST(Places, ARootHoldsEverythingAndXdgCountsWithoutOne)
{
    Places::setRoot("");
    ::unsetenv("TIDEMARK_CONFIG_DIR");
    ::setenv("HOME", "/home/somebody", 1);
    ::setenv("XDG_DATA_HOME", "relative", 1);
    ::setenv("XDG_CONFIG_HOME", "/xdg/config", 1);
    ::setenv("XDG_RUNTIME_DIR", "/run/user/1", 1);
    EXPECT_EQ(Places::configurationDirectory(), "/home/somebody/.local/share/com.marlock.tidemark");
    EXPECT_EQ(Places::defaultsFile(), "/xdg/config/com.marlock.tidemark/defaults.plist");
    EXPECT_EQ(Places::runtimeDirectory(), "/run/user/1/com.marlock.tidemark");
    ::setenv("TIDEMARK_CONFIG_DIR", "/from/environment/", 1);
    EXPECT_EQ(Places::defaultsFile(), "/from/environment/defaults.plist");
    Places::setRoot("/given");
    EXPECT_EQ(Places::configurationDirectory(), "/given");
    EXPECT_EQ(Places::runtimeDirectory(), "/given/run");
    EXPECT_EQ(&UserDefaults::standard(), &UserDefaults::standard());
    ::unsetenv("TIDEMARK_CONFIG_DIR");
    Places::setRoot("");
}
