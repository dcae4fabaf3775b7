#pragma once

#include "support/async/Task.h"
#include "support/observe/Published.h"

#include <string>
#include <variant>

namespace tavrin {

class ModelFolderResolver;

/// Publishes whether the models that the program needs are on the disk.
///
/// Thread:   main executor only (checked).
/// Lifetime: executor and resolver outlive it.
class WhisperModelService final {
public:
    struct Checking {
        bool operator==(const Checking&) const = default;
    };
    struct NeedsDownload {
        bool operator==(const NeedsDownload&) const = default;
    };
    struct Ready {
        bool operator==(const Ready&) const = default;
    };
    struct Downloading {
        double progress = 0; // of all that is missing, 0 to 1
        std::string label;
        bool operator==(const Downloading&) const = default;
    };
    struct Failed {
        std::string message;
        bool operator==(const Failed&) const = default;
    };
    using State = std::variant<Checking, NeedsDownload, Ready, Downloading, Failed>;

    WhisperModelService(Executor& main, ModelFolderResolver& folders);

    /// Looks for the models: `Checking`, and once observers were told of it `Ready` or `NeedsDownload`. Throws nothing.
    Task<void> refresh();

    /// The same for models that the user says are installed already.
    Task<void> useInstalledModels();

    /// Finds the model folders and writes the preferences that name them. True if every model needed was found.
    bool relinkFolders();

    Published<State> state;

private:
    Executor& main;
    ModelFolderResolver& folders;
};

} // namespace tavrin
