#pragma once

#include "devserver/Client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace devserver::test {

// A server over a temporary folder, started by the test's first use, and a client.
class ServedFolder : public ::testing::Test
{
protected:
    ServedFolder() { options.root = folder.path(); }

    Server& server()
    {
        if (!server_) server_ = std::make_unique<Server>(options);
        return *server_;
    }
    Client& client()
    {
        if (!client_) client_ = std::make_unique<Client>(server());
        return *client_;
    }
    Reply send(const std::string& method, const std::string& target, const std::vector<std::string>& headers = {},
               std::optional<std::string> body = {})
    {
        return client().send(method, target, headers, std::move(body));
    }
    void addFault(FaultEffect effect, const std::string& method = "*", const std::string& pattern = "*", int count = 1)
    {
        server().addFault({method, pattern, std::move(effect), count, 0});
    }

    TemporaryFolder folder;
    Options options;

private:
    std::unique_ptr<Server> server_;
    std::unique_ptr<Client> client_;
};

} // namespace devserver::test
