#include "app/KeptCredentials.h"

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncRunLock.h"
#include "config/BXSyncConf.h"
#include "config/BXSyncConfigManager.h"
#include "davclient/ASHttpConnectInfo.h"
#include "security/BXSyncPasswordManager.h"
#include "support/TempTree.h"

namespace tidemark {
namespace {

using Of = KeptCredentials::Of;

class KeptCredentialsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        BXSyncConf::setPasswordDelegate(&passwords_);
        used_->setName("work");
        used_->setSyncinfoPath(store_.syncInfoPath("work"));
        used_->info()->setUsername("anna");
        used_->info()->setPassword("old");
        ASSERT_TRUE(store_.save({{"work", used_}}).empty());
        used_ = store_.get("work", false);
        used_->info()->setPassword("new");
        used_->info()->setProxyUsername("at the proxy");
        used_->setMode(SyncMode::uploadOnly);
    }
    void TearDown() override { BXSyncConf::setPasswordDelegate(nullptr); }

    void endRun(bool accepted) { credentials_.runEnded("work", *used_, accepted); }
    std::string stored() { return store_.get("work", false)->info()->password(); }

    BXSyncPasswordManager passwords_;
    test::TempTree folder_;
    BXSyncConfigManager store_{folder_.root()};
    KeptCredentials credentials_{store_};
    std::shared_ptr<BXSyncConf> used_ = std::make_shared<BXSyncConf>();
};

TEST_F(KeptCredentialsTest, KeepsWhatWasAcceptedAndNothingElseOfTheRun)
{
    credentials_.answered("work", Of::server, true);
    endRun(true);
    const auto conf = store_.get("work", false);
    EXPECT_EQ(conf->info()->password(), "new");
    EXPECT_TRUE(conf->info()->isUseAuthorization());
    EXPECT_EQ(conf->info()->proxyUsername(), "");
    EXPECT_EQ(conf->mode(), SyncMode::twoWay);
}

TEST_F(KeptCredentialsTest, ForgetsWhatWasRefusedOrNotWanted)
{
    credentials_.answered("work", Of::server, true);
    endRun(false);
    endRun(true);
    EXPECT_EQ(stored(), "old");

    credentials_.answered("work", Of::server, true);
    credentials_.answered("work", Of::server, false);
    credentials_.answered("other", Of::server, true);
    endRun(true);
    EXPECT_EQ(stored(), "old");
}

TEST_F(KeptCredentialsTest, LeavesAConfigurationAloneWhileItRunsElsewhere)
{
    const auto lock = BXSyncRunLock::tryAcquire(used_->syncinfoPath());
    credentials_.answered("work", Of::server, true);
    endRun(true);
    EXPECT_EQ(stored(), "old");
}

} // namespace
} // namespace tidemark
