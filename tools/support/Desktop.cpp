#include "support/Desktop.h"

#include <chrono>
#include <sstream>
#include <stdexcept>

namespace rewindle::support {
namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        all.push_back(line);
    return all;
}

/// A command that prints `_NET_WM_VISIBLE_NAME = "title"`: what the window manager writes above the window.
std::string titleOf(const std::string& id) {
    return "LC_ALL=C.UTF-8 timeout 20 xprop -notype -id " + id + " _NET_WM_VISIBLE_NAME";
}

std::string titleIn(const std::string& line) {
    const auto first = line.find('"');
    return first == std::string::npos ? std::string() : line.substr(first + 1, line.rfind('"') - first - 1);
}

} // namespace

Desktop::~Desktop() = default;

std::string Desktop::command(const std::string& line) const {
    const auto result = session_.run("timeout 20 " + line);
    if (result.exitCode != 0) throw std::runtime_error(line + ": " + result.errors);
    return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
}

std::optional<std::string> Desktop::find(const std::string& title) const {
    // The window manager lists what it shows or has miniaturised.
    const auto all = session_.run("for id in $(xprop -root -notype _NET_CLIENT_LIST | grep -o '0x[0-9a-f]*'); do "
                                  "xprop -id $id -notype WM_STATE | grep -q Normal && echo $id $(" +
                                  titleOf("$id") + "); done");
    for (const auto& line : lines(all.output)) {
        const auto space = line.find(' ');
        if (titleIn(line) == title) return line.substr(0, space);
    }
    return std::nullopt;
}

std::string Desktop::window(const std::string& title) const {
    std::optional<std::string> found;
    if (!eventually([&] { return (found = find(title)).has_value(); }))
        throw std::runtime_error("no window is called " + title);
    return *found;
}

std::string Desktop::keyWindow() const {
    return titleIn(session_.run(titleOf("$(timeout 20 xdotool getactivewindow)")).output);
}

Area Desktop::area(const std::string& title) const {
    std::istringstream text(command("xwininfo -id " + window(title)));
    Area area;
    for (std::string line; std::getline(text, line);) {
        const auto value = [&, colon = line.find(':')] { return std::stoi(line.substr(colon + 1)); };
        if (line.find("Absolute upper-left X") != std::string::npos) area.x = value();
        if (line.find("Absolute upper-left Y") != std::string::npos) area.y = value();
        if (line.find("  Width") != std::string::npos) area.width = value();
        if (line.find("  Height") != std::string::npos) area.height = value();
    }
    return area;
}

std::string Desktop::property(const std::string& title, const std::string& name) const {
    return command("xprop -id " + window(title) + " " + name);
}

void Desktop::click(const std::string& title, int x, int y, int button) const {
    command("xdotool mousemove --sync --window " + window(title) + " " + std::to_string(x) + " " + std::to_string(y) +
            " click " + std::to_string(button));
}

void Desktop::press(const std::string& keys) const {
    command("xdotool key " + keys);
}

void Desktop::type(const std::string& text) const {
    command("xdotool type -- " + quoted(text));
}

void Desktop::saveScreenshot(const Path& png, const std::string& title) const {
    command("import -window " + (title.empty() ? "root" : window(title)) + " " + quoted(png.string()));
}

void Desktop::startStatusBar() {
    statusBar_ =
        Process("exec " REWINDLE_STATUS_BAR " serve 2>" + quoted((session_.folder() / "status-bar.log").string()));
    if (!eventually([&] { return session_.run(REWINDLE_STATUS_BAR " items").exitCode == 0; }))
        throw std::runtime_error("the status bar did not come up");
}

void Desktop::stopStatusBar() {
    statusBar_.end();
}

std::string Desktop::bar(const std::string& arguments) const {
    return command(REWINDLE_STATUS_BAR " " + arguments);
}

std::vector<std::string> Desktop::statusItems() const {
    return lines(bar("items"));
}

void Desktop::clickStatusItem() const {
    bar("activate");
}

std::vector<std::string> Desktop::statusMenu() const {
    return lines(bar("menu"));
}

void Desktop::chooseInStatusMenu(const std::string& label) const {
    bar("choose " + quoted(label));
}

} // namespace rewindle::support
