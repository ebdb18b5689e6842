#pragma once

namespace tidemark {

/// From here on an exception that nobody catches is logged with its call stack before it ends the process.
void installCrashLog();

} // namespace tidemark
