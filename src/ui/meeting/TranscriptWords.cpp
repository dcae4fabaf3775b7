#include "ui/meeting/TranscriptWords.h"

#include <QTextBoundaryFinder>
#include <algorithm>

namespace tavrin {

namespace {

constexpr int longestPhrase = 120;

bool isWord(QStringView text) {
    return std::ranges::any_of(text, [](QChar each) { return each.isLetterOrNumber() || each.isSurrogate(); });
}

/// The first word of a line that begins at `from` or behind it.
std::optional<TextRange> wordInLine(const TranscriptLines& lines, int line, int from) {
    const QString& text = lines.at(line).text;
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, text);
    words.setPosition(from);
    qsizetype begin = words.isAtBoundary() ? from : words.toNextBoundary();
    while (begin >= 0 && begin < text.size()) {
        words.setPosition(begin);
        const qsizetype end = words.toNextBoundary();
        if (end < 0) break;
        if (isWord(QStringView(text).mid(begin, end - begin))) return TextRange{{line, int(begin)}, {line, int(end)}};
        begin = end;
    }
    return std::nullopt;
}

std::optional<TextRange> lastWordInLine(const TranscriptLines& lines, int line, int to) {
    const QString& text = lines.at(line).text;
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, text);
    words.setPosition(to);
    qsizetype end = words.isAtBoundary() ? to : words.toPreviousBoundary();
    while (end > 0) {
        words.setPosition(end);
        const qsizetype begin = words.toPreviousBoundary();
        if (begin < 0) break;
        if (isWord(QStringView(text).mid(begin, end - begin))) return TextRange{{line, int(begin)}, {line, int(end)}};
        end = begin;
    }
    return std::nullopt;
}

} // namespace

std::optional<TextRange> wordAt(const TranscriptLines& lines, TextPlace place) {
    if (place.line < 0 || place.line >= lines.count()) return std::nullopt;
    const QString& text = lines.at(place.line).text;
    if (place.character < 0 || place.character >= text.size()) return std::nullopt;
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, text);
    words.setPosition(place.character);
    const qsizetype begin = words.isAtBoundary() ? place.character : words.toPreviousBoundary();
    words.setPosition(std::max<qsizetype>(0, begin));
    const qsizetype end = words.toNextBoundary();
    if (begin < 0 || end < 0 || !isWord(QStringView(text).mid(begin, end - begin))) return std::nullopt;
    return TextRange{{place.line, int(begin)}, {place.line, int(end)}};
}

std::optional<TextRange> wordFrom(const TranscriptLines& lines, TextPlace place) {
    for (int line = std::max(0, place.line); line < lines.count(); ++line) {
        const int size = int(lines.at(line).text.size());
        const int from = line == place.line ? std::clamp(place.character, 0, size) : 0;
        if (const auto word = wordInLine(lines, line, from)) return word;
    }
    return std::nullopt;
}

std::optional<TextRange> wordBefore(const TranscriptLines& lines, TextPlace place) {
    for (int line = std::min(lines.count() - 1, place.line); line >= 0; --line) {
        const int size = int(lines.at(line).text.size());
        const int to = line == place.line ? std::clamp(place.character, 0, size) : size;
        if (const auto word = lastWordInLine(lines, line, to)) return word;
    }
    return std::nullopt;
}

std::optional<TextRange> phraseIn(const TranscriptLines& lines, const TextRange& range) {
    if (range.from.line != range.to.line || range.from.line >= lines.count()) return std::nullopt;
    const QString& text = lines.at(range.from.line).text;
    int from = std::clamp(range.from.character, 0, int(text.size()));
    int to = std::clamp(range.to.character, from, int(text.size()));
    const auto belongs = [&](int at) { return text.at(at).isLetterOrNumber() || text.at(at).isSurrogate(); };
    while (from < to && !belongs(from))
        ++from;
    while (to > from && !belongs(to - 1))
        --to;
    if (from == to || to - from > longestPhrase) return std::nullopt;
    if (QStringView(text).mid(from, to - from).contains(QLatin1Char(','))) return std::nullopt;
    return TextRange{{range.from.line, from}, {range.from.line, to}};
}

} // namespace tavrin
