// Finds the values of passwords in configuration files, XML and messages.
#include "preview/Secrets.h"

#include <algorithm>
#include <cctype>

namespace Zorvane::AgentInstaller::Preview {

namespace {

constexpr std::string_view kWord = "password";
constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kNone = std::string_view::npos;
constexpr std::size_t kShortest = 4;

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](unsigned char byte) { return std::tolower(byte); });
    return lower;
}

/// A part of a text.
struct Range {
    std::size_t from = kNone;
    std::size_t to = 0;
};

/// What stands between quotes that open at `quote`.
Range Quoted(std::string_view text, std::size_t quote) {
    const std::size_t end = text.find(text[quote], quote + 1);
    return {quote + 1, std::min(end, text.size())};
}

/// The attribute `Value` of the tag around a position, as in <Setting Name="..." Value="...">.
Range ValueBeside(std::string_view text, std::string_view lower, std::size_t at) {
    const std::size_t open = text.rfind('<', at);
    const std::size_t close = text.find('>', at);
    if (open == kNone) return {};
    for (std::size_t name = lower.find("value", open); name < std::min(close, text.size());
         name = lower.find("value", name + 1)) {
        if (text[name - 1] != ' ' && !std::isspace(static_cast<unsigned char>(text[name - 1]))) continue;
        const std::size_t equals = text.find_first_not_of(" \t\r\n", name + 5);
        if (equals == kNone || text[equals] != '=') continue;
        const std::size_t quote = text.find_first_of("\"'", equals);
        if (quote != kNone) return Quoted(text, quote);
    }
    return {};
}

/// The value that belongs to a name which ends at `end`.
Range ValueOf(std::string_view text, std::string_view lower, std::size_t end) {
    const std::size_t next = std::min(text.find_first_not_of(kBlanks, end), text.size());
    if (next == text.size()) return {};
    if (text[end] == '"' || text[end] == '\'') return ValueBeside(text, lower, end);
    if (text[next] == '=') {
        const std::size_t value = std::min(text.find_first_not_of(kBlanks, next + 1), text.size());
        const std::size_t open = text.rfind('<', end);
        const std::size_t close = text.rfind('>', end);
        const bool isInTag = open != kNone && (close == kNone || close < open);
        if (value < text.size() && (text[value] == '"' || text[value] == '\'') && isInTag)
            return Quoted(text, value);
        return {value, std::min(text.find_first_of("\r\n", value), text.size())};
    }
    const std::size_t name = text.find_last_of("<> \t\n=\"'", end - 1);
    if (name == kNone || text[name] != '<') return {};
    const std::size_t close = text.find('>', end);
    if (close == kNone || text[close - 1] == '/') return {};
    return {close + 1, std::min(text.find("</", close), text.size())};
}

}  // namespace

bool IsSecretName(std::string_view name) {
    return Lower(name).ends_with(kWord);
}

std::string Masked(std::string_view text, std::set<std::string>* secrets) {
    const std::string lower = Lower(text);
    std::string masked;
    std::size_t done = 0;
    for (std::size_t at = lower.find(kWord); at != kNone; at = lower.find(kWord, at + kWord.size())) {
        const Range value = ValueOf(text, lower, at + kWord.size());
        if (value.from == kNone || value.from < done || value.from >= value.to) continue;
        if (secrets != nullptr) secrets->emplace(text.substr(value.from, value.to - value.from));
        masked.append(text.substr(done, value.from - done)).append(kMask);
        done = value.to;
    }
    return masked.append(text.substr(done));
}

std::string WithoutValues(std::string text, const std::set<std::string>& secrets) {
    for (const std::string& secret : secrets) {
        if (secret.size() < kShortest || secret == kMask) continue;
        for (std::size_t at = text.find(secret); at != std::string::npos;
             at = text.find(secret, at + kMask.size()))
            text.replace(at, secret.size(), kMask);
    }
    return text;
}

}  // namespace Zorvane::AgentInstaller::Preview
