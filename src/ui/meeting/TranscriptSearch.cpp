#include "ui/meeting/TranscriptSearch.h"

#include <QHash>
#include <algorithm>

namespace tavrin {

namespace {

/// How a character other than those of ASCII is compared.
QString foldedCharacter(QChar each, bool keepAccents) {
    if (each == QChar(0x2019) || each == QChar(0x2018)) return QStringLiteral("'");
    if (each.isSpace()) return QStringLiteral(" ");
    if (each == QChar(0x00DF) || each == QChar(0x1E9E)) return QStringLiteral("ss");
    QString result;
    for (const QChar part : QString(each).normalized(QString::NormalizationForm_D).toCaseFolded())
        if (keepAccents || part.category() != QChar::Mark_NonSpacing) result += part;
    return result;
}

/// The same, found once for each character.
const QString& foldedOnce(QChar each, bool keepAccents) {
    static QHash<char32_t, QString> known; // the windows' thread only
    const char32_t key = char32_t(each.unicode()) << 1U | char32_t(keepAccents);
    const auto entry = known.constFind(key);
    return entry != known.constEnd() ? *entry : *known.insert(key, foldedCharacter(each, keepAccents));
}

} // namespace

TranscriptSearch::TranscriptSearch(const TranscriptLines& searched) : lines(searched) {}

void TranscriptSearch::fold(const QString& text, bool keepAccents, Folded& into) const {
    into.text.clear();
    into.origin.clear();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit < 0x80) {
            into.text += unit >= 'A' && unit <= 'Z' ? char16_t(unit + 0x20) : unit;
            into.origin.push_back(int(i));
            continue;
        }
        if (text[i].isSurrogate()) {
            into.text += unit;
            into.origin.push_back(int(i));
            continue;
        }
        for (const QChar part : foldedOnce(text[i], keepAccents)) {
            into.text += part.unicode();
            into.origin.push_back(int(i));
        }
    }
    into.origin.push_back(int(text.size()));
}

void TranscriptSearch::find(const QString& text) {
    Folded plain;
    fold(text, false, plain);
    Folded exact;
    fold(text, true, exact);
    const bool accents = plain.text != exact.text;
    const Folded& wanted = accents ? exact : plain;
    // What holds the longer text holds the shorter one: only lines that matched so far can match now.
    const bool narrows = isActive() && accents == accentsCount && wanted.text.starts_with(needle.text);
    needle = wanted;
    accentsCount = accents;
    if (!narrows) return refresh(0);
    std::vector<TextRange> now;
    int last = -1;
    for (const TextRange& match : found)
        if (match.from.line != last) searchLine(last = match.from.line, now);
    found = std::move(now);
}

void TranscriptSearch::refresh(int firstLine) {
    std::erase_if(found, [&](const TextRange& match) { return match.from.line >= firstLine; });
    if (!isActive()) return found.clear();
    for (int line = firstLine; line < lines.count(); ++line)
        searchLine(line, found);
}

void TranscriptSearch::searchLine(int line, std::vector<TextRange>& into) {
    fold(lines.at(line).text, accentsCount, scratch);
    const std::u16string_view text = scratch.text;
    for (auto at = text.find(needle.text); at != std::u16string_view::npos; at = text.find(needle.text, at)) {
        const std::size_t end = at + needle.text.size();
        into.push_back({{line, scratch.origin[at]}, {line, std::max(scratch.origin[end], scratch.origin[at] + 1)}});
        at = end;
    }
}

int TranscriptSearch::matchFrom(TextPlace place) const {
    if (found.empty()) return -1;
    const auto at = std::ranges::lower_bound(found, place, {}, &TextRange::from);
    return at == found.end() ? 0 : int(at - found.begin());
}

} // namespace tavrin
