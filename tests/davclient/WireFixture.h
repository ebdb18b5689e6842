#pragma once

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "davclient/ASWDCmd.h"
#include "platform/Places.h"
#include "platform/RunLoop.h"
#include "security/BXSyncAESInputStream.h"
#include "support/ManualClock.h"
#include "support/RawServer.h"

namespace tidemark::testing {

/// A server, a configuration's connect info, a folder, and the thread's loop under a clock set by hand.
class WireFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern = ::testing::TempDir() + "wireXXXXXX";
        folder_ = ::mkdtemp(pattern.data());
        Places::setRoot(folder_ + "/places");
        clock_.attach(loop_);
    }

    void TearDown() override
    {
        loop_->setClock(Clock::system());
        server_.reset();
        std::filesystem::remove_all(folder_);
    }

    void serve(RawServer::Handler handler)
    {
        server_ = std::make_unique<RawServer>(std::move(handler), [loop = loop_] { loop->wake(); });
    }
    void serve(const std::string& bytes, bool closes = false)
    {
        serve([=](const RawServer::Request&) { return RawServer::Answer{bytes, closes}; });
    }

    Url url(const std::string& path = "/") const { return Url::parse(server_->url(path)).value(); }
    std::string path(const std::string& name) const { return folder_ + "/" + name; }

    void writeFile(const std::string& name, const std::string& content) const
    {
        std::ofstream(path(name), std::ios::binary) << content;
    }
    std::string readFile(const std::string& name) const
    {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// What the file's content becomes under `key`.
    std::string encrypted(const std::string& name, const std::string& key) const
    {
        BXSyncAESInputStream encrypting(path(name), key, false);
        EXPECT_TRUE(encrypting.open());
        std::string content;
        std::array<char, 4096> block;
        while (encrypting.hasBytesAvailable()) {
            const auto count = encrypting.read(std::as_writable_bytes(std::span(block)));
            if (count < 0) throw std::runtime_error("encrypting");
            content.append(block.data(), static_cast<std::size_t>(count));
        }
        return content;
    }

    template <class Command>
    std::shared_ptr<Command> make(const std::string& resource = "/") const
    {
        return std::make_shared<Command>(url(resource), info_);
    }

    /// Executes with a handler that counts.
    bool start(ASWDCmd& command)
    {
        handled_ = 0;
        command.setCompleteEventHandler([this] { ++handled_; });
        return command.execute();
    }
    void finish()
    {
        loop_->runUntil([&] { return handled_ > 0; });
    }
    /// Executes and waits for the handler.
    void run(ASWDCmd& command)
    {
        ASSERT_TRUE(start(command)) << (command.error() ? command.error()->description() : "");
        finish();
    }
    /// Serves what is due at this moment.
    void turn()
    {
        bool served = false;
        loop_->post([&] { served = true; });
        loop_->runUntil([&] { return served; });
    }
    void advance(std::chrono::seconds by)
    {
        clock_.advance(by);
        turn();
    }

    std::shared_ptr<RunLoop> loop_ = RunLoop::current();
    ManualClock clock_;
    std::string folder_;
    std::unique_ptr<RawServer> server_;
    std::shared_ptr<ASHttpConnectInfo> info_ = std::make_shared<ASHttpConnectInfo>();
    int handled_ = 0;
};

} // namespace tidemark::testing
