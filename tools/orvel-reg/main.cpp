#include "config/modRegistry.h"
#include "platform/narrow.h"
#include "registry/registry.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <optional>

// Queries and sets values of the settings store, to register a game folder or to inspect the
// settings.

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1; // missing, or refused
constexpr int kMisused = 2;

constexpr char kUsage[] = R"(Usage:
  orvel-reg query KEY          print the text values of KEY, a line NAME=TEXT for each
                               (the default value has an empty NAME)
  orvel-reg query KEY NAME     print the text of one value
  orvel-reg add KEY NAME TEXT  store TEXT; creates KEY if it is missing
  orvel-reg --help
  orvel-reg --version

KEY is a path under HKEY_LOCAL_MACHINE, with or without that name or "HKLM" in front. NAME "" is
the default value of KEY. Keys and names are compared without regard to case. What the settings
file lacks is read from the Wine prefix, if there is one. Values that are not text are skipped.

The exit code is 0 on success, 1 if the key or value is missing or cannot be written, and 2 if the
command line is invalid.

Examples:
  orvel-reg add "SOFTWARE\Sierra Online\Setup\Tribes2" directory /home/me/games/Tribes2
  orvel-reg query "SOFTWARE\Voxhollow\Game Editors\Tribes2\Orvel\Programs"
)";

void printLine(const QString &text) {
    const QByteArray line = platform::toNarrow(text) + '\n';
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
}

int misused(const char *reason) {
    std::fprintf(stderr, "orvel-reg: %s\nTry \"orvel-reg --help\".\n", reason);
    return kMisused;
}

// The path under the root, without the root's name and outer separators.
QString keyUnderRoot(QString key) {
    const auto trim = [&key] {
        while (key.startsWith(u'\\'))
            key.remove(0, 1);
        while (key.endsWith(u'\\'))
            key.chop(1);
    };
    trim();
    for (const QStringView root : {QStringView(u"HKLM"), QStringView(u"HKEY_LOCAL_MACHINE")}) {
        if (key.compare(root, Qt::CaseInsensitive) == 0)
            return {};
        if (key.startsWith(root, Qt::CaseInsensitive) && key[root.size()] == u'\\') {
            key.remove(0, root.size());
            trim();
            return key;
        }
    }
    return key;
}

std::optional<QString> readValue(const QString &key, const QString &name) {
    // No stored text equals this one, because a text ends at its first NUL.
    const QString nothing = QChar(0);
    const QString text = RegGetString(kHkeyLocalMachine, key, name, nothing);
    return text == nothing ? std::nullopt : std::optional(text);
}

int queryValue(const QString &key, const QString &name) {
    const std::optional<QString> text = readValue(key, name);
    if (!text) {
        std::fprintf(stderr, "orvel-reg: there is no text value \"%s\" in \"%s\"\n",
                     platform::toNarrow(name).constData(), platform::toNarrow(key).constData());
        return kFailed;
    }
    printLine(*text);
    return kDone;
}

int queryKey(const QString &key) {
    platform::RegKey handle = 0;
    if (platform::RegOpenKeyA(kHkeyLocalMachine, platform::toNarrow(key), handle) !=
        platform::kSuccess) {
        std::fprintf(stderr, "orvel-reg: there is no key \"%s\"\n",
                     platform::toNarrow(key).constData());
        return kFailed;
    }
    QByteArrayList names;
    platform::RegValueNames(handle, names);
    platform::RegCloseKey(handle);
    for (const QByteArray &narrow : names) {
        const QString name = platform::fromNarrow(narrow);
        if (const std::optional<QString> text = readValue(key, name))
            printLine(name + u'=' + *text);
    }
    return kDone;
}

int add(const QString &key, const QString &name, const QString &text) {
    const QString stored = platform::narrowPath(text);
    // A text that would be stored differently is refused.
    if (platform::fromNarrow(platform::toNarrow(stored)) == stored) {
        RegSetString(kHkeyLocalMachine, key, name, stored);
        if (readValue(key, name) == stored)
            return kDone;
    }
    std::fprintf(stderr, "orvel-reg: the value \"%s\" in \"%s\" could not be stored\n",
                 platform::toNarrow(name).constData(), platform::toNarrow(key).constData());
    return kFailed;
}

int run(const QStringList &arguments) {
    if (arguments.isEmpty())
        return misused("no command is given");
    const QString &verb = arguments[0];
    const qsizetype count = arguments.size();
    if (verb == u"--help" && count == 1) {
        std::fputs(kUsage, stdout);
        return kDone;
    }
    if (verb == u"--version" && count == 1) {
        std::puts("orvel-reg " ORVEL_VERSION);
        return kDone;
    }
    if (verb == u"query" && count == 2)
        return queryKey(keyUnderRoot(arguments[1]));
    if (verb == u"query" && count == 3)
        return queryValue(keyUnderRoot(arguments[1]), arguments[2]);
    if (verb == u"add" && count == 4)
        return add(keyUnderRoot(arguments[1]), arguments[2], arguments[3]);
    return misused("unknown command or wrong number of arguments");
}

} // namespace

int main(int argc, char **argv) {
    const std::optional<QStringList> arguments = platform::argumentsOf(argc, argv);
    if (!arguments)
        return misused("an argument is no text in the system's encoding");
    const int result = run(*arguments);
    if (std::fflush(stdout) == 0)
        return result;
    std::perror("orvel-reg");
    return kFailed;
}
