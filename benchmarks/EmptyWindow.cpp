// The least that a program with a window can be: what a start is compared with.

#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("empty_window"));
    window.resize(1280, 238);
    window.show();
    return QApplication::exec();
}
