#pragma once

#include <QString>

#include "platform/Result.h"

namespace tidemark::qt {

/// Why something could not be saved or read, as a sentence in the user's language.
QString reasonText(const Error& error);

} // namespace tidemark::qt
