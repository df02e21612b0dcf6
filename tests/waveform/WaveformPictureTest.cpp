#include "waveform/WaveformColumns.h"
#include "waveform/WaveformOverlays.h"
#include "waveform/WaveformRedraw.h"

#include <gmock/gmock.h>

#include <cmath>

namespace rewindle::test {
namespace {

constexpr float kGap = std::numeric_limits<float>::quiet_NaN();

TEST(WaveformColumnsTest, ColumnsLieOnAGridThatScrollingDoesNotMove) {
    const std::array<double, 2> widths[] = {{0, 1}, {1, 1}, {2, 1}, {3, 2}, {1600, 800}, {7680, 3840}};
    for (const auto& [width, base] : widths) {
        const auto columns = waveformColumns({width, 200}, 0, 14'400'000);
        EXPECT_EQ(static_cast<double>(columns.baseColumns), base);
        EXPECT_EQ(columns.columnCount, columns.baseColumns + 2);
        EXPECT_EQ(columns.framesPerColumn, 14'400'000 / base);
    }
    for (double start = 0; start < 50'000; start += 333.25) {
        const auto columns = waveformColumns({800, 200}, start, 1'440'000);
        EXPECT_EQ(std::fmod(columns.firstColumnFrame, 3'600), 0);
        EXPECT_GE(columns.fraction, 0);
        EXPECT_LT(columns.fraction, 1);
        EXPECT_NEAR(columns.firstColumnFrame + columns.fraction * 3'600, start, 1e-6);
    }
}

TEST(WaveformColumnsTest, TheBoxHoldsTheColumnsThatAreThereAsFarAsTheyAreInTheView) {
    const Size size{800, 200};
    const auto columns = waveformColumns(size, 0, 1'440'000);
    struct Case {
        std::vector<float> minima, maxima;
        Rect box;
    };
    const Case cases[] = {
        {{kGap, -0.5F, -0.25F, kGap}, {kGap, 0.5F, 1, kGap}, {2.5, 10, 2, 135}},
        {{kGap, -3}, {kGap, 3}, {2.5, 0, 0, 200}}, // louder than full scale
        {{kGap, kGap}, {kGap, 0.5F}, {}},          // half a column is none
        {{}, {}, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(envelopeBounds(columns, c.minima, c.maxima, size), c.box);
}

TEST(WaveformOverlaysTest, ShowOnlyWhatCanBeSeen) {
    const FrameAxis axis{1'000, 8'000, {800, 10}}; // ten frames per point
    const AuditionCursor none;
    const auto selection = [&](double from, double to) {
        WaveformMarks marks;
        marks.select(from, to);
        return waveformOverlays(axis, {}, marks, none).selection;
    };
    EXPECT_EQ(selection(2'000, 3'000), (Rect{100, 0, 100, 10}));
    EXPECT_EQ(selection(3'000, 2'000), (Rect{100, 0, 100, 10}));
    EXPECT_EQ(selection(0, 2'000), (Rect{0, 0, 100, 10}));
    EXPECT_EQ(selection(8'000, 99'000), (Rect{700, 0, 100, 10}));
    EXPECT_EQ(selection(0, 1'000), std::nullopt);
    EXPECT_EQ(selection(9'000, 9'900), std::nullopt);
    EXPECT_EQ(selection(2'000, 2'009), std::nullopt); // less than a point

    EXPECT_EQ(waveformOverlays(axis, 9'000, {}, none).writeHead, (Rect{799, 0, 2, 10}));
    EXPECT_EQ(waveformOverlays(axis, 9'001, {}, none).writeHead, std::nullopt);
    EXPECT_EQ(waveformOverlays(axis, 999, {}, none).writeHead, std::nullopt);
    EXPECT_EQ(waveformOverlays(axis, {}, {}, none).writeHead, std::nullopt);

    WaveformMarks marks;
    marks.insertMarkerFrame = 2'000;
    AuditionCursor cursor;
    EXPECT_EQ(waveformOverlays(axis, {}, marks, cursor).cursorLine, (Rect{99.5, 0, 1, 10}));
    cursor.playbackCursorFrame = 3'000;
    EXPECT_EQ(waveformOverlays(axis, {}, marks, cursor).cursorLine, (Rect{199.5, 0, 1, 10}));
    cursor.cursorBlinkVisible = false; // and the playhead does not show up instead
    EXPECT_EQ(waveformOverlays(axis, {}, marks, cursor).cursorLine, std::nullopt);
    const auto outside = waveformOverlays({5'000, 8'000, {800, 10}}, {}, marks, none);
    EXPECT_EQ(outside.cursorLine, std::nullopt);
}

TEST(WaveformOverlaysTest, QuadsComeInDrawingOrderWithTheLastDashCut) {
    WaveformTheme theme;
    theme.headFrozen = {1, 0, 0};
    theme.selectionFill = {0, 1, 0};
    theme.selectionStroke = {0, 0, 1};
    theme.playhead = {1, 1, 0};
    const WaveformOverlays overlays{Rect{7, 0, 2, 10}, Rect{100, 0, 50, 10}, Rect{20, 0, 1, 10}};
    std::vector<WaveformOverlayQuad> quads(3);
    overlayQuads(overlays, theme, true, quads);
    EXPECT_THAT(quads, testing::ElementsAre(WaveformOverlayQuad{{7, 0, 2, 10}, theme.headFrozen},
                                            WaveformOverlayQuad{{100, 0, 50, 10}, theme.selectionFill},
                                            WaveformOverlayQuad{{100.5, 0.5, 49, 1}, theme.selectionStroke},
                                            WaveformOverlayQuad{{100.5, 8.5, 49, 1}, theme.selectionStroke},
                                            WaveformOverlayQuad{{100.5, 0.5, 1, 9}, theme.selectionStroke},
                                            WaveformOverlayQuad{{148.5, 0.5, 1, 9}, theme.selectionStroke},
                                            WaveformOverlayQuad{{20, 0, 1, 4}, theme.playhead},
                                            WaveformOverlayQuad{{20, 8, 1, 2}, theme.playhead}));
}

TEST(WaveformRedrawTest, DrawsWhenSomethingHasMovedSoFarThatItCanBeSeen) {
    using State = WaveformDrawnState;
    const auto zoomed = [](double zoom) { return [zoom](State& state) { state.multiplier = zoom; }; };
    const auto frozen = [](State& state) { state.frozen = true; };
    const auto playhead = [](State& state) { state.insertMarker = 5; };
    struct Case {
        const char* what;
        bool expected;
        std::function<void(State&)> change; // since it was drawn
        std::function<void(State&)> before = [](State&) {};
    };
    const Case cases[] = {
        {"nothing", false, [](State&) {}},
        {"never drawn", true, [](State& now) { now.viewStart = 5; },
         [](State& drawn) { drawn.viewStart = State::kNone; }},
        {"size", true, [](State& now) { now.size.height += 1; }},
        {"freeze", true, frozen},
        {"zoom", true, [](State& now) { now.multiplier += 0.00011; }},
        {"little zoom", false, [](State& now) { now.multiplier += 0.00009; }},
        {"start", true, [](State& now) { now.viewStart += 0.1001; }},
        {"little start", false, [](State& now) { now.viewStart -= 0.09; }},
        {"little start, zoomed in", true, [](State& now) { now.viewStart += 0.026; }, zoomed(4)},
        {"less than a fiftieth, far in", false, [](State& now) { now.viewStart += 0.019; }, zoomed(32)},
        {"head", true, [](State& now) { now.head += 0.5001; }},
        {"little head", false, [](State& now) { now.head += 0.49; }},
        {"little head, following", true, [](State& now) { now.followLive = true, now.head += 0.002; }},
        {"the same, frozen", false, [](State& now) { now.followLive = true, now.head += 0.002; }, frozen},
        {"an audition", true, [](State& now) { now.auditionPlaying = true; }},
        {"its cursor appears", true, [](State& now) { now.playbackCursor = 5; }},
        {"the playhead goes", true, [](State& now) { now.insertMarker = State::kNone; }, playhead},
        {"the playhead moves", true, [](State& now) { now.insertMarker = 5.5; }, playhead},
        {"the playhead moves little", false, [](State& now) { now.insertMarker = 5.4; }, playhead},
        {"a blink", true, [](State& now) { now.cursorBlinkVisible = false; }},
    };
    for (const auto& [what, expected, change, before] : cases) {
        State drawn{.viewStart = 1'000'000,
                    .head = 2'000'000,
                    .multiplier = 1,
                    .size = {800, 200},
                    .cursorBlinkVisible = true};
        before(drawn);
        State now = drawn;
        change(now);
        EXPECT_EQ(needsRedraw(drawn, now), expected) << what;
    }
}

} // namespace
} // namespace rewindle::test
