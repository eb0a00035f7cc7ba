// Keeps passwords out of what is shown.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace Zorvane::AgentInstaller::Preview {

inline constexpr std::string_view kMask = "***";

/// True for the name of a key or setting that ends in "password", in any case.
bool IsSecretName(std::string_view name);

/// The text of a file or message with `***` for the values of such keys ("name=value" to the end of the
/// line), of XML attributes and elements of such a name, and of the attribute `Value` beside such a `Name`.
/// What is masked is put into `secrets`, unless it is null.
std::string Masked(std::string_view text, std::set<std::string>* secrets = nullptr);

/// The text with `***` for these values wherever they stand. A value of fewer than four bytes is left: it
/// stands in too many other words.
std::string WithoutValues(std::string text, const std::set<std::string>& secrets);

}  // namespace Zorvane::AgentInstaller::Preview
