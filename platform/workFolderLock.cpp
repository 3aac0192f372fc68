#include "platform/workFolderLock.h"

#include "platform/error.h"
#include "platform/files.h"

#include <QCoreApplication>
#include <QSysInfo>

namespace platform {

namespace {

// Who this program is, for the users of other ones.
QString thisProgram() {
    const QString user = qEnvironmentVariable("USER", qEnvironmentVariable("USERNAME"));
    return QStringLiteral("process %1%2 on %3")
        .arg(QCoreApplication::applicationPid())
        .arg(user.isEmpty() ? user : " of " + user, QSysInfo::machineHostName());
}

} // namespace

bool WorkFolderLock::take(const QString &parent, const QString &name) {
    const QString path = parent + '\\' + name;
    Folder folder;
    try {
        static_cast<void>(folder.open(storagePath(parent)));
    } catch (const RuntimeError &) {
        folder.close();
    }
    // The folder may be another one of the same path by now.
    if (path == m_path && folder.isOpen() && m_lock.isHeldIn(folder))
        return true;
    release();
    if (!folder.isOpen())
        return true; // so there is no work folder either
    m_parent = std::move(folder);
    m_path = path;
    std::string holder;
    const Status status =
        m_lock.hold(m_parent, name.toStdString(), thisProgram().toStdString(), holder);
    m_holder = QString::fromStdString(holder).simplified();
    m_isRefused = status.is(Failure::Busy);
    if (!m_lock.isHeld())
        m_parent.close();
    return !m_isRefused;
}

void WorkFolderLock::release() {
    m_lock.release();
    m_parent.close();
    m_isRefused = false;
    m_holder.clear();
}

} // namespace platform
