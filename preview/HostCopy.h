// A copy of the host that costs nothing until something is written: an overlay over each of its file systems.
#pragma once

#include <string>
#include <vector>

#include "preview/Mounts.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller::Preview {

/// How the text of a failure begins when nothing can be rehearsed here, whatever the command does.
inline constexpr const wchar_t* kNotPossible = L"A preview is not possible here: ";

/// One file system of the host and its copy. All are paths of the process that built the copy.
struct Layer {
    std::string point;   // where the host has it mounted
    std::string lower;   // the host's own, under a plain name
    std::string upper;   // what was written to the copy, as the overlay file system keeps it
    std::string merged;  // the copy
};

/// A quarter of the host's memory, in bytes.
unsigned long long QuarterOfMemory();

/// Lives in the mount namespace of the process that builds it, and goes with that. The host is never changed.
class HostCopy {
  public:
    /// Builds the copy. The process must have mount, process and network namespaces of its own, of which it
    /// is the first process. No more than so many bytes can be written to it. Fails with a text that says
    /// what to do.
    [[nodiscard]] Outcome<> Build(unsigned long long bytes);

    /// Makes the copy this process's root, with the same current directory where the copy has it.
    [[nodiscard]] corekit::Result Enter() const;

    const std::vector<Layer>& Layers() const { return m_layers; }

    /// The mount that keeps `path` from being previewed, because writing to it is possible on the host and
    /// not in the copy; null for any other path.
    const Mount* Uncopied(const std::string& path) const;

    /// A mount at, above or below `path` that the copy does not have: the command met what it hides on the
    /// host. Null for any other path.
    const Mount* HiddenAt(const std::string& path) const;

    /// Where a path of the host lies in the copy.
    std::string PathOf(const std::string& path) const;

    /// True when no more than a hundredth of the place for what is written is left.
    bool IsFull() const;

    /// A directory for notes, which the copy does not show.
    std::string NotesDir() const;

  private:
    Outcome<> MountStage(unsigned long long bytes);
    Outcome<> CopyMount(const Mount& mount);
    Outcome<> Overlay(const Mount& mount, const Layer& layer);
    Outcome<> ShowReadOnly(const Mount& mount, const std::string& lower);
    Outcome<> MountKernelFiles();

    std::vector<Mount> m_mounts;    // of the host, those that can be seen
    std::vector<Mount> m_uncopied;  // those of them that are read-only in the copy alone
    std::vector<Mount> m_hidden;    // those of them that the copy does not have
    std::vector<Layer> m_layers;
    std::string m_workDir;
};

}  // namespace Zorvane::AgentInstaller::Preview
