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
    if (m_lock.isHeld() && path == m_path)
        return true;
    release();
    try {
        if (!m_parent.open(storagePath(parent)).ok())
            return true; // so there is no work folder either
    } catch (const RuntimeError &) {
        return true;
    }
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
