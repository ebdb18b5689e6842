#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "davclient/ASHttpConnectInfo.h"
#include "davclient/ASWDCmd.h"
#include "platform/RunLoop.h"
#include "platform/Url.h"
#include "support/ApacheServer.h"
#include "support/Proxies.h"

namespace tidemark::testing {

/// Executes a command and serves the thread's loop until its handler has run.
template <class Command>
std::shared_ptr<Command> carryOut(std::shared_ptr<Command> command)
{
    bool ended = false;
    command->setCompleteEventHandler([&ended] { ended = true; });
    EXPECT_TRUE(command->execute());
    if (command->connection()) RunLoop::current()->runUntil([&ended] { return ended; });
    return command;
}

Url urlOf(const std::string& text);

/// Sends one command of that kind.
template <class Command>
std::shared_ptr<Command> send(const std::string& url, const std::shared_ptr<ASHttpConnectInfo>& info)
{
    return carryOut(std::make_shared<Command>(urlOf(url), info));
}

void copyCredentials(const ApacheServer& server, ASHttpConnectInfo& info);
/// What a configuration has for `server`: its credentials.
std::shared_ptr<ASHttpConnectInfo> connectInfoFor(const ApacheServer& server);
template <class Proxy>
void useProxy(ASHttpConnectInfo& info, const Proxy& proxy)
{
    info.setIsUseProxy(true);
    info.setProxyHost("127.0.0.1");
    info.setProxyPort(proxy.port());
    info.setIsUseProxyAuthorization(proxy.options().signIn != SignIn::none);
    info.setProxyUsername(proxy.options().user);
    info.setProxyPassword(proxy.options().password);
}

/// The status of an answered command, the outcome of a certificate check, or "failed".
std::string outcomeOf(const ASWDCmd& command);

const char* nameOf(SignIn signIn);

} // namespace tidemark::testing
