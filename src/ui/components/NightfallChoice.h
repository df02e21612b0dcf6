#pragma once

#include "ui/components/NightfallTheme.h"

#include <QStringList>
#include <QWidget>

#include <vector>

class QAbstractButton;

namespace rewindle {

/// A row of joined segments, one of which is chosen.
///
/// Lifecycle: `theme` outlives it.
class NightfallChoice final : public QWidget {
    Q_OBJECT
public:
    /// Each label is "10 minutes": the words after the first are written small below it.
    NightfallChoice(const NightfallTheme& theme, const QStringList& labels, QWidget* parent = nullptr);

    /// Shows what was chosen elsewhere; `chosen` is not sent.
    void setCurrent(int index);
    [[nodiscard]] int current() const;

Q_SIGNALS:
    /// The user has chosen.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const NightfallTheme& theme_;
    std::vector<QAbstractButton*> segments_;
};

} // namespace rewindle
