// Colours that stay readable whatever the desktop's palette is.
#pragma once

#include <QColor>
#include <QPalette>

namespace quorvane::platform::qt {

/// Contrast ratios that readers with low vision need: for text, and for the outlines of controls
/// (WCAG 2.1, criteria 1.4.3 and 1.4.11).
inline constexpr double kTextContrast = 4.5;
inline constexpr double kOutlineContrast = 3.0;

/// The contrast ratio of two opaque colours, 1 to 21, after WCAG 2.1.
double contrastRatio(const QColor& first, const QColor& second);

/// The colour between two others; share 0 is the first, 1 the second.
QColor mixed(const QColor& first, const QColor& second, double share);

/// The colour, moved toward the anchor no further than the contrast against the background asks
/// for; the anchor itself where nothing between does.
QColor legible(const QColor& color, const QColor& anchor, const QColor& background,
               double contrast);

/// The colour of secondary text on the given background role.
QColor secondaryTextColor(const QPalette& palette, QPalette::ColorRole background);

/// The accent colour as the outline of something on the given background role.
QColor outlineAccent(const QPalette& palette, QPalette::ColorRole background);

/// Whether light text stands on dark windows.
bool isDark(const QPalette& palette);

/// Our own palettes, for desktops that state none.
QPalette lightPalette();
QPalette darkPalette();

} // namespace quorvane::platform::qt
