#pragma once

#include "host/consent/ConsentRecord.h"
#include "host/consent/StoredConsentPortal.h"
#include "platform/ConsentService.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QFileSystemWatcher>
#include <QObject>

#include <cstdint>
#include <memory>

namespace rewindle {

/// The consent that is stored in the program's own record and in the desktop's permission store, watched in both.
///
/// Threads:   interface thread.
/// Errors:    where there is no permission store, or no bus, only the record counts. Of a store that went away its
///            last answer counts.
/// Lifecycle: needs the application's event loop to see changes. The answer to a question may come after its end.
class StoredConsent final : public QObject, public ConsentService {
    Q_OBJECT

public:
    /// Asks the user and hands on the answer, later or at once.
    using Question = std::function<void(std::function<void(bool granted)> answer)>;

    /// Asks the desktop's store; waits for nothing. `bus` may be unconnected.
    StoredConsent(ConsentRecord record, QDBusConnection bus, Log log);
    /// Without one, `request` is refused.
    void setQuestion(Question question) { question_ = std::move(question); }

    /// Called when a user's answer to the question could not be stored, and so counts as a no.
    void setFailureHandler(std::function<void(const Error&)> onFailure) { onFailure_ = std::move(onFailure); }

    /// The first call waits, 2 s at most, for the desktop's store.
    [[nodiscard]] std::optional<int> preflight(std::string_view service) override;
    bool request(std::string_view service, std::function<void(bool granted)> completion) override;
    void setChangeHandler(std::function<void()> onChange) override { onChange_ = std::move(onChange); }

    /// Stores the answer in both places, waiting 2 s at most. A success when it counts from now on. A no counts before
    /// the desktop's store has taken it.
    [[nodiscard]] Result<void> store(bool granted);

private:
    Q_SLOT void onPortalChanged(const QDBusMessage& signal);

    void watchPortal();
    void lookUp();
    void takeReply(const QDBusMessage& reply);
    void watchRecord();
    [[nodiscard]] int answer();
    void tellChange();
    void tellFailure(const Error& error);

    ConsentRecord record_;
    QDBusConnection bus_;
    const Log log_;
    Question question_;
    std::function<void()> onChange_;
    std::function<void(const Error&)> onFailure_;

    std::optional<StoredConsentPortal::Entry> portal_; // none: it never answered
    std::optional<QDBusPendingCall> lookup_;           // the last, until its reply has been taken
    std::uint64_t lookups_ = 0;
    bool waited_ = false;
    bool withdrawn_ = false; // by a user whose no could not be stored
    int told_;               // the answer that was last told: `onChange_` is called when it changes
    QDBusServiceWatcher portalWatcher_;
    QFileSystemWatcher recordWatcher_;
    std::shared_ptr<StoredConsent*> self_; // a question's answer refers to it weakly
};

} // namespace rewindle
