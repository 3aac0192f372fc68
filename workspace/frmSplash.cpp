#include "workspace/frmSplash.h"

#include "config/modRegistry.h"
#include "platform/forms.h"
#include "platform/singleInstance.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"

#include <QApplication>
#include <QCloseEvent>
#include <QIcon>
#include <QPainter>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>

namespace {

constexpr std::chrono::milliseconds kShown(800);
constexpr std::chrono::milliseconds kLastWait(20);
constexpr int kClientWidth = 5970; // twips
constexpr int kClientHeight = 3720;
constexpr QSize kPictureSize(400, 250); // pixels

} // namespace

frmSplash::frmSplash(const QString &sArchive)
    : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint), m_archive(sArchive) {
    setObjectName("frmSplash");
    setAttribute(Qt::WA_QuitOnClose, false);
    setAccessibleName("Orvel");
    tmrSplash.setObjectName("tmrSplash");
    tmrSplash.setInterval(kShown);
    tmrSplash.setTimerType(Qt::PreciseTimer); // a coarse timer may fire 40 ms early
    connect(&tmrSplash, &QTimer::timeout, this, &frmSplash::tmrSplash_Timer);
}

frmSplash::~frmSplash() = default;

void frmSplash::SetProgramIcon() {
    QApplication::setWindowIcon(QIcon(":/assets/orvel.png"));
}

bool frmSplash::Load() {
    tmrSplash.start(); // before all that takes time
    // Linux may end a wait late by a thousandth of it: the last one is short.
    QTimer::singleShot(kShown - kLastWait, Qt::PreciseTimer, this, [] {});
    SetProgramIcon();
    platform::fixWindow(this, {platform::pixels(kClientWidth), platform::pixels(kClientHeight)});
    platform::centreOnScreen(this);
    QString folder;
    try {
        folder = RegGetString(kHkeyLocalMachine, QString::fromUtf16(kGameKey), "directory");
    } catch (const std::exception &) {
        return true; // frmMain::Load reports the error
    }
    if (!folder.isEmpty())
        return true;
    tmrSplash.stop();
    platform::MsgBox("Orvel could not detect Tribes 2 on your computer.", platform::kCritical,
                     "Orvel");
    return false;
}

void frmSplash::tmrSplash_Timer() {
    tmrSplash.stop();
    PrepareMainWindow();
    std::optional<QString> failure;
    try {
        m_main->Load();
    } catch (const std::exception &error) {
        failure = Reason(error);
    }
    hide();
    deleteLater();
    if (failure) {
        platform::MsgBox(*failure, platform::kCritical, "Orvel");
        QCoreApplication::exit(1);
        return;
    }
    m_main->setAttribute(Qt::WA_DeleteOnClose);
    frmMain *main = m_main.release();
    main->show();
    if (!m_archive.isEmpty())
        QTimer::singleShot(
            0, main, [main, archive = m_archive] { main->ChooseArchive(archive); });
    platform::acceptHandovers(
        main, [main](const QString &archive) { return main->ShowArchive(archive); });
}

void frmSplash::PrepareMainWindow() {
    if (m_main != nullptr)
        return;
    m_main = std::make_unique<frmMain>();
    m_main->ensurePolished();
    m_main->winId();                   // creates the system's window without showing it
    static_cast<void>(m_main->grab()); // loads fonts and lays out the controls
}

// Slow steps of the start run after the first paint, while the splash is shown anyway.
void frmSplash::paintEvent(QPaintEvent *) {
    if (m_picture.isNull()) {
        m_picture.load(devicePixelRatioF() > 1 ? ":/assets/splash@2x.jpg" : ":/assets/splash.jpg");
        // If the first paint is later than the timer, the main window already exists.
        QTimer::singleShot(0, this, [this] {
            if (tmrSplash.isActive())
                PrepareMainWindow();
        });
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform); // for scales between 1 and 2
    QRect target({}, kPictureSize);
    target.moveCenter(rect().center());
    painter.drawPixmap(target, m_picture);
}

// Only the timer closes the splash.
void frmSplash::closeEvent(QCloseEvent *event) {
    event->ignore();
}
