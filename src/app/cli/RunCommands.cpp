#include "app/cli/RunCommands.h"

#include <set>

#include "app/cli/Console.h"
#include "app/cli/JsonOutput.h"
#include "app/cli/NamedConfigurations.h"
#include "app/cli/SequenceRunner.h"
#include "config/BXSyncConfigManager.h"

namespace tidemark::cli {

namespace {

ExitStatus gravest(const std::vector<Outcome>& outcomes)
{
    auto status = ExitStatus::done;
    for (const auto& outcome : outcomes)
        status = graver(status, outcome.status);
    return status;
}

/// Configurations that take part in a run without names and cannot be read.
std::vector<Outcome> brokenOutcomes(const std::vector<std::string>& names, BXSyncConfigManager& store, Console& console)
{
    std::vector<Outcome> outcomes;
    if (!names.empty()) return outcomes;
    for (const auto& [name, error] : store.brokenConfigurations()) {
        console.error("the configuration '" + name + "' cannot be read: " + error.description());
        outcomes.push_back({name, ExitStatus::configuration, {}});
    }
    return outcomes;
}

/// Those of the names that can be read, and an outcome for each of the others.
std::vector<std::shared_ptr<BXSyncConf>> readable(const std::vector<std::string>& names, BXSyncConfigManager& store,
                                                  Console& console, std::vector<Outcome>& outcomes)
{
    std::vector<std::shared_ptr<BXSyncConf>> chosen;
    std::set<std::string> seen;
    for (const auto& name : names.empty() ? store.enableConfigNames() : names) {
        if (!seen.insert(name).second) continue;
        if (auto conf = namedConfiguration(name, store, console))
            chosen.push_back(std::move(*conf));
        else
            outcomes.push_back({name, conf.error(), {}});
    }
    return chosen;
}

std::vector<Outcome> outcomesOf(const std::vector<std::string>& names, SequenceRunner::Plan plan,
                                BXSyncConfigManager& store, CommandContext& context)
{
    auto outcomes = brokenOutcomes(names, store, context.console);
    const auto chosen = readable(names, store, context.console, outcomes);
    if (chosen.empty() && outcomes.empty()) context.console.notice("there is no enabled configuration");
    for (auto& outcome : SequenceRunner(context, plan).run(chosen))
        outcomes.push_back(std::move(outcome));
    return outcomes;
}

void showList(const std::vector<Outcome>& outcomes, Console& console)
{
    for (const auto& outcome : outcomes) {
        if (outcome.status != ExitStatus::done) continue;
        console.data(outcome.name + ": " + summary(outcome.items));
        for (const auto& item : outcome.items)
            console.data("  " + itemLine(item));
    }
}

void showFailures(const Outcome& outcome, Console& console)
{
    for (const auto& item : outcome.items)
        if (!item.error.empty()) console.error(outcome.name + ": not done: " + item.path + ": " + item.error);
}

void showSummaries(const std::vector<Outcome>& outcomes, Console& console)
{
    for (const auto& outcome : outcomes) {
        showFailures(outcome, console);
        console.notice(
            outcome.name + ": " + summary(outcome.items) +
            (outcome.status == ExitStatus::done ? "" : " (" + std::string(statusWord(outcome.status)) + ")"));
    }
}

} // namespace

ExitStatus run(const Sync& command, BXSyncConfigManager& store, CommandContext& context)
{
    const SequenceRunner::Plan plan{false, {command.onDelete, command.onConflict, command.skipErrors}};
    const auto outcomes = outcomesOf(command.names, plan, store, context);
    showSummaries(outcomes, context.console);
    if (command.json) context.console.document(json::outcomes(outcomes));
    return gravest(outcomes);
}

ExitStatus run(const List& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto outcomes = outcomesOf(command.names, {true, {}}, store, context);
    if (command.json)
        context.console.document(json::outcomes(outcomes));
    else
        showList(outcomes, context.console);
    return gravest(outcomes);
}

} // namespace tidemark::cli
