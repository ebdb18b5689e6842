#pragma once

/// The longer paragraphs of the help.
namespace tidemark::cli::helptexts {

inline constexpr const char* program = "Keeps local folders in step with folders on a WebDAV server.";

inline constexpr const char* configDirectory =
    "Folder of configurations and settings; TIDEMARK_CONFIG_DIR unless given, otherwise the user's own data and "
    "configuration folders";

inline constexpr const char* exitStatuses = R"(Exit status:
  0  done
  1  some items failed
  2  wrong usage
  3  a configuration is missing or invalid
  4  no connection, or the sign-in failed
  5  listing the changes failed
  6  cancelled, or an answer was needed
  7  a run of that configuration is under way
  Where configurations end differently, the greatest number counts.)";

inline constexpr const char* everywhere =
    "Options of every command: --config-dir DIR, --quiet, --verbose, --version, --help";

inline constexpr const char* createFooter =
    R"(A password is read from the terminal without being shown where a user is given and no source
of the password; it is never taken from the command line. It is stored obscured, in a file that
only its owner can read.

Example:
  tidemark config create work --url https://files.example/dav/work --local ~/work \
      --user kim --password-file ~/.work-password --on-conflict upload)";

inline constexpr const char* setFooter =
    R"(A password is asked for on a terminal where another user is given and no source of the password.)";

inline constexpr const char* syncFooter =
    R"(Without a terminal nobody is asked: --on-delete and --on-conflict answer; without them the run
of a configuration that needs an answer is cancelled and the exit status is 6. A file that
failed, or whose name the server cannot hold, is skipped and reported. A lost connection waits
its interval and is tried again.

The first Ctrl-C cancels the run cleanly, the second ends the program at once.)";

inline constexpr const char* serviceFooter =
    R"(SIGTERM or Ctrl-C ends the service, after a last sync where BXSYNC_SYNC_ON_EXIT is set; a second
one ends it at once. SIGHUP loads the configurations again. Nobody is asked: --on-delete and
--on-conflict answer, and a run that needs another answer is cancelled.)";

inline constexpr const char* settingsFooter = R"(Settings:
  BXSYNC_HTTP_OPTIONS_CONNECTION_TIMEOUT   seconds a sign-in may take (10)
  BXSYNC_HTTP_PROPFIND_CONNECTION_TIMEOUT  seconds the listing of a folder may take (20)
  BXSYNC_HTTP_CONNECTION_TIMEOUT           seconds any other request may take (120)
  BXSYNC_HTTP_RECONNECTION                 try a failed request again (yes)
  BXSYNC_HTTP_RECONNECTION_INTERVAL        seconds between tries (10)
  BXSYNC_HTTP_RECONNECTION_LIMIT           how often a request is tried again (3)
  BXSYNC_SYNC_ON_STARTUP                   sync everything when the service or desktop starts (no)
  BXSYNC_SYNC_ON_EXIT                      sync everything before it ends (no)
  BXSYNC_HIDE_PROGRESS_DIALOG              the desktop application shows no progress window (no))";

} // namespace tidemark::cli::helptexts
