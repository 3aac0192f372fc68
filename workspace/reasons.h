#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>

// What an unsuccessful code of the companion libraries means, as a clause that goes on from "...
// could not be saved: ". The library's own message text, where there is one, is the better reason;
// that a disk is full, which anybody can do something about, is said in plain words before it.
QString Reason(std::int32_t code, const QString &message);

// What is said of an archive that can be worked with as a whole, and for which reason it is said.
QString OddArchiveNote(const QString &reason);

// What is said after a save that gave an archive new entries for what editors and systems leave
// behind. Not empty.
QString LeftoversNote(const QStringList &paths);
