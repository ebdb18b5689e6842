#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "davclient/ASHttpConnectInfo.h"
#include "platform/Url.h"

namespace tidemark {

class ASWDCmd;
class ASWDCmdPropFind;

/// Asks a server whether a URL is a folder that can be synchronised.
class FolderCheck
{
public:
    /// Is told the command that is about to run, and null when it has; false calls it off.
    using Running = std::function<bool(const std::shared_ptr<ASWDCmd>&)>;

    FolderCheck(Url url, std::shared_ptr<ASHttpConnectInfo> info);

    /// The key of what is wrong, or nothing. Runs the calling thread's RunLoop until the answer has come.
    std::optional<std::string> run(const Running& running);

    /// The folder's path equals a cookie's path, "/" at the end and repeated "/" apart: it is the server's root.
    static bool isRootFolder(std::string_view folderPath, const std::map<std::string, ASHttpCookie>& cookies);
    /// What an answer means.
    static std::optional<std::string> judge(int statusCode, std::string_view body);

private:
    std::optional<std::string> ask(const std::shared_ptr<ASWDCmdPropFind>& command);

    const Url url_;
    const std::shared_ptr<ASHttpConnectInfo> info_;
};

} // namespace tidemark
