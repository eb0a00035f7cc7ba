// The directories that client.conf names: what is made, what is only checked, and what stops the run.
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/mount.h>

#include "config/ConfiguredDirectories.h"
#include "run/Args.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testsupport::Captured;

class ConfiguredDirectories : public testing::Test {
  protected:
    /// What creating the directory writes; what comes of it goes to m_outcome.
    std::string Create(const std::string& path) {
        const auto output = Captured([&] { m_outcome = CreateConfiguredDirectory(String::FromUtf8(path)); });
        EXPECT_EQ(output.err, "");
        return output.out;
    }
    bool Check(const std::string& path) {
        const auto output = Captured([&] { m_outcome = CheckConfiguredDirectory(String::FromUtf8(path)); });
        EXPECT_EQ(output.out + output.err, "");
        return m_outcome.has_value();
    }
    String Text() const { return m_outcome ? String(L"(no failure)") : m_outcome.error().text; }
    String Reason() const { return m_outcome ? String(L"(no failure)") : m_outcome.error().reason; }
    String Unwritable(const std::string& path) {
        return L"Directory " + String::FromUtf8(path) +
               L" specified in Configuration file, already exists but is not writable.";
    }
    String Unusable(const std::string& path) {
        return L"Directory " + String::FromUtf8(path) +
               L" specified in Configuration file, must exist and be writable.";
    }

    testfiles::TempDir m_dir;
    Outcome<> m_outcome;
};

/// A directory on a file system that takes no writes.
class ReadOnlyDirectory {
  public:
    explicit ReadOnlyDirectory(const std::string& path) : m_path(path) {
        std::filesystem::create_directories(path);
        EXPECT_EQ(mount("none", path.c_str(), "tmpfs", MS_RDONLY, nullptr), 0);
    }
    ~ReadOnlyDirectory() { EXPECT_EQ(umount(m_path.c_str()), 0); }
    ReadOnlyDirectory(const ReadOnlyDirectory&) = delete;
    ReadOnlyDirectory& operator=(const ReadOnlyDirectory&) = delete;

  private:
    std::string m_path;
};

TEST_F(ConfiguredDirectories, AcceptsAnExistingDirectorySilently) {
    EXPECT_EQ(Create(m_dir.Path()), "");
    EXPECT_TRUE(m_outcome);
    std::filesystem::create_directory_symlink(m_dir.Path(), m_dir / "link");
    EXPECT_EQ(Create(m_dir / "link"), "");
    EXPECT_TRUE(m_outcome);
    EXPECT_TRUE(Check(m_dir / "link"));
}

TEST_F(ConfiguredDirectories, CreatesAMissingDirectoryWithItsParents) {
    const std::string path = m_dir / "a/b/c";
    EXPECT_EQ(Create(path), "Creating directory: " + path + "  Result: OK\n");
    EXPECT_TRUE(m_outcome);
    EXPECT_TRUE(std::filesystem::is_directory(path));
    EXPECT_EQ(testfiles::Mode(path), 0755U);
}

TEST_F(ConfiguredDirectories, CreatesADirectorySilently_WhenTheRunIsQuiet) {
    Args::bQuiet = true;
    EXPECT_EQ(Create(m_dir / "a"), "");
    EXPECT_TRUE(m_outcome);
    EXPECT_TRUE(std::filesystem::is_directory(m_dir / "a"));
}

TEST_F(ConfiguredDirectories, ShowsThePathInPrintableAscii) {
    EXPECT_EQ(Create(m_dir / "\xc3\xa4\033[m"),
              "Creating directory: " + (m_dir / "?\\x1b[m") + "  Result: OK\n");
}

TEST_F(ConfiguredDirectories, NeverRepairsWhatStandsInTheWay) {
    testfiles::Write(m_dir / "file", "kept");
    EXPECT_EQ(Create(m_dir / "file"), "");
    EXPECT_FALSE(m_outcome);
    EXPECT_EQ(Text(), Unwritable(m_dir / "file"));
    EXPECT_EQ(testfiles::Read(m_dir / "file"), "kept");

    const ReadOnlyDirectory readOnly(m_dir / "ro");
    EXPECT_EQ(Create(m_dir / "ro"), "");
    EXPECT_FALSE(m_outcome);
    EXPECT_EQ(Text(), Unwritable(m_dir / "ro"));
}

TEST_F(ConfiguredDirectories, Fails_WhenADirectoryCannotBeCreated) {
    testfiles::Write(m_dir / "file", "");
    const std::string path = m_dir / "file/below";
    EXPECT_EQ(Create(path), "Creating directory: " + path + "  Result: FAILED\n");
    EXPECT_FALSE(m_outcome);
    EXPECT_EQ(Text(), L"Error creating directory: " + String::FromUtf8(path));
    EXPECT_EQ(Reason(), String::FromUtf8(path) + L": Not a directory");

    Args::bQuiet = true;
    EXPECT_EQ(Create(path), "");
    EXPECT_FALSE(m_outcome);
    EXPECT_EQ(Text(), L"Error creating directory: " + String::FromUtf8(path));
}

TEST_F(ConfiguredDirectories, Fails_WhenADanglingLinkStandsInTheWay) {
    std::filesystem::create_symlink("nowhere", m_dir / "link");
    EXPECT_EQ(Create(m_dir / "link"), "Creating directory: " + (m_dir / "link") + "  Result: FAILED\n");
    EXPECT_FALSE(m_outcome);
}

TEST_F(ConfiguredDirectories, Fails_WhenThePathIsEmpty) {
    EXPECT_EQ(Create(""), "Creating directory:   Result: FAILED\n");
    EXPECT_FALSE(m_outcome);
    EXPECT_EQ(Text(), L"Error creating directory: ");
}

TEST_F(ConfiguredDirectories, ShowsThePathPrintablyInAnError) {
    testfiles::Write(m_dir / "a\nb", "");
    Create(m_dir / "a\nb");
    EXPECT_EQ(Text(), Unwritable(m_dir / "a\\x0ab"));
    testfiles::Write(m_dir / "%1", "");
    Create(m_dir / "%1");
    EXPECT_EQ(Text(), Unwritable(m_dir / "%1"));
}

TEST_F(ConfiguredDirectories, CreatesNothing_WhenItOnlyChecks) {
    testfiles::Write(m_dir / "file", "");
    for (const std::string& path : {m_dir / "missing", m_dir / "file", std::string()}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(Check(path));
        EXPECT_EQ(Text(), Unusable(path));
    }
    EXPECT_FALSE(testfiles::Exists(m_dir / "missing"));
    const ReadOnlyDirectory readOnly(m_dir / "ro");
    EXPECT_FALSE(Check(m_dir / "ro"));
    EXPECT_EQ(Reason(), String::FromUtf8(m_dir / "ro") + L": Read-only file system");
    EXPECT_TRUE(Check(m_dir.Path()));
}

/// A client.conf whose directories all lie in one place, named by their keys.
class PrepareDirectories : public ConfiguredDirectories {
  protected:
    PrepareDirectories() { std::filesystem::create_directory(m_dir / "bin"); }

    void Name(const std::string& key, const std::string& path) { m_paths[key] = path; }

    std::string Prepare(bool expected) {
        std::string conf = "[Configuration]\n";
        for (const auto& [key, path] : m_paths) conf += key + "=" + path + "\n";
        const corekit::IniFile ini(L"client.conf", String::FromUtf8(conf));
        Outcome<> look;
        const auto silence = Captured([&] { look = CheckConfiguredDirectories(ini); });
        EXPECT_EQ(silence.out + silence.err, "");
        const auto output = Captured([&] { m_outcome = PrepareConfiguredDirectories(ini); });
        EXPECT_EQ(m_outcome.has_value(), expected);
        EXPECT_EQ(look.has_value(), expected);
        if (!look && !m_outcome) {
            EXPECT_EQ(look.error().text, m_outcome.error().text);
        }
        EXPECT_EQ(output.err, "");
        return output.out;
    }
    std::string Created(const std::string& name) {
        return "Creating directory: " + (m_dir / name) + "  Result: OK\n";
    }

    std::map<std::string, std::string> m_paths = {
        {"bindir", m_dir / "bin"},
        {"tmpdir", m_dir / "tmp"},
        {"var", m_dir / "var"},
        {"guid_guid_file", m_dir / "guid/host.GUID"},
        {"event_queue_dir", m_dir / "queue"},
        {"task_storage_path", m_dir / "tasks"},
        {"package_storage_path", m_dir / "packages"},
        {"swd_storage_path", m_dir / "swd"},
        {"debug_output", m_dir / "log/x.log"},
        {"installdir", m_dir / "agent"},
    };
};

TEST_F(PrepareDirectories, MakesThemInTheirOrder) {
    EXPECT_EQ(Prepare(true), Created("tmp") + Created("var") + Created("guid") + Created("queue") +
                                 Created("tasks") + Created("packages") + Created("swd") + Created("log") +
                                 Created("agent/etc"));
    EXPECT_EQ(Prepare(true), "");
    EXPECT_FALSE(testfiles::Exists(m_dir / "guid/host.GUID"));
}

TEST_F(PrepareDirectories, NeverMakesTheDirectoryOfTheLinks) {
    Name("bindir", m_dir / "missing");
    EXPECT_EQ(Prepare(false), "");
    EXPECT_EQ(Text(), Unusable(m_dir / "missing"));
    EXPECT_FALSE(testfiles::Exists(m_dir / "tmp"));
}

TEST_F(PrepareDirectories, StopsAtTheFirstThatFailsAndKeepsThoseBefore) {
    testfiles::Write(m_dir / "file", "");
    const char* const order[] = {"tmpdir",
                                 "var",
                                 "guid_guid_file",
                                 "event_queue_dir",
                                 "task_storage_path",
                                 "package_storage_path",
                                 "swd_storage_path",
                                 "debug_output",
                                 "installdir"};
    for (const char* key : order) {
        const std::string path = m_paths[key];
        Name(key, m_dir / "file/below/x");
        EXPECT_TRUE(Prepare(false).ends_with("  Result: FAILED\n")) << key;
        Name(key, path);
    }
    EXPECT_TRUE(testfiles::Exists(m_dir / "log"));
    EXPECT_FALSE(testfiles::Exists(m_dir / "agent"));
}

TEST_F(PrepareDirectories, OnlyTheTwoFilesMayBeMissing) {
    Name("guid_guid_file", "");
    Name("debug_output", "");
    EXPECT_EQ(Prepare(true), Created("tmp") + Created("var") + Created("queue") + Created("tasks") +
                                 Created("packages") + Created("swd") + Created("agent/etc"));
    for (const char* key : {"tmpdir", "var", "event_queue_dir", "task_storage_path", "package_storage_path",
                            "swd_storage_path"}) {
        SCOPED_TRACE(key);
        const std::string path = m_paths[key];
        Name(key, "");
        EXPECT_EQ(Prepare(false), "Creating directory:   Result: FAILED\n");
        EXPECT_EQ(Text(), L"Error creating directory: ");
        Name(key, path);
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
