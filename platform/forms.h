#pragma once

#include <QRect>
#include <QString>

#include <functional>
#include <optional>

class QWidget;

// Windows, message boxes and dialogs.
namespace platform {

// 15 twips are one pixel at 96 dots an inch.
inline constexpr int kTwipsPerPixel = 15;
constexpr int pixels(int twips) {
    return twips / kTwipsPerPixel;
}
QRect rectFromTwips(int left, int top, int width, int height);

// Message box styles, and the answer for OK.
inline constexpr int kCritical = 16;            // critical icon, OK
inline constexpr int kExclamationOkCancel = 49; // exclamation icon, OK and Cancel
inline constexpr int kInformation = 64;         // information icon, OK
inline constexpr int kAnswerOk = 1;
inline constexpr int kAnswerCancel = 2;

// Shows a modal message box over the active window and returns the answer.
int MsgBox(const QString &text, int style, const QString &title);

// A file that the user chose.
struct ChosenFile {
    QString path; // whole path, in the system's form
    QString name; // without its folder
};

// An open-file dialog that starts with the file chosen last. The filter is "Text | *.EXE" pairs; on
// POSIX the pattern *.EXE shows executable files too.
class OpenFileDialog {
  public:
    // Empty if the user cancels.
    std::optional<ChosenFile> show(QWidget *owner, const QString &title, const QString &filter);

  private:
    QString m_path; // the file chosen last, "" at first
};

// A test's answers in place of the user's. Unset: the real box or dialog is shown.
struct Prompts {
    std::function<int(const QString &text, int style, const QString &title)> messageBox;
    std::function<std::optional<ChosenFile>(const QString &title, const QString &filter)> openFile;
};
Prompts &prompts();

// Sets the font of the windows' layout: the desktop's own family at 8.25 points, 11 pixels at 96
// dots an inch.
void setLayoutFont(QWidget *window);

// Condenses the font of a window's buttons if a caption is too wide for its button.
void fitCaptions(QWidget *window);

// Centres a window on its screen.
void centreOnScreen(QWidget *window);

// Pointer value 11 is the hourglass, 0 the default. Also works over disabled windows.
void setMousePointer(QWidget *window, int value);

// Removes the last two entries of a window's system menu (the separator and Close), and so the
// close button.
void trimSystemMenu(QWidget *window);

// Repaints pending areas, at most every 25 ms, and discards user input, as a disabled window does.
// To be called often during a long operation.
void repaintPending();

// Discards all pending user input, and repaints. To be called before a busy window accepts input
// again, so that earlier keys and clicks have no effect.
void discardInput();

} // namespace platform
