#pragma once

#include "app/CaptureControl.h"
#include "base/Log.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QVariantMap>

#include <vector>

namespace rewindle {

/// Lets other programs control this one over a message bus, and keeps it the only instance on that bus.
///
/// Threads:   interface thread.
/// Errors:    a request that fails is answered by a D-Bus error with one line for people.
/// Lifecycle: replies that come after its end still go out. Whoever asked it to quit is answered by its
///            end, when another instance may start.
class DbusControlService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.rewindle.Rewindle1")

public:
    enum class Start {
        controllable,
        alreadyRunning, // another instance has the name on this bus
        noBus,          // there is no bus, or it refuses the name: nobody can control this instance
    };

    /// Requires: `control` outlives this and has no other listener.
    DbusControlService(CaptureControl& control, QDBusConnection bus, Log log);
    ~DbusControlService() override;

    /// Takes the name on the bus; from then on requests come in.
    [[nodiscard]] Start start();

    // The methods of the interface, by their names on the bus
    Q_SLOT Q_SCRIPTABLE QString ExportLast(double seconds, const QString& folder);
    Q_SLOT Q_SCRIPTABLE QString ExportAll(const QString& folder);
    Q_SLOT Q_SCRIPTABLE void SetFrozen(bool frozen);
    Q_SLOT Q_SCRIPTABLE QVariantMap Status();
    Q_SLOT Q_SCRIPTABLE void SetDuration(int seconds);
    Q_SLOT Q_SCRIPTABLE void SetGain(double gainDB);
    Q_SLOT Q_SCRIPTABLE void Quit();
    // Its signals
    Q_SIGNAL Q_SCRIPTABLE void ClipExported(const QString& path);
    Q_SIGNAL Q_SCRIPTABLE void CaptureStateChanged();

private:
    Q_SLOT void onBusGone();

    /// What a late answer needs of the call.
    class Answer;
    [[nodiscard]] Answer answerLater();
    [[nodiscard]] CaptureControl::ExportReply answerWithPath();
    [[nodiscard]] bool refusesFolder(const QString& folder) const;
    void refuse(const QString& why) const;

    CaptureControl& control_;
    QDBusConnection bus_;
    Log log_;
    bool ownsName_ = false;
    std::vector<Answer> quitAnswers_;
};

} // namespace rewindle
