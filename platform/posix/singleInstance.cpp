#include "platform/singleInstance.h"

#include "storage/posix/environment.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

namespace platform {

namespace {

constexpr int kTimeout = 2000; // ms
constexpr const char *kTokenVariable = "XDG_ACTIVATION_TOKEN";

// The socket in the user's folder for such files. Its name contains the settings and the display,
// so that an instance answers only those that would look the same to the user.
QString socketPath() {
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(QByteArray::fromStdString(userConfigFolder()));
    for (const char *variable : {"WINEPREFIX", "WAYLAND_DISPLAY", "DISPLAY"}) {
        hash.addData(QByteArrayView("\0", 1));
        hash.addData(qgetenv(variable));
    }
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + "/orvel-" +
           QString::fromLatin1(hash.result().toHex().first(16));
}

// Answers a complete request.
void answer(QLocalSocket *client, const std::function<bool(const QString &)> &show) {
    QDataStream stream(client);
    QString archive;
    QByteArray token;
    stream.startTransaction();
    stream >> archive >> token;
    if (!stream.commitTransaction())
        return;
    // The desktop lets the window come to the front because the user has started the other program.
    qputenv(kTokenVariable, token);
    const bool shown = show(archive);
    qunsetenv(kTokenVariable);
    stream << shown;
    client->flush();
    client->disconnectFromServer();
}

} // namespace

Handover handOver(const QString &archive) {
    QLocalSocket server;
    server.connectToServer(socketPath());
    if (!server.waitForConnected(kTimeout))
        return Handover::None;
    QDataStream stream(&server);
    stream << archive << qgetenv(kTokenVariable);
    bool shown = false;
    do {
        if (!server.waitForReadyRead(kTimeout))
            return Handover::None;
        stream.startTransaction();
        stream >> shown;
    } while (!stream.commitTransaction());
    return shown ? Handover::Shown : Handover::Busy;
}

void acceptHandovers(QObject *owner, const std::function<bool(const QString &archive)> &show) {
    auto *server = new QLocalServer(owner);
    server->setSocketOptions(QLocalServer::UserAccessOption);
    const QString path = socketPath();
    if (!server->listen(path)) {
        // What a killed instance has left does not accept connections.
        QLocalSocket other;
        other.connectToServer(path);
        if (other.waitForConnected(kTimeout))
            return;
        QLocalServer::removeServer(path);
        server->listen(path);
    }
    QObject::connect(server, &QLocalServer::newConnection, server, [server, show] {
        while (QLocalSocket *client = server->nextPendingConnection()) {
            QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            QObject::connect(client, &QLocalSocket::readyRead, client,
                             [client, show] { answer(client, show); });
            answer(client, show); // it may have arrived already
        }
    });
}

} // namespace platform
