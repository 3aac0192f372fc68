#pragma once

#include "registry/posix/hive.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>

namespace platform::hive {

// What the hive file at `path` holds now. The text is kept until the file changes. A file that is
// missing, is no file, or may not be read is an empty hive.
std::shared_ptr<const Hive> readHive(const QByteArray &path);

// Replaces the hive's text by what `change` makes of it, so that at every instant the file is the
// old one or the new one, whole, and no change of another thread or program is lost. The folder is
// made where it is missing; a link is written through; mode and owner stay. Returns 0, or a system
// error code where nothing was changed: 5 may not be written, 33 another program keeps the hive
// locked, 112 disk full, 1009 not a hive, 1016 any other fault. A text that stays the same is not
// written.
std::int32_t changeHive(const QByteArray &path,
                        const std::function<QByteArray(const Hive &)> &change);

} // namespace platform::hive
