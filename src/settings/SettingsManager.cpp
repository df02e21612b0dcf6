#include "settings/SettingsManager.h"

#include "base/CaptureGain.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace rewindle {
namespace {

constexpr std::string_view kDurationKey = "capture.recordingDuration";
constexpr std::string_view kShowLevelMeterKey = "capture.showLevelMeter";
constexpr std::string_view kLaunchAtLoginKey = "app.launchAtLogin";
constexpr std::string_view kExportDirectoryKey = "export.customDirectoryPath";

RecordingDuration storedDuration(const DefaultsStore& defaults) {
    const auto stored = defaults.value<std::int64_t>(kDurationKey).value_or(0);
    if (!std::in_range<int>(stored)) return kDefaultRecordingDuration;
    return recordingDurationFromSeconds(static_cast<int>(stored)).value_or(kDefaultRecordingDuration);
}

} // namespace

SettingsManager::SettingsManager(const Services& services)
    : services_(services), exportDirectory_(services.files), captureDeviceGainStore_(services.defaults),
      recordingDuration_(storedDuration(services.defaults)),
      showLevelMeter_(services.defaults.value<bool>(kShowLevelMeterKey).value_or(false)),
      // A fresh installation registers itself at its first start, on purpose.
      launchAtLogin_(services.defaults.value<bool>(kLaunchAtLoginKey).value_or(true)) {
    setCustomExportDirectoryPath(services_.defaults.value<std::string>(kExportDirectoryKey));
    createExportDirectory(customExportDirectoryPath_.get());
    applyLoginItem();
}

// Every setter stores first and tells then: an observer that sets again has the last word in the store, too.

void SettingsManager::setRecordingDuration(RecordingDuration duration) {
    services_.defaults.set(kDurationKey, std::int64_t{seconds(duration)});
    recordingDuration_.set(duration);
}

void SettingsManager::overrideRecordingDuration(RecordingDuration duration) {
    recordingDuration_.set(duration);
}

void SettingsManager::setCaptureGainDB(float gainDB) {
    const float clamped = CaptureGain::clamped(gainDB);
    if (!isApplyingDeviceGain_ && activeOutputDeviceUID_) {
        captureDeviceGainStore_.setGain(clamped, *activeOutputDeviceUID_);
    }
    captureGainDB_.set(clamped);
}

void SettingsManager::setShowLevelMeter(bool show) {
    services_.defaults.set(kShowLevelMeterKey, show);
    showLevelMeter_.set(show);
}

void SettingsManager::setLaunchAtLogin(bool launch) {
    services_.defaults.set(kLaunchAtLoginKey, launch);
    launchAtLogin_.set(launch);
    applyLoginItem();
}

void SettingsManager::applyLoginItem() {
    auto& loginItem = services_.loginItem;
    const auto applied = launchAtLogin_.get() ? loginItem.registerMainApp() : loginItem.unregisterMainApp();
    loginItemProblem_.set(applied ? std::string() : applied.error().message);
}

void SettingsManager::setCustomExportDirectoryPath(std::optional<std::string> path) {
    if (path == customExportDirectoryPath_.get()) return;
    persistExportDirectory(path);
    customExportDirectoryPath_.set(std::move(path));
}

void SettingsManager::persistExportDirectory(const std::optional<std::string>& path) {
    if (path) services_.defaults.set(kExportDirectoryKey, *path);
    if (!path) services_.defaults.remove(kExportDirectoryKey);
    createExportDirectory(path);
}

void SettingsManager::createExportDirectory(const std::optional<std::string>& path) {
    // A failure shows when a clip is written, and is told there.
    (void)exportDirectory_.createIfNeeded(exportDirectory_.resolvedURL(path));
}

float SettingsManager::applyCaptureGainForOutputDevice(const std::string& uid) {
    if (activeOutputDeviceUID_ == uid) return captureGainDB_.get();
    isApplyingDeviceGain_ = true;
    activeOutputDeviceUID_ = uid;
    setCaptureGainDB(persistedCaptureGainDB(services_.defaults, uid));
    isApplyingDeviceGain_ = false;
    return captureGainDB_.get();
}

float SettingsManager::persistedCaptureGainDB(DefaultsStore& defaults, const std::string& uid) {
    return CaptureDeviceGainStore(defaults).gain(uid).value_or(0.0F);
}

std::filesystem::path SettingsManager::exportDirectory() const {
    return exportDirectory_.resolvedURL(customExportDirectoryPath_.get());
}

bool SettingsManager::chooseExportDirectory() {
    const auto chosen = services_.folderChooser.chooseFolder(
        {.prompt = "Choose", .message = "Choose a folder for exported clips.", .startFolder = exportDirectory()});
    return chosen && setExportDirectory(*chosen);
}

bool SettingsManager::setExportDirectory(const std::filesystem::path& folder) {
    if (!exportDirectory_.isWritableDirectoryCandidate(folder)) return false;
    setCustomExportDirectoryPath(withoutTrailingSlash(folder).string());
    return true;
}

void SettingsManager::setExportDirectoryToDefault() {
    if (usesCustomExportDirectory()) return setCustomExportDirectoryPath(std::nullopt);
    persistExportDirectory(std::nullopt); // brings back a default folder that was deleted
}

void SettingsManager::revealExportDirectoryInFinder() {
    services_.workspace.openFolder(exportDirectory());
}

} // namespace rewindle
