// Which names a run has touched, whether anything there is different in the end or not.
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "preview/LayerReader.h"
#include "preview/Touched.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Mount.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/preview/InCopy.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

namespace fs = std::filesystem;
using testfiles::Write;
using testing::ElementsAre;
using testing::IsEmpty;

/// What `tell` makes of a copy in which `code` has run, one item for each line.
std::vector<std::string> ToldOf(const std::function<void()>& code,
                                const std::function<std::string(const HostCopy&)>& tell) {
    const auto run = [&] {
        code();
        return std::string();
    };
    const auto told = Rehearse(
        run, [&](const HostCopy& copy, const Rehearsal&) -> Outcome<std::string> { return tell(copy); }, {});
    if (!told) ADD_FAILURE() << told.error().text.Utf8() << " " << told.error().reason.Utf8();
    std::vector<std::string> lines;
    std::istringstream text(told ? *told : std::string());
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

/// The tests run on /opt/t with a tree in it.
class TouchedNamesOf : public testing::Test {
  protected:
    TouchedNamesOf() {
        Write("/opt/t/file", "old\n");
        Write("/opt/t/dir/one", "1\n");
        Write("/opt/t/dir/deep/two", "2\n");
        fs::create_symlink("file", "/opt/t/link");
    }
    ~TouchedNamesOf() override { fs::remove_all("/opt/t"); }

    /// Below /opt/t, "replace /path" ..., or "move /path -> /other".
    static std::vector<std::string> After(const std::function<void()>& code) {
        return ToldOf(code, [](const HostCopy& copy) {
            constexpr const char* kTouches[] = {"access ", "replace ", "edit "};
            std::string lines;
            const TouchedNames touched = ReadTouched(copy).value();
            for (const Touched& name : touched.names) {
                if (name.path.starts_with("/opt/t/"))
                    lines += kTouches[static_cast<int>(name.touch)] + name.path.substr(7) + "\n";
            }
            for (const MovedDirectory& move : touched.moves)
                lines += "move " + move.from.substr(7) + " -> " + move.to.substr(7) + "\n";
            return lines;
        });
    }
};

TEST_F(TouchedNamesOf, TheModeOfAMountPointIsOne) {
    const auto own = testsupport::Mount::Tmpfs("/opt/t/own");
    EXPECT_THAT(After([] { chmod("/opt/t/own", 0700); }), ElementsAre("access own"));
}

TEST_F(TouchedNamesOf, ARunThatDoesNothingAreNone) {
    EXPECT_THAT(After([] {}), IsEmpty());
}

TEST_F(TouchedNamesOf, ARunThatPutsAllBackAreAllThatItHadInHand) {
    EXPECT_THAT(After([] {
                    fs::remove("/opt/t/link");
                    fs::create_symlink("file", "/opt/t/link");
                    Write("/opt/t/temporary", "");
                    fs::remove("/opt/t/temporary");
                    chmod("/opt/t/dir", 0700);
                    chmod("/opt/t/dir", 0755);
                }),
                ElementsAre("access dir", "replace link"));
}

TEST_F(TouchedNamesOf, FilesSayWhetherTheirBytesChangeInPlace) {
    EXPECT_THAT(After([] {
                    std::ofstream("/opt/t/file", std::ios::app) << "more\n";
                    chmod("/opt/t/dir/one", 0600);
                    Write("/opt/t/new", "");
                }),
                ElementsAre("access dir", "replace dir/one", "edit file", "replace new"));
}

TEST_F(TouchedNamesOf, ADirectoryThatGoesOrIsMadeAnewAreOne) {
    EXPECT_THAT(After([] { fs::remove_all("/opt/t/dir"); }), ElementsAre("replace dir"));
    EXPECT_THAT(After([] {
                    fs::remove_all("/opt/t/dir");
                    Write("/opt/t/dir/three", "");
                }),
                ElementsAre("replace dir"));
}

TEST_F(TouchedNamesOf, ADirectoryThatMovesAreItsOldPathAndItsNewOne) {
    EXPECT_THAT(After([] {
                    fs::rename("/opt/t/dir/deep", "/opt/t/other");
                    chmod("/opt/t/other/two", 0600);
                }),
                ElementsAre("access dir", "replace dir/deep", "access dir/deep", "replace dir/deep/two",
                            "replace other", "move dir/deep -> other"));
}

TEST_F(TouchedNamesOf, ARunAreToldWholeOrNotAtAll_WhateverFails) {
    const auto change = [] {
        fs::remove("/opt/t/link");
        Write("/opt/t/file", "new\n");
        fs::rename("/opt/t/dir", "/opt/t/other");
        chmod("/opt/t/other/one", 0600);
    };
    const auto tell = [](const HostCopy& copy) {
        const auto textOf = [](const TouchedNames& touched) {
            std::string text;
            for (const Touched& name : touched.names)
                text += name.path + " " + std::to_string(static_cast<int>(name.touch)) + " ";
            for (const MovedDirectory& move : touched.moves) text += move.from + " " + move.to + " ";
            return text;
        };
        const std::string whole = textOf(ReadTouched(copy).value());
        const std::vector<int> calls = {SYS_newfstatat, SYS_openat,    SYS_getdents64,
                                        SYS_readlink,   SYS_lgetxattr, SYS_llistxattr};
        int wrong = 0;
        const int failed = testsupport::FailInTurn(
            calls, EIO, [] {},
            [&] {
                const auto touched = ReadTouched(copy);
                if (!touched) return 1;
                return textOf(*touched) == whole ? 0 : 2;
            },
            [&](int result) { wrong += result == 2 ? 1 : 0; });
        return std::string(failed > 40 ? "enough" : "too few") + " failed\n" + std::to_string(wrong) +
               " wrong\n";
    };
    EXPECT_THAT(ToldOf(change, tell), ElementsAre("enough failed", "0 wrong"));
}

TEST(IsNoEffect, IsTrueOfLocksAndOfThePackageManagersDatabase) {
    for (const char* path :
         {"/run/qdn-configure.lock", "/var/lock/qdn-configure.lock", "/run/lock/qdn-configure.lock",
          "/etc/qdn-configure.lock", "/usr/lib/sysimage/rpm", "/var/lib/rpm", "/var/lib/rpm/Packages",
          "/root/.rpmdb"})
        EXPECT_TRUE(IsNoEffect(path)) << path;
    for (const char* path : {"/var/lib/rpmx", "/etc/init.d/zorvane", "/run/qdn-configure.lock.d"})
        EXPECT_FALSE(IsNoEffect(path)) << path;
}

/// What the upper layer of /opt has for a name in /opt/t.
std::vector<std::string> MarksAfter(const std::function<void()>& code, const std::string& name) {
    return ToldOf(code, [&](const HostCopy& copy) -> std::string {
        for (const Layer& layer : copy.Layers()) {
            if (layer.point != "/opt") continue;
            const std::string path = layer.upper + "/t/" + name;
            LayerReader reader(layer);
            std::string lines = IsWhiteout(reader.StatOf(path).value()) ? "taken away\n" : "";
            if (reader.MarkOf(path, kOpaque) == "y") lines += "opaque\n";
            if (reader.MarkOf(path, kMetacopy)) lines += "metadata only\n";
            if (const Before source = reader.SourceOf("/t/" + name, "/t/" + name))
                lines += "from " + *source + "\n";
            return lines + reader.HostPath("/t/" + name) + "\n";
        }
        return "no layer of /opt\n";
    });
}

TEST_F(TouchedNamesOf, MarksSayWhatBecameOfAName) {
    EXPECT_THAT(MarksAfter([] { fs::remove("/opt/t/file"); }, "file"),
                ElementsAre("taken away", "/opt/t/file"));
    EXPECT_THAT(MarksAfter([] { chmod("/opt/t/file", 0600); }, "file"),
                ElementsAre("metadata only", "/opt/t/file"));
    EXPECT_THAT(MarksAfter([] { fs::rename("/opt/t/dir/deep", "/opt/t/new"); }, "new"),
                ElementsAre("from /t/dir/deep", "/opt/t/new"));
    EXPECT_THAT(MarksAfter([] { fs::rename("/opt/t/dir", "/opt/t/new"); }, "new"),
                ElementsAre("from /t/dir", "/opt/t/new"));
    EXPECT_THAT(MarksAfter(
                    [] {
                        fs::remove_all("/opt/t/dir");
                        fs::create_directory("/opt/t/dir");
                    },
                    "dir"),
                ElementsAre("opaque", "/opt/t/dir"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
