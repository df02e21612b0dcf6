#include "support/Screen.h"

#include <sstream>

namespace rewindle::support {
namespace {

/// Openbox on an X server.
class X11Screen final : public Screen {
public:
    explicit X11Screen(const PrivateSession& session) : session_(session) {}

    [[nodiscard]] std::optional<std::string> find(const std::string& title) const override {
        // The window manager lists what it shows or has miniaturised.
        std::istringstream all(
            session_
                .run("for id in $(xprop -root -notype _NET_CLIENT_LIST | grep -o '0x[0-9a-f]*'); do "
                     "xprop -id $id -notype WM_STATE | grep -q Normal && echo $id $(" +
                     titleOf("$id") + "); done")
                .output);
        for (std::string line; std::getline(all, line);)
            if (titleIn(line) == title) return line.substr(0, line.find(' '));
        return std::nullopt;
    }
    [[nodiscard]] std::string keyWindow() const override {
        return titleIn(session_.run(titleOf("$(timeout 20 xdotool getactivewindow)")).output);
    }
    [[nodiscard]] Area area(const std::string& window) const override {
        std::istringstream text(session_.outputOf("xwininfo -id " + window));
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
    void act(const std::string& actions) const override { session_.outputOf("xdotool " + actions); }
    void close(const std::string& window) const override {
        session_.outputOf("xdotool windowactivate --sync " + window + " key alt+F4");
    }
    void save(const Path& png, const std::optional<std::string>& window) const override {
        session_.outputOf("import -window " + window.value_or("root") + " " + quoted(png.string()));
    }

private:
    /// A command that prints `_NET_WM_VISIBLE_NAME = "title"`: what the window manager writes above the window.
    static std::string titleOf(const std::string& id) {
        return "LC_ALL=C.UTF-8 timeout 20 xprop -notype -id " + id + " _NET_WM_VISIBLE_NAME";
    }
    static std::string titleIn(const std::string& line) {
        const auto first = line.find('"');
        return first == std::string::npos ? std::string() : line.substr(first + 1, line.rfind('"') - first - 1);
    }

    const PrivateSession& session_;
};

/// Sway, a Wayland compositor, with a hand of ours.
class SwayScreen final : public Screen {
public:
    explicit SwayScreen(const PrivateSession& session) : session_(session) {}

    [[nodiscard]] std::optional<std::string> find(const std::string& title) const override {
        return value(R"(.visible and .name == $text)", title, ".id");
    }
    [[nodiscard]] std::string keyWindow() const override {
        return value(".focused and .pid", {}, ".name").value_or(std::string());
    }
    [[nodiscard]] Area area(const std::string& window) const override {
        Area area;
        std::istringstream numbers(
            value("(.id | tostring) == $text", window, R"([.rect.x, .rect.y, .rect.width, .rect.height] | join(" "))")
                .value_or(std::string()));
        numbers >> area.x >> area.y >> area.width >> area.height;
        return area;
    }
    void act(const std::string& actions) const override {
        std::istringstream words(actions);
        std::string forHand;
        Area origin;
        int coordinates = 0; // of a move, to come
        for (std::string word; words >> word;) {
            if (word == "--sync") continue; // the hand waits for the compositor
            if (word == "--window") {
                words >> word;
                origin = area(word);
                continue;
            }
            if (coordinates > 0) {
                word = std::to_string(std::stoi(word) + (coordinates == 2 ? origin.x : origin.y));
                --coordinates;
            } else if (word == "mousemove") {
                coordinates = 2;
                origin = {};
            }
            forHand += word + ' ';
        }
        session_.outputOf(REWINDLE_WAYLAND_HAND " do " + (session_.folder() / "hand").string() + " " + forHand);
    }
    void close(const std::string& window) const override {
        session_.outputOf("swaymsg '[con_id=" + window + "]' kill");
    }
    void save(const Path& png, const std::optional<std::string>& window) const override {
        std::string part;
        if (window) {
            const auto place = area(*window);
            part = "-g '" + std::to_string(place.x) + "," + std::to_string(place.y) + " " +
                   std::to_string(place.width) + "x" + std::to_string(place.height) + "' ";
        }
        session_.outputOf("grim " + part + quoted(png.string()));
    }

private:
    /// What `wanted` says of the first window for which `condition` holds, where $text is `text`.
    [[nodiscard]] std::optional<std::string> value(const std::string& condition, const std::string& text,
                                                   const std::string& wanted) const {
        const auto found =
            session_.outputOf("swaymsg -t get_tree -r | jq -r --arg text " + quoted(text) + " " +
                              quoted("[.. | select(.pid? and " + condition + ")][0] // empty | " + wanted));
        return found.empty() ? std::nullopt : std::optional(found);
    }

    const PrivateSession& session_;
};

} // namespace

std::unique_ptr<Screen> Screen::of(const PrivateSession& session) {
    if (session.parts().wayland) return std::make_unique<SwayScreen>(session);
    return std::make_unique<X11Screen>(session);
}

} // namespace rewindle::support
