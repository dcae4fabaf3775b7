#pragma once

#include "platform/LoginItem.h"
#include "support/async/Executor.h"

#include <filesystem>

namespace tavrin {

class Folder;

/// The login item as an entry in the desktop's autostart folder, "so.tavrin.TavrinAssistant.desktop". An entry that the
/// desktop's settings have switched off counts as not enabled; enabling writes it anew.
/// Lifetime: folder and executor outlive it and its tasks.
class AutostartLoginItem final : public LoginItem {
public:
    /// `autostart`: the folder "autostart" of the user's configuration; it need not exist. `program`: what is started,
    /// an absolute path. Files are read and written on `storage`.
    AutostartLoginItem(Folder& autostart, std::filesystem::path program, Executor& storage);

    Task<Status> status() override;
    Task<void> setEnabled(bool isEnabled) override;

private:
    Folder& folder;
    const std::filesystem::path program;
    Executor& storage;
};

} // namespace tavrin
