#include "app/cli/CommandLine.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <CLI/CLI.hpp>

#include "app/cli/HelpTexts.h"

namespace tidemark::cli {

namespace {

constexpr int mostLogDays = 36500;

/// The words of an answer option, for the help text and for reading it.
const std::map<std::string, DeleteAnswer> deleteAnswers{{"cancel", DeleteAnswer::cancel},
                                                        {"restore", DeleteAnswer::restore},
                                                        {"delete", DeleteAnswer::remove},
                                                        {"nothing", DeleteAnswer::nothing}};
const std::map<std::string, ConflictAnswer> conflictAnswers{{"cancel", ConflictAnswer::cancel},
                                                            {"recent", ConflictAnswer::recent},
                                                            {"upload", ConflictAnswer::upload},
                                                            {"download", ConflictAnswer::download}};

using Words = std::vector<std::string>;

void addFooter(CLI::App& command, const char* paragraph)
{
    command.footer(std::string(paragraph) + "\n\n" + command.get_footer());
}

/// What a person reads about a line that cannot be understood.
std::string complaint(const CLI::App& app, const CLI::ParseError& error)
{
    const auto unknown = app.remaining(true);
    if (dynamic_cast<const CLI::RequiredError*>(&error) && !unknown.empty())
        return "unknown command '" + unknown.front() + "'";
    const std::string text = error.what();
    return text == "A subcommand is required" ? "a command is required" : text;
}

/// Builds the tree of commands and, while it is parsed, the command that was asked for.
class Parser
{
public:
    Parser();
    std::variant<ParsedCommandLine, CommandLineAnswer> parse(std::vector<std::string> arguments);

private:
    void addGlobalOptions();
    void addConfigCommands();
    void addConfigNameCommands(CLI::App& config);
    void addRunCommands();
    void addConnectionOptions(CLI::App& command, ConfigurationOptions& options);
    void addIdentityCommands();
    void addServiceCommands();
    void addMaintenanceCommands();
    void addScheduleCommands(CLI::App& config);
    void addAnswerOptions(CLI::App& command, std::optional<DeleteAnswer>& onDelete,
                          std::optional<ConflictAnswer>& onConflict);
    void addSettingsCommands();
    void addConfigurationOptions(CLI::App& command, ConfigurationOptions& options);
    void addPolicyOptions(CLI::App& command, ConfigurationOptions& options);
    template <class T>
    CLI::App& add(CLI::App& parent, const char* name, const char* description, T& command);

    CLI::App app_{helptexts::program, "tidemark"};
    GlobalOptions global_;
    bool quiet_ = false;
    bool verbose_ = false;
    std::optional<Command> chosen_;

    ConfigCreate create_;
    ConfigList configList_;
    ConfigShow show_;
    ConfigSet set_;
    ConfigRename rename_;
    ConfigDelete delete_;
    ConfigCheck check_;
    Sync sync_;
    List list_;
    IdentityImport identityImport_;
    IdentityList identityList_;
    IdentityRemove identityRemove_;
    Serve serve_;
    ShowStatus status_;
    Maintain maintain_;
    ScheduleAdd scheduleAdd_;
    ScheduleList scheduleList_;
    ScheduleRemove scheduleRemove_;
    SettingsList settingsList_;
    SettingsGet settingsGet_;
    SettingsSet settingsSet_;
    SettingsUnset settingsUnset_;
};

Parser::Parser()
{
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.footer(helptexts::exitStatuses);
    app_.get_formatter()->column_width(34);
    addGlobalOptions();
    addConfigCommands();
    addRunCommands();
    addIdentityCommands();
    addServiceCommands();
    addMaintenanceCommands();
    addSettingsCommands();
}

void Parser::addGlobalOptions()
{
    app_.set_help_flag("-h,--help", "Show this help");
    app_.set_version_flag("--version", "tidemark " TIDEMARK_VERSION, "Show the version");
    app_.add_option("--config-dir", global_.configDirectory, helptexts::configDirectory)->type_name("DIR");
    auto* quiet = app_.add_flag("-q,--quiet", quiet_, "Show errors only");
    app_.add_flag("-v,--verbose", verbose_, "Show each step")->excludes(quiet);
}

/// A command whose values land in `command`, which is what the line asks for when this one is parsed.
template <class T>
CLI::App& Parser::add(CLI::App& parent, const char* name, const char* description, T& command)
{
    auto* app = parent.add_subcommand(name, description);
    app->callback([this, &command] { chosen_ = command; });
    app->footer(helptexts::everywhere);
    return *app;
}

void Parser::addConfigCommands()
{
    auto& config = *app_.add_subcommand("config", "Make, show, change and delete configurations");
    config.require_subcommand(1);
    config.footer(helptexts::everywhere);

    auto& create = add(config, "create",
                       "Make a configuration: a local folder and the server folder it is kept in "
                       "step with",
                       create_);
    create.add_option("NAME", create_.name, "Name of the new configuration")->required();
    addConfigurationOptions(create, create_.options);
    create.get_option("--url")->required();
    create.get_option("--local")->required();
    addFooter(create, helptexts::createFooter);

    auto& list = add(config, "list", "List all configurations, oldest first", configList_);
    list.add_flag("--json", configList_.json, "Write one JSON object");

    auto& set = add(config, "set", "Change a configuration; what is not given stays as it is", set_);
    set.add_option("NAME", set_.name, "Name of the configuration")->required();
    addConfigurationOptions(set, set_.options);
    set.add_flag_callback(
           "--enable", [this] { set_.options.enabled = true; }, "Take part in runs without names again")
        ->excludes(set.get_option("--disable"));
    addFooter(set, helptexts::setFooter);

    addConfigNameCommands(config);
}

void Parser::addConfigNameCommands(CLI::App& config)
{
    auto& show = add(config, "show", "Show a configuration, without its secrets", show_);
    show.add_option("NAME", show_.name, "Name of the configuration")->required();
    show.add_flag("--json", show_.json, "Write one JSON object");

    auto& rename =
        add(config, "rename", "Give a configuration a new name; what it knows of its files goes with it", rename_);
    rename.add_option("NAME", rename_.name, "Name of the configuration")->required();
    rename.add_option("NEW", rename_.newName, "Its new name")->required();

    auto& remove = add(config, "delete", "Delete a configuration; the files of both folders stay", delete_);
    remove.add_option("NAME", delete_.name, "Name of the configuration")->required();
    remove.add_flag("-y,--yes", delete_.yes, "Do not ask on a terminal");

    addScheduleCommands(config);

    auto& check = add(config, "check", "Sign in and look whether the server folder can be used", check_);
    check.add_option("NAME", check_.name, "Name of the configuration")->required();
}

void Parser::addConfigurationOptions(CLI::App& command, ConfigurationOptions& options)
{
    command.add_option("--url", options.url, "Server folder, an http or https URL")->type_name("URL");
    command.add_option("--local", options.local, "Local folder")->type_name("DIR");
    command.add_option("--mode", options.mode, "Direction; two-way unless given")
        ->check(CLI::IsMember(Words{"two-way", "upload", "download"}))
        ->option_text("two-way|upload|download");
    command.add_option("--user", options.user, "User to sign in as; '' for none")->type_name("USER");
    auto* fromInput = command.add_flag_callback(
        "--password-stdin", [&options] { options.passwordSource = PasswordSource::standardInput; },
        "Read the password from standard input, its first line");
    command
        .add_option_function<std::string>(
            "--password-file",
            [&options](const std::string& file) {
                options.passwordSource = PasswordSource::file;
                options.passwordFile = file;
            },
            "Read the password from a file, its first line")
        ->type_name("FILE")
        ->excludes(fromInput);
    addPolicyOptions(command, options);
    command.add_option("--log-dir", options.logDirectory, "Folder of the daily log files; '' for none")
        ->type_name("DIR");
    command.add_option("--log-days", options.logDays, "How many daily log files are kept")
        ->check(CLI::Range(1, mostLogDays))
        ->option_text("N");
    addConnectionOptions(command, options);
    command.add_flag_callback(
        "--disable", [&options] { options.enabled = false; }, "Take no part in runs without names");
}

void Parser::addConnectionOptions(CLI::App& command, ConfigurationOptions& options)
{
    const auto yesOrNo = [](std::optional<bool>& target) {
        return [&target](const std::string& word) { target = word == "yes"; };
    };
    command
        .add_option_function<std::string>("--autosync", yesOrNo(options.autosync),
                                          "Sync by itself when the local folder changes, while a service runs")
        ->check(CLI::IsMember(Words{"yes", "no"}))
        ->option_text("yes|no");
    command.add_option("--identity", options.identity, "Client certificate, as \"identity list\" shows it")
        ->option_text("ID|none");
    command
        .add_option_function<std::string>("--ignore-server-cert", yesOrNo(options.ignoreServerCert),
                                          "Accept any certificate of the server: nobody can tell it from another then")
        ->check(CLI::IsMember(Words{"yes", "no"}))
        ->option_text("yes|no");
    command.add_option("--proxy", options.proxy, "Proxy to go through")->option_text("HOST:PORT|none");
    command.add_option("--proxy-user", options.proxyUser, "User to sign in to the proxy as; '' for none")
        ->type_name("USER");
    command.add_flag("--proxy-password-stdin", options.proxyPasswordFromInput,
                     "Read the proxy's password from standard input, the line after the password where both are read");
    auto* key = command.add_flag("--key-stdin", options.keyFromInput,
                                 "Encrypt files on the server with a key, the last line read from standard input");
    command.add_flag("--no-key", options.noKey, "Do not encrypt")->excludes(key);
    command.add_flag("-y,--yes", options.yes, "Do not ask about a changed key");
}

void Parser::addPolicyOptions(CLI::App& command, ConfigurationOptions& options)
{
    command.add_option("--on-conflict", options.onConflict, "What to do with a file changed on both sides")
        ->check(CLI::IsMember(Words{"confirm", "upload", "download", "none"}))
        ->option_text("confirm|upload|download|none");
    command.add_option("--on-server-delete", options.onServerDelete, "What to do with a file deleted on the server")
        ->check(CLI::IsMember(Words{"confirm", "delete", "upload", "none"}))
        ->option_text("confirm|delete|upload|none");
    command.add_option("--on-local-delete", options.onLocalDelete, "What to do with a file deleted locally")
        ->check(CLI::IsMember(Words{"confirm", "delete", "download", "none"}))
        ->option_text("confirm|delete|download|none");
}

void Parser::addAnswerOptions(CLI::App& command, std::optional<DeleteAnswer>& onDelete,
                              std::optional<ConflictAnswer>& onConflict)
{
    command
        .add_option_function<std::string>(
            "--on-delete", [&onDelete](const std::string& word) { onDelete = deleteAnswers.at(word); },
            "Answer to the question what to do with a deletion")
        ->check(CLI::IsMember(Words{"cancel", "restore", "delete", "nothing"}))
        ->option_text("cancel|restore|delete|nothing");
    command
        .add_option_function<std::string>(
            "--on-conflict", [&onConflict](const std::string& word) { onConflict = conflictAnswers.at(word); },
            "Answer to the question what to do with a conflict")
        ->check(CLI::IsMember(Words{"cancel", "recent", "upload", "download"}))
        ->option_text("cancel|recent|upload|download");
}

void Parser::addIdentityCommands()
{
    auto& identity = *app_.add_subcommand("identity", "Client certificates with their keys");
    identity.require_subcommand(1);
    auto& import =
        add(identity, "import", "Take a certificate with its key from a PKCS#12 or PEM file", identityImport_);
    import
        .add_option("FILE", identityImport_.file, "The file; its passphrase is asked for, or read from standard input")
        ->required();
    import.add_option("--label", identityImport_.label, "Name it is listed under");
    add(identity, "list", "List label, issuer and expiry of each", identityList_);
    auto& remove = add(identity, "remove", "Remove a certificate and its key", identityRemove_);
    remove.add_option("ID", identityRemove_.identifier, "Its identifier in the list")->required();
}

void Parser::addServiceCommands()
{
    auto& serve = add(app_, "run", "Serve: watch, keep schedules and sync until told to end", serve_);
    addAnswerOptions(serve, serve_.onDelete, serve_.onConflict);
    addFooter(serve, helptexts::serviceFooter);

    auto& status = add(app_, "status", "Show what a running service does", status_);
    status.add_flag("--json", status_.json, "Write one JSON object");
}

void Parser::addMaintenanceCommands()
{
    using Operation = BXSyncMaintenanceMenu::Operation;
    const auto addOne = [this](const char* name, const char* description, Operation operation) {
        auto* command = app_.add_subcommand(name, description);
        command->callback([this, operation] {
            maintain_.operation = operation;
            chosen_ = maintain_;
        });
        command->add_option("NAME", maintain_.names, "Configurations; every enabled one unless given")
            ->option_text("[NAME ...]");
        command->add_flag("-y,--yes", maintain_.yes, "Do not ask");
        command->footer(helptexts::everywhere);
    };
    addOne("reset", "Forget the sync state; no file is touched", Operation::syncReset);
    addOne("download-all", "Empty the local folder and download everything", Operation::downloadAll);
    addOne("upload-all", "Empty the server folder and upload everything", Operation::uploadAll);
}

void Parser::addScheduleCommands(CLI::App& config)
{
    auto& schedule = *config.add_subcommand("schedule", "The timetable of a configuration");
    schedule.add_option("NAME", scheduleAdd_.name, "Name of the configuration")->required();
    schedule.require_subcommand(1);
    auto& adding = add(schedule, "add", "Add a schedule", scheduleAdd_);
    adding.add_option("SCHEDULE", scheduleAdd_.schedule, "\"mon 9:00\", \"daily 18:30\" or \"hourly :15\"")->required();
    auto& listing = add(schedule, "list", "List the schedules with their numbers", scheduleList_);
    listing.callback([this] {
        scheduleList_.name = scheduleAdd_.name;
        chosen_ = scheduleList_;
    });
    auto& removing = add(schedule, "remove", "Remove a schedule", scheduleRemove_);
    removing.add_option("N", scheduleRemove_.number, "Its number in the list")->required();
    removing.callback([this] {
        scheduleRemove_.name = scheduleAdd_.name;
        chosen_ = scheduleRemove_;
    });
}

void Parser::addRunCommands()
{
    auto& sync = add(app_, "sync", "Bring both sides of configurations in step", sync_);
    sync.add_option("NAME", sync_.names, "Configurations; every enabled one, oldest first, unless given")
        ->option_text("[NAME ...]");
    sync.add_flag("--skip-errors", sync_.skipErrors, "Go on after a file that failed, without asking");
    addAnswerOptions(sync, sync_.onDelete, sync_.onConflict);
    sync.add_flag("--json", sync_.json, "Write one JSON object");
    addFooter(sync, helptexts::exitStatuses);
    addFooter(sync, helptexts::syncFooter);

    auto& list = add(app_, "list", "Show what a sync would do; changes nothing on either side", list_);
    list.add_option("NAME", list_.names, "Configurations; every enabled one, oldest first, unless given")
        ->option_text("[NAME ...]");
    list.add_flag("--json", list_.json, "Write one JSON object");
    addFooter(list, helptexts::exitStatuses);
}

void Parser::addSettingsCommands()
{
    auto& settings = *app_.add_subcommand("settings", "Show and change what applies to every configuration");
    settings.require_subcommand(1);
    settings.footer(helptexts::everywhere);
    addFooter(settings, helptexts::settingsFooter);
    add(settings, "list", "List all settings with their values", settingsList_);
    add(settings, "get", "Show the value of a setting", settingsGet_)
        .add_option("KEY", settingsGet_.key, "The setting")
        ->required();
    auto& set = add(settings, "set", "Change a setting", settingsSet_);
    set.add_option("KEY", settingsSet_.key, "The setting")->required();
    set.add_option("VALUE", settingsSet_.value, "Its new value")->required();
    addFooter(set, helptexts::settingsFooter);
    add(settings, "unset", "Give a setting its default value back", settingsUnset_)
        .add_option("KEY", settingsUnset_.key, "The setting")
        ->required();
}

std::variant<ParsedCommandLine, CommandLineAnswer> Parser::parse(std::vector<std::string> arguments)
{
    // CLI11 takes the last argument first.
    std::reverse(arguments.begin(), arguments.end());
    try {
        app_.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        std::ostringstream output;
        std::ostringstream message;
        const bool isAnswer = app_.exit(error, output, message) == 0;
        if (isAnswer) return CommandLineAnswer{ExitStatus::done, output.str(), {}};
        return CommandLineAnswer{ExitStatus::usage, {}, complaint(app_, error)};
    }
    global_.verbosity = quiet_ ? Verbosity::quiet : verbose_ ? Verbosity::verbose : Verbosity::normal;
    return ParsedCommandLine{global_, *chosen_};
}

} // namespace

std::variant<ParsedCommandLine, CommandLineAnswer> parseCommandLine(std::vector<std::string> arguments)
{
    return Parser().parse(std::move(arguments));
}

} // namespace tidemark::cli
