#pragma once

#include <string>

#include "davclient/ASWDCmd.h"

namespace tidemark {

/// A command whose response body is collected in memory, up to maximumResponseBody; a longer one is an error.
class ASWDCmdBase : public ASWDCmd
{
public:
    static constexpr std::size_t maximumResponseBody = 512U * 1024 * 1024;

    using ASWDCmd::ASWDCmd;

    const std::string& responseBody() const { return responseBody_; }

    bool execute() override;
    std::optional<double> timeout() override;
    bool handleBytes(ASHttpConnection&, std::span<const std::byte> bytes) override;
    void didReceiveAuthenticationChallenge(ASHttpConnection&, const ASHttpAuthentication&, bool isProxy) override;

    /// For tests of the limit.
    void setMaximumResponseBody(std::size_t bytes) { limit_ = bytes; }

private:
    std::string responseBody_;
    std::size_t limit_ = maximumResponseBody;
};

/// A command with a request body given as text (UTF-8).
class ASWDCmdRequestBase : public ASWDCmdBase
{
public:
    using ASWDCmdBase::ASWDCmdBase;

    const std::string& requestBody() const { return requestBody_; }
    void setRequestBody(std::string body) { requestBody_ = std::move(body); }

protected:
    bool connect() override;

private:
    std::string requestBody_;
};

} // namespace tidemark
