#pragma once

#include "support/json/Json.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// A deployment file that will not do, with the file, the key and the reason.
class DeploymentError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Where the web application is. Plain values.
struct ServerAddresses {
    /// An origin that the product had, and the one that stands for it now.
    struct Former {
        std::string from;
        std::string to;
    };

    /// Without "/" at its end.
    std::string defaultEndpoint = "https://app.tavrin.example";
    /// In the order in which they are replaced.
    std::vector<Former> formerOrigins;
};

/// What the user's vocabulary begins with. Plain values.
struct VocabularySeeds {
    struct Correction {
        std::string correct;
        std::vector<std::string> variants;
    };

    std::vector<std::string> names;
    std::vector<Correction> corrections; ///< came with a later version
    /// What the empty fields of the editor show.
    std::string exampleHeard;
    std::string exampleCorrect;
};

/// The member "server" of the deployment file's object; without it, or a key of it, what is built in.
/// Throws DeploymentError. `source` names the file.
ServerAddresses serverAddressesIn(const Json& deployment, std::string_view source);

/// Likewise the member "vocabulary"; without it there are no seeds.
VocabularySeeds vocabularySeedsIn(const Json& deployment, std::string_view source);

} // namespace tavrin
