#include <csignal>

#include "app/qt/TrayProgram.h"

int main(int argc, char** argv)
{
    // A server that goes away is a failed write, not the end of the program.
    std::signal(SIGPIPE, SIG_IGN);
    return tidemark::qt::runTrayProgram(argc, argv);
}
