#include "platform/Services.h"
#include "platform/linux/services.h"
#include "platform/qt/application.h"
#include "platform/qt/style.h"

#include <QApplication>
#include <QDir>

#include <cstdio>
#include <cstdlib>

namespace quorvane::platform {
namespace {

/// A desktop that cannot be reached ends the program with a message and a status, not with a crash.
void reportMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
    std::fprintf(stderr, "%s\n", qUtf8Printable(message));
    if (type == QtFatalMsg) std::_Exit(EXIT_FAILURE);
}

/// The program's own icon in each size that it brings along.
QIcon applicationIcon() {
    QIcon icon;
    const QDir folder(QStringLiteral(":/application-icons"));
    for (const QString& name : folder.entryList()) icon.addFile(folder.filePath(name));
    return icon;
}

} // namespace

int applicationMain(int argc, char** argv, InterfaceLoader loadInterface) {
    qInstallMessageHandler(reportMessage);
    const QApplication framework(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false); // the application terminates itself
    QApplication::setWindowIcon(applicationIcon());
    qt::applyAppearance();

    // Both stay for good: threads that nobody joins may use them until the process ends.
    static const auto& application = *new auto(std::make_shared<qt::Application>());
    static const auto& services = *new Services(linux_::makeServices(application));
    installServices(&services);
    loadInterface(*application);
    return application->run();
}

} // namespace quorvane::platform
