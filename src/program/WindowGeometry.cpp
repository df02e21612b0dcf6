#include "program/WindowGeometry.h"

#include <QEvent>
#include <QScreen>

#include <chrono>

namespace rewindle {

using namespace std::chrono_literals;

WindowGeometry::WindowGeometry(QWidget& window, DefaultsStore& defaults, std::string key)
    : window_(window), defaults_(defaults), key_(std::move(key)) {
    if (const auto stored = defaults_.value<std::string>(key_)) {
        isRestored_ = window_.restoreGeometry(QByteArray::fromBase64(QByteArray::fromStdString(*stored)));
        window_.resize(window_.size().boundedTo(window_.screen()->availableGeometry().size()));
    }
    settled_.setSingleShot(true);
    settled_.setInterval(500ms);
    QObject::connect(&settled_, &QTimer::timeout, this, [this] { save(); });
    window_.installEventFilter(this);
}

WindowGeometry::~WindowGeometry() {
    if (window_.isVisible()) save();
}

bool WindowGeometry::eventFilter(QObject* watched, QEvent* event) {
    const bool changes = event->type() == QEvent::Move || event->type() == QEvent::Resize;
    if (changes && window_.isVisible()) settled_.start();
    if (event->type() == QEvent::Hide) save(); // some desktops size a window before they show it, and tell nobody
    return QObject::eventFilter(watched, event);
}

void WindowGeometry::save() {
    defaults_.set(key_, window_.saveGeometry().toBase64().toStdString());
}

} // namespace rewindle
