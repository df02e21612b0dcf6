#pragma once

#include <QColor>
#include <QPainter>
#include <QRectF>

namespace rewindle {

enum class NightfallGlyph { none, gear, save, warning, folder, pause, live };

/// Draws a glyph of thin lines into a square.
void paintGlyph(QPainter& painter, NightfallGlyph glyph, const QRectF& square, const QColor& color);

/// Bars of a waveform, symmetric about the middle of `rect`, each as high as its share of 1.
void paintWaveformBars(QPainter& painter, const QRectF& rect, const QBrush& fill, int first = 0, int count = 9);

} // namespace rewindle
