#pragma once

#include "platform/AnimatedWindow.h"

#include <array>
#include <cstdint>
#include <utility>

namespace rewindle::test {

/// A window of 1,000 x 500 points on a display of 120 Hz, at first not key and in front of all others. Like a real
/// one it announces what changes, except that others come to cover parts of it.
class FakeAnimatedWindow final : public AnimatedWindow {
public:
    FakeAnimatedWindow() = default;
    ~FakeAnimatedWindow() override { announce(WindowNotification::occlusionStateChanged); }

    [[nodiscard]] bool isKey() const override { return key_; }
    [[nodiscard]] bool isMiniaturized() const override { return miniaturized_; }
    [[nodiscard]] bool isOnScreen() const override { return onScreen_; }
    [[nodiscard]] bool isOcclusionVisible() const override { return occlusionVisible_; }
    [[nodiscard]] Rect frame() const override { return {100, 100, 1'000, 500}; }
    [[nodiscard]] std::vector<CoveringWindow> windowsAbove() const override { return above; }
    [[nodiscard]] bool hasContentView() const override { return contentView; }
    [[nodiscard]] std::unique_ptr<DisplayLink> makeDisplayLink(std::optional<FrameRateRange> range,
                                                               std::function<void()> onFrame) override {
        return contentView ? std::make_unique<Link>(*this, range, std::move(onFrame)) : nullptr;
    }
    [[nodiscard]] Observation observe(WindowNotification notification, std::function<void()> handler) override {
        return changes_.at(static_cast<std::size_t>(notification)).observe(std::move(handler));
    }

    void setKey(bool key) {
        key_ = key;
        announce(key ? WindowNotification::becameKey : WindowNotification::resignedKey);
    }
    void setMiniaturized(bool miniaturized) { change(miniaturized_, miniaturized); }
    void setOnScreen(bool onScreen) { change(onScreen_, onScreen); }
    void setOcclusionVisible(bool visible) { change(occlusionVisible_, visible); }

    /// The display shows a frame; false when no link listens.
    bool frameShown() {
        if (!link_) return false;
        const auto onFrame = link_->onFrame; // held: the link may end in it
        (*onFrame)();
        return true;
    }
    /// Of the running link.
    [[nodiscard]] std::optional<FrameRateRange> linkRange() const { return link_ ? link_->range : std::nullopt; }
    [[nodiscard]] bool hasLink() const { return link_ != nullptr; }

    std::vector<CoveringWindow> above;
    bool contentView = true;

private:
    struct Link final : DisplayLink {
        Link(FakeAnimatedWindow& owner, std::optional<FrameRateRange> wanted, std::function<void()> handler)
            : window(owner), range(wanted), onFrame(std::make_shared<std::function<void()>>(std::move(handler))) {
            window.link_ = this;
        }
        ~Link() override { window.link_ = nullptr; }
        [[nodiscard]] double framesPerSecond() const override { return range ? range->preferred : 120; }

        FakeAnimatedWindow& window;
        std::optional<FrameRateRange> range;
        std::shared_ptr<std::function<void()>> onFrame;
    };

    void announce(WindowNotification notification) {
        auto& change = changes_.at(static_cast<std::size_t>(notification));
        change.set(change.get() + 1);
    }
    void change(bool& state, bool value) {
        state = value;
        announce(WindowNotification::occlusionStateChanged);
    }

    bool key_ = false;
    bool miniaturized_ = false;
    bool onScreen_ = true;
    bool occlusionVisible_ = true;
    std::array<Observable<std::uint64_t>, 3> changes_;
    Link* link_ = nullptr;
};

} // namespace rewindle::test
