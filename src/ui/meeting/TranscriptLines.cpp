#include "ui/meeting/TranscriptLines.h"

#include "meeting/TranscriptExport.h"

#include <QAccessible>
#include <QStringList>
#include <algorithm>

namespace tavrin {

namespace {

QString shownText(const std::string& text) {
    return QString::fromStdString(text).trimmed().replace(QLatin1Char('\n'), QChar::LineSeparator);
}

} // namespace

void TranscriptLines::setLines(const std::vector<TranscriptSegment>& segments) {
    const std::size_t most = std::min(segments.size(), allLines.size());
    std::size_t common = 0;
    while (common < most && allLines[common].segment == segments[common])
        ++common;
    if (common == segments.size() && common == allLines.size()) return;
    emit changing();
    Change change{.firstLine = int(common), .linesBefore = count(), .onlyAdds = common == allLines.size()};
    if (!change.onlyAdds && QAccessible::isActive()) change.removed = text(endBefore(int(common)), length());
    allLines.resize(common);
    const bool cut = cutGroups(int(common));
    change.firstGroup = int(allGroups.size()) - (cut ? 1 : 0);
    for (std::size_t i = common; i < segments.size(); ++i)
        if (append(segments[i])) change.firstGroup = std::min(change.firstGroup, int(allGroups.size()) - 1);
    emit changed(change);
}

bool TranscriptLines::cutGroups(int line) {
    while (!allGroups.empty() && allGroups.back().firstLine >= line)
        allGroups.pop_back();
    if (allGroups.empty()) {
        speakers.clear();
        return false;
    }
    Group& last = allGroups.back();
    const int left = std::min(last.lines, line - last.firstLine);
    const bool cut = left < last.lines;
    last.lines = left;
    return cut;
}

bool TranscriptLines::append(const TranscriptSegment& segment) {
    const bool joins = !allLines.empty() && sharesCaption(allLines.back().segment, segment);
    const int end = allLines.empty() ? 0 : length() + 1;
    const int line = count();
    if (joins)
        ++allGroups.back().lines;
    else
        allGroups.push_back({.firstLine = line,
                             .lines = 1,
                             .name = QString::fromStdString(segment.speakerLabel),
                             .time = QString::fromStdString(transcriptTime(segment.date)),
                             .color = colorOf(segment)});
    const int start = joins ? end : end + int(allGroups.back().caption().size()) + 1;
    allLines.push_back({segment, shownText(segment.text), start});
    return joins;
}

Token TranscriptLines::colorOf(const TranscriptSegment& segment) {
    if (segment.speakerLabel == meLabel) return Token::accent;
    if (segment.speakerLabel == themLabel) return Token::them;
    const QString name = QString::fromStdString(segment.speakerLabel);
    const auto known = speakers.constFind(name);
    const int order = known != speakers.constEnd() ? *known : int(speakers.size());
    speakers.insert(name, order);
    return speakerTokens[std::size_t(order) % speakerTokens.size()];
}

int TranscriptLines::groupOf(int line) const {
    const auto after = std::ranges::upper_bound(allGroups, line, {}, &Group::firstLine);
    return after == allGroups.begin() ? 0 : int(after - allGroups.begin()) - 1;
}

int TranscriptLines::lineOf(SegmentId id) const {
    for (int line = count() - 1; line >= 0; --line)
        if (at(line).segment.id == id) return line;
    return -1;
}

int TranscriptLines::length() const {
    return allLines.empty() ? 0 : allLines.back().start + int(allLines.back().text.size());
}

int TranscriptLines::beginOf(int line) const {
    return line == 0 ? 0 : at(line - 1).start + int(at(line - 1).text.size()) + 1;
}

int TranscriptLines::lineAt(int offset) const {
    if (allLines.empty()) return -1;
    const auto after = std::ranges::upper_bound(allLines, offset, {}, &Line::start);
    const int line = after == allLines.begin() ? 0 : int(after - allLines.begin()) - 1;
    // Behind a line's end stands the caption of the next one.
    const bool inCaption = offset > at(line).start + int(at(line).text.size());
    return inCaption && line + 1 < count() ? line + 1 : line;
}

TextPlace TranscriptLines::placeAt(int offset) const {
    const int line = lineAt(offset);
    if (line < 0) return {};
    return {line, std::clamp(offset - at(line).start, 0, int(at(line).text.size()))};
}

int TranscriptLines::offsetOf(TextPlace place) const {
    if (place.line >= count()) return length();
    return at(place.line).start + std::clamp(place.character, 0, int(at(place.line).text.size()));
}

QString TranscriptLines::text(int from, int to) const {
    from = std::clamp(from, 0, length());
    to = std::clamp(to, from, length());
    QString result;
    result.reserve(to - from);
    for (int line = std::max(0, lineAt(from)); line < count() && beginOf(line) < to; ++line) {
        const Group& group = allGroups[std::size_t(groupOf(line))];
        const int begin = beginOf(line);
        QString part = group.firstLine == line ? group.caption() + QLatin1Char('\n') : QString();
        part += at(line).text + QLatin1Char('\n');
        const int skipped = std::max(0, from - begin);
        result += QStringView(part).mid(skipped, to - begin - skipped);
    }
    return result.replace(QChar::LineSeparator, QLatin1Char(' '));
}

QString TranscriptLines::copyOf(const TextRange& range) const {
    const bool captions = groupOf(range.from.line) != groupOf(range.to.line);
    QStringList parts;
    for (int line = range.from.line; line <= range.to.line && line < count(); ++line) {
        const Group& group = allGroups[std::size_t(groupOf(line))];
        const bool begins = line == group.firstLine || line == range.from.line;
        if (captions && begins) parts.append(group.caption());
        const QString& text = at(line).text;
        const int from = line == range.from.line ? range.from.character : 0;
        const int to = line == range.to.line ? range.to.character : int(text.size());
        parts.append(text.mid(from, to - from).replace(QChar::LineSeparator, QLatin1Char('\n')));
    }
    return parts.join(QLatin1Char('\n'));
}

} // namespace tavrin
