#pragma once

#include "settings/ThemeManager.h"
#include "ui/components/NightfallPalette.h"

#include <QFont>
#include <QObject>

#include <vector>

namespace rewindle {

/// Distances of the interface, in points.
struct NightfallMetrics {
    static constexpr int tight = 4, small = 8, medium = 12, large = 16, huge = 24;
    static constexpr int controlHeight = 32;
    static constexpr int ringMargin = 3; // around a control, for its focus ring
    static constexpr qreal controlRadius = 8, cardRadius = 12;
};

enum class NightfallText { title, heading, body, strong, caption, figure, bigFigure };

/// The look of the interface at this moment: colours, fonts and distances, for all widgets.
///
/// Threads:   interface thread.
/// Lifecycle: outlives the widgets that draw with it.
class NightfallTheme final : public QObject {
    Q_OBJECT
public:
    /// Requires: `themes` outlives this.
    explicit NightfallTheme(ThemeManager& themes);

    [[nodiscard]] const NightfallPalette& palette() const { return palette_; }
    [[nodiscard]] const WaveformTheme& waveform() const { return waveform_; }
    [[nodiscard]] ThemeManager& manager() const { return themes_; }
    /// A sans for words, a monospaced one for figures; the desktop's own where these are not installed.
    [[nodiscard]] static QFont font(NightfallText text);

Q_SIGNALS:
    /// Flavour or accent are others; everything has to be drawn anew.
    void changed();

private:
    void refresh();

    ThemeManager& themes_;
    NightfallPalette palette_;
    WaveformTheme waveform_;
    std::vector<Observation> observations_;
};

} // namespace rewindle
