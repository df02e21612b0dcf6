#pragma once

#include "program/Recorder.h"
#include "settings/WaveformTheme.h"
#include "support/Desktop.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rewindle::test {

constexpr auto kWindow = "rewindle";
constexpr double kRate = 48'000, kSecondsKept = 30;
constexpr int kColumn = 2;  // pixels
constexpr double kNear = 8; // frames, of several hundred in a pixel: what the easing of a movement leaves
inline constexpr std::array kLevels{0.25F, 0.5F, 1.0F, 0.75F};
constexpr std::size_t kLead = 14'400, kBlock = 38'400, kRest = 19'200; // frames

using Pixel = std::array<int, 3>;

int distance(const Pixel& a, const Pixel& b);

/// Blocks of known levels with silence around them, of which no stretch is like another.
Sound blocks();

/// What the window shows, and where in it the waveform is: between the ends of the line at the newest audio.
struct Picture {
    int width = 0, height = 0;
    std::string bytes;
    int top = 0, bottom = 0; // rows [top, bottom)
    double head = -1;        // x

    [[nodiscard]] Pixel at(int x, int y) const;
    void findHead(const Color& color);
    /// Rows [first, second) that the envelope fills by half at least; none where there is silence.
    [[nodiscard]] std::pair<int, int> filled(int x) const;
    /// The first and the last column of the first stretch from `from` on that is filled; none when there is none.
    [[nodiscard]] std::optional<std::pair<int, int>> nextBlock(int from) const;
};

/// One row of what the frame clock says that it did.
struct ClockRow {
    double uptimeMs = 0;
    std::string event, detail;
};

/// The program with its window on a private display, and what somebody does and sees there.
class LiveWaveform : public testing::Test {
protected:
    struct Stretch {
        double first = 0, frames = 0;
    };

    explicit LiveWaveform(const SessionParts& parts = {.display = true});
    /// Starts the program.
    void run(RecorderStart how = {});
    /// Waits until its window has the keyboard.
    void awaitWindow();
    /// Starts the program and waits until its window has the keyboard and it captures.
    void start(const std::string& variables = {});
    /// What its frame clock has done so far.
    std::vector<ClockRow> clockRows() const;
    Picture look() const;
    Picture lookAt(const Path& png) const;
    /// Once it has come to rest; the place of the waveform is that of an earlier look.
    Picture lookAtRest() const;
    /// What `xdotool` understands: "mousedown 1", "key Left", and all of it in one line.
    void mouse(const std::string& actions) const;
    /// A move, over when the window has been told of what was pressed before: the window manager looks at each press
    /// first, and keys overtake the mouse meanwhile. It never ends where it begins, for which nobody would wait.
    [[nodiscard]] std::string to(double x) const;
    [[nodiscard]] std::string dragging(double from, double to_) const;
    void drag(double from, double to_) const { mouse(dragging(from, to_)); }

    /// What Ctrl+S saves now.
    Sound save() const;
    /// Waits until the program is frozen.
    void awaitFreeze();
    /// Where a clip stands in what had been heard when it froze.
    Stretch placeOf(const Sound& clip) const;
    /// Marks what lies between two places on the screen and saves it.
    Stretch select(double from, double to_) const;
    /// Has the sound played, and stops with all of it in sight.
    void playAndPause();

    const PrivateSession session;
    Desktop desktop{session};
    std::optional<Recorder> rewindle;
    std::string window;
    Sound kept;                // when the program froze
    int width = 0;             // of the window, pixels
    int top = 0;               // of the waveform, pixels
    double framesPerPixel = 0; // as it was zoomed when the sound was played
    int mouseRow = 130;        // of the mouse: in the waveform, below its button
};

} // namespace rewindle::test
