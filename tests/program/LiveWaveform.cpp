#include "program/LiveWaveform.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace rewindle::test {
namespace {

Pixel pixelOf(const Color& color) {
    const auto byte = [](double value) { return static_cast<int>(std::lround(value * 255)); };
    return {byte(color.red), byte(color.green), byte(color.blue)};
}

} // namespace

int distance(const Pixel& a, const Pixel& b) {
    return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]);
}

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

Pixel Picture::at(int x, int y) const {
    const auto place = 3 * static_cast<std::size_t>(y * width + x);
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[place + i]); };
    return {byte(0), byte(1), byte(2)};
}

void Picture::findHead(const Color& color) {
    const int row = height - 3;
    const auto wanted = pixelOf(color);
    int first = -1, last = -1, whole = -1; // the one that shows nothing of what is behind the line
    for (int x = 0; x < width; ++x) {
        if (distance(at(x, row), wanted) > 120) continue;
        if (first < 0) first = whole = x;
        if (distance(at(x, row), wanted) < distance(at(whole, row), wanted)) whole = x;
        last = x;
    }
    if (first < 0) return;
    head = (first + last + 1) / 2.0;
    bottom = height;
    for (top = row; top > 0 && distance(at(whole, top - 1), at(whole, row)) < 24;)
        --top;
}

std::pair<int, int> Picture::filled(int x) const {
    const int empty = width - 3; // the newest audio is silent, or has not come yet
    std::pair<int, int> rows{0, 0};
    for (int y = top; y < bottom; ++y) {
        if (distance(at(x, y), at(empty, y)) < 200) continue;
        if (rows.second == 0) rows.first = y;
        rows.second = y + 1;
    }
    return rows;
}

std::optional<std::pair<int, int>> Picture::nextBlock(int from) const {
    const int end = width - 60; // what is right of it is the button's
    while (from < end && filled(from).second == 0)
        ++from;
    if (from >= end) return std::nullopt;
    int last = from;
    while (last + 1 < end && filled(last + 1).second > 0)
        ++last;
    return std::pair(from, last);
}

LiveWaveform::LiveWaveform(const SessionParts& parts) : session(parts) {
    session.addDefaultSink("speakers");
    std::filesystem::create_directories(session.folder() / "config/rewindle");
    std::ofstream(session.folder() / "config/rewindle/settings.json")
        << R"({"com.rewindle.hasSeenOnboarding": true, "capture.recordingDuration": 30})";
}

void LiveWaveform::run(RecorderStart how) {
    how.variables += " REWINDLE_FRAME_DIAG=" + (session.folder() / "frames.log").string();
    rewindle.emplace(session, how);
}

void LiveWaveform::awaitWindow() {
    window = desktop.window(kWindow);
    ASSERT_TRUE(eventually([&] { return desktop.keyWindow() == kWindow; }));
}

void LiveWaveform::start(const std::string& variables) {
    run({.variables = variables});
    awaitWindow();
    waitForCapture(*rewindle);
}

std::vector<ClockRow> LiveWaveform::clockRows() const {
    std::vector<ClockRow> rows;
    std::ifstream file(session.folder() / "frames.log");
    for (std::string line; std::getline(file, line) && !file.eof();) { // a last row without its end is still written
        std::istringstream columns(line);
        ClockRow entry;
        std::string source, phase, period;
        if (columns >> entry.uptimeMs >> entry.event >> source >> phase >> period >> std::ws)
            std::getline(columns, entry.detail);
        if (!entry.detail.empty()) rows.push_back(entry);
    }
    return rows;
}

Picture LiveWaveform::look() const {
    const auto png = session.folder() / "waveform.png";
    desktop.saveScreenshot(png, kWindow);
    return lookAt(png);
}

Picture LiveWaveform::lookAt(const Path& png) const {
    std::istringstream size(session.run("identify -format '%w %h' " + png.string()).output);
    Picture picture;
    size >> picture.width >> picture.height;
    picture.bytes = session.run("convert " + png.string() + " -depth 8 rgb:-").output;
    const auto theme = WaveformTheme::of(NightfallFlavor::eclipse, NightfallWaveformAccent::mauve);
    for (const auto& color : {theme.head, theme.headFrozen})
        if (picture.head < 0) picture.findHead(color);
    return picture;
}

Picture LiveWaveform::lookAtRest() const {
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

void LiveWaveform::mouse(const std::string& actions) const {
    desktop.act(actions);
}

std::string LiveWaveform::to(double x) const {
    const auto move = "--window " + window + ' ' + std::to_string(std::lround(x)) + ' ';
    return "mousemove " + move + std::to_string(mouseRow + 1) + " mousemove --sync " + move +
           std::to_string(mouseRow) + ' ';
}

std::string LiveWaveform::dragging(double from, double to_) const {
    return to(from) + "mousedown 1 " + to((from + to_) / 2) + to(to_) + "mouseup 1 ";
}

Sound LiveWaveform::save() const {
    const auto before = clipsIn(session);
    desktop.press("ctrl+s");
    std::optional<Path> clip;
    if (!eventually([&] {
            for (const auto& path : clipsIn(session))
                if (!before.contains(path)) clip = path;
            return clip.has_value();
        }))
        throw std::runtime_error("no clip was saved");
    return load(*clip);
}

void LiveWaveform::awaitFreeze() {
    ASSERT_TRUE(eventually([&] { return rewindle->status("frozen") == "true"; }));
    kept = rewindle->retained();
}

LiveWaveform::Stretch LiveWaveform::placeOf(const Sound& clip) const {
    const auto at = find(clip, kept);
    EXPECT_TRUE(at.has_value()) << "the clip is no stretch of what was heard";
    return {static_cast<double>(at.value_or(0)), static_cast<double>(clip.frames())};
}

LiveWaveform::Stretch LiveWaveform::select(double from, double to_) const {
    desktop.press("Escape Escape");
    drag(from, to_);
    return placeOf(save());
}

void LiveWaveform::playAndPause() {
    desktop.press("ctrl+plus ctrl+plus ctrl+plus ctrl+plus ctrl+plus");
    play(session, blocks());
    Picture picture;
    ASSERT_TRUE(eventually([&] {
        picture = look();
        return std::abs(picture.head - 0.92 * picture.width) <= kColumn;
    })) << picture.head
        << " of " << picture.width;
    top = picture.top;
    width = desktop.area(kWindow).width;
    framesPerPixel = kSecondsKept * kRate / std::pow(1.25, 5) / width;
    desktop.click(kWindow, picture.width - 28, top + 28);
    mouse(to(40)); // away from the button, whose tool tip would be in the picture
    desktop.press("space");
    awaitFreeze();
}

} // namespace rewindle::test
