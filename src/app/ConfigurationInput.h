#pragma once

#include <string>
#include <string_view>

#include <tl/expected.hpp>

#include "platform/Url.h"

/// Checks of what a person gives for a configuration. The error of each is a sentence for that person.
namespace tidemark {

class BXSyncConf;
class BXSyncConfigManager;

template <class T>
using Checked = tl::expected<T, std::string>;

/// A configuration's name in NFC, fit to be the base of file names.
Checked<std::string> checkedName(std::string_view name);

/// An http or https URL without user, query or fragment, in canonical form.
Checked<Url> checkedUrl(const std::string& text);

/// An absolute path without "." and ".." components, "//" and a "/" at its end; `workingDirectory` is what a relative
/// one is relative to.
Checked<std::string> checkedFolder(const std::string& path, const std::string& workingDirectory);

/// A name or an address without a scheme, a user or a port; an IPv6 address is in brackets.
bool isProxyHost(std::string_view host);

/// True for the folder itself and for what lies below it; both in the form of checkedFolder().
bool isAtOrBelow(std::string_view path, std::string_view folder);

/// Whether the local folder of `conf` can be synced: it neither holds the folder of the configurations nor lies in it.
Checked<void> checkLocalFolder(const BXSyncConf& conf, const BXSyncConfigManager& store);

/// Gives the configuration these folders, in the form of checkedUrl() and checkedFolder(). Where they are others than
/// before it forgets what it knows of its files: that knowledge would make the files of the new folder look deleted.
void pairFolders(BXSyncConf& conf, const std::string& url, const std::string& localFolder);

} // namespace tidemark
