#include "app/cli/RunProgress.h"

#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "app/cli/Console.h"
#include "app/cli/Outcome.h"

namespace tidemark::cli {

RunProgress::RunProgress(CommandContext& context) : BXSyncProgressModel(context.clock), context_(context) {}

void RunProgress::updatedFile(const BXSyncFileDataInfo& item)
{
    if (const auto shown = syncItem(item))
        context_.console.detail((item.operateFinished ? "done    " : "not yet ") + itemLine(*shown));
}

} // namespace tidemark::cli
