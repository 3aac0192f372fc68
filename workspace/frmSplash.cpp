#include "workspace/frmSplash.h"

#include "config/modRegistry.h"
#include "platform/error.h"
#include "platform/forms.h"
#include "workspace/frmMain.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QPainter>

#include <chrono>
#include <exception>
#include <memory>

namespace {

constexpr std::chrono::milliseconds kShown(800);
constexpr int kClientWidth = 5970; // twips
constexpr int kClientHeight = 3720;
constexpr QSize kPictureSize(400, 250); // pixels

// Loads the main window. False where it cannot be, with the reason in `failure`.
bool load(frmMain &window, QString &failure) {
    try {
        window.Load();
        return true;
    } catch (const platform::RuntimeError &error) {
        failure = error.description();
    } catch (const std::exception &error) {
        failure = QString::fromLocal8Bit(error.what());
    }
    return false;
}

} // namespace

frmSplash::frmSplash(const QString &sArchive)
    : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint), m_archive(sArchive) {
    setObjectName("frmSplash");
    setAttribute(Qt::WA_QuitOnClose, false);
    setAccessibleName("Orvel");
    setFixedSize(platform::pixels(kClientWidth), platform::pixels(kClientHeight));
    platform::centreOnScreen(this);
    tmrSplash.setObjectName("tmrSplash");
    tmrSplash.setInterval(kShown);
    tmrSplash.setTimerType(Qt::PreciseTimer); // a coarse one may tick 40 ms early
    connect(&tmrSplash, &QTimer::timeout, this, &frmSplash::tmrSplash_Timer);
}

frmSplash::~frmSplash() = default;

bool frmSplash::Load() {
    tmrSplash.start();
    QString folder;
    try {
        folder = RegGetString(kHkeyLocalMachine, QString::fromUtf16(kGameKey), "directory");
    } catch (const std::exception &) {
        return true; // start-up goes on, and what is wrong comes out when the game is located
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
    QString failure;
    const bool loaded = load(*m_main, failure);
    hide();
    deleteLater();
    if (!loaded) {
        platform::MsgBox(failure, platform::kCritical, "Orvel");
        QCoreApplication::exit(1);
        return;
    }
    m_main->setAttribute(Qt::WA_DeleteOnClose);
    frmMain *main = m_main.release();
    main->show();
    if (!m_archive.isEmpty())
        QTimer::singleShot(0, main, [main, archive = m_archive] { main->ChooseArchive(archive); });
}

void frmSplash::PrepareMainWindow() {
    if (m_main != nullptr)
        return;
    m_main = std::make_unique<frmMain>();
    m_main->ensurePolished();
    m_main->winId(); // the system's window, not shown yet
}

// What takes time waits until the splash stands: nobody waits for it then.
void frmSplash::paintEvent(QPaintEvent *) {
    if (m_picture.isNull()) {
        m_picture.load(devicePixelRatioF() > 1 ? ":/assets/splash@2x.jpg" : ":/assets/splash.jpg");
        // A first paint that comes as late as the tick finds the window made and handed over.
        QTimer::singleShot(0, this, [this] {
            if (tmrSplash.isActive())
                PrepareMainWindow();
        });
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform); // at scales between 1 and 2
    QRect target({}, kPictureSize);
    target.moveCenter(rect().center());
    painter.drawPixmap(target, m_picture);
}

// The timer alone ends the splash.
void frmSplash::closeEvent(QCloseEvent *event) {
    event->ignore();
}
