#include "message_box.h"

#include <QApplication>
#include <QMessageBox>
#include <QObject>
#include <QString>
#include <QThread>

#include <array>
#include <clocale>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include <xcb/xcb.h>

namespace tarvix::afx {
namespace {

const int okButton = 1;

// Asked first because Qt ends the process when it finds no display.
bool canConnectToDisplay() {
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool connected = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return connected;
}

std::string executableName() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).filename().string();
}

int runBox(const char* text) {
    QMessageBox box(QMessageBox::NoIcon, QString::fromStdString(executableName()),
                    QString::fromUtf8(text), QMessageBox::Ok);
    box.setTextFormat(Qt::PlainText); // a text with angle brackets is no markup
    box.exec();
    return okButton;
}

// A QApplication for one box. It ends with the box, because with it alive the end of the X server
// would end the host. Its constructor sets the process's locale from the environment, which would
// change how the host and we print numbers: the locale is put back.
int runBoxInOwnApplication(const char* text) {
    const char* const current = std::setlocale(LC_ALL, nullptr);
    const std::string locale = current == nullptr ? "C" : current;
    // Window ids are X11's throughout, and the display that was tried is X11's.
    std::string name = executableName();
    std::string option = "-platform";
    std::string platform = "xcb";
    std::array<char*, 4> arguments{name.data(), option.data(), platform.data(), nullptr};
    int argumentCount = 3;
    const QApplication application(argumentCount, arguments.data());
    std::setlocale(LC_ALL, locale.c_str());
    return runBox(text);
}

} // namespace

int showMessageBox(const char* text, unsigned /*type*/) {
    // One box at a time while the application is ours; a box opened from within a box is of one
    // thread.
    static std::recursive_mutex ownApplication;
    std::unique_lock lock(ownApplication);
    QCoreApplication* const application = QCoreApplication::instance();
    if (application == nullptr) {
        return canConnectToDisplay() ? runBoxInOwnApplication(text) : printMessage(text);
    }
    lock.unlock();

    // Without widgets, or on a platform that draws nowhere, nobody could close the box.
    const auto* const gui = qobject_cast<QApplication*>(application);
    const QString platform = gui == nullptr ? QString() : QGuiApplication::platformName();
    if (platform.isEmpty() || platform == QLatin1String("offscreen") ||
        platform == QLatin1String("minimal")) {
        return printMessage(text);
    }
    if (QThread::currentThread() == application->thread()) {
        return runBox(text);
    }
    int button = okButton;
    QMetaObject::invokeMethod(
        application, [&] { button = runBox(text); }, Qt::BlockingQueuedConnection);
    return button;
}

} // namespace tarvix::afx
