#include "platform/qt/color_scheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace quorvane::platform::qt {
namespace {

/// The value of org.freedesktop.appearance color-scheme that means dark.
constexpr uint kPreferDark = 1;
/// A window that comes up late is worse than a light one.
constexpr int kLimitMilliseconds = 50;

QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

bool desktopPrefersDark() {
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return false;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return false;
    QDBusMessage request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
    request.setAutoStartService(false);
    request << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
    const QDBusMessage reply = bus.call(request, QDBus::Block, kLimitMilliseconds);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return false;
    return unwrapped(reply.arguments().constFirst()).toUInt() == kPreferDark;
}

} // namespace quorvane::platform::qt
