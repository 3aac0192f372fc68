// Any bytes as a hive file: every value that is read can be written again without changing another,
// and what was set is read back.

#include "registry/posix/hive.h"

#include <cstdlib>

using platform::hive::Hive;
using platform::hive::Value;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray text(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const Hive hive(text);
    static const QString keys[] = {QStringLiteral("Software\\Game"), QStringLiteral("a"),
                                   QStringLiteral("Software\\New\\Key")};
    static const QString name = QStringLiteral("set by the fuzzer");
    for (const QString &key : keys) {
        const QStringList names = hive.valueNames(key);
        if (!hive.isWritable())
            continue;
        const Value value = platform::hive::valueFromNarrow(1, QByteArray("C:\\Games\\\"x\"\n"));
        const Hive after(hive.withValue(key, name, value, 0));
        if (after.value(key, name) != value)
            std::abort();
        for (const QString &kept : names)
            if (kept.compare(name, Qt::CaseInsensitive) != 0 &&
                after.value(key, kept) != hive.value(key, kept))
                std::abort();
    }
    return 0;
}
