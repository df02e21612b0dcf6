#pragma once

#include "platform/GraphicsContext.h"

#include <algorithm>
#include <string>
#include <vector>

namespace rewindle::test {

/// Keeps what is drawn, in the coordinates of the view.
class RecordingGraphicsContext final : public GraphicsContext {
public:
    struct Strip {
        std::vector<float> minima, maxima;
        double firstX = 0;
        Rect clip;
        VerticalGradient fill;
    };
    struct Shape {
        std::string kind; // "fill" or "stroke"
        Rect rect;
        Color color;
    };

    void saveState() override { states_.push_back(state_); }
    void restoreState() override {
        state_ = states_.back();
        states_.pop_back();
    }
    void translate(double dx, double dy) override {
        state_.dx += dx;
        state_.dy += dy;
    }
    void clip(const Rect& rect) override { state_.clip = moved(rect); }
    void fillEnvelope(const EnvelopeStrip& strip) override {
        strips.push_back({{strip.minima.begin(), strip.minima.end()},
                          {strip.maxima.begin(), strip.maxima.end()},
                          strip.firstX + state_.dx,
                          state_.clip,
                          strip.fill});
    }
    void fillRect(const Rect& rect, const Color& color) override { shapes.push_back({"fill", moved(rect), color}); }
    void strokeRect(const Rect& rect, double, const Color& color) override {
        shapes.push_back({"stroke", moved(rect), color});
    }

    [[nodiscard]] bool isBalanced() const { return states_.empty(); }
    std::vector<Strip> strips;
    std::vector<Shape> shapes;

private:
    struct State {
        double dx = 0, dy = 0;
        Rect clip;
    };
    [[nodiscard]] Rect moved(Rect rect) const {
        return {rect.x + state_.dx, rect.y + state_.dy, rect.width, rect.height};
    }

    State state_;
    std::vector<State> states_;
};

} // namespace rewindle::test
