#pragma once

#include <QRect>
#include <QString>

#include <functional>
#include <optional>

class QWidget;

// Windows, message boxes and dialogs, with the program's units and numeric codes.
namespace platform {

// 15 twips are one pixel at 96 dpi.
constexpr int pixels(int twips) {
    return twips / 15;
}
QRect rectFromTwips(int left, int top, int width, int height);

// Message box styles, and the answer for OK.
inline constexpr int kCritical = 16;            // critical icon, OK
inline constexpr int kExclamationOkCancel = 49; // exclamation icon, OK and Cancel
inline constexpr int kInformation = 64;         // information icon, OK
inline constexpr int kAnswerOk = 1;
inline constexpr int kAnswerCancel = 2;

// Shows a modal message box over the active window and returns the answer. `cause`, if any, is its
// tool tip and its description for screen readers.
int MsgBox(const QString &text, int style, const QString &title, const QString &cause = {});

// A file that the user chose.
struct ChosenFile {
    QString path; // full path, in the system's form
    QString name; // file name without the folder
};

// An open-file dialog that starts at the file chosen last. The filter is "Text | *.EXE" pairs; on
// POSIX the pattern *.EXE shows executable files too.
class OpenFileDialog {
  public:
    // Returns nothing if the user cancels.
    std::optional<ChosenFile> show(QWidget *owner, const QString &title, const QString &filter);

  private:
    QString m_path; // the file chosen last, "" at first
};

// Asks for a folder. Returns its path in the system's form, or nothing if the user cancels.
std::optional<QString> chooseFolder(const QString &title);

// Functions that a test sets to answer in place of the user. If unset, the real box or dialog is
// shown.
struct Prompts {
    std::function<int(const QString &text, int style, const QString &title, const QString &cause)>
        messageBox;
    std::function<std::optional<ChosenFile>(const QString &title, const QString &filter)> openFile;
    std::function<std::optional<QString>(const QString &title)> folder;
};
Prompts &prompts();

// Sets the font that the layout of the windows is designed for: the desktop's font family at 8.25
// points, 11 pixels at 96 dpi.
void setLayoutFont(QWidget *window);

// Condenses the font of a window's buttons if a caption is too wide for its button.
void fitCaptions(QWidget *window);

// A tool tip that wraps its lines and shows the text literally, never as markup; "" for "".
QString plainTip(const QString &text);

// Gives a window a fixed size, in pixels. If the desktop maximises it nevertheless, it becomes a
// normal window again.
void fixWindow(QWidget *window, const QSize &size);

// Centers a window on its screen.
void centreOnScreen(QWidget *window);

// Sets the pointer: 11 is the hourglass, 0 the default. Disabled windows show it too.
void setMousePointer(QWidget *window, int value);

// Removes the last two entries of a window's system menu (the separator and Close), and with them
// the close button.
void trimSystemMenu(QWidget *window);

// Processes pending paint events, at most every 25 ms, and discards pending input, as a disabled
// window does. Long operations call it often.
void repaintPending();

// Lets repaintPending() wait for the whole interval: an operation that takes less is not painted.
void postponeRepaint();

// Discards all pending input and paints. Call it before a busy window accepts input again, so that
// earlier clicks and key presses have no effect.
void discardInput();

} // namespace platform
