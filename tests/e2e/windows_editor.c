// A Windows program that stands in for an editor: adds a line to the file that it is given, and
// writes the path that it got, as UTF-8, into windows_editor.log beside itself.
#include <windows.h>

#include <shellapi.h>

static void append(const wchar_t *path, const char *bytes) {
    HANDLE file = CreateFileW(path, FILE_APPEND_DATA, 0, NULL, OPEN_ALWAYS, 0, NULL);
    DWORD written = 0;
    if (file == INVALID_HANDLE_VALUE)
        ExitProcess(2);
    WriteFile(file, bytes, lstrlenA(bytes), &written, NULL);
    CloseHandle(file);
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE before, PWSTR line, int show) {
    int count = 0;
    wchar_t **arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    wchar_t log[MAX_PATH];
    char given[4 * MAX_PATH];
    if (count != 2)
        return 1;
    append(arguments[1], "// changed by a Windows program\r\n");
    lstrcpyW(log + GetModuleFileNameW(NULL, log, MAX_PATH) - lstrlenW(L".exe"), L".log");
    WideCharToMultiByte(CP_UTF8, 0, arguments[1], -1, given, sizeof given - 1, NULL, NULL);
    lstrcatA(given, "\n");
    append(log, given);
    return 0;
}
