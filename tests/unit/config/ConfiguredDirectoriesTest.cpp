// The directories that client.conf names: what is made, what is only checked, and what stops the run.
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/mount.h>

#include "config/ConfiguredDirectories.h"
#include "run/Args.h"
#include "run/Error.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testsupport::Captured;

class ConfiguredDirectories : public testing::Test {
  protected:
    /// What creating the directory writes; its result goes to m_status.
    std::string Create(const std::string& path) {
        const auto output = Captured([&] { m_status = CreateConfiguredDirectory(String::FromUtf8(path)); });
        EXPECT_EQ(output.err, "");
        return output.out;
    }
    int Check(const std::string& path) {
        int status = -1;
        const auto output = Captured([&] { status = CheckConfiguredDirectory(String::FromUtf8(path)); });
        EXPECT_EQ(output.out + output.err, "");
        return status;
    }
    String Unwritable(const std::string& path) {
        return L"Directory " + String::FromUtf8(path) +
               L" specified in Configuration file, already exists but is not writable.";
    }
    String Unusable(const std::string& path) {
        return L"Directory " + String::FromUtf8(path) +
               L" specified in Configuration file, must exist and be writable.";
    }

    testfiles::TempDir m_dir;
    int m_status = -1;
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

TEST_F(ConfiguredDirectories, ADirectoryThatIsThereIsTakenWithoutAWord) {
    EXPECT_EQ(Create(m_dir.Path()), "");
    EXPECT_EQ(m_status, 0);
    std::filesystem::create_directory_symlink(m_dir.Path(), m_dir / "link");
    EXPECT_EQ(Create(m_dir / "link"), "");
    EXPECT_EQ(m_status, 0);
    EXPECT_EQ(Check(m_dir / "link"), 0);
}

TEST_F(ConfiguredDirectories, AMissingOneIsMadeWithItsParents) {
    const std::string path = m_dir / "a/b/c";
    EXPECT_EQ(Create(path), "Creating directory: " + path + "  Result: OK\n");
    EXPECT_EQ(m_status, 0);
    EXPECT_TRUE(std::filesystem::is_directory(path));
    EXPECT_EQ(testfiles::Mode(path), 0755U);
}

TEST_F(ConfiguredDirectories, AQuietRunMakesItQuietly) {
    Args::bQuiet = true;
    EXPECT_EQ(Create(m_dir / "a"), "");
    EXPECT_EQ(m_status, 0);
    EXPECT_TRUE(std::filesystem::is_directory(m_dir / "a"));
}

TEST_F(ConfiguredDirectories, ThePathIsShownInPrintableAscii) {
    EXPECT_EQ(Create(m_dir / "\xc3\xa4\033[m"),
              "Creating directory: " + (m_dir / "?\\x1b[m") + "  Result: OK\n");
}

TEST_F(ConfiguredDirectories, WhatIsInItsPlaceIsNeverRepaired) {
    testfiles::Write(m_dir / "file", "kept");
    EXPECT_EQ(Create(m_dir / "file"), "");
    EXPECT_EQ(m_status, 1);
    EXPECT_EQ(Error::m_sErrorText, Unwritable(m_dir / "file"));
    EXPECT_EQ(testfiles::Read(m_dir / "file"), "kept");

    const ReadOnlyDirectory readOnly(m_dir / "ro");
    EXPECT_EQ(Create(m_dir / "ro"), "");
    EXPECT_EQ(m_status, 1);
    EXPECT_EQ(Error::m_sErrorText, Unwritable(m_dir / "ro"));
}

TEST_F(ConfiguredDirectories, OneThatCannotBeMadeFails) {
    testfiles::Write(m_dir / "file", "");
    const std::string path = m_dir / "file/below";
    EXPECT_EQ(Create(path), "Creating directory: " + path + "  Result: FAILED\n");
    EXPECT_EQ(m_status, 1);
    EXPECT_EQ(Error::m_sErrorText, L"Error creating directory: " + String::FromUtf8(path));

    Args::bQuiet = true;
    Error::m_sErrorText = String();
    EXPECT_EQ(Create(path), "");
    EXPECT_EQ(m_status, 1);
    EXPECT_EQ(Error::m_sErrorText, L"Error creating directory: " + String::FromUtf8(path));
}

TEST_F(ConfiguredDirectories, ALinkThatLeadsNowhereCannotBeMade) {
    std::filesystem::create_symlink("nowhere", m_dir / "link");
    EXPECT_EQ(Create(m_dir / "link"), "Creating directory: " + (m_dir / "link") + "  Result: FAILED\n");
    EXPECT_EQ(m_status, 1);
}

TEST_F(ConfiguredDirectories, AnEmptyPathCannotBeMade) {
    EXPECT_EQ(Create(""), "Creating directory:   Result: FAILED\n");
    EXPECT_EQ(m_status, 1);
    EXPECT_EQ(Error::m_sErrorText, L"Error creating directory: ");
}

TEST_F(ConfiguredDirectories, AnErrorShowsThePathPrintably) {
    testfiles::Write(m_dir / "a\nb", "");
    Create(m_dir / "a\nb");
    EXPECT_EQ(Error::m_sErrorText, Unwritable(m_dir / "a\\x0ab"));
    testfiles::Write(m_dir / "%1", "");
    Create(m_dir / "%1");
    EXPECT_EQ(Error::m_sErrorText, Unwritable(m_dir / "%1"));
}

TEST_F(ConfiguredDirectories, CheckingMakesNothing) {
    testfiles::Write(m_dir / "file", "");
    for (const std::string& path : {m_dir / "missing", m_dir / "file", std::string()}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(Check(path), 1);
        EXPECT_EQ(Error::m_sErrorText, Unusable(path));
    }
    EXPECT_FALSE(testfiles::Exists(m_dir / "missing"));
    const ReadOnlyDirectory readOnly(m_dir / "ro");
    EXPECT_EQ(Check(m_dir / "ro"), 1);
    EXPECT_EQ(Check(m_dir.Path()), 0);
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
        bool ok = !expected;
        const auto output = Captured([&] { ok = PrepareConfiguredDirectories(ini); });
        EXPECT_EQ(ok, expected);
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
    EXPECT_EQ(Error::m_sErrorText, Unusable(m_dir / "missing"));
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
        EXPECT_EQ(Error::m_sErrorText, L"Error creating directory: ");
        Name(key, path);
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
