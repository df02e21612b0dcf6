#include "host/process/XdgLoginItem.h"

#include "host/HostFiles.h"
#include "host/PrivateBus.h"
#include "host/files/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fstream>

namespace rewindle::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using Path = std::filesystem::path;

/// What a command prints, errors included.
std::string output(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished()) << process.errorString().toStdString();
    EXPECT_EQ(process.exitCode(), 0);
    return process.readAll().toStdString();
}

class LoginItemTest : public testing::Test {
protected:
    /// A program that writes down how it was called.
    [[nodiscard]] Path programIn(const Path& folder) const {
        std::filesystem::create_directories(folder);
        const auto called = "'" + called_.native() + "'", part = called + ".new";
        return script(folder / "rewindle", "printf '%s|%s' \"$0\" \"$*\" >" + part + " && mv " + part + " " + called);
    }

    TemporaryFolder folder_;
    const Path autostart_ = folder_.path / "config" / "autostart";
    const Path entry_ = autostart_ / "com.rewindle.Rewindle.desktop";
    const Path called_ = folder_.path / "called";
};

TEST_F(LoginItemTest, DesktopsStartTheProgramWhateverItsPath) {
    for (const char* name : {"plain", "two words", "a\"b'c", "back\\slash", "c:\\new\\table", "$HOME `id` ~",
                             "100%f %U", "#;&|<>*?()=", "\u00fc\u4e16"}) {
        SCOPED_TRACE(name);
        const auto program = programIn(folder_.path / name);
        ASSERT_TRUE(XdgLoginItem(autostart_, program).registerMainApp());
        const auto file = QFile::decodeName(entry_.c_str());
        EXPECT_THAT(output(QStringLiteral("desktop-file-validate"), {file}), IsEmpty()) << contentOf(entry_);
        output(QStringLiteral("gio"), {QStringLiteral("launch"), file});
        EXPECT_TRUE(runUntil([&] { return std::filesystem::exists(called_); })) << contentOf(entry_);
        EXPECT_EQ(contentOf(called_), program.native() + "|--hidden");
        std::filesystem::remove(called_);
    }
    EXPECT_THAT(namesIn(autostart_), testing::ElementsAre(entry_.filename().native()));
}

TEST_F(LoginItemTest, TheProgramsOwnSettingDecides) {
    const auto program = programIn(folder_.path / "bin");
    XdgLoginItem item(autostart_, program);
    ASSERT_TRUE(item.unregisterMainApp()); // nothing there
    ASSERT_TRUE(item.registerMainApp());
    const auto fresh = contentOf(entry_);
    std::ofstream(entry_, std::ios::app) << "Hidden=true\n"; // switched off by a desktop's settings
    ASSERT_TRUE(item.registerMainApp());
    EXPECT_EQ(contentOf(entry_), fresh);

    // A link to the menu's entry is the user's; that entry itself must stay.
    const auto menu = folder_.path / "menu.desktop";
    std::ofstream(menu) << "[Desktop Entry]\n";
    std::filesystem::remove(entry_);
    std::filesystem::create_symlink(menu, entry_);
    ASSERT_TRUE(item.registerMainApp());
    EXPECT_EQ(contentOf(menu), "[Desktop Entry]\n");
    EXPECT_EQ(contentOf(entry_), fresh);
    ASSERT_TRUE(item.unregisterMainApp());
    EXPECT_THAT(namesIn(autostart_), IsEmpty());
}

TEST_F(LoginItemTest, SaysInOneLineWhyItRegistersNothing) {
    const auto built = programIn(folder_.path / "build" / "src");
    std::ofstream(folder_.path / "build" / "CMakeCache.txt") << "";
    EXPECT_EQ(XdgLoginItem(autostart_, built).registerMainApp().error().message,
              "not registered: this copy runs from a build folder");
    EXPECT_THAT(XdgLoginItem(autostart_, std::nullopt).registerMainApp().error().message,
                HasSubstr("the program's own file cannot be found"));
    EXPECT_FALSE(std::filesystem::exists(autostart_));
}

} // namespace
} // namespace rewindle::test
