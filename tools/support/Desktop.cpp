#include "support/Desktop.h"

#include <optional>
#include <sstream>
#include <stdexcept>

namespace rewindle::support {
namespace {

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        all.push_back(line);
    return all;
}

} // namespace

Desktop::~Desktop() = default;

std::string Desktop::window(const std::string& title) const {
    std::optional<std::string> found;
    if (!eventually([&] { return (found = screen_->find(title)).has_value(); }))
        throw std::runtime_error("no window is called " + title);
    return *found;
}

std::string Desktop::property(const std::string& title, const std::string& name) const {
    return session_.outputOf("xprop -id " + window(title) + " " + name);
}

void Desktop::click(const std::string& title, int x, int y, int button) const {
    act("mousemove --sync --window " + window(title) + " " + std::to_string(x) + " " + std::to_string(y) + " click " +
        std::to_string(button));
}

void Desktop::type(const std::string& text) const {
    act("type -- " + quoted(text));
}

void Desktop::saveScreenshot(const Path& png, const std::string& title) const {
    screen_->save(png, title.empty() ? std::nullopt : std::optional(window(title)));
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
    return session_.outputOf(REWINDLE_STATUS_BAR " " + arguments);
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
