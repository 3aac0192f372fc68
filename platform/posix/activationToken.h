#pragma once

#include <QByteArray>

namespace platform {

// A token with which a program that is started may bring a window of an instance that runs already
// to the front, for its variable XDG_ACTIVATION_TOKEN. "" if the display is no Wayland compositor
// or gives none. It is a request: the compositor decides.
QByteArray activationToken();

} // namespace platform
