#include "ui/Theme.h"

#include "ui/ThemeStyle.h"

#include <QApplication>
#include <QFile>
#include <QFontDatabase>
#include <QFontInfo>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>
#include <QToolTip>
#include <QWidget>
#include <algorithm>
#include <memory>

// Resources of a static library are known only after this call, which may not stand inside a namespace.
static void registerResources() {
    Q_INIT_RESOURCE(ui);
}

namespace tavrin {

namespace {

struct Type {
    int pixels;
    int line;
    QFont::Weight weight;
    double spacing;
};

constexpr Type typeOf(TextStyle style) {
    switch (style) {
    case TextStyle::numerals:
        return {28, 32, QFont::DemiBold, -0.3};
    case TextStyle::page:
        return {22, 28, QFont::DemiBold, -0.2};
    case TextStyle::section:
        return {15, 20, QFont::DemiBold, 0};
    case TextStyle::text:
        return {13, 20, QFont::Normal, 0};
    case TextStyle::textMedium:
        return {13, 20, QFont::Medium, 0};
    case TextStyle::textStrong:
        return {13, 20, QFont::DemiBold, 0};
    case TextStyle::paragraph:
        return {13, 19, QFont::Normal, 0};
    case TextStyle::caption:
        return {11, 16, QFont::Normal, 0};
    case TextStyle::captionMedium:
        return {11, 16, QFont::Medium, 0};
    case TextStyle::captionStrong:
        return {11, 16, QFont::DemiBold, 0};
    }
    return {13, 20, QFont::Normal, 0};
}

// Desktops set their own text in 12 to 16 pixels; only what is larger is somebody's wish for larger text.
double systemFontScale(const QFont& font) {
    constexpr int largestUsual = 16;
    const int pixels = QFontInfo(font).pixelSize();
    return pixels <= largestUsual ? 1 : pixels / 14.0;
}

bool looksDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

} // namespace

Theme::Theme(QApplication& /*application*/) : systemFont(QApplication::font()), systemPalette(QApplication::palette()) {
    registerResources();
    const auto families = QFontDatabase::families();
    family = families.contains(QStringLiteral("Inter")) ? QStringLiteral("Inter") : systemFont.family();
    systemDark = looksDark(systemPalette);
    scale = systemFontScale(systemFont);
    QApplication::setStyle(std::make_unique<ThemeStyle>(*this).release()); // the application owns it
    apply(); // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): of the style
}

Theme::~Theme() {
    if (!qApp) return;
    QApplication::setStyle(QStringLiteral("Fusion")); // ours draws with this theme
    QApplication::setPalette(systemPalette);
    QApplication::setFont(systemFont);
}

void Theme::setScheme(Scheme wanted) {
    scheme = wanted;
    apply();
}

void Theme::setSystemDark(bool isNowDark) {
    systemDark = isNowDark;
    apply();
}

void Theme::setContrast(bool more) {
    contrast = more;
    apply();
}

void Theme::setFontScale(double wanted) {
    scale = std::clamp(wanted, 0.75, 3.0);
    apply();
}

void Theme::setMotion(bool mayMove) {
    motion = mayMove;
    emit changed();
}

void Theme::apply() {
    dark = scheme == Scheme::dark || (scheme == Scheme::system && systemDark);
    QPalette palette;
    const auto set = [&](QPalette::ColorRole role, Token token, Token whenDisabled) {
        palette.setColor(role, color(token));
        palette.setColor(QPalette::Disabled, role, color(whenDisabled));
    };
    set(QPalette::Window, Token::window, Token::window);
    set(QPalette::WindowText, Token::text, Token::disabled);
    set(QPalette::Base, Token::panel, Token::panel);
    set(QPalette::AlternateBase, Token::sunken, Token::sunken);
    set(QPalette::Text, Token::text, Token::disabled);
    set(QPalette::PlaceholderText, Token::text2, Token::disabled);
    set(QPalette::Button, Token::surface, Token::surface);
    set(QPalette::ButtonText, Token::text, Token::disabled);
    set(QPalette::Highlight, Token::accent, Token::track);
    set(QPalette::HighlightedText, Token::onAccent, Token::disabled);
    set(QPalette::ToolTipBase, Token::tip, Token::tip);
    set(QPalette::ToolTipText, Token::tipText, Token::tipText);
    set(QPalette::Link, Token::accentText, Token::disabled);
    QApplication::setPalette(palette);
    QApplication::setFont(font(TextStyle::text));
    QToolTip::setPalette(palette);
    QToolTip::setFont(font(TextStyle::caption));
    emit changed();
}

QColor Theme::color(Token token) const {
    if (contrast && token == Token::line2) token = Token::mark;
    const auto& entry = tokenColors.at(static_cast<std::size_t>(token));
    Q_ASSERT(entry.token == token);
    return QColor::fromRgba(dark ? entry.dark : entry.light);
}

QFont Theme::font(TextStyle style) const {
    const Type type = typeOf(style);
    QFont font(family);
    font.setPixelSize(scaled(type.pixels));
    font.setWeight(type.weight);
    font.setHintingPreference(QFont::PreferNoHinting);
    if (type.spacing != 0) font.setLetterSpacing(QFont::AbsoluteSpacing, type.spacing * scale);
    return font;
}

int Theme::lineHeight(TextStyle style) const {
    return scaled(typeOf(style).line);
}

int Theme::scaled(int pixels) const {
    return qRound(pixels * scale);
}

void Theme::drawIcon(QPainter& painter, const QString& name, const QRectF& place, const QColor& color) const {
    const double ratio = painter.device()->devicePixelRatioF();
    painter.drawPixmap(place.topLeft(), icon(name, qRound(place.width()), color, ratio));
}

QPixmap Theme::icon(const QString& name, int size, const QColor& color, double pixelRatio) const {
    const QString key = QStringLiteral("%1/%2/%3/%4").arg(name).arg(size).arg(color.rgba()).arg(pixelRatio);
    if (const auto known = icons.constFind(key); known != icons.constEnd()) return *known;
    QPixmap picture(QSizeF(size * pixelRatio, size * pixelRatio).toSize());
    picture.fill(Qt::transparent);
    QFile file(QStringLiteral(":/tavrin/icons/%1.svg").arg(name));
    if (file.open(QIODevice::ReadOnly)) {
        QSvgRenderer renderer(file.readAll().replace("currentColor", color.name().toLatin1()));
        QPainter painter(&picture);
        painter.setOpacity(color.alphaF());
        renderer.render(&painter);
    }
    picture.setDevicePixelRatio(pixelRatio);
    icons.insert(key, picture);
    return picture;
}

void followTheme(QWidget& widget, const Theme& theme) {
    QObject::connect(&theme, &Theme::changed, &widget, [&widget] {
        widget.updateGeometry();
        widget.update();
    });
}

} // namespace tavrin
