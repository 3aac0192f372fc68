#pragma once

#include "registry/posix/hive.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>

namespace platform::hive {

// The current content of the hive file at `path`, cached until the file changes. A file that is
// missing, not an ordinary file, or unreadable is an empty hive.
std::shared_ptr<const Hive> readHive(const QByteArray &path);

// Replaces the hive's text by the result of `change`, atomically and without losing a change of
// another thread or program. The folder is created if missing; links are followed; mode and owner
// stay. Returns 0, or a system error code if nothing was changed: 5 no permission, 33 another
// program keeps the hive locked, 112 disk full, 1009 not a hive, 1016 any other error. An unchanged
// text is not written.
std::int32_t changeHive(const QByteArray &path,
                        const std::function<QByteArray(const Hive &)> &change);

} // namespace platform::hive
