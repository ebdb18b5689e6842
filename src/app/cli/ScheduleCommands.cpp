#include "app/cli/ScheduleCommands.h"

#include "app/cli/Console.h"
#include "app/cli/NamedConfigurations.h"
#include "app/cli/ScheduleText.h"
#include "config/BXSyncConfigManager.h"

namespace tidemark::cli {

namespace {

using Schedules = std::vector<BXSyncSchedule>;

ExitStatus save(const std::shared_ptr<BXSyncConf>& conf, Schedules schedules, BXSyncConfigManager& store,
                CommandContext& context)
{
    conf->setSyncSchedules(std::move(schedules));
    if (store.save({{conf->name(), conf}}).empty()) return ExitStatus::done;
    context.console.error("the configuration '" + conf->name() + "' cannot be written");
    return ExitStatus::configuration;
}

ExitStatus refuse(CommandContext& context, const std::string& complaint)
{
    context.console.error(complaint);
    return ExitStatus::usage;
}

} // namespace

ExitStatus run(const ScheduleAdd& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto conf = namedConfiguration(command.name, store, context.console);
    if (!conf) return conf.error();
    const auto schedule = parseSchedule(command.schedule);
    if (!schedule)
        return refuse(context, "'" + command.schedule +
                                   "' is no schedule; write \"mon 9:00\", \"daily 18:30\" or \"hourly :15\"");
    auto schedules = (*conf)->syncSchedules();
    for (const auto& known : schedules)
        if (known.compare(*schedule) == 0) return refuse(context, "'" + command.name + "' has that schedule already");
    schedules.push_back(*schedule);
    if (!(*conf)->info()->isUseAuthorization())
        context.console.warning("'" + command.name +
                                "' signs in without a user; only configurations with a user run on schedule");
    return save(*conf, std::move(schedules), store, context);
}

ExitStatus run(const ScheduleList& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto conf = namedConfiguration(command.name, store, context.console);
    if (!conf) return conf.error();
    int number = 0;
    for (const auto& schedule : (*conf)->syncSchedules())
        context.console.data(std::to_string(++number) + "  " + scheduleText(schedule));
    return ExitStatus::done;
}

ExitStatus run(const ScheduleRemove& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto conf = namedConfiguration(command.name, store, context.console);
    if (!conf) return conf.error();
    auto schedules = (*conf)->syncSchedules();
    if (command.number < 1 || static_cast<std::size_t>(command.number) > schedules.size())
        return refuse(context, "'" + command.name + "' has no schedule number " + std::to_string(command.number));
    schedules.erase(schedules.begin() + command.number - 1);
    return save(*conf, std::move(schedules), store, context);
}

} // namespace tidemark::cli
