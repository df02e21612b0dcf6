#include "ui/UiFixture.h"

#include <QRadioButton>

namespace rewindle::test {
namespace {

using namespace Qt::StringLiterals;
using testing::Contains;
using testing::ElementsAre;

class SettingsWindowTest : public UiFixture {
protected:
    SettingsManager& settings() { return session->settingsManager(); }
    template <class Widget>
    Widget& the(const QString& name) {
        return find<Widget>(*settingsWindow, name);
    }
};

TEST_F(SettingsWindowTest, EveryChangeActsAtOnceAndIsStoredAndEscapeClosesTheWindow) {
    openSettings();
    the<QRadioButton>(u"10 minutes"_s).click();
    EXPECT_EQ(settings().recordingDuration().get(), RecordingDuration::tenMinutes);
    QTest::keyClick(&the<NightfallSlider>(u"Gain trim"_s), Qt::Key_PageDown);
    EXPECT_FLOAT_EQ(settings().captureGainDB().get(), -3);
    the<QCheckBox>(u"Level meter"_s).click();
    EXPECT_TRUE(settings().showLevelMeter().get());
    the<QCheckBox>(u"Start at login"_s).click();
    EXPECT_FALSE(settings().launchAtLogin().get());
    the<QRadioButton>(u"Daybreak"_s).click();
    the<QRadioButton>(u"Peach"_s).click();
    EXPECT_EQ(session->themeManager().flavor().get(), NightfallFlavor::daybreak);
    EXPECT_EQ(session->themeManager().waveformAccent().get(), NightfallWaveformAccent::peach);
    EXPECT_EQ(defaults.value<std::int64_t>("capture.recordingDuration"), 600);
    EXPECT_EQ(defaults.value<std::string>("theme.accent"), "peach");
    press(*settingsWindow, Qt::Key_Escape);
    EXPECT_FALSE(settingsWindow->isVisible());
}

TEST_F(SettingsWindowTest, ShowsWhatChangesElsewhere) {
    defaults.stored(CaptureDeviceGainStore::kStorageKey, DefaultsDictionary{{"headphones", -6.0}});
    openSettings();
    auto& gain = the<NightfallSlider>(u"Gain trim"_s);
    EXPECT_FLOAT_EQ(gain.gainDB(), 0);
    EXPECT_THAT(visibleTexts(*settingsWindow), Contains("For Built-in Audio"));
    control.status.deviceDescription = "Headphones";
    switchTo(kHeadphones);
    EXPECT_FLOAT_EQ(gain.gainDB(), -6);
    EXPECT_THAT(visibleTexts(*settingsWindow), Contains("For Headphones"));
    EXPECT_EQ(defaults.value<DefaultsDictionary>(CaptureDeviceGainStore::kStorageKey),
              (DefaultsDictionary{{"headphones", -6.0}})); // showing it is no choice

    settings().setRecordingDuration(RecordingDuration::twoMinutes);
    EXPECT_TRUE(the<QRadioButton>(u"2 minutes"_s).isChecked());
    settings().setShowLevelMeter(true);
    EXPECT_TRUE(the<QCheckBox>(u"Level meter"_s).isChecked());
    session->themeManager().setFlavor(NightfallFlavor::dusk);
    EXPECT_TRUE(the<QRadioButton>(u"Dusk"_s).isChecked());
}

TEST_F(SettingsWindowTest, ExportFolderIsChosenResetAndRevealed) {
    openSettings();
    auto& byDefault = the<QPushButton>(u"Default"_s);
    EXPECT_FALSE(byDefault.isEnabled());
    folderChooser.answer = "/home/user";
    the<QPushButton>(u"Choose…"_s).click();
    EXPECT_THAT(visibleTexts(*settingsWindow), Contains("/home/user"));
    the<QPushButton>(u"Show in File Manager"_s).click();
    EXPECT_THAT(workspace.folders, ElementsAre("/home/user"));
    byDefault.click();
    EXPECT_THAT(visibleTexts(*settingsWindow), Contains("/home/user/Music/rewindle"));
    EXPECT_FALSE(byDefault.isEnabled());
}

TEST_F(SettingsWindowTest, ConsentIsSaidInWordsAndChangedThroughTheProgram) {
    openSettings();
    EXPECT_THAT(visibleTexts(*settingsWindow), Contains("May hear what this computer plays."));
    the<QPushButton>(u"Revoke"_s).click();
    setConsent(AudioCaptureProbeOutcome::denied);
    EXPECT_THAT(visibleTexts(*settingsWindow),
                Contains("May not hear what this computer plays. Nothing is captured."));
    the<QPushButton>(u"Allow"_s).click();
    EXPECT_THAT(told, ElementsAre("revoke", "allow"));
}

TEST_F(SettingsWindowTest, SaysWhyTheStartAtLoginCouldNotBeArranged) {
    loginItem.problem = "The autostart folder is read-only.";
    openSettings();
    EXPECT_THAT(visibleTexts(*settingsWindow), Contains("The autostart folder is read-only."));
    EXPECT_TRUE(the<QCheckBox>(u"Start at login"_s).isChecked()); // the user's choice all the same
    loginItem.problem.clear();
    the<QCheckBox>(u"Start at login"_s).click();
    EXPECT_THAT(visibleTexts(*settingsWindow), testing::Not(Contains("The autostart folder is read-only.")));
}

} // namespace
} // namespace rewindle::test
