#pragma once

#include "base/Observable.h"
#include "platform/FileSystem.h"
#include "platform/FolderChooser.h"
#include "platform/LoginItemService.h"
#include "platform/Workspace.h"
#include "settings/CaptureDeviceGainStore.h"
#include "settings/ExportDirectory.h"
#include "settings/RecordingDuration.h"

#include <optional>
#include <string>

namespace rewindle {

/// What the user prefers. Every change is stored before its setter returns; a stored value that makes no sense
/// counts as absent and stays as it is.
///
/// Threads: interface thread, but for `persistedCaptureGainDB`.
class SettingsManager {
public:
    /// All of it outlives this.
    struct Services {
        DefaultsStore& defaults;
        LoginItemService& loginItem;
        FileSystem& files;
        FolderChooser& folderChooser;
        Workspace& workspace;
    };
    /// Loads everything, makes the export folder, and brings the login item in line with the setting.
    explicit SettingsManager(const Services& services);

    [[nodiscard]] const Observable<RecordingDuration>& recordingDuration() const { return recordingDuration_; }
    /// Of the output device in use, in dB, within -20 ... +20; 0 before one is in use.
    [[nodiscard]] const Observable<float>& captureGainDB() const { return captureGainDB_; }
    [[nodiscard]] const Observable<bool>& showLevelMeter() const { return showLevelMeter_; }
    [[nodiscard]] const Observable<bool>& launchAtLogin() const { return launchAtLogin_; }
    [[nodiscard]] const Observable<std::optional<std::string>>& customExportDirectoryPath() const {
        return customExportDirectoryPath_;
    }
    /// Why the login item is not as the setting says; empty when it is.
    [[nodiscard]] const Observable<std::string>& loginItemProblem() const { return loginItemProblem_; }
    /// The device that `captureGainDB` belongs to; none before capture has found one.
    [[nodiscard]] const std::optional<std::string>& activeOutputDeviceUID() const { return activeOutputDeviceUID_; }

    void setRecordingDuration(RecordingDuration duration);
    /// For this run only: nothing is stored.
    void overrideRecordingDuration(RecordingDuration duration);
    /// Clamped to -20 ... +20 dB, and remembered for the device in use.
    void setCaptureGainDB(float gainDB);
    void setShowLevelMeter(bool show);
    void setLaunchAtLogin(bool launch);
    void setCustomExportDirectoryPath(std::optional<std::string> path);

    /// Makes the gain that is remembered for a device the current one, 0 when there is none, and returns it in dB.
    float applyCaptureGainForOutputDevice(const std::string& uid);
    /// The gain that is remembered for a device, in dB; 0 when there is none. Any thread.
    [[nodiscard]] static float persistedCaptureGainDB(DefaultsStore& defaults, const std::string& uid);

    /// The folder into which clips go now.
    [[nodiscard]] std::filesystem::path exportDirectory() const;
    [[nodiscard]] bool usesCustomExportDirectory() const { return customExportDirectoryPath_.get().has_value(); }
    /// Asks the user for a folder. False when nothing changed: cancelled, or the folder cannot be used.
    bool chooseExportDirectory();
    /// False, and nothing changes, when the folder cannot be used.
    bool setExportDirectory(const std::filesystem::path& folder);
    void setExportDirectoryToDefault();
    void revealExportDirectoryInFinder();

private:
    void persistExportDirectory(const std::optional<std::string>& path);
    void createExportDirectory(const std::optional<std::string>& path);
    void applyLoginItem();

    Services services_;
    ExportDirectory exportDirectory_;
    CaptureDeviceGainStore captureDeviceGainStore_;
    Observable<RecordingDuration> recordingDuration_;
    Observable<float> captureGainDB_{0.0F};
    Observable<bool> showLevelMeter_;
    Observable<bool> launchAtLogin_;
    Observable<std::optional<std::string>> customExportDirectoryPath_;
    Observable<std::string> loginItemProblem_;
    std::optional<std::string> activeOutputDeviceUID_;
    bool isApplyingDeviceGain_ = false;
};

} // namespace rewindle
