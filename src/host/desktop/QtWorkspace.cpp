#include "host/desktop/QtWorkspace.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QUrl>

namespace rewindle {
namespace {

constexpr int kFileManagerLimitMs = 10'000; // it may have to be started first

QUrl parsed(const std::string& url) {
    const QUrl result(QString::fromStdString(url), QUrl::StrictMode);
    return result.isValid() && !result.scheme().isEmpty() ? result : QUrl();
}

QUrl urlOf(const std::filesystem::path& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path.native()));
}

} // namespace

bool QtWorkspace::open(const std::string& url) {
    const auto address = parsed(url);
    if (address.isEmpty()) return false;
    if (address.scheme() != QLatin1String("x-apple.systempreferences")) return QDesktopServices::openUrl(address);
    if (!onSettingsLink_) return false;
    onSettingsLink_();
    return true;
}

bool QtWorkspace::canParse(const std::string& url) const {
    return !parsed(url).isEmpty();
}

bool QtWorkspace::openFolder(const std::filesystem::path& folder) {
    return QDesktopServices::openUrl(urlOf(folder));
}

bool QtWorkspace::revealFile(const std::filesystem::path& file) {
    const auto folder = urlOf(file.parent_path());
    if (!bus_.isConnected()) return QDesktopServices::openUrl(folder);
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call.setArguments({QStringList(urlOf(file).toString(QUrl::FullyEncoded)), QString()});
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(call, kFileManagerLimitMs));
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, folder] {
        answer->deleteLater();
        if (answer->isError()) QDesktopServices::openUrl(folder);
    });
    return true;
}

} // namespace rewindle
