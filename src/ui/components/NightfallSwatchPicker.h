#pragma once

#include "settings/WaveformTheme.h"
#include "ui/components/NightfallTheme.h"

#include <QWidget>

#include <vector>

class QAbstractButton;

namespace rewindle {

/// A row of small pictures of the waveform, each in the colours that choosing it would bring.
///
/// Lifecycle: `theme` outlives it.
class NightfallSwatchPicker final : public QWidget {
    Q_OBJECT
public:
    struct Swatch {
        QString name;
        QColor surface, edge; // behind and around the waveform
        WaveformTheme colors;
    };
    NightfallSwatchPicker(const NightfallTheme& theme, const std::vector<Swatch>& swatches,
                          QWidget* parent = nullptr);

    /// New pictures for the same options. Requires: as many as before.
    void setSwatches(const std::vector<Swatch>& swatches);
    /// Shows what was chosen elsewhere; `chosen` is not sent.
    void setCurrent(int index);

Q_SIGNALS:
    /// The user has chosen.
    void chosen(int index);

private:
    std::vector<QAbstractButton*> options_;
};

} // namespace rewindle
