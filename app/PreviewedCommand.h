// A command that another one previews or applies: it is chosen by its word, and rehearsed in a copy of the
// host.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/ChangingCommand.h"
#include "corekit/json/Json.h"
#include "preview/Document.h"
#include "preview/TextReport.h"
#include "preview/Touched.h"

namespace Zorvane::AgentInstaller {

/// The first line of every command's output.
inline constexpr const wchar_t* kBanner = L"Zorvane Agent for UNIX and Linux Configuration utility.\n";

/// What a rehearsal found.
struct RehearsedRun {
    bool wasPossible = true;  // false: nothing can be rehearsed here, whatever the command does
    std::shared_ptr<const corekit::Json>
        document;                          // Preview::MakeDocument's or Preview::MakeFailedDocument's
    Preview::TouchedNames names;           // that the run has touched
    std::vector<std::string> places;       // directories that the settings name
    std::vector<std::string> identifiers;  // files that hold the identifier of the host
    std::vector<corekit::String> answers;  // to the questions of the run
    corekit::String installDir;            // of the agent that it configures; empty for a clean
};

class PreviewedCommand {
  public:
    /// Chooses the command of a word; false when none that changes the host has it.
    bool Choose(const corekit::String& word);

    const corekit::String& Word() const { return m_word; }
    ChangingCommand* operator->() const { return m_command.get(); }

    /// True when the command may ask its questions on this terminal.
    bool MayAsk(const std::vector<corekit::String>& arguments) const;

    /// The request for a preview of the command, without a refusal.
    Preview::Request RequestFor(const std::vector<corekit::String>& arguments,
                                const corekit::String& version) const;

    RehearsedRun Rehearse(const std::vector<corekit::String>& arguments, const Preview::Request& request,
                          Preview::Audience audience) const;

  private:
    corekit::String m_word;
    std::unique_ptr<ChangingCommand> m_command;
};

/// Tells again what the rehearsed command said on standard error: of what it warned, or all of it.
void TellWarnings(const corekit::Json& document);
void TellErrors(const corekit::Json& document);

/// Colours where the descriptor is a terminal that has some, unless nobody wants any.
Preview::Colours ColoursOn(int descriptor);

/// Runs the command, which is in a copy of the host, and returns the record that Preview::MakeDocument reads.
std::string RunInCopy(ChangingCommand& command, const std::vector<corekit::String>& arguments);

}  // namespace Zorvane::AgentInstaller
