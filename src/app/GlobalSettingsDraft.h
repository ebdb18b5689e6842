#pragma once

#include <optional>
#include <string>

#include "config/BXSyncGlobalConf.h"

namespace tidemark {

/// The settings of all configurations as a person has typed and ticked them.
struct GlobalSettingsDraft
{
    std::string optionsTimeout{};
    BXSyncGlobalConf::TypedSettings typed{};
    bool syncOnStartUp = false;
    bool syncOnExit = false;
    bool hideProgress = false;
};

GlobalSettingsDraft draftOf(const BXSyncGlobalConf& settings);

/// Stores a draft that BXSyncGlobalConf::validationError() finds nothing wrong with. What is no number greater than 0
/// where that does not matter leaves the stored value as it is.
Status store(const GlobalSettingsDraft& draft, BXSyncGlobalConf& settings);

} // namespace tidemark
