#include "platform/singleInstance.h"

#include "storage/posix/descriptor.h"
#include "storage/posix/environment.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <utility>

// Sockets of the system: Qt's are in QtNetwork, which loads eleven libraries more, such as those of
// Kerberos, at each start of the program.
namespace platform {

namespace {

using Show = std::function<bool(const QString &archive)>;

constexpr std::chrono::seconds kTimeout(2);
constexpr int kMostWaiting = 30; // connections that are not yet accepted
constexpr const char *kTokenVariable = "XDG_ACTIVATION_TOKEN";

// The socket in the user's folder for such files. Its name contains the settings and the display,
// so that an instance answers only those that would look the same to the user.
std::string socketPath() {
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(QByteArray::fromStdString(userConfigFolder()));
    for (const char *variable : {"WINEPREFIX", "WAYLAND_DISPLAY", "DISPLAY"}) {
        hash.addData(QByteArrayView("\0", 1));
        hash.addData(qgetenv(variable));
    }
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return folder.toStdString() + "/orvel-" + hash.result().toHex().first(16).toStdString();
}

sockaddr_un addressOf(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() < sizeof address.sun_path)
        path.copy(address.sun_path, path.size());
    return address; // of no socket if the path is too long
}

// A connection to the instance that accepts requests; not open if there is none.
Descriptor connection(const std::string &path) {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval timeout{kTimeout.count(), 0};
    for (const int option : {SO_SNDTIMEO, SO_RCVTIMEO})
        static_cast<void>(setsockopt(socket.get(), SOL_SOCKET, option, &timeout, sizeof timeout));
    const sockaddr_un address = addressOf(path);
    if (connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return Descriptor(-1);
    return socket;
}

bool sendAll(int socket, const QByteArray &bytes) {
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = send(socket, bytes.data() + sent,
                                   static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR)
            return false;
        sent += qMax<ssize_t>(count, 0);
    }
    return true;
}

// A socket that accepts connections of the user; not open if the name is taken.
Descriptor listeningSocket(const std::string &path) {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_un address = addressOf(path);
    if (fchmod(socket.get(), S_IRUSR | S_IWUSR) != 0 || address.sun_path[0] == '\0' ||
        bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(socket.get(), kMostWaiting) != 0)
        return Descriptor(-1);
    return socket;
}

// Reads one request and answers it.
class Request : public QObject {
  public:
    Request(QObject *parent, Descriptor client, Show show)
        : QObject(parent), m_client(std::move(client)), m_show(std::move(show)),
          m_notifier(m_client.get(), QSocketNotifier::Read) {
        connect(
            &m_notifier, &QSocketNotifier::activated, this,
            [this] {
                if (!read())
                    return;
                m_notifier.setEnabled(false);
                deleteLater();
            });
    }

  private:
    // Whether the request is answered or given up.
    bool read() {
        std::array<char, 4096> bytes; // NOLINT(*-member-init): the call below fills it
        const ssize_t count = recv(m_client.get(), bytes.data(), bytes.size(), 0);
        if (count <= 0)
            return count == 0 || (errno != EAGAIN && errno != EINTR);
        m_received.append(bytes.data(), count);
        QDataStream stream(m_received);
        QString archive;
        QByteArray token;
        stream >> archive >> token;
        if (stream.status() != QDataStream::Ok)
            return stream.status() != QDataStream::ReadPastEnd; // the rest may follow
        // The desktop lets the window come to the front because the user has started the other
        // program.
        qputenv(kTokenVariable, token);
        const bool shown = m_show(archive);
        qunsetenv(kTokenVariable);
        static_cast<void>(sendAll(m_client.get(), QByteArray(1, shown ? '\1' : '\0')));
        return true;
    }

    Descriptor m_client;
    Show m_show;
    QSocketNotifier m_notifier;
    QByteArray m_received;
};

class Server : public QObject {
  public:
    Server(QObject *owner, Descriptor socket, std::string path, Show show)
        : QObject(owner), m_socket(std::move(socket)), m_path(std::move(path)),
          m_show(std::move(show)), m_notifier(m_socket.get(), QSocketNotifier::Read) {
        connect(
            &m_notifier, &QSocketNotifier::activated, this,
            [this] {
                Descriptor client(
                    accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
                if (client.isOpen())
                    new Request(this, std::move(client), m_show); // NOLINT(*-owning-memory): Qt's
            });
    }
    ~Server() override { unlink(m_path.c_str()); }
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

  private:
    Descriptor m_socket;
    std::string m_path;
    Show m_show;
    QSocketNotifier m_notifier;
};

} // namespace

Handover handOver(const QString &archive) {
    const Descriptor server = connection(socketPath());
    QByteArray request;
    QDataStream stream(&request, QIODevice::WriteOnly);
    stream << archive << qgetenv(kTokenVariable);
    char shown = 0;
    if (!server.isOpen() || !sendAll(server.get(), request) ||
        recv(server.get(), &shown, 1, MSG_WAITALL) != 1)
        return Handover::None;
    return shown != 0 ? Handover::Shown : Handover::Busy;
}

void acceptHandovers(QObject *owner, const Show &show) {
    const std::string path = socketPath();
    Descriptor socket = listeningSocket(path);
    if (!socket.isOpen()) {
        // What a killed instance has left does not accept connections.
        if (connection(path).isOpen())
            return;
        unlink(path.c_str());
        socket = listeningSocket(path);
    }
    if (socket.isOpen())
        new Server(owner, std::move(socket), path, show); // NOLINT(*-owning-memory): Qt's
}

} // namespace platform
