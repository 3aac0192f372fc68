#include "workspace/reasons.h"

#include <array>

namespace {

struct Meaning {
    std::int32_t code;
    const char *text;
};

constexpr std::int32_t kDiskFull = 50;

constexpr std::array kMeanings{
    Meaning{1, "some files were skipped"},
    Meaning{2, "the archive is damaged"},
    Meaning{3, "the archive is badly damaged or no zip archive"},
    Meaning{9, "the archive was not found"},
    Meaning{11, "no file matched"},
    Meaning{12, "there is nothing to do"},
    Meaning{14, "the archive could not be written"},
    Meaning{15, "the archive could not be created"},
    Meaning{18, "a file could not be opened"},
    Meaning{kDiskFull, "the disk has no room for it"},
    Meaning{51, "the archive ends early"},
    Meaning{80, "it was cancelled"},
    Meaning{81, "its compression or encryption is not supported"},
    Meaning{82, "it needs a password"},
};

} // namespace

QString Reason(std::int32_t code, const QString &message) {
    QString said = message.simplified();
    if (code == kDiskFull && !said.isEmpty())
        return QStringLiteral("the disk has no room for it: ") + said;
    if (!said.isEmpty())
        return said;
    for (const Meaning &meaning : kMeanings)
        if (meaning.code == code)
            return meaning.text;
    return QStringLiteral("error %1").arg(code);
}

QString OddArchiveNote(const QString &reason) {
    return QStringLiteral("Something about the archive is odd: %1.").arg(reason);
}

QString LeftoversNote(const QStringList &paths) {
    constexpr qsizetype kNamed = 10;
    QString names = paths.mid(0, kNamed).join(", ");
    if (paths.size() > kNamed)
        names += QStringLiteral(" and %1 more").arg(paths.size() - kNamed);
    return QStringLiteral("New in the archive are files that programs leave behind: %1. They were "
                          "in the work folder, and stay in the archive from now on.")
        .arg(names);
}
