#pragma once

#include "devserver/HttpMessage.h"

#include <optional>

namespace devserver {

// The status with which a conditional request ends early; 0 when it goes on.
int readPrecondition(const Request& request, const FileStatus& status);
int writePrecondition(const Request& request, const std::optional<FileStatus>& status);

} // namespace devserver
