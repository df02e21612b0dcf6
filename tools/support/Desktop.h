#pragma once

#include "support/PrivateSession.h"
#include "support/Screen.h"

#include <memory>
#include <string>
#include <vector>

namespace rewindle::support {

/// The person who sits at a private session's display: looks, clicks, types, and uses the status bar.
///
/// Errors: throws when what it looks for does not appear within 10 s.
class Desktop {
public:
    /// Requires: the session has a display or a Wayland desktop of its own, and outlives this.
    explicit Desktop(const PrivateSession& session) : session_(session), screen_(Screen::of(session)) {}
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    // Windows, by the titles that people see: Qt appends the program's name to those that do not end in it. One that
    // is miniaturised or hidden is not on the screen.
    [[nodiscard]] bool isOnScreen(const std::string& title) const { return screen_->find(title).has_value(); }
    /// Waits for the window and returns its number on that display.
    std::string window(const std::string& title) const;
    /// The title of the window that has the keyboard; empty when none has.
    [[nodiscard]] std::string keyWindow() const { return screen_->keyWindow(); }
    /// Of the window without the borders around it.
    [[nodiscard]] Area area(const std::string& title) const { return screen_->area(window(title)); }
    void close(const std::string& title) const { screen_->close(window(title)); }
    /// What `xprop` says about one property; on X11.
    [[nodiscard]] std::string property(const std::string& title, const std::string& name) const;

    // Input, as from a mouse and a keyboard
    /// What xdotool understands: "mousemove --window ID X Y mousedown 1". Wayland has the mouse and the keys of it.
    void act(const std::string& actions) const { screen_->act(actions); }
    /// Clicks at a point inside the window.
    void click(const std::string& title, int x, int y, int button = 1) const;
    /// Presses keys in the window that has the keyboard, one after the other: "ctrl+comma", "Tab Tab space".
    void press(const std::string& keys) const { act("key " + keys); }
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
    std::string bar(const std::string& arguments) const;

    const PrivateSession& session_;
    std::unique_ptr<Screen> screen_;
    Process statusBar_;
};

} // namespace rewindle::support
