#pragma once

#include "app/BXSyncProgressModel.h"
#include "app/cli/CommandContext.h"

namespace tidemark::cli {

/// The progress of a sequence, which also tells of each item that is done where a person wants to see each step.
class RunProgress : public BXSyncProgressModel
{
public:
    explicit RunProgress(CommandContext& context);

    void updatedFile(const BXSyncFileDataInfo& item) override;

private:
    CommandContext& context_;
};

} // namespace tidemark::cli
