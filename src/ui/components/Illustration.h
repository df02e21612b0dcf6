#pragma once

#include "ui/components/NightfallTheme.h"

#include <QWidget>

namespace rewindle {

/// A small picture that goes with a few words, in the colours of the waveform.
///
/// Lifecycle: `theme` outlives it.
class Illustration final : public QWidget {
public:
    enum class Subject { rewind, memory, save, access };
    static constexpr int kSize = 76;
    Illustration(const NightfallTheme& theme, Subject subject, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const NightfallTheme& theme_;
    Subject subject_;
};

} // namespace rewindle
