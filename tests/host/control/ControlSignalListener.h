#pragma once

#include <QObject>
#include <QStringList>

namespace rewindle::test {

/// Writes down what an instance tells everybody on the bus.
class ControlSignalListener final : public QObject {
    Q_OBJECT

public:
    QStringList clips;
    int changes = 0;

    Q_SLOT void onClip(const QString& path) { clips.append(path); }
    Q_SLOT void onChange() { ++changes; }
};

} // namespace rewindle::test
