#include "ui/meeting/TranscriptLayout.h"

#include "ui/components/Painting.h"

#include <QDateTime>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace tavrin {

namespace {

constexpr int captionLine = 18;
constexpr int captionGap = 2;
constexpr int lineGap = 4;
constexpr int nameGap = 8;

QString timeOf(Date date) {
    constexpr double furthest = 1e11; // seconds; beyond this nothing is a moment of a meeting
    const double seconds = std::isfinite(date.unix()) ? std::clamp(date.unix(), -furthest, furthest) : 0;
    return QDateTime::fromMSecsSinceEpoch(qint64(seconds * 1000)).toString(QStringLiteral("HH:mm:ss"));
}

bool joins(const TranscriptSegment& a, const TranscriptSegment& b) {
    return a.speakerLabel == b.speakerLabel && isMeLine(a) == isMeLine(b);
}

QString shownText(const std::string& text) {
    return QString::fromStdString(text).trimmed().replace(QLatin1Char('\n'), QChar::LineSeparator);
}

} // namespace

TranscriptLayout::TranscriptLayout(const Theme& shown) : theme(shown) {}

int TranscriptLayout::setLines(const std::vector<TranscriptSegment>& segments) {
    const std::size_t most = std::min(segments.size(), allLines.size());
    std::size_t common = 0;
    while (common < most && allLines[common].segment == segments[common])
        ++common;
    const bool removes = common < allLines.size();
    allLines.resize(common);
    if (removes) regroupFrom(int(common));
    const int firstChanged = int(common);
    const int firstGroup = std::max(0, int(allGroups.size()) - 1);
    for (std::size_t i = common; i < segments.size(); ++i) {
        allLines.push_back({segments[i], shownText(segments[i].text)});
        appendToGroups(int(i));
    }
    settleFrom(firstGroup);
    return firstChanged;
}

void TranscriptLayout::regroupFrom(int line) {
    while (!allGroups.empty() && allGroups.back().firstLine >= line) {
        layouts.remove(int(allGroups.size()) - 1);
        allGroups.pop_back();
    }
    if (allGroups.empty()) {
        speakers.clear();
        return;
    }
    Group& last = allGroups.back();
    last.lines = std::min(last.lines, line - last.firstLine);
    last.measured = false;
    layouts.remove(int(allGroups.size()) - 1);
}

void TranscriptLayout::appendToGroups(int line) {
    const TranscriptSegment& segment = allLines[std::size_t(line)].segment;
    if (line > 0 && !allGroups.empty() && joins(allLines[std::size_t(line) - 1].segment, segment)) {
        Group& last = allGroups.back();
        ++last.lines;
        last.measured = false;
        last.height = estimate(last);
        layouts.remove(int(allGroups.size()) - 1);
        return;
    }
    Group group{.firstLine = line,
                .lines = 1,
                .name = QString::fromStdString(segment.speakerLabel),
                .time = timeOf(segment.date),
                .color = colorOf(segment)};
    group.height = estimate(group);
    allGroups.push_back(group);
}

Token TranscriptLayout::colorOf(const TranscriptSegment& segment) {
    if (segment.speakerLabel == meLabel) return Token::accent;
    if (segment.speakerLabel == themLabel) return Token::them;
    const QString name = QString::fromStdString(segment.speakerLabel);
    const auto known = speakers.constFind(name);
    const int order = known != speakers.constEnd() ? *known : int(speakers.size());
    speakers.insert(name, order);
    return speakerTokens[std::size_t(order) % speakerTokens.size()];
}

int TranscriptLayout::captionHeight() const {
    return theme.scaled(captionLine) + captionGap;
}

double TranscriptLayout::estimate(const Group& group) const {
    const int lineHeight = theme.lineHeight(TextStyle::paragraph);
    const double perLine = std::max(1.0, textWidth / (theme.scaled(13) * 0.52)); // characters
    double height = captionHeight() + groupGap + (group.lines - 1) * lineGap;
    for (int i = 0; i < group.lines; ++i) {
        const auto& text = allLines[std::size_t(group.firstLine) + std::size_t(i)].text;
        height += std::max(1.0, std::ceil(double(text.size()) / perLine)) * lineHeight;
    }
    return height;
}

void TranscriptLayout::setWidth(int width) {
    textWidth = std::max(40, width - textIndent);
    layouts.clear();
    for (Group& group : allGroups) {
        group.measured = false;
        group.height = estimate(group);
    }
    settleFrom(0);
}

void TranscriptLayout::settleFrom(int group) {
    double top = group > 0 ? allGroups[std::size_t(group) - 1].top + allGroups[std::size_t(group) - 1].height : 0;
    for (std::size_t i = std::size_t(group); i < allGroups.size(); ++i) {
        allGroups[i].top = top;
        top += allGroups[i].height;
    }
}

double TranscriptLayout::height() const {
    return allGroups.empty() ? 0 : allGroups.back().top + allGroups.back().height;
}

int TranscriptLayout::groupAt(double y) const {
    const auto after = std::ranges::upper_bound(allGroups, y, {}, &Group::top);
    return after == allGroups.begin() ? 0 : int(after - allGroups.begin()) - 1;
}

int TranscriptLayout::groupOf(int line) const {
    const auto after = std::ranges::upper_bound(allGroups, line, {}, &Group::firstLine);
    return after == allGroups.begin() ? 0 : int(after - allGroups.begin()) - 1;
}

const TranscriptLayout::Laid& TranscriptLayout::laid(int index) {
    if (const auto known = layouts.constFind(index); known != layouts.constEnd()) return **known;
    const Group& group = allGroups[std::size_t(index)];
    const auto result = std::make_shared<Laid>();
    const double lineHeight = theme.lineHeight(TextStyle::paragraph);
    double top = captionHeight();
    for (int i = 0; i < group.lines; ++i) {
        auto text = std::make_unique<QTextLayout>(allLines[std::size_t(group.firstLine) + std::size_t(i)].text,
                                                  theme.font(TextStyle::paragraph));
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        text->setTextOption(option);
        text->setCacheEnabled(true);
        text->beginLayout();
        double y = 0;
        for (QTextLine line = text->createLine(); line.isValid(); line = text->createLine()) {
            line.setLineWidth(textWidth);
            line.setPosition({0, y + (lineHeight - line.ascent() - line.descent()) / 2});
            y += lineHeight;
        }
        text->endLayout();
        result->tops.push_back(top);
        result->texts.push_back(std::move(text));
        top += std::max(lineHeight, y) + lineGap;
    }
    layouts.insert(index, result);
    return *result;
}

double TranscriptLayout::measure(int index) {
    Group& group = allGroups[std::size_t(index)];
    if (group.measured) return 0;
    const Laid& layout = laid(index);
    const int lastLines = std::max(1, layout.texts.back()->lineCount());
    const double height = layout.tops.back() + lastLines * theme.lineHeight(TextStyle::paragraph) + groupGap;
    const double grown = height - group.height;
    group.height = height;
    group.measured = true;
    if (grown != 0) settleFrom(index);
    return grown;
}

void TranscriptLayout::keepOnly(int firstGroup, int lastGroup) {
    layouts.removeIf([&](const auto& entry) { return entry.key() < firstGroup || entry.key() > lastGroup; });
}

double TranscriptLayout::topOf(int line) {
    const int group = groupOf(line);
    const Laid& layout = laid(group);
    return allGroups[std::size_t(group)].top + layout.tops[std::size_t(line - allGroups[std::size_t(group)].firstLine)];
}

TextPlace TranscriptLayout::placeAt(QPointF point) {
    if (allGroups.empty()) return {};
    const int index = groupAt(point.y());
    measure(index);
    const Group& group = allGroups[std::size_t(index)];
    const Laid& layout = laid(index);
    const double y = point.y() - group.top;
    const auto below = std::ranges::upper_bound(layout.tops, y);
    const auto within = std::size_t(below == layout.tops.begin() ? 0 : below - layout.tops.begin() - 1);
    const QTextLayout& text = *layout.texts[within];
    const int row = int(std::floor((y - layout.tops[within]) / theme.lineHeight(TextStyle::paragraph)));
    TextPlace place{.line = group.firstLine + int(within)};
    if (row < 0 || text.lineCount() == 0) return place;
    if (row >= text.lineCount())
        place.character = int(text.text().size());
    else
        place.character = text.lineAt(row).xToCursor(point.x() - textIndent);
    return place;
}

void TranscriptLayout::paint(QPainter& painter, int index, double left, double top,
                             const std::optional<Selection>& selection) {
    const Group& group = allGroups[std::size_t(index)];
    const Laid& layout = laid(index);
    const QColor color = theme.color(group.color);
    fillRounded(painter, {left, top, edgeWidth, group.height - groupGap}, edgeWidth / 2.0, color);
    const double textLeft = left + textIndent;
    const QRectF caption(textLeft, top, textWidth, theme.scaled(captionLine));
    const QFont nameFont = theme.font(TextStyle::textStrong);
    const double baseline = centredBaseline(nameFont, caption);
    painter.setFont(nameFont);
    painter.setPen(group.color == Token::accent ? theme.color(Token::accentText) : color);
    const double timeWidth = tabularWidth(theme.font(TextStyle::caption), group.time);
    const QFontMetricsF metrics(nameFont);
    const QString name = metrics.elidedText(group.name, Qt::ElideRight, textWidth - timeWidth - nameGap);
    painter.drawText(QPointF(textLeft, baseline), name);
    painter.setFont(theme.font(TextStyle::caption));
    painter.setPen(theme.color(Token::text2));
    drawTabular(painter, {textLeft + metrics.horizontalAdvance(name) + nameGap, baseline}, group.time);

    painter.setPen(theme.color(Token::text));
    for (int i = 0; i < group.lines; ++i) {
        const int line = group.firstLine + i;
        QList<QTextLayout::FormatRange> ranges;
        if (selection && selection->from.line <= line && line <= selection->to.line) {
            const int length = int(allLines[std::size_t(line)].text.size());
            const int from = selection->from.line == line ? selection->from.character : 0;
            const int to = selection->to.line == line ? selection->to.character : length;
            QTextCharFormat format;
            format.setBackground(theme.color(Token::accentTint));
            format.setForeground(theme.color(Token::text));
            ranges.append({from, to - from, format});
        }
        layout.texts[std::size_t(i)]->draw(&painter, {textLeft, top + layout.tops[std::size_t(i)]}, ranges);
    }
}

QString TranscriptLayout::textOf(const Selection& selection) const {
    const bool captions = groupOf(selection.from.line) != groupOf(selection.to.line);
    QStringList parts;
    for (int line = selection.from.line; line <= selection.to.line && line < int(allLines.size()); ++line) {
        const Group& group = allGroups[std::size_t(groupOf(line))];
        const bool begins = line == group.firstLine || line == selection.from.line;
        if (captions && begins) parts.append(group.name + QLatin1Char(' ') + group.time);
        const QString& text = allLines[std::size_t(line)].text;
        const int from = line == selection.from.line ? selection.from.character : 0;
        const int to = line == selection.to.line ? selection.to.character : int(text.size());
        parts.append(text.mid(from, to - from).replace(QChar::LineSeparator, QLatin1Char('\n')));
    }
    return parts.join(QLatin1Char('\n'));
}

} // namespace tavrin
