#pragma once

#include <QRect>
#include <QString>

#include <functional>
#include <optional>

class QWidget;

// Windows, boxes and dialogs, in the terms in which the program speaks of them.
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

// An open-file dialog that keeps what it held between uses. The filter is "Text | *.EXE" pairs; on
// POSIX the pattern *.EXE shows executable files too.
class OpenFileDialog {
  public:
    // Empty where the user cancels.
    std::optional<ChosenFile> show(QWidget *owner, const QString &title, const QString &filter);

  private:
    QString m_path; // the file chosen last, "" at first
};

// What a test answers in place of the user. Unset: the real box or dialog is shown.
struct Prompts {
    std::function<int(const QString &text, int style, const QString &title)> messageBox;
    std::function<std::optional<ChosenFile>(const QString &title, const QString &filter)> openFile;
};
Prompts &prompts();

// Sets the font that the windows are laid out for: the desktop's own family at 8.25 points, 11
// pixels at 96 dots an inch.
void setLayoutFont(QWidget *window);

// Makes the letters of a window's buttons narrower where a caption is too wide for its button.
void fitCaptions(QWidget *window);

// Puts a window in the middle of its screen.
void centreOnScreen(QWidget *window);

// Pointer value 11 is the hourglass, 0 the default. Shown over disabled windows, too.
void setMousePointer(QWidget *window, int value);

// Removes the last two entries of a window's system menu (the separator and Close), which takes
// the close button with them.
void trimSystemMenu(QWidget *window);

// Paints what is waiting to be painted, at most every 25 ms; input that arrived meanwhile is
// thrown away, as a disabled window does. To be called often from a long operation.
void repaintPending();

// Throws away all input that has arrived so far, and paints. To be called before a window that was
// busy takes input again, so that nothing typed or clicked meanwhile happens afterwards.
void discardInput();

} // namespace platform
