#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/ConfigurationInput.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"

namespace tidemark {
class BXSyncConf;
}

namespace tidemark::cli {

struct ProxyAddress
{
    std::string host;
    int port = 0;
};

/// "HOST:PORT", an IPv6 address in brackets.
Checked<ProxyAddress> checkedProxy(std::string_view text);

/// The options about proxy, certificates and encryption, checked; what was not given stays as it is.
struct ConnectionChanges
{
    /// "" for none.
    std::optional<std::string> identity;
    std::optional<bool> ignoreServerCert;
    bool removesProxy = false;
    std::optional<ProxyAddress> proxy;
    std::optional<std::string> proxyUser;
    std::optional<std::string> proxyPassword;
    /// "" for none.
    std::optional<std::string> key;
};

/// Reads the secrets that the options name, and asks before the key of a configuration that has been synchronised
/// changes.
Checked<ConnectionChanges> checkConnection(const ConfigurationOptions& options, const BXSyncConf& conf,
                                           CommandContext& context);
void applyConnection(const ConnectionChanges& changes, BXSyncConf& conf);

} // namespace tidemark::cli
