// The least that a program with a window can be: a text and a button.
#include "bench/window_idle.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    const quorvane::bench::FirstIdle idle;
    QWidget window;
    QVBoxLayout layout(&window);
    QLabel label(QStringLiteral("Uninstall?"));
    QPushButton button(QStringLiteral("Cancel"));
    layout.addWidget(&label);
    layout.addWidget(&button);
    window.show();
    return QApplication::exec();
}
