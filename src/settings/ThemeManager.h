#pragma once

#include "base/Observable.h"
#include "platform/DefaultsStore.h"
#include "settings/NightfallTokens.h"
#include "settings/WaveformTheme.h"

namespace rewindle {

/// The user's choice of colours. Every change is stored at once.
///
/// Threads: interface thread.
class ThemeManager {
public:
    /// Names of earlier versions are understood, and stay stored until the user chooses. Requires: `defaults`
    /// outlives this.
    explicit ThemeManager(DefaultsStore& defaults);

    [[nodiscard]] const Observable<NightfallFlavor>& flavor() const { return flavor_; }
    [[nodiscard]] const Observable<NightfallWaveformAccent>& waveformAccent() const { return waveformAccent_; }
    void setFlavor(NightfallFlavor flavor);
    void setWaveformAccent(NightfallWaveformAccent accent);

    [[nodiscard]] NightfallTokens tokens() const { return NightfallTokens::of(flavor_.get()); }
    [[nodiscard]] WaveformTheme waveformTheme() const {
        return WaveformTheme::of(flavor_.get(), waveformAccent_.get());
    }

private:
    DefaultsStore& defaults_;
    Observable<NightfallFlavor> flavor_;
    Observable<NightfallWaveformAccent> waveformAccent_;
};

} // namespace rewindle
