#include "support/async/Executor.h"

#include <cstdio>
#include <cstdlib>

namespace tavrin {

void expectCurrent([[maybe_unused]] const Executor& executor, [[maybe_unused]] std::source_location caller) {
#ifndef NDEBUG
    if (executor.isCurrent()) return;
    std::fprintf(stderr, "%s:%u: %s: called outside its executor\n", caller.file_name(), caller.line(),
                 caller.function_name());
    std::abort();
#endif
}

} // namespace tavrin
