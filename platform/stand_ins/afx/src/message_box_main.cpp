// tarvix-message-box TITLE: shows the text on standard input in a box with an OK button. Exits with
// 0 after the box was closed. Ends together with the process that started it.
#include <QApplication>
#include <QMessageBox>
#include <QString>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <string>

#include <sys/prctl.h>

int main(int argc, char** argv) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const std::string text{std::istreambuf_iterator<char>(std::cin),
                           std::istreambuf_iterator<char>()};

    // Always X11: the caller has tried that display, and its window handles are X11's.
    std::string name = argv[0];
    std::string option = "-platform";
    std::string platform = "xcb";
    char* arguments[] = {name.data(), option.data(), platform.data(), nullptr};
    int argumentCount = 3;
    const QApplication application(argumentCount, arguments);
    QMessageBox box(QMessageBox::NoIcon, QString::fromUtf8(argc > 1 ? argv[1] : ""),
                    QString::fromStdString(text), QMessageBox::Ok);
    box.setTextFormat(Qt::PlainText); // a text with angle brackets is not markup
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    box.exec();
    std::_Exit(EXIT_SUCCESS); // at once; nothing is left to do
}
