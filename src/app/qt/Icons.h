#pragma once

#include <QIcon>

namespace tidemark::qt {

/// Drawings of our own, clear on light and on dark panels. `name` is that of a file in resources/icons without its
/// extension.
QIcon icon(const char* name);

} // namespace tidemark::qt
