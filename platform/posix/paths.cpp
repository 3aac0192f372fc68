#include "platform/posix/paths.h"

#include "platform/error.h"
#include "platform/files.h"
#include "platform/narrow.h"
#include "platform/storedNames.h"
#include "storage/posix/environment.h"

#include <climits>
#include <cstdlib>
#include <sys/stat.h>

#include <array>

namespace platform {

namespace {

// A parsed path: its start and the components that follow.
struct Steps {
    QByteArray start; // "" for a relative path, else ends in "/"
    QList<QByteArray> components;
    bool driveMissing = false;
};

QByteArray withSlash(const QByteArray &folder) {
    return folder.endsWith('/') ? folder : folder + '/';
}

bool isDrive(const QString &path) {
    if (path.size() < 2 || path[1] != u':' || (path.size() > 2 && !isSeparator(path[2])))
        return false;
    const char16_t letter = path[0].toLower().unicode();
    return letter >= u'a' && letter <= u'z';
}

void startAtDrive(char letter, Steps &steps) {
    const QByteArray link = QByteArray::fromStdString(winePrefix()) + "/dosdevices/" + letter + ':';
    const QByteArray target = realPath(link);
    if (!target.isEmpty()) {
        steps.start = withSlash(target);
    } else if (letter == 'z') {
        steps.start = "/";
    } else {
        steps.start = link + '/';
        steps.driveMissing = true;
    }
}

Steps takeApart(const QString &path) {
    Steps steps;
    QString rest = path;
    if (isDrive(path)) {
        startAtDrive(path[0].toLower().toLatin1(), steps);
        rest.remove(0, 2);
    } else if (!path.isEmpty() && isSeparator(path[0])) {
        steps.start = "/";
    }
    rest.replace(u'\\', u'/');
    for (const QByteArray &component : toNarrow(rest).split('/'))
        if (!component.isEmpty() && component != ".")
            steps.components.append(component);
    return steps;
}

// The stored name of a component in a folder (ending in "/", or ""). "" if there is none, also in a
// folder that cannot be listed.
QByteArray storedComponent(const QByteArray &folder, const QByteArray &name) {
    if (isStored(folder + name))
        return name;
    const QString text = fromNarrow(name);
    QByteArray trimmed = toNarrow(withoutTrailingBlanks(text));
    if (!trimmed.isEmpty() && trimmed != name && isStored(folder + trimmed))
        return trimmed;
    Folder opened;
    StoredNames names;
    const bool isListed = opened.open(folder.toStdString()).ok() && names.read(opened).ok();
    return isListed ? QByteArray::fromStdString(names.find(text)) : QByteArray();
}

QByteArray resolve(const Steps &steps) {
    QByteArray whole = steps.start + steps.components.join('/');
    if (whole.isEmpty() || steps.components.isEmpty() || isStored(whole))
        return whole;
    QByteArray folder = steps.start;
    for (qsizetype i = 0; i < steps.components.size(); ++i) {
        const QByteArray stored = storedComponent(folder, steps.components[i]);
        if (stored.isEmpty())
            return folder + steps.components.sliced(i).join('/');
        folder += stored;
        folder += i + 1 < steps.components.size() ? "/" : "";
    }
    return folder;
}

QByteArray withBackslashes(QByteArray path) {
    return path.replace('/', '\\');
}

// Resolves the links of the existing part of a path.
QByteArray realAsFarAsStored(const QByteArray &path) {
    const QByteArray real = realPath(path);
    const qsizetype slash = path.lastIndexOf('/');
    if (!real.isEmpty() || slash <= 0)
        return real.isEmpty() ? path : real;
    return withSlash(realAsFarAsStored(path.first(slash))) + path.sliced(slash + 1);
}

} // namespace

QByteArray windowsPath(const QByteArray &path) {
    const QByteArray devices = QByteArray::fromStdString(winePrefix()) + "/dosdevices/";
    // Wine makes Z: together with the prefix.
    if (!isStored(devices) || realPath(devices + "z:") == "/")
        return "Z:" + withBackslashes(path);
    QByteArray best = R"(\\?\unix)" + withBackslashes(path);
    qsizetype nearest = 0;
    const QByteArray real = realAsFarAsStored(path);
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        const QByteArray target = realPath(devices + letter + ':');
        if (target.size() <= nearest || !real.startsWith(withSlash(target)))
            continue;
        nearest = target.size();
        best = QByteArray(1, static_cast<char>(letter - 'a' + 'A')) + ":\\" +
               withBackslashes(real.sliced(withSlash(target).size()));
    }
    return best;
}

QByteArray realPath(const QByteArray &path) {
    std::array<char, PATH_MAX> buffer; // NOLINT(*-member-init): the call below fills it
    const char *real = ::realpath(path.constData(), buffer.data());
    return real == nullptr ? QByteArray() : QByteArray(real);
}

bool isStored(const QByteArray &path) {
    struct stat info = {};
    return ::lstat(path.constData(), &info) == 0;
}

bool isAbsolutePath(const QString &path) {
    return isDrive(path) || (!path.isEmpty() && isSeparator(path[0]));
}

QByteArray resolve(const QString &path) {
    Steps steps = takeApart(path);
    if (steps.start.isEmpty() && steps.components.isEmpty() && !path.isEmpty())
        return "."; // "." and "./"
    if (steps.components.isEmpty() && steps.start.size() > 1)
        steps.start.chop(1); // a drive's own folder
    return resolve(steps);
}

QByteArray resolveChecked(const QString &path) {
    if (path.contains(QChar(u'\0')))
        raise(ErrorNumber::BadFileName, path);
    if (isDrive(path) && takeApart(path).driveMissing)
        raise(ErrorNumber::DeviceUnavailable, path);
    return resolve(path);
}

SplitPath splitPath(const QString &path) {
    qsizetype cut = path.size();
    while (cut > 0 && !isSeparator(path[cut - 1]))
        --cut;
    if (cut == 0 && isDrive(path))
        cut = path.size();
    return {path.first(cut), path.sliced(cut)};
}

qsizetype rootLength(const QString &path) {
    return path.size() > 1 && path[1] == u':' ? 2 : 0;
}

QString nativePath(const QString &path) {
    return fromNarrow(resolve(path));
}

std::string storagePath(const QString &path) {
    return resolveChecked(path).toStdString();
}

} // namespace platform
