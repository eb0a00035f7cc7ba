// Unified differences of two versions of a text file.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "preview/Change.h"

namespace Zorvane::AgentInstaller::Preview {

/// The differences of one file of the host, with passwords masked.
struct Difference {
    std::optional<std::string>
        text;                 // none where one side is no UTF-8 text, or where it would be over 64 KiB
    bool hasSecrets = false;  // a value was masked, on either side
};

/// As the host's `diff -u` writes it, which is asked where both sides are there; "/dev/null" stands for the
/// side that is not. `notesDir` takes copies with masked values. What is masked is put into `secrets`.
Difference DifferenceOf(const Change& change, const std::string& notesDir, std::set<std::string>& secrets);

/// True for text in UTF-8 without a NUL.
bool IsText(const std::string& bytes);

}  // namespace Zorvane::AgentInstaller::Preview
