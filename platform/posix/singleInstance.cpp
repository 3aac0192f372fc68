#include "platform/singleInstance.h"

#include "storage/posix/descriptor.h"
#include "storage/posix/environment.h"
#include "storage/storage.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDataStream>
#include <QIODevice>
#include <QPointer>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>

// Sockets of the system: Qt's are in QtNetwork, whose libraries, such as those of Kerberos, would
// be loaded at each start of the program.
namespace platform {

namespace {

using Show = std::function<bool(const QString &archive)>;

constexpr std::chrono::seconds kTimeout(2);
constexpr std::chrono::milliseconds kRetryInterval(20);
constexpr int kMostWaiting = 30; // connections that are not yet accepted
constexpr const char *kTokenVariable = "XDG_ACTIVATION_TOKEN";

// The socket in the user's folder for such files. Its name contains the settings and the display,
// so that an instance answers only those that would look the same to the user.
std::string socketName() {
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(QByteArray::fromStdString(userConfigFolder()));
    for (const char *variable : {"WINEPREFIX", "WAYLAND_DISPLAY", "DISPLAY"}) {
        hash.addData(QByteArrayView("\0", 1));
        hash.addData(qgetenv(variable));
    }
    return "orvel-" + hash.result().toHex().first(16).toStdString();
}

// "" if there is none; one that other users may write to is none.
std::string runtimeFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation).toStdString();
}

// "" without such a folder.
std::string socketPath() {
    const std::string folder = runtimeFolder();
    return folder.empty() ? folder : folder + '/' + socketName();
}

sockaddr_un addressOf(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() < sizeof address.sun_path)
        path.copy(address.sun_path, path.size());
    return address; // of no socket if there is no path, or one that is too long
}

// A connection to the instance that accepts requests; not open if there is none.
Descriptor connection(const std::string &path) {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval timeout{kTimeout.count(), 0};
    for (const int option : {SO_SNDTIMEO, SO_RCVTIMEO})
        static_cast<void>(setsockopt(socket.get(), SOL_SOCKET, option, &timeout, sizeof timeout));
    const sockaddr_un address = addressOf(path);
    if (address.sun_path[0] == '\0' ||
        connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
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
            &m_notifier, &QSocketNotifier::activated, this, [this] { proceed(); });
    }
    void proceed() {
        if (!read())
            return;
        m_notifier.setEnabled(false);
        deleteLater();
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

// The instance that this process is. The lock decides between starts at the same time.
struct Instance : QObject {
    explicit Instance(QObject *parent) : QObject(parent) {}
    ~Instance() override {
        if (socket.isOpen())
            unlink(path.c_str());
    }
    Instance(const Instance &) = delete;
    Instance &operator=(const Instance &) = delete;

    Folder folder;
    NameLock lock;
    std::string path;
    Descriptor socket{-1};
};

QPointer<Instance> &thisInstance() {
    static QPointer<Instance> instance;
    return instance;
}

} // namespace

bool becomeInstance() {
    if (thisInstance() != nullptr)
        return true;
    auto instance = std::make_unique<Instance>(QCoreApplication::instance());
    std::string holder;
    // Without a folder for it, there is no lock and no socket either.
    instance->path = socketPath();
    if (!instance->path.empty() && instance->folder.open(runtimeFolder()).ok() &&
        instance->lock.hold(instance->folder, socketName(), {}, holder).is(Failure::Busy))
        return false;
    unlink(instance->path.c_str()); // that of a killed instance
    instance->socket = listeningSocket(instance->path);
    thisInstance() = instance.release();
    return true;
}

Handover handOver(const QString &archive) {
    const auto end = std::chrono::steady_clock::now() + kTimeout;
    Descriptor server = connection(socketPath());
    // The other instance may have begun a moment ago and not have its socket yet.
    while (!server.isOpen() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kRetryInterval);
        server = connection(socketPath());
    }
    QByteArray request;
    QDataStream stream(&request, QIODevice::WriteOnly);
    stream << archive << qgetenv(kTokenVariable);
    if (!server.isOpen() || !sendAll(server.get(), request))
        return Handover::None;
    char shown = 0;
    const ssize_t received = recv(server.get(), &shown, 1, MSG_WAITALL);
    if (received == 0)
        return Handover::None; // it has ended
    return received == 1 && shown != 0 ? Handover::Shown : Handover::Busy;
}

void acceptHandovers(QObject *owner, const Show &show) {
    if (thisInstance() == nullptr || !thisInstance()->socket.isOpen())
        return;
    const auto accept = [socket = thisInstance()->socket.get(), owner, show] {
        for (;;) {
            Descriptor client(accept4(socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (!client.isOpen())
                return;
            auto *request = new Request(owner, std::move(client), show); // NOLINT: the owner's
            request->proceed();
        }
    };
    auto *notifier = new QSocketNotifier(thisInstance()->socket.get(), QSocketNotifier::Read,
                                         owner); // NOLINT(*-owning-memory): the owner's
    QObject::connect(notifier, &QSocketNotifier::activated, owner, accept);
    accept(); // those that have waited, before the owner is busy with its own archive
}

} // namespace platform
