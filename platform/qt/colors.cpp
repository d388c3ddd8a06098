#include "platform/qt/colors.h"

#include <algorithm>
#include <cmath>

namespace quorvane::platform::qt {
namespace {

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

/// What the two palettes differ in.
struct Shades {
    QRgb window;
    QRgb base;
    QRgb button;
    QRgb text;
    QRgb accent;
    QRgb link;
};

QPalette paletteFrom(const Shades& shades) {
    QPalette palette(QColor(shades.button), QColor(shades.window));
    const QColor text(shades.text);
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, text);
    palette.setColor(QPalette::Base, QColor(shades.base));
    palette.setColor(QPalette::AlternateBase, QColor(shades.window));
    palette.setColor(QPalette::ToolTipBase, QColor(shades.base));
    palette.setColor(QPalette::Highlight, QColor(shades.accent));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(shades.link));
    palette.setColor(QPalette::PlaceholderText, secondaryTextColor(palette, QPalette::Base));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, mixed(text, QColor(shades.window), 0.55));
    return palette;
}

} // namespace

double contrastRatio(const QColor& first, const QColor& second) {
    const auto [darker, lighter] = std::minmax({luminance(first), luminance(second)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor mixed(const QColor& first, const QColor& second, double share) {
    const auto blend = [share](float from, float to) {
        return static_cast<float>(from + (to - from) * share);
    };
    return QColor::fromRgbF(blend(first.redF(), second.redF()),
                            blend(first.greenF(), second.greenF()),
                            blend(first.blueF(), second.blueF()));
}

QColor legible(const QColor& color, const QColor& anchor, const QColor& background,
               double contrast) {
    constexpr int kSteps = 20;
    for (int step = 0; step < kSteps; ++step) {
        const QColor candidate = mixed(color, anchor, static_cast<double>(step) / kSteps);
        if (contrastRatio(candidate, background) >= contrast) return candidate;
    }
    return anchor;
}

QColor secondaryTextColor(const QPalette& palette, QPalette::ColorRole background) {
    const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
    const QColor behind = palette.color(QPalette::Active, background);
    return legible(mixed(text, behind, 0.35), text, behind, kTextContrast);
}

QColor outlineAccent(const QPalette& palette, QPalette::ColorRole background) {
    return legible(palette.color(QPalette::Active, QPalette::Highlight),
                   palette.color(QPalette::Active, QPalette::WindowText),
                   palette.color(QPalette::Active, background), kOutlineContrast);
}

bool isDark(const QPalette& palette) {
    return luminance(palette.color(QPalette::WindowText)) >
           luminance(palette.color(QPalette::Window));
}

QPalette lightPalette() {
    return paletteFrom({.window = 0xf7f7f8,
                        .base = 0xffffff,
                        .button = 0xffffff,
                        .text = 0x1c1c20,
                        .accent = 0x1f5fbf,
                        .link = 0x1f5fbf});
}

QPalette darkPalette() {
    return paletteFrom({.window = 0x222226,
                        .base = 0x2d2d32,
                        .button = 0x3a3a41,
                        .text = 0xf4f4f6,
                        .accent = 0x2f6fce,
                        .link = 0x86b4f5});
}

} // namespace quorvane::platform::qt
