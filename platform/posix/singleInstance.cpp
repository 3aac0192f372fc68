#include "platform/singleInstance.h"

#include "storage/posix/environment.h"
#include "storage/storage.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QStandardPaths>
#include <QThread>

namespace platform {

namespace {

constexpr int kTimeout = 2000; // ms
constexpr int kRetryInterval = 20;
constexpr const char *kTokenVariable = "XDG_ACTIVATION_TOKEN";

QString runtimeFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
}

// The socket in the user's folder for such files. Its name contains the settings and the display,
// so that an instance answers only those that would look the same to the user.
QString socketName() {
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(QByteArray::fromStdString(userConfigFolder()));
    for (const char *variable : {"WINEPREFIX", "WAYLAND_DISPLAY", "DISPLAY"}) {
        hash.addData(QByteArrayView("\0", 1));
        hash.addData(qgetenv(variable));
    }
    return "orvel-" + QString::fromLatin1(hash.result().toHex().first(16));
}

QString socketPath() {
    return runtimeFolder() + '/' + socketName();
}

// The instance that this process is. The lock decides between starts at the same time: the server
// would take the socket's name from another one.
struct Instance : QObject {
    using QObject::QObject;
    Folder folder;
    NameLock lock;
    QLocalServer server;
};

QPointer<Instance> &thisInstance() {
    static QPointer<Instance> instance;
    return instance;
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

bool becomeInstance() {
    if (thisInstance() != nullptr)
        return true;
    auto instance = std::make_unique<Instance>();
    std::string holder;
    // Without a folder for it, there is no lock and no socket either.
    if (instance->folder.open(runtimeFolder().toStdString()).ok() &&
        instance->lock.hold(instance->folder, socketName().toStdString(), {}, holder)
            .is(Failure::Busy))
        return false;
    instance->server.setSocketOptions(QLocalServer::UserAccessOption);
    instance->server.listen(socketPath());
    instance->setParent(QCoreApplication::instance());
    thisInstance() = instance.release();
    return true;
}

Handover handOver(const QString &archive) {
    QLocalSocket server;
    // The other instance may have begun a moment ago and not have its socket yet.
    for (const QDeadlineTimer end(kTimeout);;) {
        server.connectToServer(socketPath());
        if (server.waitForConnected(kTimeout))
            break;
        if (end.hasExpired())
            return Handover::None;
        QThread::msleep(kRetryInterval);
    }
    QDataStream stream(&server);
    stream << archive << qgetenv(kTokenVariable);
    bool shown = false;
    do {
        if (!server.waitForReadyRead(kTimeout))
            return server.state() == QLocalSocket::ConnectedState ? Handover::Busy : Handover::None;
        stream.startTransaction();
        stream >> shown;
    } while (!stream.commitTransaction());
    return shown ? Handover::Shown : Handover::Busy;
}

void acceptHandovers(QObject *owner, const std::function<bool(const QString &archive)> &show) {
    if (thisInstance() == nullptr)
        return;
    QLocalServer *server = &thisInstance()->server;
    const auto accept = [server, show] {
        while (QLocalSocket *client = server->nextPendingConnection()) {
            QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            QObject::connect(client, &QLocalSocket::readyRead, client,
                             [client, show] { answer(client, show); });
            answer(client, show); // it may have arrived already
        }
    };
    QObject::connect(server, &QLocalServer::newConnection, owner, accept);
    accept(); // those that have waited
}

} // namespace platform
