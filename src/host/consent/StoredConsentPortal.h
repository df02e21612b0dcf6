#pragma once

#include "base/Result.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDeadlineTimer>

#include <optional>

namespace rewindle {

/// The desktop's permission store, as far as it keeps this program's consent.
///
/// Threads: interface thread.
namespace StoredConsentPortal {

inline constexpr const char* kBusName = "org.freedesktop.impl.portal.PermissionStore";
inline constexpr const char* kObjectPath = "/org/freedesktop/impl/portal/PermissionStore";
inline constexpr const char* kInterface = kBusName;
inline constexpr const char* kTable = "devices";
inline constexpr const char* kId = "speakers";
inline constexpr const char* kApplication = "com.rewindle.Rewindle";

/// What the store says of this program; no answer when it has no entry.
struct Entry {
    std::optional<bool> granted;
    friend bool operator==(const Entry&, const Entry&) = default;
};

/// Both may have the bus start the store; neither waits.
[[nodiscard]] QDBusPendingCall lookUp(const QDBusConnection& bus);
[[nodiscard]] QDBusPendingCall setPermission(const QDBusConnection& bus, bool granted);

/// What a reply to `lookUp` says; none when there is no store to say it.
[[nodiscard]] std::optional<Entry> entryInReply(const QDBusMessage& reply);
/// What the store's signal `Changed` says; none when it is about something else.
[[nodiscard]] std::optional<Entry> entryInSignal(const QDBusMessage& signal);
/// What came of `setPermission`; `reply` is absent when none came in time. A success, too, when there is no store.
[[nodiscard]] Result<void> outcomeOfSetting(const std::optional<QDBusMessage>& reply);

/// The reply, when it comes in time. Runs no event loop, so that nothing else happens meanwhile, and ends in time also
/// when the bus itself goes away.
[[nodiscard]] std::optional<QDBusMessage> replyWithin(const QDBusPendingCall& call, QDeadlineTimer limit);

} // namespace StoredConsentPortal

} // namespace rewindle
