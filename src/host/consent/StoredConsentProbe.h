#pragma once

#include "host/consent/ConsentRecord.h"
#include "platform/ConsentService.h"

#include <QDBusConnection>

namespace rewindle {

/// The stored consent for processes that ask or answer once and end: no thread, watch or event loop of its own.
///
/// Threads: one only.
class StoredConsentProbe final : public ConsentService {
public:
    /// `bus` may be unconnected: then the record alone counts.
    StoredConsentProbe(ConsentRecord record, QDBusConnection bus)
        : record_(std::move(record)), bus_(std::move(bus)) {}

    /// Waits for the desktop's store, but less long than anybody waits for a probe child.
    [[nodiscard]] std::optional<int> preflight(std::string_view service) override;
    /// Never asks.
    bool request(std::string_view, std::function<void(bool)>) override { return false; }
    /// Nothing is watched.
    void setChangeHandler(std::function<void()>) override {}

    /// Stores the answer in the record and in the desktop's store. A success when it counts from now on.
    [[nodiscard]] Result<void> store(bool granted);

private:
    ConsentRecord record_;
    const QDBusConnection bus_;
};

} // namespace rewindle
