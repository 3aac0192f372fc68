#pragma once

#include <QByteArray>

// Where the registry's files lie. Each is looked up anew at each call.
namespace platform {

// The program's own hive: orvel/system.reg under $XDG_CONFIG_HOME (~/.config where that is unset or
// relative). Empty where the user has no home.
QByteArray ownHivePath();

// The hive of the user's Wine prefix, system.reg under $WINEPREFIX or ~/.wine. It need not exist.
QByteArray wineHivePath();

} // namespace platform
