#pragma once

#include "app/CaptureControl.h"
#include "settings/RecordingDuration.h"

#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace rewindle::test {

/// A running instance under the test's control. Exports wait until the test finishes them.
class FakeCaptureControl final : public CaptureControl {
public:
    struct Export {
        std::optional<double> seconds; // none: all
        Path folder;
        ExportReply reply;
    };

    void exportLast(double seconds, const Path& folder, ExportReply reply) override {
        exports.push_back({seconds, folder, std::move(reply)});
    }
    void exportAll(const Path& folder, ExportReply reply) override {
        exports.push_back({std::nullopt, folder, std::move(reply)});
    }
    void setFrozen(bool frozen) override { status.frozen = frozen; }
    void requestStatus(std::function<void(const CaptureStatus&)> reply) override {
        ++requests;
        if (isAnswering) return reply(status);
        unanswered.push_back(std::move(reply));
    }
    void setDuration(int seconds, std::function<void(Result<void>)> reply) override {
        if (!recordingDurationFromSeconds(seconds)) return reply(Error{0, "no such duration"});
        status.durationSeconds = seconds;
        reply({});
    }
    Result<void> setGain(double gainDB) override {
        if (!std::isfinite(gainDB)) return Error{0, "no such gain"};
        status.gainDB = static_cast<float>(gainDB);
        return {};
    }
    void quit() override { ++quits; }

    CaptureStatus status;
    int requests = 0; // for it
    bool isAnswering = true;
    std::vector<std::function<void(const CaptureStatus&)>> unanswered;
    std::vector<Export> exports; // in the order of the requests
    int quits = 0;
};

} // namespace rewindle::test
