#include "ui/meeting/TranscriptAccessible.h"

#include "ui/meeting/TranscriptView.h"
#include "ui/meeting/TranscriptWords.h"

#include <QAccessibleWidget>
#include <QScrollBar>
#include <QTextBoundaryFinder>
#include <algorithm>
#include <iterator>
#include <vector>

namespace tavrin {

namespace {

enum class Side { before, at, after };

class TranscriptAccessible final : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit TranscriptAccessible(TranscriptView& shown)
        : QAccessibleWidget(&shown, QAccessible::Document), view(shown) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Description ? view.interimText() : QAccessibleWidget::text(kind);
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.readOnly = state.multiLine = state.selectableText = true;
        return state;
    }

    // ---- text

    int characterCount() const override { return lines().length(); }
    QString text(int from, int to) const override { return lines().text(from, to < 0 ? characterCount() : to); }

    QString textBeforeOffset(int offset, QAccessible::TextBoundaryType unit, int* from, int* to) const override {
        return unitOf(offset, unit, Side::before, from, to);
    }
    QString textAfterOffset(int offset, QAccessible::TextBoundaryType unit, int* from, int* to) const override {
        return unitOf(offset, unit, Side::after, from, to);
    }
    QString textAtOffset(int offset, QAccessible::TextBoundaryType unit, int* from, int* to) const override {
        return unitOf(offset, unit, Side::at, from, to);
    }

    QString attributes(int offset, int* from, int* to) const override {
        const int line = lines().lineAt(offset);
        if (line < 0) {
            *from = *to = 0;
            return {};
        }
        const auto& shown = lines().at(line);
        const bool isCaption = offset < shown.start;
        *from = isCaption ? lines().beginOf(line) : shown.start;
        *to = isCaption ? shown.start : std::min(characterCount(), shown.start + int(shown.text.size()) + 1);
        return isCaption ? QStringLiteral("font-weight:bold;") : QStringLiteral("font-weight:normal;");
    }

    // ---- caret and selection

    int cursorPosition() const override { return view.word() ? lines().offsetOf(view.word()->from) : 0; }

    void setCursorPosition(int offset) override {
        const TextPlace place = lines().placeAt(offset);
        const auto word = wordAt(lines(), place);
        view.moveTo(word ? word : wordFrom(lines(), place));
    }

    int selectionCount() const override { return view.selection() ? 1 : 0; }

    void selection(int index, int* from, int* to) const override {
        const auto selected = index == 0 ? view.selection() : std::nullopt;
        *from = selected ? lines().offsetOf(selected->from) : 0;
        *to = selected ? lines().offsetOf(selected->to) : 0;
    }

    void addSelection(int from, int to) override {
        view.select(TextRange{lines().placeAt(std::min(from, to)), lines().placeAt(std::max(from, to))});
    }
    void setSelection(int index, int from, int to) override {
        if (index == 0) addSelection(from, to);
    }
    void removeSelection(int index) override {
        if (index == 0) view.select(std::nullopt);
    }

    // ---- places on screen: only the group that is asked for is laid out

    QRect characterRect(int offset) const override {
        const int line = lines().lineAt(offset);
        if (line < 0) return {};
        QRectF place = view.page().captionOf(lines().groupOf(line));
        const TextPlace at = lines().placeAt(offset);
        if (offset >= lines().at(line).start) {
            const auto rows = view.page().rowsOf({at, {line, at.character + 1}});
            if (rows.isEmpty()) return {};
            place = rows.front();
        }
        const QRect inView = view.inViewport(place).toAlignedRect();
        return {view.viewport()->mapToGlobal(inView.topLeft()), inView.size()};
    }

    int offsetAtPoint(const QPoint& onScreen) const override {
        const QPoint at = view.viewport()->mapFromGlobal(onScreen);
        if (!view.viewport()->rect().contains(at)) return -1;
        const auto place = view.page().characterAt(view.onPage(at));
        return place ? lines().offsetOf(*place) : -1;
    }

    void scrollToSubstring(int from, int to) override {
        const TextPlace begin = lines().placeAt(from);
        TextPlace end = lines().placeAt(to);
        if (end.line != begin.line) end = {begin.line, int(lines().at(begin.line).text.size())};
        view.reveal({begin, end});
    }

private:
    [[nodiscard]] const TranscriptLines& lines() const { return view.transcript(); }

    /// The unit of text at an offset, or the one beside it. A line of the transcript is a line and a paragraph. Looks
    /// at the lines around only.
    QString unitOf(int offset, QAccessible::TextBoundaryType unit, Side side, int* from, int* to) const {
        *from = *to = -1;
        const int line = lines().lineAt(offset);
        if (line < 0 || offset < 0 || offset > characterCount()) return {};
        const int begin = lines().beginOf(std::max(0, line - 1));
        const int end = line + 2 < lines().count() ? lines().beginOf(line + 2) : characterCount();
        const QString around = lines().text(begin, end);
        const std::vector<qsizetype> edges =
            unit == QAccessible::NoBoundary ? std::vector<qsizetype>{0, around.size()} : edgesOf(around, unit);
        auto next = std::ranges::upper_bound(edges, offset - begin);
        if (next == edges.end()) --next; // behind the last character
        if (next == edges.begin()) return {};
        if (side == Side::after && ++next == edges.end()) return {};
        if (side == Side::before && --next == edges.begin()) return {};
        const qsizetype first = *std::prev(next);
        *from = begin + int(first);
        *to = begin + int(*next);
        return around.mid(first, *next - first);
    }

    static std::vector<qsizetype> edgesOf(const QString& text, QAccessible::TextBoundaryType unit) {
        std::vector<qsizetype> edges{0};
        if (unit == QAccessible::LineBoundary || unit == QAccessible::ParagraphBoundary) {
            for (qsizetype at = text.indexOf(QLatin1Char('\n')); at >= 0; at = text.indexOf(QLatin1Char('\n'), at + 1))
                edges.push_back(at + 1);
        } else {
            const auto kind = unit == QAccessible::CharBoundary       ? QTextBoundaryFinder::Grapheme
                              : unit == QAccessible::SentenceBoundary ? QTextBoundaryFinder::Sentence
                                                                      : QTextBoundaryFinder::Word;
            QTextBoundaryFinder finder(kind, text);
            for (qsizetype at = finder.toNextBoundary(); at >= 0; at = finder.toNextBoundary())
                edges.push_back(at);
        }
        if (edges.back() != text.size()) edges.push_back(text.size());
        return edges;
    }

    TranscriptView& view;
};

QAccessibleInterface* makeTranscriptAccessible(const QString& /*className*/, QObject* object) {
    auto* view = qobject_cast<TranscriptView*>(object);
    return view ? new TranscriptAccessible(*view) : nullptr;
}

} // namespace

void installTranscriptAccessibility() {
    static const bool installed = [] {
        QAccessible::installFactory(makeTranscriptAccessible);
        return true;
    }();
    static_cast<void>(installed);
}

} // namespace tavrin
