#pragma once

#include <string>
#include <vector>

#include "app/SyncItem.h"
#include "app/cli/ExitStatus.h"

namespace tidemark::cli {

/// What became of one configuration.
struct Outcome
{
    std::string name;
    ExitStatus status = ExitStatus::done;
    std::vector<SyncItem> items;
};

/// One line for people: direction, kind, size and path.
std::string itemLine(const SyncItem& item);

/// "3 up, 1 down, 1 conflict; 2 failed"; "nothing to do" without items.
std::string summary(const std::vector<SyncItem>& items);

} // namespace tidemark::cli
