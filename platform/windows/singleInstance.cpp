#include "platform/singleInstance.h"

#include "platform/windows/system.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QStringList>

#include <utility>

namespace platform {

namespace {

constexpr const wchar_t *kClass = L"OrvelInstance";
constexpr const wchar_t *kName = L"Local\\OrvelInstance";
constexpr UINT kTimeout = 2000; // ms
constexpr DWORD kRetryInterval = 20;
constexpr ULONG_PTR kShowArchive = 1;
constexpr LRESULT kShown = 1;
constexpr LRESULT kBusy = 2;

using Show = std::function<bool(const QString &)>;

// The instance that this process is.
struct Instance {
    HWND window = nullptr; // invisible; receives the requests
    Show show;             // empty until acceptHandovers
    QStringList waiting;   // requests before that
};

Instance &thisInstance() {
    static Instance instance;
    return instance;
}

// The window's procedure.
LRESULT CALLBACK receive(HWND window, UINT message, WPARAM word, LPARAM data) {
    if (message != WM_COPYDATA)
        return DefWindowProcW(window, message, word, data);
    const auto *sent = reinterpret_cast<const COPYDATASTRUCT *>(data);
    if (sent->dwData != kShowArchive)
        return 0;
    const QString archive(static_cast<const QChar *>(sent->lpData),
                          static_cast<qsizetype>(sent->cbData / sizeof(QChar)));
    if (thisInstance().show)
        return thisInstance().show(archive) ? kShown : kBusy;
    thisInstance().waiting.append(archive);
    return kShown;
}

} // namespace

bool becomeInstance() {
    if (thisInstance().window != nullptr)
        return true;
    // The system removes the name with the process.
    const HANDLE name = CreateMutexW(nullptr, FALSE, kName);
    if (name != nullptr && GetLastError() == ERROR_ALREADY_EXISTS) {
        CloseHandle(name);
        return false;
    }
    WNDCLASSEXW its{};
    its.cbSize = sizeof its;
    its.lpfnWndProc = receive;
    its.hInstance = GetModuleHandleW(nullptr);
    its.lpszClassName = kClass;
    RegisterClassExW(&its);
    thisInstance().window = CreateWindowExW(0, kClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                            its.hInstance, nullptr);
    return true;
}

Handover handOver(const QString &archive) {
    HWND other = nullptr;
    // The other instance may have begun a moment ago and not have its window yet.
    for (const QDeadlineTimer end(kTimeout); other == nullptr;) {
        other = FindWindowExW(HWND_MESSAGE, nullptr, kClass, nullptr);
        if (other == nullptr && end.hasExpired())
            return Handover::None;
        if (other == nullptr)
            Sleep(kRetryInterval);
    }
    // It may come to the front, because the user has started this program.
    AllowSetForegroundWindow(ASFW_ANY);
    COPYDATASTRUCT sent{};
    sent.dwData = kShowArchive;
    sent.cbData = static_cast<DWORD>(archive.size() * static_cast<qsizetype>(sizeof(QChar)));
    sent.lpData = const_cast<QChar *>(archive.data());
    DWORD_PTR answer = 0;
    if (SendMessageTimeoutW(other, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&sent),
                            SMTO_ABORTIFHUNG, kTimeout, &answer) == 0)
        return IsWindow(other) != FALSE ? Handover::Busy : Handover::None;
    return answer == kShown ? Handover::Shown : Handover::Busy;
}

void acceptHandovers(QObject *owner, const Show &show) {
    if (thisInstance().window == nullptr)
        return;
    thisInstance().show = show;
    QObject::connect(owner, &QObject::destroyed,
                     [] { thisInstance().show = [](const QString &) { return false; }; });
    for (const QString &archive : std::exchange(thisInstance().waiting, {}))
        show(archive);
}

} // namespace platform
