#pragma once

#include "ui/components/NightfallTheme.h"

#include <QDialog>

#include <functional>

namespace rewindle {

/// A question or a message in a window of its own, above the one that it belongs to. Escape and closing it are the
/// refusing answer.
///
/// Lifecycle: `theme` outlives it. It deletes itself when it has been answered.
class NightfallDialog final : public QDialog {
public:
    struct Content {
        QString title;
        QString text;
        QString accept; // on the button that agrees
        QString refuse; // on the other one; empty: there is none
    };
    using Answer = std::function<void(bool accepted)>;

    /// Shows the dialog and returns at once; `answer` is called once, when the user has answered. A dialog that goes
    /// with its parent has no answer.
    static NightfallDialog* present(const NightfallTheme& theme, const Content& content, QWidget* parent,
                                    Answer answer);

private:
    NightfallDialog(const NightfallTheme& theme, const Content& content, QWidget* parent, Answer answer);
    void tell(bool accepted);

    Answer answer_;
};

/// Asks whether this program may hear what the computer plays.
NightfallDialog* askForSystemAudio(const NightfallTheme& theme, QWidget* parent, NightfallDialog::Answer answer);
/// Says that closing the window has only hidden it.
NightfallDialog* tellThatWindowIsHidden(const NightfallTheme& theme, QWidget* parent);

} // namespace rewindle
