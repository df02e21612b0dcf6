#include "host/desktop/QtWorkspace.h"

#include "host/desktop/OpenedUrls.h"
#include "host/desktop/QtFolderChooser.h"
#include "host/windows/DesktopTest.h"

#include <gmock/gmock.h>

namespace rewindle::test {
namespace {

using testing::ElementsAre;

class QtWorkspaceTest : public DesktopTest {
protected:
    const Path folder_ = session().folder() / "clips & more";
    OpenedUrls opened;
    QtWorkspace workspace{QDBusConnection::sessionBus()};
};

TEST_F(QtWorkspaceTest, ShowsAFileInTheFileManagerOrElseItsFolder) {
    EXPECT_TRUE(workspace.revealFile(folder_ / "a clip.wav")); // there is no file manager
    EXPECT_TRUE(runUntil([&] { return !opened.urls.isEmpty(); }));
    const auto inSession = QStringLiteral("file://") + QString::fromStdString(session().folder().native());
    EXPECT_THAT(opened.urls, ElementsAre(inSession + QStringLiteral("/clips & more")));
    FileManager manager;
    EXPECT_TRUE(workspace.revealFile(folder_ / "a clip.wav"));
    EXPECT_TRUE(runUntil([&] { return !manager.shown.isEmpty(); }));
    EXPECT_THAT(manager.shown, ElementsAre(inSession + QStringLiteral("/clips%20&%20more/a%20clip.wav")));
    EXPECT_EQ(opened.urls.size(), 1);
}

TEST_F(QtWorkspaceTest, SettingsLinksLeadToTheProgramsOwnSettings) {
    const std::string link("x-apple.systempreferences:com.apple.preference.security?Privacy_AudioCapture");
    EXPECT_TRUE(workspace.canParse(link));
    EXPECT_FALSE(workspace.open(link));
    int settings = 0;
    workspace.setSettingsLinkHandler([&] { ++settings; });
    EXPECT_TRUE(workspace.open(link));
    EXPECT_EQ(settings, 1);
    for (const char* nonsense : {"", "no address", "http://[", "/a/path"}) {
        EXPECT_FALSE(workspace.canParse(nonsense)) << nonsense;
        EXPECT_FALSE(workspace.open(nonsense)) << nonsense;
    }
    EXPECT_TRUE(workspace.open("file:///somewhere"));
    EXPECT_THAT(opened.urls, ElementsAre(QStringLiteral("file:///somewhere")));
}

TEST_F(QtWorkspaceTest, FolderIsTheOneThatTheUserTyped) {
    std::filesystem::create_directory(folder_);
    const auto answerWith = [&](const std::string& text, const std::string& key) {
        QTimer::singleShot(0, [&, text, key] {
            desktop.window("Choose where clips go — rewindle");
            EXPECT_TRUE(runUntil([&] { return desktop.keyWindow() == "Choose where clips go — rewindle"; }));
            desktop.type(text);
            desktop.press(key);
        });
        return QtFolderChooser().chooseFolder({.prompt = "Choose",
                                               .message = "Choose where clips go",
                                               .startFolder = session().folder() / "not" / "there"});
    };
    EXPECT_EQ(answerWith("clips & more", "Return"), folder_);
    EXPECT_EQ(answerWith("", "Escape"), std::nullopt);
}

} // namespace
} // namespace rewindle::test
