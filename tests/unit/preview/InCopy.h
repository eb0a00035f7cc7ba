// Runs code in a copy of the host and tells what it returned, or what it changed, one line each.
#pragma once

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "preview/Rehearse.h"
#include "preview/UpperLayer.h"

namespace testsupport {

/// What `code` returns in a copy, or "failed: " and why there is none.
inline std::string InCopy(const std::function<std::string()>& code,
                          const Zorvane::AgentInstaller::Preview::Limits& limits = {}) {
    using namespace Zorvane::AgentInstaller::Preview;
    const auto tell = [](const HostCopy&,
                         const Rehearsal& run) -> Zorvane::AgentInstaller::Outcome<std::string> {
        return run.record;
    };
    const auto told = Rehearse(code, tell, {}, limits);
    return told ? *told : "failed: " + told.error().text.Utf8();
}

inline std::string YesOrNo(bool isSo) {
    return isSo ? "yes" : "no";
}

/// "create /path", "move /path -> /other (3)" ..., sorted by path; a number says how many entries went along.
inline std::string Shown(const Zorvane::AgentInstaller::Preview::Change& change) {
    constexpr const char* kActions[] = {"create", "replace", "change", "remove", "move"};
    std::string line = kActions[static_cast<int>(change.action)] + (" " + change.path);
    if (!change.to.empty()) line += " -> " + change.to;
    if (change.entries > 0) line += " (" + std::to_string(change.entries) + ")";
    for (const std::string& name : change.attributes) line += " " + name;
    return line;
}

/// The changes that `code` makes in a copy at or below `place`.
inline std::vector<std::string> ChangesAt(const std::string& place, const std::function<void()>& code) {
    using namespace Zorvane::AgentInstaller::Preview;
    const auto run = [&] {
        code();
        return std::string();
    };
    const auto tell = [](const HostCopy& copy,
                         const Rehearsal&) -> Zorvane::AgentInstaller::Outcome<std::string> {
        std::string lines;
        for (const Layer& layer : copy.Layers()) {
            const auto changes = ReadChanges(layer).value();
            for (const Change& change : changes) lines += Shown(change) + '\0';
        }
        return lines;
    };
    const auto told = Rehearse(run, tell, {});
    if (!told) {
        ADD_FAILURE() << told.error().text.Utf8() << " " << told.error().reason.Utf8();
        return {};
    }
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < told->size();) {
        const std::string line = told->c_str() + at;
        at += line.size() + 1;
        if (line.find(" " + place) != std::string::npos) lines.push_back(line);
    }
    return lines;
}

}  // namespace testsupport
