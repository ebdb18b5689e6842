#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/cli/Outcome.h"

namespace tidemark {
class BXSyncConf;
}

/// The JSON documents on standard output. Texts that are not UTF-8 have the bytes at fault replaced; times are ISO 8601
/// in UTC; no document holds a secret.
namespace tidemark::cli::json {

/// {"configurations": [{"name", "status", "items": […]}]}
std::string outcomes(const std::vector<Outcome>& outcomes);

/// One configuration: name, url, local, mode and the rest of what "config show" shows.
std::string configuration(const BXSyncConf& conf);

/// {"configurations": […]}
std::string configurations(const std::vector<std::shared_ptr<BXSyncConf>>& confs);

} // namespace tidemark::cli::json
