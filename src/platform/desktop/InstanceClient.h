#pragma once

#include "platform/desktop/ActivationToken.h"

#include <QDBusConnection>

namespace rewindle {

/// What a second start of the program found.
enum class InstanceAnswer {
    shown,      // the running instance comes to the front
    headless,   // an instance runs that has no window
    noInstance, // nobody runs on this bus
    noBus,      // there is no bus
    failed,     // an instance runs, but gave no answer
};

/// Brings the instance that runs on the same bus to the front. Never starts one.
///
/// Threads: interface thread, which waits for the answer, at most 3 s. A QCoreApplication will do.
class InstanceClient {
public:
    explicit InstanceClient(QDBusConnection bus) : bus_(std::move(bus)) {}
    /// `token`: what the caller was itself started with.
    [[nodiscard]] InstanceAnswer activate(const ActivationToken& token) const;

private:
    QDBusConnection bus_;
};

} // namespace rewindle
