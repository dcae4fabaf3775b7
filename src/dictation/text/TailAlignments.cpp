#include "dictation/text/TailAlignments.h"

#include "dictation/text/WordLists.h"
#include "support/text/Unicode.h"

#include <algorithm>

namespace tavrin {

namespace {

constexpr std::size_t fewestWords = 8;      // that can be asked for
constexpr std::size_t wordsOfLongRest = 12; // so many prove a repeat whatever the word before them
constexpr double partialLikeness = 0.9;

} // namespace

TailAlignments::TailAlignments(const LooseWords& list, std::size_t count)
    : words(list), size(count), tail(count / 2), matchesAt(count), tailCount(list.count()) {
    findRunsOfEnd();
    for (std::size_t position = headEnd(); position < size; ++position)
        enterTail(position);
}

void TailAlignments::findRunsOfEnd() {
    const auto ids = words.ids().first(size);
    for (const Id alike : words.matchesOf(ids.back()))
        for (const std::size_t end : words.positionsOf(alike)) {
            if (end + 1 >= size) break;
            std::size_t run = 1;
            while (run <= end && run < tail && words.match(ids[end - run], ids[size - 1 - run]))
                ++run;
            if (run >= fewestWords) runsOfEnd.push_back({size - 1 - end, run});
        }
}

void TailAlignments::enterTail(std::size_t position) {
    const Id id = words.ids()[position];
    ++tailCount[id];
    if (id != LooseWords::emptyForm && words.positionsOf(id).front() < headEnd()) ++sameInHead;
    if (words.firstMatchOf(id) < headEnd()) ++alikeInHead;
    countMatches(position, 1);
}

void TailAlignments::leaveTail(std::size_t position) {
    const Id id = words.ids()[position];
    --tailCount[id];
    if (id != LooseWords::emptyForm && words.positionsOf(id).front() < headEnd()) --sameInHead;
    if (words.firstMatchOf(id) < headEnd()) --alikeInHead;
    countMatches(position, -1);
}

/// The head ends right behind this position by now.
void TailAlignments::enterHead(std::size_t position) {
    const Id id = words.ids()[position];
    if (id != LooseWords::emptyForm && words.positionsOf(id).front() == position) sameInHead += tailCount[id];
    for (const Id alike : words.matchesOf(id))
        if (words.firstMatchOf(alike) == position) alikeInHead += tailCount[alike];
}

void TailAlignments::countMatches(std::size_t position, std::int32_t change) {
    for (const Id alike : words.matchesOf(words.ids()[position]))
        for (const std::size_t earlier : words.positionsOf(alike)) {
            if (earlier >= position) break;
            matchesAt[position - earlier] += change;
        }
}

void TailAlignments::skipFirst() {
    leaveTail(headEnd());
    skipped = 1;
}

void TailAlignments::shorten() {
    if (skipped == 0) skipFirst();
    const std::size_t position = headEnd();
    --tail;
    skipped = 0;
    enterHead(position);
}

bool TailAlignments::containsRun() const {
    return std::ranges::any_of(runsOfEnd, [&](Run run) {
        return run.distance >= nearest() && run.distance <= farthest() && run.length >= length();
    });
}

double TailAlignments::overlap() const {
    return share(sameInHead, length());
}

std::size_t TailAlignments::bestAlignment() const {
    std::int32_t most = 0;
    for (std::size_t distance = nearest(); distance <= farthest(); ++distance)
        most = std::max(most, matchesAt[distance]);
    return static_cast<std::size_t>(most);
}

bool TailAlignments::isAligned(double least) const {
    return share(alikeInHead, length()) >= least && share(bestAlignment(), length()) >= least;
}

bool TailAlignments::partialRepeat() const {
    const Id seam = words.ids()[headEnd()];
    if (length() < fewestWords || seam == LooseWords::emptyForm) return false;
    if (!containsRun() && !isAligned(partialLikeness)) return false;
    return length() >= wordsOfLongRest || isSeam(seam, words.ids()[headEnd() - 1]);
}

/// Every short word begins with a word of punctuation alone.
bool TailAlignments::isSeam(Id word, Id lastOfHead) const {
    if (lastOfHead == LooseWords::emptyForm) return characterCount(words.form(word)) <= LooseWords::mostCharactersMore;
    return words.match(word, lastOfHead);
}

} // namespace tavrin
