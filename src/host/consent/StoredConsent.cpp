#include "host/consent/StoredConsent.h"

#include "host/consent/StoredConsentAnswer.h"

#include <QDBusPendingCallWatcher>
#include <QFile>
#include <QStringList>

#include <utility>

namespace rewindle {
namespace {

constexpr int kLongestWaitMs = 2'000;

/// The record, and its folder; while that is missing, the nearest folder above it.
QStringList pathsToWatch(const std::filesystem::path& record) {
    std::error_code ignored;
    auto folder = record.parent_path();
    while (folder.has_relative_path() && !std::filesystem::is_directory(folder, ignored))
        folder = folder.parent_path();
    QStringList paths{QFile::decodeName(folder.c_str())};
    if (std::filesystem::exists(record, ignored)) paths.append(QFile::decodeName(record.c_str()));
    return paths;
}

} // namespace

StoredConsent::StoredConsent(ConsentRecord record, QDBusConnection bus, Log log)
    : record_(std::move(record)), bus_(std::move(bus)), log_(std::move(log)),
      told_(StoredConsentAnswer::combined(record_.read(), {})), self_(std::make_shared<StoredConsent*>(this)) {
    for (const auto signal : {&QFileSystemWatcher::directoryChanged, &QFileSystemWatcher::fileChanged}) {
        connect(&recordWatcher_, signal, this, [this] {
            watchRecord();
            tellChange();
        });
    }
    watchRecord();
    if (bus_.isConnected()) watchPortal();
}

void StoredConsent::watchPortal() {
    const auto name = QString::fromLatin1(StoredConsentPortal::kBusName);
    bus_.connect(name, QString::fromLatin1(StoredConsentPortal::kObjectPath),
                 QString::fromLatin1(StoredConsentPortal::kInterface), QStringLiteral("Changed"), this,
                 SLOT(onPortalChanged(QDBusMessage)));
    portalWatcher_.setConnection(bus_);
    portalWatcher_.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    portalWatcher_.addWatchedService(name);
    connect(&portalWatcher_, &QDBusServiceWatcher::serviceRegistered, this, [this] { lookUp(); });
    lookUp();
}

void StoredConsent::lookUp() {
    lookup_ = StoredConsentPortal::lookUp(bus_);
    auto* const watcher = new QDBusPendingCallWatcher(*lookup_, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, number = ++lookups_](auto* finished) {
        finished->deleteLater();
        if (!lookup_ || number != lookups_) return; // the reply was taken already, or a later question was asked
        takeReply(finished->reply());
        tellChange();
    });
}

void StoredConsent::takeReply(const QDBusMessage& reply) {
    lookup_.reset();
    // A store that fails is no reason to forget its no.
    if (const auto entry = StoredConsentPortal::entryInReply(reply)) portal_ = entry;
}

void StoredConsent::onPortalChanged(const QDBusMessage& signal) {
    const auto entry = StoredConsentPortal::entryInSignal(signal);
    if (!entry) return;
    portal_ = entry;
    tellChange();
}

void StoredConsent::watchRecord() {
    // All watches are made anew: one may be on a file that was replaced, or on a folder that is not the nearest any
    // more. Once more when a folder came between the look and the watch.
    for (QStringList watched; watched != pathsToWatch(record_.file());) {
        if (const auto old = recordWatcher_.files() + recordWatcher_.directories(); !old.isEmpty())
            recordWatcher_.removePaths(old);
        watched = pathsToWatch(record_.file());
        recordWatcher_.addPaths(watched);
    }
}

int StoredConsent::answer() {
    if (withdrawn_) return StoredConsentAnswer::kDenied;
    return StoredConsentAnswer::combined(record_.read(), portal_ ? portal_->granted : std::nullopt);
}

void StoredConsent::tellChange() {
    const int now = answer();
    if (std::exchange(told_, now) == now) return;
    if (const auto tell = onChange_) tell();
}

std::optional<int> StoredConsent::preflight(std::string_view service) {
    if (service != kAudioCaptureConsent) return std::nullopt;
    if (!std::exchange(waited_, true)) {
        if (lookup_) {
            const auto reply = StoredConsentPortal::replyWithin(*lookup_, QDeadlineTimer(kLongestWaitMs));
            if (reply) takeReply(*reply);
        }
        told_ = answer();
    }
    return answer();
}

bool StoredConsent::request(std::string_view service, std::function<void(bool)> completion) {
    if (service != kAudioCaptureConsent || !question_) return false;
    const auto waiting = std::make_shared<std::function<void(bool)>>(std::move(completion));
    question_([weak = std::weak_ptr(self_), waiting](bool granted) {
        const auto self = weak.lock();
        const auto reply = std::exchange(*waiting, nullptr); // only the first answer counts
        if (!self || !reply) return;
        const auto stored = (*self)->store(granted);
        if (!stored) (*self)->tellFailure(stored.error());
        reply(granted && stored);
    });
    return true;
}

void StoredConsent::tellFailure(const Error& error) {
    log_.warning("The answer could not be stored: " + error.message + ".");
    if (onFailure_) onFailure_(error);
}

Result<void> StoredConsent::store(bool granted) {
    const auto setting = StoredConsentPortal::setPermission(bus_, granted);
    const auto record = record_.write(granted);
    withdrawn_ = !granted && !record; // a no counts here though it could not be stored
    watchRecord();
    tellChange();
    const auto reply = StoredConsentPortal::replyWithin(setting, QDeadlineTimer(kLongestWaitMs));
    if (reply && reply->type() == QDBusMessage::ReplyMessage) {
        portal_ = StoredConsentPortal::Entry{granted};
        lookup_.reset(); // a reply that is still on its way is older than this
    }
    tellChange();
    return StoredConsentAnswer::outcome(granted, answer(), record, StoredConsentPortal::outcomeOfSetting(reply));
}

} // namespace rewindle
