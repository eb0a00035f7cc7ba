// What the copy of a host has and shows.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <initializer_list>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "corekit/os/SystemCall.h"
#include "preview/HostCopy.h"
#include "tests/support/InChild.h"
#include "tests/support/Mount.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/preview/FailingMounts.h"
#include "tests/unit/preview/InCopy.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

namespace fs = std::filesystem;
using testsupport::InCopy;
using testsupport::YesOrNo;

/// What `code` returns in a copy, and then what `tell` makes of the copy in which it has run.
std::string Told(const std::function<std::string()>& code,
                 const std::function<std::string(const HostCopy&)>& tell, const Limits& limits = {}) {
    const auto tellBoth = [&](const HostCopy& copy, const Rehearsal& run) -> Outcome<std::string> {
        return run.record + tell(copy);
    };
    const auto told = Rehearse(code, tellBoth, {}, limits);
    return told ? *told : "failed: " + told.error().text.Utf8();
}

std::string Nothing() {
    return "";
}

TEST(HostCopy, NoMountOfItIsSeenOnTheHost) {
    const std::string before = testfiles::Read("/proc/self/mountinfo");
    EXPECT_EQ(InCopy([] { return std::string("run"); }), "run");
    EXPECT_EQ(testfiles::Read("/proc/self/mountinfo"), before);
}

TEST(HostCopy, TheCurrentDirectoryIsTheSame) {
    const fs::path before = fs::current_path();
    fs::create_directories("/opt/a/b");
    fs::current_path("/opt/a/b");
    EXPECT_EQ(InCopy([] { return fs::current_path().string(); }), "/opt/a/b");
    fs::current_path(before);
    fs::remove_all("/opt/a");
}

TEST(HostCopy, TheCurrentDirectoryIsTheRoot_WhereTheCopyHasNone) {
    const fs::path before = fs::current_path();
    fs::create_directories("/dev/shm/of-the-test");
    fs::current_path("/dev/shm/of-the-test");
    EXPECT_EQ(InCopy([] { return fs::current_path().string(); }), "/");
    fs::current_path(before);
    fs::remove("/dev/shm/of-the-test");
}

TEST(HostCopy, TheCurrentDirectoryIsTheRoot_WhenItHasGone) {
    const fs::path before = fs::current_path();
    fs::create_directory("/opt/gone");
    fs::current_path("/opt/gone");
    fs::remove("/opt/gone");
    EXPECT_EQ(InCopy([] { return fs::current_path().string(); }), "/");
    fs::current_path(before);
}

TEST(HostCopy, ModesOfMountPointsAreTheHosts) {
    EXPECT_EQ(InCopy([] { return std::to_string(testfiles::Mode("/tmp")); }), std::to_string(01777));
}

TEST(HostCopy, SettingsOfTheKernelAreReadOnly) {
    EXPECT_EQ(InCopy([] {
                  const int file = open("/proc/sys/kernel/hostname", O_WRONLY | O_CLOEXEC);
                  return YesOrNo(file >= 0 || mkdir("/sys/fs/mine", 0755) == 0);
              }),
              "no");
}

TEST(HostCopy, TheDevicesThatEveryProgramNeedsAreThereAndWork) {
    const auto code = [] {
        char byte = 'x';
        const corekit::Descriptor zero(open("/dev/zero", O_RDONLY | O_CLOEXEC));
        const bool isZero = read(zero.Get(), &byte, 1) == 1 && byte == '\0';
        std::string missing;
        for (const char* name : {"null", "zero", "full", "random", "urandom", "tty"}) {
            if (!fs::is_character_file(std::string("/dev/") + name)) missing += std::string(" ") + name;
        }
        const corekit::Descriptor null(open("/dev/null", O_WRONLY | O_CLOEXEC));
        return missing + " " + YesOrNo(write(null.Get(), "x", 1) == 1) + " " + YesOrNo(isZero);
    };
    EXPECT_EQ(InCopy(code), " yes yes");
}

TEST(HostCopy, ItsDirectoryOfDevicesTakesSixteenMebibytes) {
    const auto code = [] {
        struct statvfs room {};
        return statvfs("/dev", &room) == 0 ? std::to_string(room.f_blocks * room.f_frsize >> 20) : "none";
    };
    EXPECT_EQ(InCopy(code), "16");
}

TEST(HostCopy, FileSystemsThatCannotBeCopiedAreReadOnlyAndKnown) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "what", "old");
    testfiles::Write(dir / "point", "");
    const auto file = testsupport::Mount::Bind(dir / "what", dir / "point");
    const auto tell = [&](const HostCopy& copy, const Rehearsal& run) -> Outcome<std::string> {
        const Mount* mount = copy.Uncopied(dir / "point");
        return (mount == nullptr ? "" : mount->point) + " " + run.record + " " +
               YesOrNo(copy.Uncopied(dir / "what") != nullptr || copy.Uncopied("what") != nullptr);
    };
    const auto write = [&] { return YesOrNo(open((dir / "point").c_str(), O_WRONLY | O_CLOEXEC) >= 0); };
    EXPECT_EQ(Rehearse(write, tell, {}).value(), dir / "point" + " no no");
}

TEST(HostCopy, AFileSystemThatIsNotTheHostsOwnIsReadOnlyAndKnown) {
    const testfiles::TempDir dir;
    fs::create_directory(dir / "proc");
    const auto proc = testsupport::Mount::Bind("/proc", dir / "proc");
    const auto tell = [&](const HostCopy& copy, const Rehearsal& run) -> Outcome<std::string> {
        const Mount* mount = copy.Uncopied(dir / "proc/sys");
        return (mount == nullptr ? "" : mount->type) + " " + run.record;
    };
    const auto write = [&] {
        return YesOrNo(open((dir / "proc/sys/kernel/hostname").c_str(), O_WRONLY | O_CLOEXEC) >= 0);
    };
    EXPECT_EQ(Rehearse(write, tell, {}).value(), "proc no");
}

TEST(HostCopy, ALayerHasTheHostsFilesAndTheCopysAndWhatWasWritten) {
    const auto own = testsupport::Mount::Tmpfs("/opt/own");
    testfiles::Write("/opt/own/file", "old");
    testfiles::Write("/opt/own/other", "");
    const auto below = testsupport::Mount::Tmpfs("/opt/own/below");
    testfiles::Write("/opt/own/below/hidden", "");
    const auto write = [] {
        testfiles::Write("/opt/own/file", "new");
        return std::string();
    };
    const auto tell = [](const HostCopy& copy) {
        std::string told;
        for (const Layer& layer : copy.Layers()) {
            if (layer.point != "/opt/own") continue;
            for (const std::string& place : {layer.lower, layer.upper, layer.merged}) {
                for (const std::string& name : testfiles::NamesIn(place)) told += name + " ";
                told += testfiles::Read(place + "/file") + "\n";
            }
            told += YesOrNo(testfiles::Exists(layer.lower + "/below/hidden")) + " " +
                    YesOrNo(layer.merged == copy.PathOf("/opt/own"));
        }
        return told;
    };
    EXPECT_EQ(Told(write, tell), "below file other old\nfile new\nbelow file other new\nno yes");
}

TEST(HostCopy, APathOfTheHostLiesInTheCopy) {
    testfiles::Write("/opt/file", "old");
    const auto write = [] {
        testfiles::Write("/opt/file", "new");
        return std::string();
    };
    const auto tell = [](const HostCopy& copy) {
        return testfiles::Read(copy.PathOf("/opt/file")) + " " + testfiles::Read("/opt/file");
    };
    EXPECT_EQ(Told(write, tell), "new old");
    fs::remove("/opt/file");
}

TEST(HostCopy, DoesNotShowTheDirectoryForNotes) {
    const auto isThere = [] { return YesOrNo(testfiles::Exists(HostCopy().NotesDir())) + " "; };
    const auto tell = [](const HostCopy& copy) {
        testfiles::Write(copy.NotesDir() + "/note", "a note");
        return testfiles::Read(copy.NotesDir() + "/note");
    };
    EXPECT_EQ(Told(isThere, tell), "no a note");
}

TEST(HostCopy, HoldsNoMoreBytesThanItMay) {
    constexpr std::size_t kMiB = 1 << 20;
    const auto tell = [](const HostCopy& copy) {
        std::string told;
        for (const std::size_t size : {3 * kMiB, 5 * kMiB}) {
            std::ofstream file(copy.PathOf("/opt/large"));
            told += YesOrNo((file << std::string(size, 'x') << std::flush).good()) + " ";
        }
        return told;
    };
    EXPECT_EQ(Told(Nothing, tell, {.bytes = 4 * kMiB}), "yes no ");
}

struct statvfs RoomAt(const std::string& path) {
    struct statvfs info {};
    statvfs(path.c_str(), &info);
    return info;
}

TEST(HostCopy, IsFull_WhenLessThanAHundredthOfTheBytesIsLeft) {
    const auto tell = [](const HostCopy& copy) {
        const auto room = RoomAt(copy.NotesDir());
        const std::size_t blocks = room.f_bfree - room.f_blocks / 100;
        std::string told = YesOrNo(copy.IsFull());
        std::ofstream file(copy.NotesDir() + "/large");
        file << std::string(blocks * room.f_bsize, 'x') << std::flush;
        told += " " + YesOrNo(copy.IsFull());
        file << "x" << std::flush;
        return told + " " + YesOrNo(copy.IsFull());
    };
    EXPECT_EQ(Told(Nothing, tell, {.bytes = 4 << 20}), "no no yes");
}

TEST(HostCopy, IsFull_WhenLessThanAHundredthOfTheFilesIsLeft) {
    const auto tell = [](const HostCopy& copy) {
        const std::string stage = fs::path(copy.NotesDir()).parent_path();
        if (mount(nullptr, stage.c_str(), nullptr, MS_REMOUNT, "nr_inodes=1000") != 0)
            return std::string("not remounted");
        int files = 0;
        const auto makeOne = [&] { testfiles::Write(copy.NotesDir() + "/" + std::to_string(++files), ""); };
        while (RoomAt(stage).f_ffree > 10) makeOne();
        std::string told = YesOrNo(copy.IsFull());
        makeOne();
        return told + " " + YesOrNo(copy.IsFull());
    };
    EXPECT_EQ(Told(Nothing, tell), "no yes");
}

TEST(HostCopy, HasSharedMemoryOfItsOwn) {
    testfiles::Write("/dev/shm/of-the-test", "");
    EXPECT_EQ(InCopy([] {
                  return YesOrNo(testfiles::Exists("/dev/shm/of-the-test")) + " " +
                         YesOrNo(testfiles::Mode("/dev/shm") == 01777);
              }),
              "no yes");
    fs::remove("/dev/shm/of-the-test");
}

/// Where `Uncopied` or `HiddenAt` finds a mount: its point for each of the paths, "-" for none.
std::string PointsAt(const std::vector<std::string>& paths,
                     const std::function<const Mount*(const std::string&)>& find) {
    std::string points;
    for (const std::string& path : paths) {
        const Mount* const mount = find(path);
        points += (mount == nullptr ? "-" : mount->point) + " ";
    }
    return points;
}

/// What the file holds, and whether it can be written to or fails to for another reason than it should.
std::string TriedOwnFile() {
    const bool isOpen = open("/opt/own/file", O_WRONLY | O_CLOEXEC) >= 0;
    return testfiles::Read("/opt/own/file") + " " + YesOrNo(isOpen || errno != EROFS) + " ";
}

TEST(HostCopy, AFileSystemThatIsReadOnlyOnTheHostIsSoInTheCopy_AndIsNoMatter) {
    const auto own = testsupport::Mount::Tmpfs("/opt/own");
    testfiles::Write("/opt/own/file", "old");
    own.MakeReadOnly();
    const auto tell = [](const HostCopy& copy) {
        return PointsAt({"/opt/own", "/opt/own/file"},
                        [&](const std::string& path) { return copy.Uncopied(path); });
    };
    EXPECT_EQ(Told(TriedOwnFile, tell), "old no - - ");
}

TEST(HostCopy, AFileSystemThatGetsNoOverlayIsReadOnlyAndKnown) {
    const auto own = testsupport::Mount::Tmpfs("/opt/own");
    testfiles::Write("/opt/own/file", "old");
    testsupport::InChild([] {
        testsupport::MakeMountsFail(EINVAL, [](const testsupport::AskedMount& mount) {
            return mount.type == "overlay" && mount.target == "/proc/root/opt/own";
        });
        const auto tell = [](const HostCopy& copy) {
            return PointsAt({"/opt", "/opt/own", "/opt/own/file", "/opt/owner"},
                            [&](const std::string& path) { return copy.Uncopied(path); }) +
                   PointsAt({"/opt/own"}, [&](const std::string& path) { return copy.HiddenAt(path); });
        };
        EXPECT_EQ(Told(TriedOwnFile, tell), "old no - /opt/own /opt/own - - ");
        return 0;
    });
}

TEST(HostCopy, AFileSystemThatItLacksShowsNothingAndIsKnown_AtItAboveAndBelow) {
    fs::create_directories("/opt/t/own");
    const auto proc = testsupport::Mount::Bind("/proc", "/opt/t/own");
    for (const unsigned long failing : std::initializer_list<unsigned long>{MS_BIND, MS_REMOUNT}) {
        testsupport::InChild([&] {
            testsupport::MakeMountsFail(EIO, [&](const testsupport::AskedMount& mount) {
                return (mount.flags & failing) != 0 && mount.target == "/proc/root/opt/t/own";
            });
            const auto isShown = [] { return YesOrNo(testfiles::Exists("/opt/t/own/version")) + " "; };
            const auto tell = [](const HostCopy& copy) {
                return PointsAt({"/opt", "/opt/t/own", "/opt/t/own/a", "/opt/t/owner", "/opt/t/a", "/tmp"},
                                [&](const std::string& path) { return copy.HiddenAt(path); });
            };
            EXPECT_EQ(Told(isShown, tell), "no /opt/t/own /opt/t/own /opt/t/own - - - ");
            return 0;
        });
    }
    EXPECT_EQ(umount("/opt/t/own"), 0);
    fs::remove_all("/opt/t");
}

TEST(QuarterOfMemory, IsAQuarterOfAllPages) {
    const auto pages = static_cast<unsigned long long>(sysconf(_SC_PHYS_PAGES));
    EXPECT_EQ(QuarterOfMemory(), pages * static_cast<unsigned long long>(sysconf(_SC_PAGESIZE)) / 4);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
