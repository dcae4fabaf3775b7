#include "ui/meeting/TranscriptLayout.h"

#include "ui/components/Painting.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace tavrin {

namespace {

constexpr int captionLine = 18;
constexpr int captionGap = 2;
constexpr int lineGap = 4;
constexpr int nameGap = 8;
constexpr int linkReach = 2;

} // namespace

TranscriptLayout::TranscriptLayout(const Theme& shown, const TranscriptLines& laidOut) : theme(shown), lines(laidOut) {}

void TranscriptLayout::update(const TranscriptLines::Change& change) {
    const auto& groups = lines.groups();
    layouts.removeIf([&](const auto& entry) { return entry.key() >= change.firstGroup; });
    allBoxes.resize(groups.size());
    for (auto i = std::size_t(change.firstGroup); i < groups.size(); ++i)
        allBoxes[i] = {.height = estimate(groups[i])};
    settleFrom(change.firstGroup);
}

int TranscriptLayout::scaled(int pixels) const {
    return qRound(theme.scaled(pixels) * zoom);
}

int TranscriptLayout::lineHeight() const {
    return qRound(theme.lineHeight(TextStyle::paragraph) * zoom);
}

QFont TranscriptLayout::font(TextStyle style) const {
    QFont font = theme.font(style);
    font.setPixelSize(qRound(font.pixelSize() * zoom));
    return font;
}

int TranscriptLayout::captionHeight() const {
    return scaled(captionLine) + captionGap;
}

double TranscriptLayout::estimate(const TranscriptLines::Group& group) const {
    const double perLine = std::max(1.0, textWidth / (scaled(13) * 0.52)); // characters
    double height = captionHeight() + groupGap + (group.lines - 1) * lineGap;
    for (int i = 0; i < group.lines; ++i) {
        const auto& text = lines.at(group.firstLine + i).text;
        height += std::max(1.0, std::ceil(double(text.size()) / perLine)) * lineHeight();
    }
    return height;
}

void TranscriptLayout::setWidth(int width) {
    textWidth = std::max(40, width - textIndent);
    layouts.clear();
    for (std::size_t i = 0; i < allBoxes.size(); ++i)
        allBoxes[i] = {.height = estimate(lines.groups()[i])};
    settleFrom(0);
}

void TranscriptLayout::settleFrom(int group) {
    double top = group > 0 ? allBoxes[std::size_t(group) - 1].top + allBoxes[std::size_t(group) - 1].height : 0;
    for (auto i = std::size_t(group); i < allBoxes.size(); ++i) {
        allBoxes[i].top = top;
        top += allBoxes[i].height;
    }
}

double TranscriptLayout::height() const {
    return allBoxes.empty() ? 0 : allBoxes.back().top + allBoxes.back().height;
}

int TranscriptLayout::groupAt(double y) const {
    const auto after = std::ranges::upper_bound(allBoxes, y, {}, &Box::top);
    return after == allBoxes.begin() ? 0 : int(after - allBoxes.begin()) - 1;
}

std::unique_ptr<QTextLayout> TranscriptLayout::laidLine(int line, double& height) const {
    auto text = std::make_unique<QTextLayout>(lines.at(line).text, font(TextStyle::paragraph));
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    text->setTextOption(option);
    text->setCacheEnabled(true);
    text->beginLayout();
    height = 0;
    for (QTextLine row = text->createLine(); row.isValid(); row = text->createLine()) {
        row.setLineWidth(textWidth);
        row.setPosition({0, height + (lineHeight() - row.ascent() - row.descent()) / 2});
        height += lineHeight();
    }
    text->endLayout();
    height = std::max<double>(lineHeight(), height);
    return text;
}

const TranscriptLayout::Laid& TranscriptLayout::laid(int index) {
    if (const auto known = layouts.constFind(index); known != layouts.constEnd()) return **known;
    const auto& group = lines.groups()[std::size_t(index)];
    const auto result = std::make_shared<Laid>();
    double top = captionHeight();
    for (int i = 0; i < group.lines; ++i) {
        double height = 0;
        result->texts.push_back(laidLine(group.firstLine + i, height));
        result->tops.push_back(top);
        top += height + lineGap;
    }
    layouts.insert(index, result);
    return *result;
}

double TranscriptLayout::measure(int index) {
    Box& box = allBoxes[std::size_t(index)];
    if (box.measured) return 0;
    const Laid& layout = laid(index);
    const int lastRows = std::max(1, layout.texts.back()->lineCount());
    const double height = layout.tops.back() + lastRows * lineHeight() + groupGap;
    const double grown = height - box.height;
    box.height = height;
    box.measured = true;
    if (grown != 0) settleFrom(index);
    return grown;
}

void TranscriptLayout::keepOnly(int firstGroup, int lastGroup) {
    layouts.removeIf([&](const auto& entry) { return entry.key() < firstGroup || entry.key() > lastGroup; });
}

double TranscriptLayout::topOf(int line) {
    const int group = lines.groupOf(line);
    const Laid& layout = laid(group);
    return allBoxes[std::size_t(group)].top +
           layout.tops[std::size_t(line - lines.groups()[std::size_t(group)].firstLine)];
}

int TranscriptLayout::rowCount(int line) {
    const int group = lines.groupOf(line);
    return laid(group).texts[std::size_t(line - lines.groups()[std::size_t(group)].firstLine)]->lineCount();
}

TranscriptLayout::Hit TranscriptLayout::hitAt(QPointF point) {
    const int index = groupAt(point.y());
    measure(index);
    const Laid& layout = laid(index);
    const double y = point.y() - allBoxes[std::size_t(index)].top;
    const auto below = std::ranges::upper_bound(layout.tops, y);
    const auto within = std::size_t(below == layout.tops.begin() ? 0 : below - layout.tops.begin() - 1);
    return {.line = lines.groups()[std::size_t(index)].firstLine + int(within),
            .text = layout.texts[within].get(),
            .row = int(std::floor((y - layout.tops[within]) / lineHeight()))};
}

TextPlace TranscriptLayout::placeAt(QPointF point) {
    if (allBoxes.empty()) return {};
    const Hit hit = hitAt(point);
    TextPlace place{.line = hit.line};
    if (hit.row < 0 || hit.text->lineCount() == 0) return place;
    if (hit.row >= hit.text->lineCount())
        place.character = int(hit.text->text().size());
    else
        place.character = hit.text->lineAt(hit.row).xToCursor(point.x() - textIndent);
    return place;
}

std::optional<TextPlace> TranscriptLayout::characterAt(QPointF point) {
    if (allBoxes.empty() || point.y() < 0 || point.y() >= height()) return std::nullopt;
    const Hit hit = hitAt(point);
    if (hit.row < 0 || hit.row >= hit.text->lineCount()) return std::nullopt;
    const QTextLine row = hit.text->lineAt(hit.row);
    const double x = point.x() - textIndent;
    const QRectF filled = row.naturalTextRect();
    if (x < filled.left() || x >= filled.right()) return std::nullopt;
    return TextPlace{hit.line, row.xToCursor(x, QTextLine::CursorOnCharacter)};
}

QList<QRectF> TranscriptLayout::rowsOf(const TextRange& range) {
    const int line = range.from.line;
    const int group = lines.groupOf(line);
    measure(group);
    const QTextLayout& text = *laid(group).texts[std::size_t(line - lines.groups()[std::size_t(group)].firstLine)];
    const double top = topOf(line);
    const int end = range.to.line == line ? range.to.character : int(text.text().size());
    QList<QRectF> rows;
    for (int i = 0; i < text.lineCount(); ++i) {
        const QTextLine row = text.lineAt(i);
        const int from = std::max(range.from.character, row.textStart());
        const int to = std::min(end, row.textStart() + row.textLength());
        if (to < from || (to == from && end != range.from.character)) continue;
        const double one = row.cursorToX(from);
        const double other = row.cursorToX(to);
        rows.append(
            {textIndent + std::min(one, other), top + i * lineHeight(), std::abs(other - one), double(lineHeight())});
    }
    return rows;
}

QRectF TranscriptLayout::captionOf(int group) const {
    return {double(textIndent), allBoxes[std::size_t(group)].top, double(textWidth), double(scaled(captionLine))};
}

void TranscriptLayout::paint(QPainter& painter, int index, double left, double top, const Marks& marks) {
    const auto& group = lines.groups()[std::size_t(index)];
    const Laid& layout = laid(index);
    const auto comes = [&](int line) { return marks.slidesFrom >= 0 && line >= marks.slidesFrom; };
    painter.save();
    if (comes(group.firstLine)) {
        painter.setOpacity(marks.opacity);
        top += marks.slide;
    }
    fillRounded(painter, {left, top, edgeWidth, allBoxes[std::size_t(index)].height - groupGap}, edgeWidth / 2.0,
                theme.color(group.color));
    paintCaption(painter, group, {left + textIndent, top});
    for (int i = 0; i < group.lines; ++i) {
        double lineTop = top + layout.tops[std::size_t(i)];
        if (comes(group.firstLine + i) && !comes(group.firstLine)) {
            painter.setOpacity(marks.opacity);
            lineTop += marks.slide;
        }
        paintLine(painter, group.firstLine + i, *layout.texts[std::size_t(i)], {left + textIndent, lineTop}, marks);
    }
    painter.restore();
}

void TranscriptLayout::paintCaption(QPainter& painter, const TranscriptLines::Group& group, QPointF at) const {
    const QRectF caption(at.x(), at.y(), textWidth, scaled(captionLine));
    const QFont nameFont = font(TextStyle::textStrong);
    const double baseline = centredBaseline(nameFont, caption);
    painter.setFont(nameFont);
    painter.setPen(theme.color(group.color == Token::accent ? Token::accentText : group.color));
    const double timeWidth = tabularWidth(font(TextStyle::caption), group.time);
    const QFontMetricsF metrics(nameFont);
    const QString name = metrics.elidedText(group.name, Qt::ElideRight, textWidth - timeWidth - nameGap);
    painter.drawText(QPointF(at.x(), baseline), name);
    painter.setFont(font(TextStyle::caption));
    painter.setPen(theme.color(Token::text2));
    drawTabular(painter, {at.x() + metrics.horizontalAdvance(name) + nameGap, baseline}, group.time);
}

QList<QTextLayout::FormatRange> TranscriptLayout::formatsOf(int line, const Marks& marks) const {
    QList<QTextLayout::FormatRange> formats;
    const auto add = [&](const TextRange& range, Token ground, Token ink) {
        const int from = range.from.line == line ? range.from.character : 0;
        const int to = range.to.line == line ? range.to.character : int(lines.at(line).text.size());
        QTextCharFormat format;
        format.setBackground(theme.color(ground));
        format.setForeground(theme.color(ink));
        formats.append({from, to - from, format});
    };
    const auto first = std::ranges::lower_bound(marks.matches, TextPlace{.line = line}, {}, &TextRange::from);
    for (auto match = first; match != marks.matches.end() && match->from.line == line; ++match)
        if (match->to.line == line) add(*match, Token::warnTint, Token::warnText);
    if (marks.selection && marks.selection->from.line <= line && line <= marks.selection->to.line)
        add(*marks.selection, Token::accentTint, Token::text);
    if (marks.current && marks.current->from.line == line) add(*marks.current, Token::accent, Token::onAccent);
    return formats;
}

void TranscriptLayout::paintLine(QPainter& painter, int line, const QTextLayout& text, QPointF at, const Marks& marks) {
    if (marks.link && marks.link->from.line == line) {
        const QPointF shift = at - QPointF(textIndent, topOf(line));
        for (const QRectF& row : rowsOf(*marks.link)) {
            const QRectF ground = row.translated(shift).adjusted(-linkReach, 0, linkReach, 0);
            fillRounded(painter, ground, linkReach, theme.color(Token::accentTint));
            painter.fillRect(QRectF(ground.left(), ground.bottom() - 1, ground.width(), 1), theme.color(Token::accent));
        }
    }
    painter.setPen(theme.color(Token::text));
    text.draw(&painter, at, formatsOf(line, marks));
}

} // namespace tavrin
