// Files found where others can write, which are used only when root or the invoking user made them.
#pragma once

#include <string>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Who chose the directory that a file was found in.
enum class ChosenBy {
    Program,        // a fixed or searched path
    Administrator,  // the command line or an environment variable named it: its owner does not matter
};

/// A file that is opened once, judged and then read through the same descriptor, whatever others put in its
/// place meanwhile. In a directory that others can write, it must be a regular file, owned by root or the
/// invoking user (real user, SUDO_UID), not writable by others and without a second name. A directory counts
/// as one when it is /tmp/ksclt, when it or one above belongs to somebody else, when it is writable by all,
/// or when one above is that without a sticky bit.
class TrustedFile {
  public:
    TrustedFile(const corekit::String& path, ChosenBy chosenBy);

    const corekit::String& Path() const { return m_path; }

    /// True if nothing is there. A link that may not be followed is something.
    bool IsAbsent() const { return !m_isThere && IsNotFound(m_opened); }

    /// True if the file may be there although it cannot be read now.
    bool IsUnreadable() const { return IsTransient(m_opened); }

    /// True if others can write in its directory, and so could have put it there or made it unreadable.
    bool IsExposed() const { return m_isExposed; }

    /// True if the file and every directory above it are root's, so that nobody else has chosen its content.
    bool IsRoots() const { return m_isRoots; }

    /// The reason why the file must not be used; empty when it may be.
    const corekit::String& WhyNot() const { return m_whyNot; }

    bool MayBeUsed() const { return m_whyNot.IsEmpty(); }

    /// Writes "WARNING! <path> is not used: <why>." to standard error.
    void WarnNotUsed(const corekit::String& why) const;

    /// Reads the whole file, once; fails where it could not be opened.
    corekit::Expected<std::string> Read() const;

  private:
    void OpenFollowing();
    void Take(const corekit::ParentDirectory& place, corekit::OpenFile file);

    corekit::String m_path;
    corekit::String m_whyNot;
    corekit::Result m_opened;
    bool m_isThere = false;    // known to be
    bool m_isExposed = false;  // known to be
    bool m_isRoots = false;    // known to be
    corekit::Descriptor m_file;
};

/// Removes the directory of hand-over files; success if there is none. Warns of a directory of another
/// user's, who could make the removal slow, and leaves it.
corekit::Result RemoveHandOverDirectory();

}  // namespace Zorvane::AgentInstaller
