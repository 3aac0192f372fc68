#include "platform/posix/activationToken.h"

#include <xdg-activation-v1.h>

#include <wayland-client.h>

#include <cstring>
#include <memory>

namespace platform {

namespace {

template<auto Destroy>
struct Deleter {
    template<typename Object>
    void operator()(Object *object) const {
        Destroy(object);
    }
};
template<typename Object, auto Destroy>
using Owned = std::unique_ptr<Object, Deleter<Destroy>>;

void found(void *data, wl_registry *registry, std::uint32_t name, const char *interface,
           std::uint32_t /*version*/) {
    if (std::strcmp(interface, xdg_activation_v1_interface.name) == 0)
        *static_cast<void **>(data) =
            wl_registry_bind(registry, name, &xdg_activation_v1_interface, 1);
}

void removed(void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {}

void done(void *data, xdg_activation_token_v1 * /*token*/, const char *text) {
    *static_cast<QByteArray *>(data) = text;
}

} // namespace

// On a connection of its own: Qt gives access to its own only through private headers, which would
// tie the program to one version of Qt.
QByteArray activationToken() {
    QByteArray text;
    if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return text;
    const Owned<wl_display, wl_display_disconnect> display(wl_display_connect(nullptr));
    if (display == nullptr)
        return text;
    const Owned<wl_registry, wl_registry_destroy> registry(wl_display_get_registry(display.get()));
    static const wl_registry_listener finds = {found, removed};
    void *bound = nullptr;
    wl_registry_add_listener(registry.get(), &finds, &bound);
    wl_display_roundtrip(display.get());
    const Owned<xdg_activation_v1, xdg_activation_v1_destroy> activation(
        static_cast<xdg_activation_v1 *>(bound));
    if (activation == nullptr)
        return text;
    const Owned<xdg_activation_token_v1, xdg_activation_token_v1_destroy> token(
        xdg_activation_v1_get_activation_token(activation.get()));
    static const xdg_activation_token_v1_listener answers = {done};
    xdg_activation_token_v1_add_listener(token.get(), &answers, &text);
    xdg_activation_token_v1_commit(token.get());
    wl_display_roundtrip(display.get());
    return text;
}

} // namespace platform
