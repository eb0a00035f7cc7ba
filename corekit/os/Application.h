// The application frame: a program whose first argument is a command word.
#pragma once

#include <memory>
#include <vector>

#include "corekit/text/String.h"

namespace corekit {

/// Prepares the process: umask 022, SIGPIPE and SIGXFSZ ignored, `Interruption::Prepare`, descriptors 0 to 2
/// open, `EndWithoutMemory` where an allocation fails. Called first.
void Init();

/// Ends the process with status 1 and "ERROR: Not enough memory." on standard error, after what has been
/// written to standard output. Every `TemporaryFile` is removed first. Allocates nothing.
[[noreturn]] void EndWithoutMemory();

/// A program with a name and a version.
class Application {
  public:
    virtual ~Application() = default;

    /// The name of the program's file, which usage texts show.
    void SetName(const String& name) { m_name = name; }
    const String& Name() const { return m_name; }
    /// The name that people know it by: that of its manual page, which is in section 8.
    void SetProduct(const String& product) { m_product = product; }
    const String& Product() const { return m_product; }
    void SetVersion(const String& version) { m_version = version; }
    const String& Version() const { return m_version; }

    /// The program's main function; returns the exit status.
    virtual int AppMain() = 0;

  private:
    String m_name;
    String m_product;
    String m_version;
};

/// The base of all that the frame runs. It holds nothing.
class ApplicationFlags {
  public:
    virtual ~ApplicationFlags() = default;
};

/// A program that is a set of commands, each under its word.
class CommandBasedApp : public Application {
  public:
    class Command : public ApplicationFlags {
      public:
        /// Runs with the arguments after the command word. Returns the exit status: 0 for success,
        /// `kUsageError` to have the usage text shown, and any other as the command defines it.
        virtual unsigned Run(const std::vector<String>& arguments) = 0;
        /// Writes the usage text to standard output, after the prefix (in the local encoding).
        virtual void Usage(const String& prefix) const = 0;
        /// One line, which the list of the commands shows.
        virtual String Description() const = 0;
    };

    static constexpr unsigned kUsageError = 120;

    CommandBasedApp(int argumentCount, const char* const* arguments);
    ~CommandBasedApp() override;

    /// Takes ownership of the command.
    void RegisterCommand(const String& word, std::unique_ptr<Command> command);

    /// Runs the command that the first argument names and returns its status; a usage error is followed by
    /// the command's usage text. Without a command word, or with an unknown one (named on standard error),
    /// lists the commands and returns 120. `-help` (`-h`, `--help`, `help`) lists them, tells the version and
    /// returns 0; with a command word after it, it shows that command's usage. `-version` (`--version`) tells
    /// the version and returns 0.
    int Run();

  protected:
    /// The command line, from the command word on.
    const std::vector<String>& Arguments() const { return m_arguments; }

  private:
    struct Entry {
        String word;
        std::unique_ptr<Command> command;
    };
    /// Null for an unknown word.
    const Entry* Find(const String& word) const;
    int RefuseCommand(const String& word) const;
    int Help() const;
    int TellVersion() const;
    void ShowUsage(const Entry& entry) const;
    void ListCommands() const;

    std::vector<String> m_arguments;
    std::vector<Entry> m_commands;
};

}  // namespace corekit
