#include <atspi/atspi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What a program's windows tell assistive technology, one question a call:
///
///   Eye PID controls             what takes the focus and can be used, in reading order: ROLE|NAME
///   Eye PID focused              what has the focus, the same way
///   Eye PID unnamed              what takes the focus and has no name
///   Eye PID has ROLE NAME        0 if such a part is shown and can be used; STATE=... may follow: focused, checked
///   Eye PID text ROLE NAME       its text, value and description, a line each
///   Eye PID word NAME WORD       how a document tells one of its words: 0 if word, place on screen and style agree
///   Eye PID caret NAME           the word that a document's caret stands on, and what is selected
///   Eye PID hears NAME WORD      waits until text with this word is added to a document: 0 once it is told
///   Eye PID all                  everything that is shown
///
/// Ends with 1 when there is nothing to say, with 2 when the program cannot be asked.

namespace {

constexpr int deepest = 64;       // a window with its pages stays far below
constexpr int answerLimit = 2000; // milliseconds
constexpr int sameRow = 16;       // pixels between the middles of things that stand beside each other

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
template <typename T>
using Held = std::unique_ptr<T, Unref>;

std::string textOf(gchar* text) {
    std::string result = text == nullptr ? "" : text;
    g_free(text);
    return result;
}

struct Part {
    Held<AtspiAccessible> handle;
    std::string role;
    std::string name;
    AtspiRect place{};
    bool isFocusable = false, isFocused = false, isUsable = false, isChecked = false;

    [[nodiscard]] int middle() const { return place.y + place.height / 2; }
    [[nodiscard]] std::string label() const { return role + "|" + name; }
};

Part partOf(Held<AtspiAccessible> handle, AtspiStateSet* states) {
    Part part{.handle = std::move(handle)};
    AtspiAccessible* const it = part.handle.get();
    part.role = textOf(atspi_accessible_get_role_name(it, nullptr));
    part.name = textOf(atspi_accessible_get_name(it, nullptr));
    const auto is = [&](AtspiStateType state) { return atspi_state_set_contains(states, state) != 0; };
    part.isFocusable = is(ATSPI_STATE_FOCUSABLE);
    part.isFocused = is(ATSPI_STATE_FOCUSED);
    part.isUsable = is(ATSPI_STATE_ENABLED) && is(ATSPI_STATE_SENSITIVE);
    part.isChecked = is(ATSPI_STATE_CHECKED);
    if (const Held<AtspiComponent> component{atspi_accessible_get_component_iface(it)}) {
        AtspiRect* const place = atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_WINDOW, nullptr);
        if (place != nullptr) part.place = *place;
        g_free(place);
    }
    return part;
}

/// What is shown below `handle`, itself included.
void collect(Held<AtspiAccessible> handle, int depth, std::vector<Part>& parts) {
    if (!handle || depth > deepest) return;
    const Held<AtspiStateSet> states(atspi_accessible_get_state_set(handle.get()));
    // A program's own node is never shown, its windows are.
    if (!states || (depth > 0 && atspi_state_set_contains(states.get(), ATSPI_STATE_SHOWING) == 0)) return;
    std::vector<Held<AtspiAccessible>> children;
    const int count = atspi_accessible_get_child_count(handle.get(), nullptr);
    children.reserve(std::size_t(std::max(count, 0)));
    for (int i = 0; i < count; ++i)
        children.emplace_back(atspi_accessible_get_child_at_index(handle.get(), i, nullptr));
    if (depth > 0) parts.push_back(partOf(std::move(handle), states.get()));
    for (auto& child : children)
        collect(std::move(child), depth + 1, parts);
}

std::vector<Part> shownBy(unsigned pid) {
    std::vector<Part> parts;
    const Held<AtspiAccessible> desktop(atspi_get_desktop(0));
    for (int i = 0; desktop && i < atspi_accessible_get_child_count(desktop.get(), nullptr); ++i) {
        Held<AtspiAccessible> program(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
        if (program && atspi_accessible_get_process_id(program.get(), nullptr) == pid)
            collect(std::move(program), 0, parts);
    }
    return parts;
}

/// The window itself takes the focus only when nothing in it does.
bool isControl(const Part& part) {
    return part.isFocusable && part.role != "frame" && part.role != "window";
}

/// The bar at the left first, then the page; each row by row, a row from left to right.
void sortForReading(std::vector<const Part*>& parts, int barEnd) {
    const auto isPage = [&](const Part* part) { return part->place.x >= barEnd; };
    std::ranges::sort(parts, {}, [&](const Part* part) { return std::pair(isPage(part), part->middle()); });
    for (auto row = parts.begin(); row != parts.end();) {
        const auto end = std::find_if(row, parts.end(), [&](const Part* part) {
            return isPage(part) != isPage(*row) || part->middle() > (*row)->middle() + sameRow;
        });
        std::sort(row, end, [](const Part* one, const Part* other) { return one->place.x < other->place.x; });
        row = end;
    }
}

/// Prints what `wanted` picks and says whether there was anything.
bool print(const std::vector<const Part*>& parts) {
    for (const Part* part : parts)
        std::puts(part->label().c_str());
    return !parts.empty();
}

std::vector<const Part*> filtered(const std::vector<Part>& parts, const std::function<bool(const Part&)>& wanted) {
    std::vector<const Part*> result;
    for (const Part& part : parts)
        if (wanted(part)) result.push_back(&part);
    return result;
}

bool printControls(const std::vector<Part>& parts) {
    auto controls = filtered(parts, [](const Part& part) { return isControl(part) && part.isUsable; });
    // The bar's entries all have its width; where one of them ends the page begins.
    const auto entry = std::ranges::find(parts, "Meeting", &Part::name);
    if (entry == parts.end()) return false;
    sortForReading(controls, entry->place.x + entry->place.width);
    return print(controls);
}

bool printText(const Part& part) {
    AtspiAccessible* const it = part.handle.get();
    if (const Held<AtspiText> text{atspi_accessible_get_text_iface(it)})
        std::puts(textOf(atspi_text_get_text(text.get(), 0, -1, nullptr)).c_str());
    if (const Held<AtspiValue> value{atspi_accessible_get_value_iface(it)})
        std::printf("%g\n", atspi_value_get_current_value(value.get(), nullptr));
    std::puts(textOf(atspi_accessible_get_description(it, nullptr)).c_str());
    return true;
}

/// By the older question, as the toolkit's bridge does not answer the newer one.
std::string wordAt(AtspiText* text, int offset) {
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    AtspiTextRange* const range = atspi_text_get_text_at_offset(text, offset, ATSPI_TEXT_BOUNDARY_WORD_START, nullptr);
    G_GNUC_END_IGNORE_DEPRECATIONS
    if (range == nullptr) return {};
    std::string word = range->content == nullptr ? "" : range->content;
    g_boxed_free(atspi_text_range_get_type(), range);
    return word;
}

/// A reader that follows a finger asks for the place of a character and for the character at a place.
bool tellsWord(AtspiText* text, const std::string& wanted) {
    const std::string all = textOf(atspi_text_get_text(text, 0, -1, nullptr));
    const std::size_t at = all.find(wanted);
    if (at == std::string::npos) return false;
    const int offset = int(g_utf8_strlen(all.c_str(), long(at)));
    AtspiRect* const place = atspi_text_get_character_extents(text, offset, ATSPI_COORD_TYPE_SCREEN, nullptr);
    if (place == nullptr) return false;
    const AtspiRect box = *place;
    g_free(place);
    const int found = atspi_text_get_offset_at_point(text, box.x + box.width / 2, box.y + box.height / 2,
                                                     ATSPI_COORD_TYPE_SCREEN, nullptr);
    int from = 0;
    int to = 0;
    GHashTable* const style = atspi_text_get_attribute_run(text, offset, 1, &from, &to, nullptr);
    const std::string word = wordAt(text, offset);
    std::printf("%s at %d, %d,%d %dx%d, found at %d, style from %d to %d\n", word.c_str(), offset, box.x, box.y,
                box.width, box.height, found, from, to);
    if (style != nullptr) g_hash_table_unref(style);
    return word == wanted && box.width > 0 && found == offset && from <= offset && offset < to;
}

bool tellsCaret(AtspiText* text) {
    const int caret = atspi_text_get_caret_offset(text, nullptr);
    std::puts(wordAt(text, caret).c_str());
    for (int i = 0; i < atspi_text_get_n_selections(text, nullptr); ++i) {
        AtspiRange* const range = atspi_text_get_selection(text, i, nullptr);
        if (range == nullptr) continue;
        std::puts(textOf(atspi_text_get_text(text, range->start_offset, range->end_offset, nullptr)).c_str());
        g_free(range);
    }
    return caret >= 0;
}

/// Documents are called differently from version to version of the toolkit: their name and their text tell them.
bool aboutDocument(const std::vector<Part>& parts, std::span<char*> question) {
    for (const Part& part : parts) {
        if (part.name != question[1]) continue;
        const Held<AtspiText> text{atspi_accessible_get_text_iface(part.handle.get())};
        if (!text) continue;
        if (std::string_view(question[0]) == "caret") return tellsCaret(text.get());
        return question.size() > 2 && tellsWord(text.get(), question[2]);
    }
    return false;
}

struct Awaited {
    unsigned pid = 0;
    std::string name;
    std::string word;
    bool isHeard = false;
};

void onTextAdded(AtspiEvent* event, void* data) {
    auto& awaited = *static_cast<Awaited*>(data);
    const bool isText = G_VALUE_HOLDS_STRING(&event->any_data);
    const gchar* const added = isText ? g_value_get_string(&event->any_data) : nullptr;
    if (added != nullptr && std::string_view(added).contains(awaited.word) &&
        atspi_accessible_get_process_id(event->source, nullptr) == awaited.pid &&
        textOf(atspi_accessible_get_name(event->source, nullptr)) == awaited.name) {
        std::puts(added);
        awaited.isHeard = true;
        atspi_event_quit();
    }
    g_boxed_free(atspi_event_get_type(), event);
}

/// Readers follow what is added; whoever starts this ends it, too.
bool hears(Awaited awaited) {
    AtspiEventListener* const listener = atspi_event_listener_new(onTextAdded, &awaited, nullptr);
    if (atspi_event_listener_register(listener, "object:text-changed:insert", nullptr) == 0) return false;
    atspi_event_main();
    g_object_unref(listener);
    return awaited.isHeard;
}

void printAll(const std::vector<Part>& parts) {
    for (const Part& part : parts)
        std::printf("%s %d,%d %dx%d%s%s%s%s\n", part.label().c_str(), part.place.x, part.place.y, part.place.width,
                    part.place.height, part.isFocusable ? " focusable" : "", part.isFocused ? " focused" : "",
                    part.isUsable ? "" : " disabled", part.isChecked ? " checked" : "");
}

bool answer(const std::vector<Part>& parts, std::span<char*> question) {
    const std::string_view what = question[0];
    if (what == "controls") return printControls(parts);
    if (what == "focused")
        return print(filtered(parts, [](const Part& part) { return part.isFocused && isControl(part); }));
    if (what == "unnamed")
        return print(filtered(parts, [](const Part& part) { return isControl(part) && part.name.empty(); }));
    if (what == "all") return printAll(parts), !parts.empty();
    if ((what == "word" || what == "caret") && question.size() > 1) return aboutDocument(parts, question);
    if (question.size() < 3) return false;
    const std::string_view state = question.size() > 3 ? question[3] : "";
    const auto found = std::ranges::find_if(parts, [&](const Part& part) {
        if (part.role != question[1] || part.name != question[2]) return false;
        if (state == "STATE=focused") return part.isFocused;
        if (state == "STATE=checked") return part.isChecked;
        return what == "text" || part.isUsable;
    });
    return found != parts.end() && (what == "has" || printText(*found));
}

} // namespace

int main(int count, char** arguments) {
    if (count < 3 || atspi_init() > 1) return 2;
    atspi_set_timeout(answerLimit, answerLimit);
    const auto pid = unsigned(std::strtoul(arguments[1], nullptr, 10));
    if (count == 5 && std::string_view(arguments[2]) == "hears")
        return hears({.pid = pid, .name = arguments[3], .word = arguments[4]}) ? EXIT_SUCCESS : EXIT_FAILURE;
    const auto parts = shownBy(pid);
    if (parts.empty()) return 2;
    return answer(parts, std::span(arguments, count).subspan(2)) ? EXIT_SUCCESS : EXIT_FAILURE;
}
