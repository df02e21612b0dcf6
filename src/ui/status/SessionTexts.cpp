#include "ui/status/SessionTexts.h"

#include "host/desktop/DesktopWords.h"

#include <cmath>

namespace rewindle {

using namespace Qt::StringLiterals;

ListeningState listeningState(const CaptureStatus& status, bool isWanted) {
    if (!isWanted) return ListeningState::stopped;
    if (!status.running) return ListeningState::waiting;
    return status.frozen ? ListeningState::frozen : ListeningState::listening;
}

QString listeningText(ListeningState state, const CaptureStatus& status) {
    const auto& description = status.deviceDescription.empty() ? status.deviceUID : status.deviceDescription;
    switch (state) {
    case ListeningState::listening: return u"Listening to "_s + fromUtf8(description);
    case ListeningState::waiting: return u"Waiting for an output"_s;
    case ListeningState::frozen: return u"Paused"_s;
    case ListeningState::stopped: return u"Not listening"_s;
    }
    return {};
}

QString clockText(double seconds) {
    const auto whole = static_cast<int>(std::floor(seconds + 1e-6));
    return u"%1:%2"_s.arg(whole / 60).arg(whole % 60, 2, 10, QChar(u'0'));
}

QString keepingText(const CaptureStatus& status) {
    const auto duration = recordingDurationFromSeconds(status.durationSeconds);
    if (!duration) return {};
    const auto whole = u"the last "_s + fromUtf8(label(*duration)) + u" in memory"_s;
    const bool isFull = std::round(status.retainedSeconds) >= status.durationSeconds;
    return isFull ? u"Keeping "_s + whole : clockText(status.retainedSeconds) + u" of "_s + whole;
}

QString fromUtf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString inWords(std::string_view text) {
    return fromUtf8(inWordsOfThisDesktop(text));
}

} // namespace rewindle
