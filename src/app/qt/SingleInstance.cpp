#include "app/qt/SingleInstance.h"

#include <QLocalSocket>

#include "app/StatusSocket.h"
#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr int patienceMilliseconds = 2000;
constexpr char showSettings = 's';

/// Beside the status socket, in the user's own runtime directory.
QString socketPath(const std::string& directory)
{
    return fromUtf8(statusSocketPath(directory) + ".window");
}

} // namespace

bool SingleInstance::askFirst(const std::string& directory)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath(directory));
    if (!socket.waitForConnected(patienceMilliseconds)) return false;
    socket.write(&showSettings, 1);
    return socket.waitForBytesWritten(patienceMilliseconds);
}

SingleInstance::SingleInstance(const std::string& directory, std::function<void()> asked)
{
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this, asked = std::move(asked)] {
        while (auto* socket = server_.nextPendingConnection()) {
            QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            asked();
        }
    });
    // The caller holds the directory: a socket that is there belongs to nobody.
    QLocalServer::removeServer(socketPath(directory));
    server_.listen(socketPath(directory));
}

} // namespace tidemark::qt
