#include "host/control/DbusStatus.h"

#include "app/StatusText.h"

namespace rewindle {
namespace {

// Walks over all fields of a status in one place, so that the two directions cannot name them differently.
// The types on the bus are b, s, i, x, t and d.
template <class Status, class Visitor>
void visitFields(Status& status, Visitor&& visit) {
    visit("running", status.running);
    visit("frozen", status.frozen);
    visit("device_uid", status.deviceUID);
    visit("device_description", status.deviceDescription);
    visit("duration_seconds", status.durationSeconds);
    visit("retained_seconds", status.retainedSeconds);
    visit("total_frames", status.totalFrames);
    visit("gain_db", status.gainDB);
    visit("left_display_db", status.displayDB[0]);
    visit("right_display_db", status.displayDB[1]);
    visit("left_hold_db", status.holdDB[0]);
    visit("right_hold_db", status.holdDB[1]);
    visit("gaps", status.troubles.gaps);
    visit("gap_frames", status.troubles.gapFrames);
    visit("overruns", status.troubles.overruns);
    visit("overrun_frames", status.troubles.overrunFrames);
    visit("access", status.access);
    visit("last_error", status.lastError);
}

QVariant toVariant(bool value) {
    return value;
}
QVariant toVariant(int value) {
    return value;
}
QVariant toVariant(float value) {
    return static_cast<double>(value);
} // D-Bus has doubles only
QVariant toVariant(double value) {
    return value;
}
QVariant toVariant(std::int64_t value) {
    return static_cast<qlonglong>(value);
}
QVariant toVariant(std::uint64_t value) {
    return static_cast<qulonglong>(value);
}
QVariant toVariant(const std::string& value) {
    return QString::fromStdString(value);
}
QVariant toVariant(AudioCaptureAccessState value) {
    return toVariant(std::string(accessName(value)));
}

void read(const QVariant& from, AudioCaptureAccessState& to) {
    using enum AudioCaptureAccessState;
    for (const auto state : {checking, granted, firstRun, needsSystemSettings}) {
        if (from.toString().toStdString() == accessName(state)) to = state;
    }
}
void read(const QVariant& from, bool& to) {
    to = from.toBool();
}
void read(const QVariant& from, int& to) {
    to = from.toInt();
}
void read(const QVariant& from, float& to) {
    to = from.toFloat();
}
void read(const QVariant& from, double& to) {
    to = from.toDouble();
}
void read(const QVariant& from, std::int64_t& to) {
    to = from.toLongLong();
}
void read(const QVariant& from, std::uint64_t& to) {
    to = from.toULongLong();
}
void read(const QVariant& from, std::string& to) {
    to = from.toString().toStdString();
}

} // namespace

QVariantMap toVariantMap(const CaptureStatus& status) {
    QVariantMap map;
    visitFields(status,
                [&](const char* key, const auto& value) { map[QString::fromLatin1(key)] = toVariant(value); });
    return map;
}

CaptureStatus toCaptureStatus(const QVariantMap& map) {
    CaptureStatus status;
    visitFields(status, [&](const char* key, auto& value) {
        const auto found = map.find(QString::fromLatin1(key));
        if (found != map.end()) read(*found, value);
    });
    return status;
}

} // namespace rewindle
