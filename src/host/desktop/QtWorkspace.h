#pragma once

#include "platform/Workspace.h"

#include <QDBusConnection>

#include <functional>

namespace rewindle {

/// The desktop's default programs and its file manager.
class QtWorkspace final : public Workspace {
public:
    /// `bus` is the session bus, on which the file manager is asked.
    explicit QtWorkspace(QDBusConnection bus) : bus_(std::move(bus)) {}

    /// Addresses of privacy settings lead here: consent is a matter of this program's own settings. Without a handler
    /// nobody accepts them.
    void setSettingsLinkHandler(std::function<void()> onLink) { onSettingsLink_ = std::move(onLink); }

    bool open(const std::string& url) override;
    [[nodiscard]] bool canParse(const std::string& url) const override;
    bool openFolder(const std::filesystem::path& folder) override;
    /// Asks the file manager, and opens the folder instead when that does not answer. True unless neither is there.
    bool revealFile(const std::filesystem::path& file) override;

private:
    QDBusConnection bus_;
    std::function<void()> onSettingsLink_;
};

} // namespace rewindle
