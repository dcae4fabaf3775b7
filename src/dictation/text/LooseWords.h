#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// True if the model may have meant the same word by two normal forms: they are equal, or neither is empty, one begins
/// with the other and has at most three characters more. Not transitive. Pure; any thread.
bool looseWordMatch(std::string_view a, std::string_view b);

/// The words of one text by their normal forms (normalizedWord() in MergeOverlap.h), numbered so that comparing two of
/// them costs a few integers however often it is asked.
///
/// Immutable after construction; any thread. Costs time and memory in proportion to the text.
class LooseWords final {
public:
    /// Equal for words whose normal forms are equal by canonical equivalence.
    using Id = std::uint32_t;
    /// By so much may one of two words that match be longer.
    static constexpr std::size_t mostCharactersMore = 3;
    /// The number of the empty form, which words of punctuation alone have.
    static constexpr Id emptyForm = 0;

    explicit LooseWords(std::span<const std::string_view> words);

    /// One for each word given, in order.
    std::span<const Id> ids() const { return wordIds; }
    /// How many forms there are; ids are below it.
    std::size_t count() const { return forms.size(); }
    /// The normal form, composed.
    const std::string& form(Id id) const { return forms[id]; }

    /// looseWordMatch() of the two forms.
    bool match(Id a, Id b) const { return a == b || isStem(a, b) || isStem(b, a); }
    /// Every form that matches this one, itself among them.
    std::span<const Id> matchesOf(Id id) const { return matches[id]; }
    /// Where words of this form stand, rising.
    std::span<const std::size_t> positionsOf(Id id) const { return positions[id]; }
    /// The first position of a word that matches this form.
    std::size_t firstMatchOf(Id id) const { return firstMatches[id]; }

private:
    static constexpr Id none = std::numeric_limits<Id>::max();

    void number(std::span<const std::string_view> words);
    void link();
    bool isStem(Id stem, Id word) const {
        const auto& all = stems[word];
        return all[0] == stem || all[1] == stem || all[2] == stem;
    }

    std::vector<Id> wordIds;
    // by id
    std::vector<std::string> forms;
    std::vector<std::array<Id, mostCharactersMore>> stems; // what is left without the last one, two, three characters
    std::vector<std::vector<Id>> matches;
    std::vector<std::vector<std::size_t>> positions;
    std::vector<std::size_t> firstMatches;
};

} // namespace tavrin
