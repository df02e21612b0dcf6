#pragma once

#include "ui/components/NightfallButton.h"

#include <QWidget>

#include <vector>

class QHBoxLayout;

namespace rewindle {

class PageDots;

/// What this program is for, in three panels: side by side where there is room, else one after the other.
///
/// Lifecycle: `theme` outlives it.
class OnboardingView final : public QWidget {
    Q_OBJECT
public:
    explicit OnboardingView(const NightfallTheme& theme, QWidget* parent = nullptr);

Q_SIGNALS:
    /// The user has seen enough.
    void dismissed();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void showPanels();
    void goOn();
    [[nodiscard]] bool isWide() const;
    [[nodiscard]] bool isAtEnd() const { return isWide() || page_ + 1 == panels_.size(); }

    std::vector<QWidget*> panels_;
    PageDots* dots_;
    QHBoxLayout* row_;
    QHBoxLayout* foot_;
    NightfallButton* skip_;
    NightfallButton* next_;
    std::size_t page_ = 0; // the panel that is shown when there is room for one only
};

} // namespace rewindle
