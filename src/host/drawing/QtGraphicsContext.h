#pragma once

#include "host/drawing/RowFill.h"
#include "host/drawing/StripEdges.h"
#include "platform/GraphicsContext.h"

#include <QImage>

#include <cstdint>
#include <span>
#include <vector>

namespace rewindle {

/// Draws into an image, by scan lines of its own: each pixel is covered by just that share of it that a shape covers.
///
/// Threads:   interface thread.
/// Real time: drawing after the first time on an image of a size allocates nothing.
class QtGraphicsContext final : public GraphicsContext {
public:
    /// What follows is drawn into `image`, which shows `size` points from edge to edge, until `end`: over what is there,
    /// or over a backdrop of one opaque colour per row. Requires: the format ARGB32_Premultiplied; image and backdrop
    /// stay, and nobody else draws on the image or copies it, until the end.
    void begin(QImage& image, Size size, std::span<const std::uint32_t> backdrop = {});
    void end();

    void saveState() override { saved_.push_back(state_); }
    void restoreState() override;
    void translate(double dx, double dy) override;
    void clip(const Rect& rect) override;
    void fillEnvelope(const EnvelopeStrip& strip) override;
    void fillRect(const Rect& rect, const Color& color) override;
    void strokeRect(const Rect& rect, double lineWidth, const Color& color) override;

private:
    struct Box { // pixels
        double left = 0, top = 0, right = 0, bottom = 0;
    };
    struct State {
        double dx = 0, dy = 0; // points
        Box clip;
    };
    class Outline;

    [[nodiscard]] Box pixels(const Rect& rect) const;
    void prepareRamp(const VerticalGradient& gradient);
    void endBlock(int block);
    [[nodiscard]] std::uint32_t* pixelAt(int x, int y) const;

    std::uint32_t* bits_ = nullptr;
    int width_ = 0, height_ = 0, stride_ = 0; // pixels
    double scaleX_ = 1, scaleY_ = 1;          // pixels per point
    State state_;
    std::vector<State> saved_;

    std::span<const std::uint32_t> backdrop_; // that is still to be drawn
    StripEdges edges_;
    RowFill rowFill_;
    VerticalGradient rampGradient_; // that `ramp_` was made for
    double rampTop_ = 0;
    std::vector<std::uint32_t> ramp_; // the gradient's colour in each row
};

} // namespace rewindle
