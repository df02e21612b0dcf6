#include "host/control/ActivationToken.h"

#include <QString>

namespace rewindle {
namespace {

const auto kXdgTokenKey = QStringLiteral("activation-token");
const auto kStartupIdKey = QStringLiteral("desktop-startup-id");

void insertUnlessEmpty(QVariantMap& map, const QString& key, const QByteArray& value) {
    if (!value.isEmpty()) map.insert(key, QString::fromUtf8(value));
}

} // namespace

ActivationToken ActivationToken::fromEnvironment() {
    return {.xdgToken = qgetenv("XDG_ACTIVATION_TOKEN"), .startupId = qgetenv("DESKTOP_STARTUP_ID")};
}

ActivationToken ActivationToken::fromPlatformData(const QVariantMap& platformData) {
    return {.xdgToken = platformData.value(kXdgTokenKey).toString().toUtf8(),
            .startupId = platformData.value(kStartupIdKey).toString().toUtf8()};
}

QVariantMap ActivationToken::toPlatformData() const {
    QVariantMap map;
    insertUnlessEmpty(map, kXdgTokenKey, xdgToken);
    insertUnlessEmpty(map, kStartupIdKey, startupId);
    return map;
}

} // namespace rewindle
