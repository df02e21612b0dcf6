#pragma once

#include "platform/ConsentService.h"
#include "platform/ProcessLauncher.h"

#include <deque>
#include <string>
#include <utility>

namespace rewindle::test {

/// A consent service and its user, who answers when the test says so.
class FakeConsentService final : public ConsentService {
public:
    explicit FakeConsentService(std::optional<int> stored = 2) : status(stored) {}

    [[nodiscard]] std::optional<int> preflight(std::string_view service) override {
        return service == kAudioCaptureConsent ? status : std::nullopt;
    }
    bool request(std::string_view service, std::function<void(bool granted)> completion) override {
        if (!canAsk || service != kAudioCaptureConsent) return false;
        questions.push_back(std::move(completion));
        return true;
    }
    void setChangeHandler(std::function<void()>) override {}

    /// The user answers the oldest open question.
    void answer(bool granted) {
        auto completion = std::move(questions.front());
        questions.pop_front();
        completion(granted);
    }

    std::optional<int> status; // 0 granted, 1 denied, 2 no entry; none: unavailable
    bool canAsk = true;
    std::deque<std::function<void(bool)>> questions; // not answered yet
};

/// Processes that end when the test says so.
class FakeProcessLauncher final : public ProcessLauncher {
public:
    struct Child {
        std::filesystem::path program;
        std::string argument;
        std::function<void(Result<int>)> reply;
    };

    [[nodiscard]] std::optional<std::filesystem::path> executable() const override { return ownExecutable; }
    void run(const std::filesystem::path& program, const std::string& argument,
             std::function<void(Result<int>)> reply) override {
        children.push_back({program, argument, std::move(reply)});
    }
    /// Ends the oldest child, with an exit status or with the reason why there is none.
    void finish(Result<int> outcome) {
        const auto child = std::move(children.front());
        children.pop_front();
        child.reply(std::move(outcome));
    }

    std::optional<std::filesystem::path> ownExecutable = "/usr/bin/rewindle";
    std::deque<Child> children; // still running
};

} // namespace rewindle::test
