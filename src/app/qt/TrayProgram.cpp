#include "app/qt/TrayProgram.h"

#include <cstdio>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QIcon>
#include <QLibraryInfo>
#include <QMessageBox>
#include <QTranslator>

#include "Logger/BXLogger.h"
#include "Utils/BXTidemarkUtils.h"
#include "app/CrashLog.h"
#include "app/LogFiles.h"
#include "app/qt/Icons.h"
#include "app/qt/MainLoop.h"
#include "app/qt/SingleInstance.h"
#include "app/qt/Terminations.h"
#include "app/qt/Texts.h"
#include "app/qt/TrayApplication.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "platform/Clock.h"
#include "platform/Localization.h"
#include "platform/Places.h"
#include "security/BXSyncPasswordManager.h"

namespace tidemark::qt {

namespace {

enum ExitStatus
{
    done = 0,
    usage = 2,
    busy = 7
};

/// What the command line asks for; an exit status where it was answered already.
struct Options
{
    std::optional<int> answered;
    QString configDirectory;
};

void print(std::FILE* stream, const QString& text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
}

/// Before there is an application: a terminal without a screen may ask for the version.
Options readOptions(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Keeps local folders in step with WebDAV folders, from the desktop's status area.");
    const QCommandLineOption configDirectory("config-dir", "Keep configurations in DIR.", "DIR");
    const QCommandLineOption version("version", "Show the version.");
    const QCommandLineOption help(QStringList{"h", "help"}, "Show this help.");
    parser.addOptions({configDirectory, version, help});
    if (!parser.parse(arguments) || !parser.positionalArguments().isEmpty()) {
        const auto complaint =
            parser.errorText().isEmpty() ? QStringLiteral("unexpected argument") : parser.errorText();
        print(stderr, "tidemark-tray: " + complaint + "; see tidemark-tray --help\n");
        return {usage, {}};
    }
    if (parser.isSet(version)) print(stdout, QStringLiteral("tidemark-tray " TIDEMARK_VERSION "\n"));
    if (parser.isSet(help)) {
        QStringList lines{"Usage: tidemark-tray [--config-dir DIR]",
                          "",
                          parser.applicationDescription(),
                          "",
                          "  --config-dir DIR   keep configurations in DIR",
                          "  --version          show the version",
                          "  --help             show this help",
                          ""};
        print(stdout, lines.join('\n'));
    }
    if (parser.isSet(version) || parser.isSet(help)) return {done, {}};
    return {std::nullopt, parser.value(configDirectory)};
}

/// The engine's seams to the application, in place while this object lives.
class EngineSetup
{
public:
    EngineSetup()
    {
        BXSyncConf::setPasswordDelegate(&passwords_);
        BXLogger::setGlobalLogger(programLogPath(BXTidemarkUtils::configDirectory()));
    }
    ~EngineSetup()
    {
        BXSyncConf::setPasswordDelegate(nullptr);
        BXLogger::flushAll();
    }
    EngineSetup(const EngineSetup&) = delete;
    EngineSetup& operator=(const EngineSetup&) = delete;

private:
    const BXSyncPasswordManager passwords_;
};

void describeApplication()
{
    QApplication::setApplicationName("tidemark-tray");
    QApplication::setApplicationDisplayName("Tidemark");
    QApplication::setApplicationVersion(TIDEMARK_VERSION);
    QGuiApplication::setDesktopFileName("com.marlock.tidemark");
    QApplication::setWindowIcon(icon("tidemark"));
    QApplication::setQuitOnLastWindowClosed(false);
    QLocale::setDefault(QLocale(fromUtf8(Localization::language())));
    // The toolkit's own texts: choosers of files, menus of fields.
    auto* toolkit = new QTranslator(QApplication::instance());
    if (toolkit->load(QLocale(), "qtbase", "_", QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(toolkit);
}

int refuse(const std::string& reason)
{
    print(stderr, "tidemark-tray: " + fromUtf8(reason) + "\n");
    QMessageBox::critical(nullptr, "Tidemark", text("Desktop", "SERVED_ALREADY", {{"error", reason}}));
    return busy;
}

} // namespace

int runTrayProgram(int argc, char** argv)
{
    const auto options = readOptions(argc, argv);
    if (options.answered) return *options.answered;
    if (!options.configDirectory.isEmpty()) Places::setRoot(toUtf8(QDir(options.configDirectory).absolutePath()));

    QApplication application(argc, argv);
    describeApplication();
    if (SingleInstance::askFirst(BXTidemarkUtils::configDirectory())) return done;

    installCrashLog();
    MainLoop loop;
    const EngineSetup setup;
    BXSyncConfigManager store(BXTidemarkUtils::configDirectory());
    store.loadAll();
    TrayApplication tray({store, BXSyncGlobalConf::getInstance(), Clock::system(), loop});
    if (const auto reason = tray.begin(); !reason.empty()) return refuse(reason);
    const Terminations terminations([&tray] { tray.requestExit(); });
    QObject::connect(&application, &QGuiApplication::commitDataRequest, &tray,
                     [&tray] { tray.topMenu().cancelSync(); });
    tray.start();
    return QApplication::exec();
}

} // namespace tidemark::qt
