#pragma once

#include <string>

/// Where the program keeps its files (XDG base directories). Set up once before threads start.
namespace tidemark::Places {

/// "com.marlock.tidemark"
inline constexpr const char* applicationIdentifier = "com.marlock.tidemark";

/// Puts everything under one folder; wins over TIDEMARK_CONFIG_DIR, which wins over XDG.
void setRoot(std::string folder);

/// $XDG_DATA_HOME/com.marlock.tidemark
std::string configurationDirectory();
/// $XDG_CONFIG_HOME/com.marlock.tidemark/defaults.plist
std::string defaultsFile();
/// $XDG_RUNTIME_DIR/com.marlock.tidemark, or a folder below the configuration directory without one.
std::string runtimeDirectory();

} // namespace tidemark::Places
