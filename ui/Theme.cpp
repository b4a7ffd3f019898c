// SPDX-License-Identifier: Apache-2.0
#include "ui/Theme.h"

#include "ui/HouseStyle.h"
#include "ui/SystemLook.h"

#include <QApplication>
#include <QPointer>
#include <QToolTip>
#include <QWidget>

#include <initializer_list>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace Theme {

namespace {

constexpr double LargePoints = 14;

constexpr Colors LightColors{ .ListText = { 64, 64, 64 },
                              .CorrectText = { 0, 128, 0 },
                              .IncorrectText = { 255, 0, 0 },
                              .PanelBack = { 242, 248, 253 },
                              .PanelLine = Brand::Blue,
                              .Outline = { 112, 124, 138 },
                              .Frame = { 188, 191, 195 },
                              .Focus = { 24, 92, 160 },
                              .Groove = { 237, 241, 246 },
                              .LogoName = { 24, 92, 160 } };
constexpr Colors DarkColors{ .ListText = { 208, 214, 222 },
                             .CorrectText = { 122, 214, 122 },
                             .IncorrectText = { 255, 142, 134 },
                             .PanelBack = { 30, 45, 62 },
                             .PanelLine = Brand::Blue,
                             .Outline = { 138, 150, 164 },
                             .Frame = { 72, 82, 94 },
                             .Focus = { 122, 190, 250 },
                             .Groove = { 40, 46, 54 },
                             .LogoName = { 226, 231, 237 } };

struct State {
    Look Kind = Look::Light;
    Colors Palette = LightColors;
} current;

// What is done after each change, as long as the widget is there.
struct Follower {
    QPointer<QWidget> Widget;
    std::function<void()> Action;
};
std::vector<Follower> followers;

using Roles = std::initializer_list<std::pair<QPalette::ColorRole, QColor>>;

QPalette Filled(QPalette palette, const Roles &roles, const QColor &faint)
{
    for (const auto &[role, color] : roles)
        palette.setColor(role, color);
    for (const QPalette::ColorRole role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, faint);
    return palette;
}

QPalette LightPalette()
{
    const QColor window(243, 246, 250);
    return Filled(QPalette(window),
                  { { QPalette::Window, window },
                    { QPalette::WindowText, Brand::Ink },
                    { QPalette::Base, Qt::white },
                    { QPalette::AlternateBase, QColor(247, 249, 252) },
                    { QPalette::Text, Brand::Ink },
                    { QPalette::Button, QColor(249, 251, 253) },
                    { QPalette::ButtonText, Brand::Ink },
                    { QPalette::ToolTipBase, Qt::white },
                    { QPalette::ToolTipText, Brand::Ink },
                    { QPalette::Highlight, QColor(37, 121, 199) },
                    { QPalette::HighlightedText, Qt::white },
                    { QPalette::Link, QColor(26, 95, 180) },
                    { QPalette::Mid, LightColors.Outline } },
                  QColor(140, 150, 163));
}

QPalette DarkPalette()
{
    const QColor window(32, 37, 43);
    const QColor base(24, 28, 33);
    const QColor text(226, 231, 237);
    const QColor faint(126, 137, 150);
    return Filled(QPalette(window),
                  { { QPalette::Window, window },
                    { QPalette::WindowText, text },
                    { QPalette::Base, base },
                    { QPalette::AlternateBase, QColor(29, 34, 40) },
                    { QPalette::Text, text },
                    { QPalette::PlaceholderText, faint },
                    { QPalette::Button, QColor(48, 55, 64) },
                    { QPalette::ButtonText, text },
                    { QPalette::BrightText, Qt::white },
                    { QPalette::ToolTipBase, QColor(48, 55, 64) },
                    { QPalette::ToolTipText, text },
                    { QPalette::Highlight, QColor(37, 121, 199) },
                    { QPalette::HighlightedText, Qt::white },
                    { QPalette::Link, QColor(122, 184, 245) },
                    { QPalette::Mid, DarkColors.Outline } },
                  faint);
}

QPalette HighContrastPalette()
{
    return Filled(QPalette(Qt::black),
                  { { QPalette::Window, Qt::black },
                    { QPalette::WindowText, Qt::white },
                    { QPalette::Base, Qt::black },
                    { QPalette::AlternateBase, Qt::black },
                    { QPalette::Text, Qt::white },
                    { QPalette::PlaceholderText, QColor(190, 190, 190) },
                    { QPalette::Button, Qt::black },
                    { QPalette::ButtonText, Qt::white },
                    { QPalette::BrightText, Qt::white },
                    { QPalette::ToolTipBase, Qt::black },
                    { QPalette::ToolTipText, Qt::white },
                    { QPalette::Highlight, Qt::cyan },
                    { QPalette::HighlightedText, Qt::black },
                    { QPalette::Link, Qt::yellow },
                    { QPalette::Mid, Qt::white } },
                  QColor(170, 170, 170));
}

// A palette of high contrast has no other colours than its own: correct and
// incorrect are told apart by their words.
Colors ColorsOf(const QPalette &palette)
{
    const QColor text = palette.color(QPalette::WindowText);
    const QColor window = palette.color(QPalette::Window);
    return { .ListText = palette.color(QPalette::Text),
             .CorrectText = text,
             .IncorrectText = text,
             .PanelBack = window,
             .PanelLine = text,
             .Outline = text,
             .Frame = text,
             .Focus = palette.color(QPalette::Link),
             .Groove = window,
             .LogoName = text };
}

}

Look CurrentLook()
{
    return current.Kind;
}

const Colors &Current()
{
    return current.Palette;
}

void Apply(QApplication &application, Look look, const std::optional<QPalette> &highContrast)
{
    const QPalette contrast = highContrast.value_or(HighContrastPalette());
    switch (look) {
    case Look::Light: current = { look, LightColors }; break;
    case Look::Dark: current = { look, DarkColors }; break;
    case Look::HighContrast: current = { look, ColorsOf(contrast) }; break;
    }
    const QPalette palette = look == Look::Light ? LightPalette() : look == Look::Dark ? DarkPalette() : contrast;
    if (!dynamic_cast<HouseStyle *>(application.style()))
        application.setStyle(new HouseStyle);
    application.setPalette(palette);
    // Tool tips keep a palette of their own, which the desktop has filled.
    QToolTip::setPalette(palette);
    // An action may make another widget.
    const std::vector<Follower> all = followers;
    for (const Follower &follower : all) {
        if (follower.Widget)
            follower.Action();
    }
}

void Follow(QApplication &application)
{
    SystemLook::Watch(application, [&application](const SystemLook &system) {
        const Look look = system.IsHighContrast ? Look::HighContrast : system.IsDark ? Look::Dark : Look::Light;
        // A system's palette of high contrast can change without another look.
        if (look != current.Kind || system.HighContrast || !dynamic_cast<HouseStyle *>(application.style()))
            Apply(application, look, system.HighContrast);
    });
}

void WithLook(QWidget *widget, std::function<void()> action)
{
    action();
    std::erase_if(followers, [](const Follower &follower) { return follower.Widget.isNull(); });
    followers.push_back({ widget, std::move(action) });
}

void ScaleFont(QWidget *widget, double factor, int weight)
{
    QFont font = widget->font();
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(qRound(font.pixelSize() * factor));
    font.setWeight(static_cast<QFont::Weight>(weight));
    widget->setFont(font);
}

QFont Large(QFont font)
{
    if (QFontInfo(font).pointSizeF() < LargePoints)
        font.setPointSizeF(LargePoints);
    return font;
}

}
