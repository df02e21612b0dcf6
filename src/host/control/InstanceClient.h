#pragma once

#include "host/control/ActivationToken.h"

#include <QDBusConnection>
#include <QVariantMap>

namespace rewindle {

/// What a second start of the program found.
enum class InstanceAnswer {
    shown,      // the running instance comes to the front
    windowed,   // an instance with a window runs, and was left in peace
    headless,   // an instance runs that has no window
    noInstance, // nobody runs on this bus
    noBus,      // there is no bus
    failed,     // an instance runs, but gave no answer
};

/// Brings the instance that runs on the same bus to the front. Never starts one.
///
/// Threads: interface thread, which waits for the answer, but not for long. A QCoreApplication will do.
class InstanceClient {
public:
    explicit InstanceClient(QDBusConnection bus, int timeoutMs = 3'000)
        : bus_(std::move(bus)), timeoutMs_(timeoutMs) {}
    /// `token`: what the caller was itself started with.
    [[nodiscard]] InstanceAnswer activate(const ActivationToken& token) const;
    /// Only looks who runs.
    [[nodiscard]] InstanceAnswer find() const;

private:
    [[nodiscard]] InstanceAnswer ask(const char* caller, QVariantMap platformData) const;

    QDBusConnection bus_;
    int timeoutMs_;
};

} // namespace rewindle
