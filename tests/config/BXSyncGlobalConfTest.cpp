#include "config/BXSyncGlobalConf.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "platform/UserDefaults.h"

namespace tidemark {
namespace {

class BXSyncGlobalConfTest : public ::testing::Test
{
protected:
    BXSyncGlobalConfTest()
    {
        std::string pattern = ::testing::TempDir() + "globalXXXXXX";
        folder_ = ::mkdtemp(pattern.data());
        store_ = std::make_unique<UserDefaults>(folder_ + "/defaults.plist");
    }
    ~BXSyncGlobalConfTest() override { std::filesystem::remove_all(folder_); }

    std::string folder_;
    std::unique_ptr<UserDefaults> store_;
};

TEST_F(BXSyncGlobalConfTest, AnEmptyStoreYieldsTheDefaults)
{
    const BXSyncGlobalConf conf(*store_);
    EXPECT_EQ(conf.optionsTimeout(), 10U);
    EXPECT_EQ(conf.propfindTimeout(), 20U);
    EXPECT_EQ(conf.timeout(), 120U);
    EXPECT_TRUE(conf.reconnect());
    EXPECT_EQ(conf.reconnectInterval(), 10U);
    EXPECT_EQ(conf.reconnectLimit(), 3U);
    EXPECT_FALSE(conf.syncOnStartUp() || conf.syncOnExit() || conf.hideProgress());
}

TEST_F(BXSyncGlobalConfTest, ReadsAndWritesItsKeys)
{
    BXSyncGlobalConf conf(*store_);
    conf.setTimeout(7);
    conf.setReconnect(false);
    conf.setHideProgress(true);
    EXPECT_TRUE(conf.synchronize());
    UserDefaults other(folder_ + "/defaults.plist");
    EXPECT_EQ(other.object("BXSYNC_HTTP_CONNECTION_TIMEOUT")->integerValue(), 7);
    EXPECT_FALSE(other.object("BXSYNC_HTTP_RECONNECTION")->boolValue());
    EXPECT_TRUE(other.object("BXSYNC_HIDE_PROGRESS_DIALOG")->boolValue());

    other.setObject("BXSYNC_HTTP_PROPFIND_CONNECTION_TIMEOUT", PropertyList("33"));
    EXPECT_EQ(conf.propfindTimeout(), 33U) << "a change is seen at the next read";
    conf.setTimeout(std::nullopt);
    EXPECT_EQ(conf.timeout(), 120U);
}

TEST(BXSyncGlobalConfValidation, ReportsTheFirstFault)
{
    const auto fault = [](std::string propfind, std::string other, bool reconnect, std::string interval,
                          std::string limit) {
        return BXSyncGlobalConf::validationError(
                   {std::move(propfind), std::move(other), reconnect, std::move(interval), std::move(limit)})
            .value_or("");
    };
    EXPECT_EQ(fault("20", "120", true, "10", "3"), "");
    EXPECT_EQ(fault("20", "99999999999999999999999", true, "10", "3"), "");
    EXPECT_EQ(fault("20", "120", false, "x", ""), "");
    for (const auto* bad : {"", "0", "00", "-1", " 1", "1.5", "1e3", "\xef\xbc\x91\xef\xbc\x92"}) {
        EXPECT_EQ(fault(bad, bad, true, bad, bad), "CONFIG_TIMEOUT_PROPFIND_ERROR") << bad;
        EXPECT_EQ(fault("20", bad, true, bad, bad), "CONFIG_TIMEOUT_OTHER_ERROR") << bad;
        EXPECT_EQ(fault("20", "120", true, bad, bad), "CONFIG_RECONNECT_INTERVAL_ERROR") << bad;
        EXPECT_EQ(fault("20", "120", true, "10", bad), "CONFIG_RECONNECT_LIMIT_ERROR") << bad;
    }
}

} // namespace
} // namespace tidemark
