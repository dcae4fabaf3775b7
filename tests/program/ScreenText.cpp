#include <atspi/atspi.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

/// Prints what a running program shows, as a screen reader is told: a line for each part that has a name, the name and
/// then its description. ScreenText NAME, where NAME is the program's; 1 if there is none of that name.

namespace {

/// A window with its pages stays far below.
constexpr int deepest = 64;

struct Release {
    void operator()(void* object) const { g_object_unref(object); }
};
using Part = std::unique_ptr<AtspiAccessible, Release>;

std::string taken(char* text) {
    std::string result = text == nullptr ? "" : text;
    g_free(text);
    return result;
}

/// A part that vanishes meanwhile has neither name nor parts.
Part childOf(AtspiAccessible* part, int index) {
    return Part(atspi_accessible_get_child_at_index(part, index, nullptr));
}

int childCount(AtspiAccessible* part) {
    return atspi_accessible_get_child_count(part, nullptr);
}

bool isShown(AtspiAccessible* part) {
    const std::unique_ptr<AtspiStateSet, Release> states(atspi_accessible_get_state_set(part));
    return states && atspi_state_set_contains(states.get(), ATSPI_STATE_SHOWING) != 0;
}

void print(AtspiAccessible* part, int depth) {
    if (depth > deepest || !isShown(part)) return;
    const std::string name = taken(atspi_accessible_get_name(part, nullptr));
    const std::string description = taken(atspi_accessible_get_description(part, nullptr));
    if (!name.empty() || !description.empty()) std::printf("%s %s\n", name.c_str(), description.c_str());
    for (int i = 0; i < childCount(part); ++i)
        if (const Part child = childOf(part, i)) print(child.get(), depth + 1);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2 || atspi_init() > 1) return EXIT_FAILURE;
    AtspiAccessible* const desktop = atspi_get_desktop(0);
    bool isFound = false;
    for (int i = 0; i < childCount(desktop); ++i) {
        const Part program = childOf(desktop, i);
        if (!program || taken(atspi_accessible_get_name(program.get(), nullptr)) != arguments[1]) continue;
        isFound = true;
        for (int window = 0; window < childCount(program.get()); ++window)
            if (const Part shown = childOf(program.get(), window)) print(shown.get(), 0);
    }
    return isFound ? EXIT_SUCCESS : EXIT_FAILURE;
}
