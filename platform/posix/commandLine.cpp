#include "platform/posix/commandLine.h"

#include "platform/error.h"
#include "platform/files.h"
#include "platform/narrow.h"
#include "platform/posix/paths.h"
#include "storage/posix/descriptor.h"
#include "storage/posix/environment.h"

#include <QtEndian>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace platform {

namespace {

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t';
}

qsizetype skipBlanks(const QString &text, qsizetype from) {
    while (from < text.size() && isBlank(text[from]))
        ++from;
    return from;
}

bool isFile(const QByteArray &path) {
    struct stat info = {};
    return ::stat(path.constData(), &info) == 0 && S_ISREG(info.st_mode);
}

// Whether a file starts with an MZ header that refers to a PE header.
bool isWindowsProgram(const QByteArray &path) {
    const Descriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<unsigned char, 64> header = {};
    if (!file.isOpen() ||
        ::pread(file.get(), header.data(), header.size(), 0) != static_cast<ssize_t>(header.size()))
        return false;
    const auto offset = qFromLittleEndian<quint32>(header.data() + 60);
    std::array<char, 4> signature = {};
    return header[0] == 'M' && header[1] == 'Z' &&
           ::pread(file.get(), signature.data(), signature.size(), offset) == 4 &&
           QByteArrayView(signature.data(), 4) == QByteArrayView("PE\0\0", 4);
}

// The program at the beginning of a line, and the end of its text.
struct FoundProgram {
    QByteArray path;
    qsizetype end = 0;
    bool isWindowsProgram = false;
};

class ProgramSearch {
  public:
    // Whether `text` names a program.
    bool tryName(const QString &text, qsizetype end) {
        const bool isPath = std::any_of(text.begin(), text.end(), isSeparator);
        const QByteArray path =
            isPath ? resolve(text)
                   : QByteArray::fromStdString(findInPath(toNarrow(text.trimmed()).toStdString()));
        if (path.isEmpty() || !isFile(path))
            return false;
        const bool forWindows = platform::isWindowsProgram(path);
        if (!forWindows && !isExecutableFile(path.toStdString())) {
            m_sawFile = true;
            return false;
        }
        m_found = {path, end, forWindows};
        return true;
    }

    const FoundProgram &found() const { return m_found; }

    [[noreturn]] void fail(const QString &line) const {
        raise(m_sawFile ? ErrorNumber::IllegalProcedureCall : ErrorNumber::FileNotFound, line);
    }

  private:
    FoundProgram m_found;
    bool m_sawFile = false;
};

FoundProgram findProgram(const QString &line) {
    const qsizetype start = skipBlanks(line, 0);
    ProgramSearch search;
    if (start < line.size() && line[start] == u'"') {
        // The next quote ends the program, unless its path contains quotes.
        for (qsizetype end = start; end < line.size();) {
            const qsizetype close = line.indexOf(u'"', end + 1);
            end = close < 0 ? line.size() : close;
            const QString name = line.sliced(start + 1, end - start - 1);
            if (search.tryName(name, std::min(end + 1, line.size())))
                return search.found();
        }
        search.fail(line);
    }
    for (qsizetype end = line.size(); end > start; --end) {
        const bool mayEnd = end == line.size() || isBlank(line[end]);
        if (mayEnd && search.tryName(line.sliced(start, end - start), end))
            return search.found();
    }
    search.fail(line);
}

// Reads one argument at `at` and advances it. Backslashes are literal except before a double quote,
// where two of them stand for one and a single one makes the quote literal; two quotes within
// quotes stand for one.
QString nextArgument(const QString &text, qsizetype &at) {
    QString argument;
    bool quoted = false;
    while (at < text.size() && (quoted || !isBlank(text[at]))) {
        qsizetype slashes = 0;
        while (at < text.size() && text[at] == u'\\') {
            ++slashes;
            ++at;
        }
        const bool beforeQuote = at < text.size() && text[at] == u'"';
        argument += QString(beforeQuote ? slashes / 2 : slashes, u'\\');
        if (slashes > 0 && !beforeQuote)
            continue;
        if (!beforeQuote) {
            argument += text[at];
        } else if (slashes % 2 == 1) {
            argument += u'"';
        } else if (quoted && at + 1 < text.size() && text[at + 1] == u'"') {
            argument += u'"';
            ++at;
        } else {
            quoted = !quoted;
        }
        ++at;
    }
    return argument;
}

// Whether a word that starts like a path is a path: "/open" and "\n" are not.
bool looksLikePath(const QString &text) {
    return isAbsolutePath(text) &&
           (!isSeparator(text[0]) || std::count_if(text.begin(), text.end(), isSeparator) > 1);
}

bool hasItsFolder(const QString &text) {
    return isStored(resolve(splitPath(text).folder));
}

// Whether any parent folder of a file exists, except the root.
bool leadsSomewhere(const QString &text) {
    QString folder = splitPath(text).folder;
    while (std::count_if(folder.begin(), folder.end(), isSeparator) > 1) {
        if (isStored(resolve(folder)))
            return true;
        folder.chop(1);
        folder = splitPath(folder).folder;
    }
    return false;
}

// The native path that a word refers to, or "". The file, or its folder, need not exist.
QByteArray meantPath(const QString &text) {
    if (!looksLikePath(text))
        return {};
    const QByteArray path = resolve(text);
    return isStored(path) || hasItsFolder(text) || leadsSomewhere(text) ? path : QByteArray();
}

// Whether a whole text is the path of one file, rather than a list of words that starts with
// `firstWord`. The name of a missing file is not split, because a program would create files from
// its parts.
bool isOneFile(const QString &text, const QString &firstWord) {
    if (!isAbsolutePath(text))
        return false;
    if (isStored(resolve(text)))
        return true;
    return looksLikePath(text) &&
           (hasItsFolder(text) || (!isStored(resolve(firstWord)) && leadsSomewhere(text)));
}

QByteArray passed(const QString &word, bool toWindowsProgram) {
    const QByteArray path = meantPath(word);
    if (path.isEmpty())
        return toNarrow(word);
    return toWindowsProgram ? windowsPath(path) : path;
}

} // namespace

Command parseCommandLine(const QString &line) {
    if (line.contains(QChar(u'\0')))
        raise(ErrorNumber::IllegalProcedureCall, line);
    const FoundProgram program = findProgram(line);
    Command command = {program.path, {}, program.isWindowsProgram};
    qsizetype at = skipBlanks(line, program.end);
    while (at < line.size()) {
        const QString tail = line.sliced(at);
        const QString word = nextArgument(line, at);
        if (isOneFile(tail, word)) {
            command.arguments.append(passed(tail, command.isWindowsProgram));
            break;
        }
        command.arguments.append(passed(word, command.isWindowsProgram));
        at = skipBlanks(line, at);
    }
    return command;
}

} // namespace platform
