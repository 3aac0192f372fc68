#include "platform/singleInstance.h"

#include "platform/windows/system.h"

#include <QObject>

namespace platform {

namespace {

constexpr const wchar_t *kClass = L"OrvelInstance";
constexpr UINT kTimeout = 2000; // ms
constexpr ULONG_PTR kShowArchive = 1;
constexpr LRESULT kShown = 1;
constexpr LRESULT kBusy = 2;

using Show = std::function<bool(const QString &)>;

// The procedure of the invisible window that receives requests.
LRESULT CALLBACK receive(HWND window, UINT message, WPARAM word, LPARAM data) {
    const auto *show = reinterpret_cast<const Show *>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message != WM_COPYDATA || show == nullptr)
        return DefWindowProcW(window, message, word, data);
    const auto *sent = reinterpret_cast<const COPYDATASTRUCT *>(data);
    if (sent->dwData != kShowArchive)
        return 0;
    const QString archive(static_cast<const QChar *>(sent->lpData),
                          static_cast<qsizetype>(sent->cbData / sizeof(QChar)));
    return (*show)(archive) ? kShown : kBusy;
}

} // namespace

Handover handOver(const QString &archive) {
    const HWND other = FindWindowExW(HWND_MESSAGE, nullptr, kClass, nullptr);
    if (other == nullptr)
        return Handover::None;
    // It may come to the front, because the user has started this program.
    AllowSetForegroundWindow(ASFW_ANY);
    COPYDATASTRUCT sent{};
    sent.dwData = kShowArchive;
    sent.cbData = static_cast<DWORD>(archive.size() * static_cast<qsizetype>(sizeof(QChar)));
    sent.lpData = const_cast<QChar *>(archive.data());
    DWORD_PTR answer = 0;
    if (SendMessageTimeoutW(other, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&sent),
                            SMTO_ABORTIFHUNG, kTimeout, &answer) == 0)
        return Handover::None;
    return answer == kShown ? Handover::Shown : answer == kBusy ? Handover::Busy : Handover::None;
}

void acceptHandovers(QObject *owner, const Show &show) {
    if (FindWindowExW(HWND_MESSAGE, nullptr, kClass, nullptr) != nullptr)
        return;
    WNDCLASSEXW its{};
    its.cbSize = sizeof its;
    its.lpfnWndProc = receive;
    its.hInstance = GetModuleHandleW(nullptr);
    its.lpszClassName = kClass;
    RegisterClassExW(&its);
    const HWND window = CreateWindowExW(0, kClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                        its.hInstance, nullptr);
    if (window == nullptr)
        return;
    auto held = std::make_shared<Show>(show);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(held.get()));
    QObject::connect(owner, &QObject::destroyed, [window, held] { DestroyWindow(window); });
}

} // namespace platform
