#pragma once

namespace tidemark::qt {

/// The whole program; the calling thread is the main thread. The exit status: 0 done, or another one runs already and
/// shows its settings; 2 wrong usage; 7 another program serves the configuration directory.
int runTrayProgram(int argc, char** argv);

} // namespace tidemark::qt
