#pragma once

namespace tidemark::Memory {

/// Gives what this process has freed back to the system, where that is not done by itself. Any thread; takes some
/// milliseconds.
void giveFreedBack();

} // namespace tidemark::Memory
