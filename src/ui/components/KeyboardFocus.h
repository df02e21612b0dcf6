#pragma once

#include <QWidget>

namespace rewindle {

/// Knows whether a widget has to show that it has the keyboard: not after a click, but as soon as keys are used.
///
/// Lifecycle: a child of its widget.
class KeyboardFocus final : public QObject {
public:
    explicit KeyboardFocus(QWidget& widget);
    [[nodiscard]] bool isVisible() const { return isVisible_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setVisible(bool visible);

    QWidget& widget_;
    bool isVisible_ = false;
};

} // namespace rewindle
