#pragma once

#include "support/PrivateSession.h"

#include <optional>
#include <string>
#include <vector>

namespace rewindle::support {

/// A place on the screen, in pixels.
struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    friend bool operator==(const Area&, const Area&) = default;
};

/// The person who sits at a private session's display: looks, clicks, types, and uses the status bar.
///
/// Errors: throws when what it looks for does not appear within 10 s.
class Desktop {
public:
    /// Requires: the session has a display, and outlives this.
    explicit Desktop(const PrivateSession& session) : session_(session) {}
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    // Windows, by the titles that people see: Qt appends the program's name to those that do not end in it. One that
    // is miniaturised or hidden is not on the screen.
    [[nodiscard]] bool isOnScreen(const std::string& title) const { return find(title).has_value(); }
    /// Waits for the window and returns its X11 number.
    std::string window(const std::string& title) const;
    /// The title of the window that has the keyboard; empty when none has.
    [[nodiscard]] std::string keyWindow() const;
    /// Of the window without the borders that the window manager puts around it.
    [[nodiscard]] Area area(const std::string& title) const;
    /// What `xprop` says about one property.
    [[nodiscard]] std::string property(const std::string& title, const std::string& name) const;

    // Input, as from a mouse and a keyboard
    /// Clicks at a point inside the window.
    void click(const std::string& title, int x, int y, int button = 1) const;
    /// Presses keys in the window that has the keyboard, one after the other: "ctrl+comma", "Tab Tab space".
    void press(const std::string& keys) const;
    void type(const std::string& text) const;

    /// A picture of the window, or of the whole screen when no title is given.
    void saveScreenshot(const Path& png, const std::string& title = {}) const;

    // The status bar, which is not there at first
    void startStatusBar();
    void stopStatusBar();
    /// One line for each status item: its id and its tool tip.
    [[nodiscard]] std::vector<std::string> statusItems() const;
    /// A left click on the only item.
    void clickStatusItem() const;
    /// The labels of the only item's menu, "-" for a separator.
    [[nodiscard]] std::vector<std::string> statusMenu() const;
    void chooseInStatusMenu(const std::string& label) const;

private:
    [[nodiscard]] std::optional<std::string> find(const std::string& title) const;
    std::string command(const std::string& line) const;
    std::string bar(const std::string& arguments) const;

    const PrivateSession& session_;
    Process statusBar_;
};

} // namespace rewindle::support
