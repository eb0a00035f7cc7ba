// The file that holds the machine's identifier: when it is written, and when it goes.
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "config/GuidFile.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

class GuidFile : public testing::Test {
  protected:
    corekit::IniFile Conf() const {
        return {L"client.conf", String::FromUtf8("[Configuration]\nguid_guid_file=" + m_file)};
    }

    static ino_t InodeOf(const std::string& path) {
        struct stat info {};
        EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
        return info.st_ino;
    }

    testfiles::TempDir m_dir;
    std::string m_file = m_dir / "host.GUID";
    Settings m_settings;
};

TEST_F(GuidFile, HoldsTheIdentifierAndTheWordNull) {
    m_settings.Value(L"Guid") = L"{AB-12}";
    EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
    EXPECT_EQ(testfiles::Read(m_file), "{AB-12}\nnull");
}

TEST_F(GuidFile, IsUtf8) {
    m_settings.Value(L"Guid") = L"{\u00c4}";
    EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
    EXPECT_EQ(testfiles::Read(m_file), "{\xc3\x84}\nnull");
}

TEST_F(GuidFile, IsNotWritten_WhenThereIsNoIdentifier) {
    testfiles::Write(m_file, "{OLD}\nnull");
    EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
    m_settings.Value(L"Guid") = L"";
    EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}\nnull");
}

TEST_F(GuidFile, IsReplacedByAnotherIdentifier) {
    testfiles::Write(m_file, "{OLD}");
    m_settings.Value(L"Guid") = L"{NEW}";
    EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
    EXPECT_EQ(testfiles::Read(m_file), "{NEW}\nnull");
}

TEST_F(GuidFile, HoldsTheInstalledIdentifierAsItWasGiven) {
    m_settings.Set(L"Guid", {L"{OLD}", {Source::Kind::Installed, L"/old", 1}, L"{OLD}\r\n"});
    EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}\r\n");
}

TEST_F(GuidFile, IsNotTouched_WhenItHoldsTheIdentifierAlready) {
    testfiles::Write(m_file, "{OLD}\n");
    const auto inode = InodeOf(m_file);
    m_settings.Set(L"Guid", {L"{OLD}", {Source::Kind::Installed, L"/old", 1}, L"{OLD}\n"});
    EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
    EXPECT_EQ(InodeOf(m_file), inode);
}

TEST_F(GuidFile, IsWarnedOf_WhenItCannotBeReadBack) {
    const std::string errors = m_dir / "errors";
    m_settings.Value(L"Guid") = L"{NEW}";
    const int status = testsupport::WithFailing({{SYS_read, EIO}}, [&] {
        if (std::freopen(errors.c_str(), "w", stderr) == nullptr) return 1;
        EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
        return 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(testfiles::Read(errors), "WARNING! " + m_file + " is not written: Input/output error.\n");
}

TEST_F(GuidFile, IsRemoved_WhenThereIsNoIdentifier) {
    for (const bool isEmpty : {false, true}) {
        if (isEmpty) m_settings.Value(L"Guid") = L"";
        testfiles::Write(m_file, "{OLD}");
        RemoveUnwantedGuidFile(Conf(), m_settings);
        EXPECT_FALSE(testfiles::Exists(m_file)) << isEmpty;
    }
}

TEST_F(GuidFile, IsNotRemovedOnAnUpgrade_WhenTheServerStays) {
    testfiles::Write(m_file, "{OLD}");
    m_settings.Value(L"Upgrade") = L"yes";
    RemoveUnwantedGuidFile(Conf(), m_settings);
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}");
    m_settings.Value(L"KSNameChanged") = L"true";
    RemoveUnwantedGuidFile(Conf(), m_settings);
    EXPECT_FALSE(testfiles::Exists(m_file));
}

TEST_F(GuidFile, IsNeitherWrittenNorRemoved_WhenItIsNoRegularFileWithOneName) {
    testfiles::Write(m_dir / "secret", "secret");
    const struct {
        const char* why;
        std::function<void()> make;
    } table[] = {
        {"it is not a regular file", [&] { std::filesystem::create_symlink("secret", m_file); }},
        {"it is not a regular file", [&] { ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0); }},
        {"it is not a regular file", [&] { std::filesystem::create_directory(m_file); }},
        {"it has other names", [&] { std::filesystem::create_hard_link(m_dir / "secret", m_file); }},
    };
    for (const auto& row : table) {
        row.make();
        m_settings.Value(L"Guid") = L"{NEW}";
        const auto output = testsupport::Captured([&] { EXPECT_TRUE(WriteGuidFile(Conf(), m_settings)); });
        EXPECT_EQ(output.err, "WARNING! " + m_file + " is not written: " + row.why + ".\n");
        m_settings.Value(L"Guid") = L"";
        RemoveUnwantedGuidFile(Conf(), m_settings);
        EXPECT_TRUE(std::filesystem::exists(std::filesystem::symlink_status(m_file)));
        EXPECT_EQ(testfiles::Read(m_dir / "secret"), "secret");
        std::filesystem::remove(m_file);
    }
}

TEST_F(GuidFile, InADirectoryOfTheHostIsOneOnlyIfItHoldsAnIdentifier) {
    const corekit::IniFile conf(L"client.conf", L"[Configuration]\nguid_guid_file=/var/lib/host/file\n");
    for (const std::string content : {"", "word\n", "{A} word\n"}) {
        testfiles::Write("/var/lib/host/file", content);
        m_settings.Value(L"Guid") = L"{NEW}";
        const auto output = testsupport::Captured([&] { EXPECT_TRUE(WriteGuidFile(conf, m_settings)); });
        EXPECT_EQ(output.err, "WARNING! /var/lib/host/file is not written: it holds no identifier.\n");
        EXPECT_TRUE(RemoveGuidFile(conf));
        EXPECT_EQ(testfiles::Read("/var/lib/host/file"), content);
    }
    testfiles::Write("/var/lib/host/file", "{" + std::string(4096, 'A') + "}");
    EXPECT_TRUE(RemoveGuidFile(conf));
    EXPECT_TRUE(testfiles::Exists("/var/lib/host/file"));
    testfiles::Write("/var/lib/host/file", "{OLD}\r\nnull");
    EXPECT_TRUE(WriteGuidFile(conf, m_settings));
    EXPECT_EQ(testfiles::Read("/var/lib/host/file"), "{NEW}\nnull");
    EXPECT_TRUE(RemoveGuidFile(conf));
    EXPECT_FALSE(testfiles::Exists("/var/lib/host/file"));
    std::filesystem::remove("/var/lib/host");
}

TEST_F(GuidFile, InADirectoryOfTheHostStays_WhateverFails) {
    const corekit::IniFile conf(L"client.conf", L"[Configuration]\nguid_guid_file=/var/lib/host/file\n");
    m_settings.Value(L"Guid") = L"{NEW}";
    const auto expectKept = [](int) { EXPECT_EQ(testfiles::Read("/var/lib/host/file"), "word\n"); };
    const int points = testsupport::FailInTurn(
        testsupport::kFileCallsButUnlink, EIO, [] { testfiles::Write("/var/lib/host/file", "word\n"); },
        [&] {
            EXPECT_TRUE(WriteGuidFile(conf, m_settings));
            return 0;
        },
        expectKept);
    EXPECT_GE(points, 4);
    int failures = 0;
    testsupport::FailInTurn(
        testsupport::kFileCallsButUnlink, EIO, [] { testfiles::Write("/var/lib/host/file", "word\n"); },
        [&] { return RemoveGuidFile(conf) ? 0 : 1; },
        [&](int failed) {
            expectKept(0);
            failures += failed;
        });
    EXPECT_GE(failures, 4);
    std::filesystem::remove_all("/var/lib/host");
}

// The file of the old agent may go on its word.
TEST_F(GuidFile, IsReadBack) {
    m_settings.Set(L"Guid", L"{A}", {Source::Kind::Installed, String::FromUtf8(m_dir / "old.GUID")});
    testsupport::InChild([&] {
        testsupport::JudgeCalls({SYS_write}, [](const seccomp_notif& call) -> testsupport::Verdict {
            struct stat info {};
            const bool isFile =
                fstat(static_cast<int>(call.data.args[0]), &info) == 0 && S_ISREG(info.st_mode);
            return isFile ? testsupport::Verdict(static_cast<int>(call.data.args[2])) : std::nullopt;
        });
        const auto written = WriteGuidFile(Conf(), m_settings);
        EXPECT_FALSE(written);
        EXPECT_EQ(written ? "" : written.error().reason.Utf8(), m_file + ": Input/output error");
        return 0;
    });
}

TEST_F(GuidFile, IsNotWrittenWithoutItsDirectory) {
    m_file = m_dir / "missing/host.GUID";
    const std::string why = "No such file or directory";
    m_settings.Value(L"Guid") = L"{NEW}";
    const auto output = testsupport::Captured([&] { EXPECT_TRUE(WriteGuidFile(Conf(), m_settings)); });
    EXPECT_EQ(output.err, "WARNING! " + m_file + " is not written: " + why + ".\n");
    m_settings.Set(L"Guid", L"{A}", {Source::Kind::Installed, String::FromUtf8(m_dir / "old.GUID")});
    const auto written = WriteGuidFile(Conf(), m_settings);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().reason.Utf8(), m_file + ": " + why);
}

TEST_F(GuidFile, IsWarnedOf_WhenItCannotBeRemoved) {
    testfiles::Write(m_file, "{OLD}");
    const testsupport::Mount mount = testsupport::Mount::Bind(m_file, m_file);
    const auto output = testsupport::Captured([&] { RemoveUnwantedGuidFile(Conf(), m_settings); });
    EXPECT_EQ(output.err, "WARNING! " + m_file + " is kept: Device or resource busy.\n");
}

TEST_F(GuidFile, IsKeptAndReported_BehindALinkOfAnotherUser) {
    testfiles::Write(m_dir / "real/host.GUID", "{OLD}");
    std::filesystem::create_directory(m_dir / "theirs");
    std::filesystem::create_directory_symlink(m_dir / "real", m_dir / "theirs/way");
    std::filesystem::permissions(m_dir / "theirs", std::filesystem::perms(0777));
    m_file = m_dir / "theirs/way/host.GUID";
    EXPECT_EQ(RemoveGuidFile(Conf()), corekit::Result(corekit::kBelongsToOthers));
    EXPECT_TRUE(testfiles::Exists(m_dir / "real/host.GUID"));
}

TEST_F(GuidFile, IsNotRemoved_WhenThereIsAnIdentifier) {
    testfiles::Write(m_file, "{OLD}");
    m_settings.Value(L"Guid") = L"{NEW}";
    RemoveUnwantedGuidFile(Conf(), m_settings);
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}");
}

TEST_F(GuidFile, IsLeftAlone_WhenItIsADirectory) {
    std::filesystem::create_directory(m_file);
    RemoveUnwantedGuidFile(Conf(), m_settings);
    m_settings.Value(L"Guid") = L"{NEW}";
    EXPECT_TRUE(WriteGuidFile(Conf(), m_settings));
    EXPECT_TRUE(std::filesystem::is_directory(m_file));
}

TEST_F(GuidFile, IsLeftAlone_WhenNoConfigurationNamesIt) {
    testfiles::Write(m_file, "{OLD}");
    const corekit::IniFile conf(L"client.conf", L"[Configuration]\nguid_guid_file=\n");
    RemoveUnwantedGuidFile(conf, m_settings);
    m_settings.Value(L"Guid") = L"{NEW}";
    EXPECT_TRUE(WriteGuidFile(conf, m_settings));
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}");
}

TEST_F(GuidFile, FailsTheRun_WhenTheOldFileOfTheIdentifierWouldGoNext) {
    std::filesystem::create_directory(m_file);
    m_settings.Set(L"Guid", L"{A}", {Source::Kind::Installed, String::FromUtf8(m_dir / "old.GUID")});
    const auto written = WriteGuidFile(Conf(), m_settings);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().text, L"Unable to write to file: " + String::FromUtf8(m_file));
    EXPECT_EQ(written.error().reason, String::FromUtf8(m_file) + L": it is not a regular file");
}

TEST_F(GuidFile, IsWarnedOf_WhenTheIdentifierStaysWhereItWas) {
    std::filesystem::create_hard_link((testfiles::Write(m_file, "{B}\nnull"), m_file), m_dir / "other");
    m_settings.Set(L"Guid", L"{A}", {Source::Kind::Installed, String::FromUtf8(m_file)});
    const auto output = testsupport::Captured([&] { EXPECT_TRUE(WriteGuidFile(Conf(), m_settings)); });
    EXPECT_EQ(output.err, "WARNING! " + m_file + " is not written: it has other names.\n");
    EXPECT_EQ(testfiles::Read(m_file), "{B}\nnull");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
