#include "settings/SettingsManager.h"

#include "fakes/FakeDefaultsStore.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeFileSystem.h"

#include <gmock/gmock.h>

#include <limits>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr auto kDefaultFolder = "/home/user/Music/rewindle";
constexpr auto kGains = "capture.gainByDeviceUID";

class SettingsManagerTest : public testing::Test {
protected:
    SettingsManager& start() {
        return settings.emplace(SettingsManager::Services{defaults, login, files, chooser, workspace});
    }
    [[nodiscard]] DefaultsDictionary gains() const {
        return defaults.value<DefaultsDictionary>(kGains).value_or(DefaultsDictionary{});
    }

    FakeDefaultsStore defaults;
    FakeLoginItemService login;
    FakeFileSystem files;
    FakeFolderChooser chooser;
    FakeWorkspace workspace;
    std::optional<SettingsManager> settings;
};

TEST_F(SettingsManagerTest, FirstStartTakesTheDefaultsMakesTheFolderAndRegistersAtLogin) {
    start();
    EXPECT_EQ(settings->recordingDuration().get(), RecordingDuration::fiveMinutes);
    EXPECT_EQ(settings->captureGainDB().get(), 0);
    EXPECT_FALSE(settings->showLevelMeter().get());
    EXPECT_TRUE(settings->launchAtLogin().get());
    EXPECT_TRUE(login.registered);
    EXPECT_FALSE(settings->usesCustomExportDirectory());
    EXPECT_EQ(settings->exportDirectory(), kDefaultFolder);
    EXPECT_TRUE(files.isDirectory(kDefaultFolder));
    EXPECT_THAT(defaults.takeWrites(), ElementsAre());
}

TEST_F(SettingsManagerTest, StoredValuesThatMakeNoSenseCountAsAbsentAndStay) {
    for (const DefaultsValue& duration : {DefaultsValue(std::int64_t{90}), DefaultsValue(std::int64_t{60} << 32 | 60),
                                          DefaultsValue(60.0), DefaultsValue("60"), DefaultsValue(true)}) {
        defaults.stored("capture.recordingDuration", duration);
        EXPECT_EQ(start().recordingDuration().get(), RecordingDuration::fiveMinutes)
            << testing::PrintToString(duration);
    }
    defaults.stored("capture.showLevelMeter", "yes");
    defaults.stored("app.launchAtLogin", ForeignDefaultsValue{});
    defaults.stored("export.customDirectoryPath", std::int64_t{1});
    defaults.stored(kGains, ForeignDefaultsValue{});
    start();
    EXPECT_FALSE(settings->showLevelMeter().get());
    EXPECT_TRUE(settings->launchAtLogin().get());
    EXPECT_FALSE(settings->usesCustomExportDirectory());
    EXPECT_EQ(settings->applyCaptureGainForOutputDevice("A"), 0);
    EXPECT_THAT(defaults.takeWrites(), ElementsAre());
    settings->setCaptureGainDB(3);
    EXPECT_THAT(gains(), ElementsAre(Pair("A", 3.0)));
}

TEST_F(SettingsManagerTest, WhatIsSetIsFoundAgainAtTheNextStart) {
    start();
    settings->setRecordingDuration(RecordingDuration::fortyFiveSeconds);
    settings->overrideRecordingDuration(RecordingDuration::tenMinutes); // for this run only
    EXPECT_EQ(settings->recordingDuration().get(), RecordingDuration::tenMinutes);
    settings->setShowLevelMeter(true);
    settings->setLaunchAtLogin(false);
    EXPECT_FALSE(login.registered);
    settings->setCustomExportDirectoryPath("/home/user/clips");
    EXPECT_TRUE(files.isDirectory("/home/user/clips"));
    files.removeFolder("/home/user/clips");
    login.registered = true; // the user changed it in the desktop's own settings

    start();
    EXPECT_EQ(settings->recordingDuration().get(), RecordingDuration::fortyFiveSeconds);
    EXPECT_TRUE(settings->showLevelMeter().get());
    EXPECT_FALSE(settings->launchAtLogin().get());
    EXPECT_FALSE(login.registered);
    EXPECT_EQ(settings->exportDirectory(), "/home/user/clips");
    EXPECT_TRUE(files.isDirectory("/home/user/clips"));
}

TEST_F(SettingsManagerTest, GainIsClampedAndRememberedForTheDeviceInUseAlone) {
    start();
    settings->setCaptureGainDB(7); // no device yet: for nobody
    EXPECT_EQ(settings->captureGainDB().get(), 7);
    EXPECT_EQ(settings->applyCaptureGainForOutputDevice("A"), 0);
    EXPECT_THAT(defaults.takeWrites(), ElementsAre()); // loading is no choice of the user's

    const std::pair<float, float> cases[] = {
        {25, 20}, {-30, -20}, {std::numeric_limits<float>::quiet_NaN(), 0}, {-6, -6}};
    for (const auto& [asked, kept] : cases) {
        settings->setCaptureGainDB(asked);
        EXPECT_EQ(settings->captureGainDB().get(), kept);
        EXPECT_EQ(gains()["A"], kept);
    }

    EXPECT_EQ(settings->applyCaptureGainForOutputDevice("B"), 0);
    settings->setCaptureGainDB(4.5F);
    EXPECT_THAT(gains(), ElementsAre(Pair("A", -6.0), Pair("B", 4.5)));
    EXPECT_EQ(settings->applyCaptureGainForOutputDevice("A"), -6);
    EXPECT_EQ(SettingsManager::persistedCaptureGainDB(defaults, "B"), 4.5F);
    EXPECT_EQ(SettingsManager::persistedCaptureGainDB(defaults, "C"), 0);
}

TEST_F(SettingsManagerTest, DeviceAlreadyInUseIsNotLoadedAgainAndForeignGainsAreClamped) {
    start();
    for (const double stored : {3, 9}) {
        defaults.stored(kGains, DefaultsDictionary{{"A", stored}, {"loud", 1e300}});
        EXPECT_EQ(settings->applyCaptureGainForOutputDevice("A"), 3);
    }
    EXPECT_EQ(settings->applyCaptureGainForOutputDevice("loud"), 20);
}

TEST_F(SettingsManagerTest, ObserverThatSetsAgainHasTheLastWordInTheStoreToo) {
    start().applyCaptureGainForOutputDevice("A");
    const auto limit = settings->captureGainDB().observe([&] {
        if (settings->captureGainDB().get() > 0) settings->setCaptureGainDB(0);
    });
    const auto keep = settings->launchAtLogin().observe([&] { settings->setLaunchAtLogin(true); });
    settings->setCaptureGainDB(5);
    settings->setLaunchAtLogin(false);
    EXPECT_THAT(gains(), ElementsAre(Pair("A", 0.0)));
    EXPECT_TRUE(login.registered);
    EXPECT_TRUE(defaults.flag("app.launchAtLogin"));

    // While a device's gain is being loaded, nothing is stored, not even what an observer makes of it.
    defaults.stored(kGains, DefaultsDictionary{{"B", 8}});
    EXPECT_EQ(settings->applyCaptureGainForOutputDevice("B"), 0);
    EXPECT_THAT(gains(), ElementsAre(Pair("B", 8.0)));
}

TEST_F(SettingsManagerTest, OnlyAUsableFolderIsTakenFromTheChooser) {
    files.folders.insert({"/mnt", "/mnt/clips", "/mnt/locked"});
    files.readOnly.insert("/mnt/locked");
    start();
    chooser.answer = "/mnt/clips/";
    EXPECT_TRUE(settings->chooseExportDirectory());
    EXPECT_EQ(settings->exportDirectory(), "/mnt/clips");
    EXPECT_EQ(defaults.value<std::string>("export.customDirectoryPath"), "/mnt/clips");
    for (const auto& answer : {std::optional<std::filesystem::path>(), {"/mnt/locked"}, {"/mnt/gone/deeper"}}) {
        chooser.answer = answer;
        EXPECT_FALSE(settings->chooseExportDirectory());
        EXPECT_EQ(settings->exportDirectory(), "/mnt/clips");
    }
    EXPECT_EQ(chooser.questions.back(),
              (FolderChooser::Question{"Choose", "Choose a folder for exported clips.", "/mnt/clips"}));
    settings->revealExportDirectoryInFinder();
    EXPECT_THAT(workspace.folders, ElementsAre("/mnt/clips"));
}

TEST_F(SettingsManagerTest, CustomFolderOutlivesItsDriveAndIsForgottenOnlyOnRequest) {
    files.folders.insert({"/mnt", "/mnt/drive"});
    start().setCustomExportDirectoryPath("/mnt/drive/clips");
    files.removeFolder("/mnt/drive/clips");
    files.removeFolder("/mnt/drive");
    EXPECT_EQ(settings->exportDirectory(), kDefaultFolder);
    EXPECT_TRUE(settings->usesCustomExportDirectory());
    defaults.takeWrites();
    settings->setCustomExportDirectoryPath("/mnt/drive/clips"); // no change
    EXPECT_THAT(defaults.takeWrites(), ElementsAre());

    for ([[maybe_unused]] const auto* time : {"while a folder was chosen", "when none is"}) {
        SCOPED_TRACE(time);
        files.removeFolder(kDefaultFolder);
        settings->setExportDirectoryToDefault();
        EXPECT_FALSE(settings->usesCustomExportDirectory());
        EXPECT_TRUE(files.isDirectory(kDefaultFolder));
        EXPECT_FALSE(defaults.object("export.customDirectoryPath"));
    }
}

} // namespace
} // namespace rewindle::test
