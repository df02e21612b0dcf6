// The live waveform as somebody sees it, marks in it and takes from it: a stock player, real windows, mouse and keys.

#include "host/Recorder.h"
#include "settings/WaveformTheme.h"
#include "support/Desktop.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <utility>

namespace rewindle::test {
namespace {

constexpr auto kWindow = "rewindle";
constexpr double kRate = 48'000, kSecondsKept = 30;
constexpr int kColumn = 2;  // pixels
constexpr double kNear = 8; // frames, of several hundred in a pixel: what the easing of a movement leaves
constexpr std::array kLevels{0.25F, 0.5F, 1.0F, 0.75F};
constexpr std::size_t kLead = 14'400, kBlock = 38'400, kRest = 19'200; // frames

using Pixel = std::array<int, 3>;

int distance(const Pixel& a, const Pixel& b) {
    return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]);
}

Pixel pixelOf(const Color& color) {
    const auto byte = [](double value) { return static_cast<int>(std::lround(value * 255)); };
    return {byte(color.red), byte(color.green), byte(color.blue)};
}

/// Blocks of known levels with silence around them, of which no stretch is like another.
Sound blocks() {
    Sound sound{std::vector<float>(2 * (kLead + kLevels.size() * (kBlock + kRest)))};
    std::mt19937 random(11);
    for (std::size_t block = 0; block < kLevels.size(); ++block) {
        for (std::size_t i = 0; i < kBlock; ++i) {
            const auto frame = kLead + block * (kBlock + kRest) + i;
            const float value = random() % 2 ? kLevels.at(block) : -kLevels.at(block);
            sound.samples[2 * frame] = sound.samples[2 * frame + 1] = value;
        }
    }
    return sound;
}

/// What the window shows, and where in it the waveform is: between the ends of the line at the newest audio.
struct Picture {
    int width = 0, height = 0;
    std::string bytes;
    int top = 0, bottom = 0; // rows [top, bottom)
    double head = -1;        // x

    [[nodiscard]] Pixel at(int x, int y) const {
        const auto place = 3 * static_cast<std::size_t>(y * width + x);
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[place + i]); };
        return {byte(0), byte(1), byte(2)};
    }
    void findHead(const Pixel& color) {
        const int row = height - 3;
        int first = -1, last = -1;
        for (int x = 0; x < width; ++x) {
            if (distance(at(x, row), color) > 120) continue;
            if (first < 0) first = x;
            last = x;
        }
        if (first < 0) return;
        head = (first + last + 1) / 2.0;
        bottom = height;
        for (top = row; top > 0 && distance(at(first, top - 1), at(first, row)) < 24;)
            --top;
    }
    /// Rows [first, second) that the envelope fills by half at least; none where there is silence.
    [[nodiscard]] std::pair<int, int> filled(int x) const {
        const int empty = width - 3; // the newest audio is silent, or has not come yet
        std::pair<int, int> rows{0, 0};
        for (int y = top; y < bottom; ++y) {
            if (distance(at(x, y), at(empty, y)) < 200) continue;
            if (rows.second == 0) rows.first = y;
            rows.second = y + 1;
        }
        return rows;
    }
    /// The first and the last column of the first stretch from `from` on that is filled; none when there is none.
    [[nodiscard]] std::optional<std::pair<int, int>> nextBlock(int from) const {
        const int end = width - 60; // what is right of it is the button's
        while (from < end && filled(from).second == 0)
            ++from;
        if (from >= end) return std::nullopt;
        int last = from;
        while (last + 1 < end && filled(last + 1).second > 0)
            ++last;
        return std::pair(from, last);
    }
};

class LiveWaveform : public testing::Test {
protected:
    LiveWaveform() {
        session.addDefaultSink("speakers");
        std::filesystem::create_directories(session.folder() / "config/rewindle");
        std::ofstream(session.folder() / "config/rewindle/settings.json")
            << R"({"com.rewindle.hasSeenOnboarding": true, "capture.recordingDuration": 30})";
    }
    void start() {
        rewindle.emplace(session, RecorderStart{});
        window = desktop.window(kWindow);
        ASSERT_TRUE(eventually([&] { return desktop.keyWindow() == kWindow; }));
        waitForCapture(*rewindle);
    }
    Picture look() const {
        const auto png = session.folder() / "waveform.png";
        desktop.saveScreenshot(png, kWindow);
        std::istringstream size(session.run("identify -format '%w %h' " + png.string()).output);
        Picture picture;
        size >> picture.width >> picture.height;
        picture.bytes = session.run("convert " + png.string() + " -depth 8 rgb:-").output;
        const auto theme = WaveformTheme::of(NightfallFlavor::eclipse, NightfallWaveformAccent::mauve);
        for (const auto& color : {theme.head, theme.headFrozen})
            if (picture.head < 0) picture.findHead(pixelOf(color));
        return picture;
    }
    /// Once it has come to rest; the place of the waveform is that of an earlier look.
    Picture lookAtRest() const {
        std::optional<std::pair<int, int>> before{{-1, -1}};
        Picture picture;
        EXPECT_TRUE(eventually([&] {
            picture = look();
            picture.top = top;
            picture.bottom = picture.height;
            const auto now = picture.nextBlock(0);
            return std::exchange(before, now) == now;
        }));
        return picture;
    }
    void mouse(const std::string& actions) const {
        const auto result = session.run("timeout 20 xdotool " + actions);
        ASSERT_EQ(result.exitCode, 0) << result.errors;
    }
    [[nodiscard]] std::string to(double x) const {
        return "mousemove --sync --window " + window + " " + std::to_string(std::lround(x)) + " " +
               std::to_string(row) + " ";
    }
    void drag(double from, double to_, int button = 1) const {
        const auto number = std::to_string(button) + " ";
        mouse(to(from) + "mousedown " + number + to((from + to_) / 2) + to(to_) + "mouseup " + number);
    }

    std::set<Path> clips() const {
        std::set<Path> found;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(session.folder() / "home/Music/rewindle", error))
            if (entry.path().extension() == ".wav") found.insert(entry.path());
        return found;
    }
    /// What Ctrl+S saves now.
    Sound save() const {
        const auto before = clips();
        desktop.press("ctrl+s");
        std::optional<Path> clip;
        if (!eventually([&] {
                for (const auto& path : clips())
                    if (!before.contains(path)) clip = path;
                return clip.has_value();
            }))
            throw std::runtime_error("no clip was saved");
        return load(*clip);
    }
    struct Stretch {
        double first = 0, frames = 0;
    };
    /// Where a clip stands in all that has been heard.
    Stretch placeOf(const Sound& clip) const {
        const auto at = find(clip, rewindle->retained());
        EXPECT_TRUE(at.has_value()) << "the clip is no stretch of what was heard";
        return {static_cast<double>(at.value_or(0)), static_cast<double>(clip.frames())};
    }
    /// Marks what lies between two places on the screen and saves it.
    Stretch select(double from, double to_) const {
        desktop.press("Escape Escape");
        drag(from, to_);
        return placeOf(save());
    }
    /// Has the sound played, and stops with all of it in sight.
    void playAndPause() {
        desktop.press("ctrl+plus ctrl+plus ctrl+plus ctrl+plus ctrl+plus");
        play(session, blocks());
        Picture picture;
        ASSERT_TRUE(eventually([&] {
            picture = look();
            return std::abs(picture.head - 0.92 * picture.width) <= kColumn;
        })) << picture.head
            << " of " << picture.width;
        top = picture.top;
        width = desktop.area(kWindow).width; // of which the screen may show less
        framesPerPixel = kSecondsKept * kRate / std::pow(1.25, 5) / width;
        desktop.click(kWindow, picture.width - 28, top + 28);
        mouse(to(40)); // away from the button, whose tool tip would be in the picture
        desktop.press("space");
        ASSERT_TRUE(eventually([&] { return rewindle->status("frozen") == "true"; }));
    }

    const PrivateSession session{SessionParts{.display = true}};
    Desktop desktop{session};
    std::optional<Recorder> rewindle;
    std::string window;
    int width = 0;             // of the window, pixels
    int top = 0;               // of the waveform, pixels
    double framesPerPixel = 0; // as it was zoomed when the sound was played
    int row = 130;             // of the mouse: in the waveform, below its button
};

TEST_F(LiveWaveform, ItsColumnsAreTheSoundAndASavedSelectionIsThatStretchBitByBit) {
    start();
    playAndPause();
    const Picture picture = lookAtRest();
    const double middle = (picture.top + picture.bottom) / 2.0;
    const auto first = picture.nextBlock(0);
    ASSERT_TRUE(first);
    std::vector<std::pair<int, int>> seen;
    for (auto block = first; block; block = picture.nextBlock(block->second + 1))
        if (block->second - block->first > 2 * kColumn)
            seen.push_back(*block); // no block: the line at the newest audio
    ASSERT_EQ(seen.size(), kLevels.size());
    for (std::size_t block = 0; block < kLevels.size(); ++block) {
        SCOPED_TRACE(block);
        const double reach = static_cast<double>(kLevels.at(block)) * 0.9 * (picture.bottom - picture.top) / 2;
        for (int x = seen[block].first + 2 * kColumn; x <= seen[block].second - 2 * kColumn; ++x) {
            const auto rows = picture.filled(x);
            ASSERT_NEAR(rows.first, middle - reach, 1) << x;
            ASSERT_NEAR(rows.second, middle + reach, 1) << x;
        }
    }

    // From the silence before the second block to that after the third.
    const auto from = (seen[0].second + seen[1].first) / 2;
    const auto to_ = (seen[2].second + seen[3].first) / 2;
    drag(from, to_);
    const auto clip = save();
    const auto sound = blocks();
    EXPECT_TRUE(find(sound.part(kLead + kBlock + kRest, 2 * kBlock + kRest), clip).has_value());
    EXPECT_NEAR(static_cast<double>(clip.frames()), (to_ - from) * framesPerPixel, 1.0);
    const double left = placeOf(clip).first - from * framesPerPixel; // the frame at the left edge
    const auto heard = find(sound.part(kLead, kBlock), rewindle->retained());
    ASSERT_TRUE(heard.has_value());
    for (std::size_t block = 0; block < kLevels.size(); ++block) {
        SCOPED_TRACE(block);
        const double start = (static_cast<double>(*heard + block * (kBlock + kRest)) - left) / framesPerPixel;
        const double reach = static_cast<double>(kLevels.at(block)) * 0.9 * (picture.bottom - picture.top) / 2;
        const auto isWhole = [&](int x) {
            const auto rows = picture.filled(x);
            return rows.second - rows.first >= 2 * reach - 2;
        };
        auto [firstWhole, lastWhole] = seen[block]; // without the slopes from and to the silence
        while (firstWhole < lastWhole && !isWhole(firstWhole))
            ++firstWhole;
        while (lastWhole > firstWhole && !isWhole(lastWhole))
            --lastWhole;
        EXPECT_NEAR(firstWhole + 0.5, start, kColumn); // the middle of the pixel
        EXPECT_NEAR(lastWhole + 0.5, start + static_cast<double>(kBlock) / framesPerPixel, kColumn);
    }
}

TEST_F(LiveWaveform, MouseAndKeysMarkMoveAndZoom) {
    start();
    playAndPause();
    lookAtRest();
    const auto marked = select(300, 700);
    EXPECT_NEAR(marked.frames, 400 * framesPerPixel, 1);
    const auto expectMarked = [&](const Stretch& now, double first, double frames, const char* what) {
        EXPECT_NEAR(now.first, first, kNear) << what;
        EXPECT_NEAR(now.frames, frames, kNear) << what;
    };
    const double nudge = 4 * framesPerPixel;
    desktop.press("Right");
    expectMarked(placeOf(save()), marked.first + nudge, marked.frames, "nudged");
    desktop.press("shift+Left");
    expectMarked(placeOf(save()), marked.first, marked.frames + nudge, "extended to the left");
    mouse(to(800) + "keydown shift click 1 keyup shift");
    expectMarked(placeOf(save()), marked.first, 500 * framesPerPixel, "extended by a click");
    desktop.press("Escape Escape"); // the playhead, the marks
    EXPECT_EQ(save().frames(), rewindle->retained().frames()) << "everything, when nothing is marked";

    mouse(to(600) + "keydown shift click 4 keyup shift");
    lookAtRest();
    expectMarked(select(300, 700), marked.first - 10 * framesPerPixel, marked.frames, "scrolled");
    drag(600, 610, 2);
    mouse(to(600) + "keydown shift click 5 keyup shift");
    lookAtRest();
    expectMarked(select(300, 700), marked.first - 10 * framesPerPixel, marked.frames, "pulled, and scrolled back");
    desktop.press("Escape Escape");
    mouse(to(600) + "keydown ctrl click 5 keyup ctrl"); // one step nearer, about the pointer
    lookAtRest();
    const double nearer = framesPerPixel / 1.15;
    expectMarked(select(300, 700), marked.first - 10 * framesPerPixel + 300 * (framesPerPixel - nearer), 400 * nearer,
                 "zoomed");
    desktop.press("Escape ctrl+0 Home");
    lookAtRest();
    EXPECT_NEAR(select(100, 300).frames, 200 * kSecondsKept * kRate / width, kNear);

    desktop.press("Escape End");
    EXPECT_TRUE(eventually([&] { return look().head > 0; })) << "back at the newest audio";
    mouse(to(200) + "click 1");
    const auto isPlayhead = [&] {
        const Picture picture = look();
        const auto line = [&](int y) { return distance(picture.at(200, y), picture.at(203, y)) > 60; };
        return line(top + 1) && !line(top + 5);
    };
    EXPECT_TRUE(eventually(isPlayhead));
    desktop.press("Escape");
    EXPECT_TRUE(eventually([&] { return !isPlayhead(); }));
    desktop.press("space");
    EXPECT_TRUE(eventually([&] { return rewindle->status("frozen") == "false"; }));
}

TEST_F(LiveWaveform, NothingTicksWhileTheWindowIsMinimised) {
    const auto log = session.folder() / "frames.log";
    setenv("REWINDLE_FRAME_DIAG", log.c_str(), 1);
    start();
    unsetenv("REWINDLE_FRAME_DIAG");
    const auto rows = [&] {
        std::ifstream file(log);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    };
    const auto isStopped = [&] {
        const auto text = rows();
        const auto stop = text.rfind("clock_stop");
        return stop != std::string::npos && text.find("clock_start", stop) == std::string::npos;
    };
    EXPECT_TRUE(eventually([&] { return rows().find("waveform_tick") != std::string::npos; }));
    mouse("windowminimize " + window);
    ASSERT_TRUE(eventually(isStopped));
    const auto before = rows();
    waitForCapture(*rewindle);
    EXPECT_EQ(rows(), before);
    mouse("windowmap " + window);
    EXPECT_TRUE(eventually([&] { return rows().size() > before.size() && !isStopped(); }));
}

} // namespace
} // namespace rewindle::test
