// Directories, a buffer at a time.
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <numeric>
#include <set>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/DirectoryBatch.h"
#include "corekit/os/SystemCall.h"
#include "tests/support/AnsweredCalls.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::Descriptor;
using corekit::DirectoryBatch;
using corekit::DirEntry;
using corekit::Result;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

void MakeFiles(const Workspace& dir, int count) {
    for (int i = 0; i < count; ++i) testfiles::Write(dir / ("file-" + std::to_string(i)), "");
}

struct Reading {
    std::vector<ino64_t> inodes;
    std::string name;  // of each
};

/// The inodes, in their order, that one batch holds where the kernel gives a directory in these readings.
std::vector<std::uint64_t> BatchOf(std::vector<Reading> readings) {
    std::size_t next = 0;
    testsupport::JudgeCalls({SYS_getdents64}, [&](const seccomp_notif& call) -> testsupport::Verdict {
        if (next == readings.size()) return 0;
        auto* const begin = reinterpret_cast<char*>(call.data.args[1]);
        std::size_t at = 0;
        for (const ino64_t inode : readings[next].inodes) {
            dirent64 entry{};
            entry.d_ino = inode;
            entry.d_reclen = 32;
            entry.d_type = DT_REG;
            readings[next].name.copy(entry.d_name, sizeof entry.d_name - 1);
            std::memcpy(begin + at, &entry, entry.d_reclen);
            at += entry.d_reclen;
        }
        ++next;
        return static_cast<int>(at);
    });
    DirectoryBatch batch;
    EXPECT_TRUE(batch.Read(-1));
    std::vector<std::uint64_t> inodes;
    for (const DirEntry& entry : batch) inodes.push_back(entry.inode);
    return inodes;
}

}  // namespace

TEST(DirectoryBatch, LooksUpAnEntry_WhoseTypeTheFileSystemLeavesOut) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    fs::create_directory_symlink("sub", dir / "link");
    testfiles::Write(dir / "file", "");
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    const auto isDirectory = [&](unsigned char type, const char* name) {
        return corekit::IsDirectory(directory.Get(), {0, type, name});
    };
    EXPECT_TRUE(isDirectory(DT_UNKNOWN, "sub"));
    for (const char* name : {"link", "file", "none"}) EXPECT_FALSE(isDirectory(DT_UNKNOWN, name)) << name;
    EXPECT_TRUE(isDirectory(DT_DIR, "none"));
    EXPECT_FALSE(isDirectory(DT_REG, "sub"));
}

TEST(DirectoryBatch, GivesEveryEntryOnceInTheOrderOfInodes) {
    const Workspace dir;
    MakeFiles(dir, 50);
    fs::create_directory(dir / "sub");
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    std::set<std::string> names;
    DirectoryBatch batch;
    Result result = batch.Read(directory.Get(), 1);
    int batches = 0;
    for (; result && !batch.IsEnd(); result = batch.Read(directory.Get(), 1), ++batches) {
        std::uint64_t last = 0;
        for (const DirEntry& entry : batch) {
            EXPECT_TRUE(names.insert(entry.name).second) << entry.name;
            EXPECT_EQ(entry.type, std::string(entry.name) == "sub" ? DT_DIR : DT_REG) << entry.name;
            EXPECT_LT(last, entry.inode);
            last = entry.inode;
        }
    }
    EXPECT_TRUE(result);
    EXPECT_EQ(names.size(), 51U);
    EXPECT_GT(batches, 1);  // however little is asked for, an entry fits
    EXPECT_EQ(batch.begin(), batch.end());
}

// tmpfs tells the last inode first.
TEST(DirectoryBatch, WaitsForNoMoreEntries_WhereTheyComeInOrder) {
    const Workspace dir;
    MakeFiles(dir, 5000);
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    DirectoryBatch batch;
    std::ptrdiff_t all = 0;
    for (int batches = 0; !batch.IsEnd(); ++batches) {
        ASSERT_TRUE(batch.Read(directory.Get()));
        all += batch.end() - batch.begin();
        EXPECT_TRUE(batches > 0 || all < 5000) << all;
    }
    EXPECT_EQ(all, 5000);
}

TEST(DirectoryBatch, WaitsForMoreEntries_WhereFewComeInOrder) {
    testsupport::InChild([] {
        EXPECT_EQ(BatchOf({{{5}, "a"}, {{3}, "b"}}), (std::vector<std::uint64_t>{3, 5}));
        return 0;
    });
}

// A name with its NUL and an entry take 32 bytes here, and a reading asks for 64 KiB.
TEST(DirectoryBatch, WaitsForMoreEntries_UntilMoreThanHalfAReadingComesInOrder) {
    std::vector<ino64_t> half(1024);
    std::iota(half.rbegin(), half.rend(), 10);
    const auto count = [&](const std::string& name) {
        return testsupport::InChild([&] {
            const auto batch = BatchOf({{half, name}, {{1}, "b"}});
            return static_cast<int>(batch.size() - half.size());
        });
    };
    EXPECT_EQ(count("7 bytes"), 1);
    EXPECT_EQ(count("8 bytes!"), 0);
}

TEST(DirectoryBatch, IsAtItsEndInADirectoryThatIsGone) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    const Descriptor directory = corekit::OpenDirectory(dir / "sub").value();
    fs::remove(dir / "sub");
    DirectoryBatch batch;
    EXPECT_TRUE(batch.Read(directory.Get()));
    EXPECT_TRUE(batch.IsEnd());
}

TEST(DirectoryBatch, ReadsOn_WhenItIsInterrupted) {
    const Workspace dir;
    MakeFiles(dir, 3);
    const auto read = [&] {
        const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
        DirectoryBatch batch;
        return batch.Read(directory.Get()) && std::distance(batch.begin(), batch.end()) == 3 ? 0 : 1;
    };
    const auto expectAll = [](int result) { EXPECT_EQ(result, 0); };
    EXPECT_GT(testsupport::FailInTurn(
                  {SYS_getdents64}, EINTR, [] {}, read, expectAll),
              0);
}

TEST(DirectoryBatch, Fails_WhenTheDirectoryCannotBeRead) {
    DirectoryBatch batch;
    EXPECT_EQ(batch.Read(-1), Result(EBADF));
    EXPECT_TRUE(batch.IsEnd());
}

TEST(RemoveEntriesOf, OffersEveryEntryAndStops_WhenNoneIsTaken) {
    const Workspace dir;
    MakeFiles(dir, 10);
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    int offered = 0;
    EXPECT_TRUE(corekit::RemoveEntriesOf(directory.Get(), [&](const DirEntry&) {
        ++offered;
        return false;
    }));
    EXPECT_EQ(offered, 10);
    EXPECT_TRUE(corekit::RemoveEntriesOf(directory.Get(), [&](const DirEntry& entry) {
        return unlinkat(directory.Get(), entry.name, 0) == 0;
    }));
    EXPECT_TRUE(testfiles::NamesIn(dir.Path()).empty());
    EXPECT_EQ(corekit::RemoveEntriesOf(-1, [](const DirEntry&) { return true; }), Result(EBADF));
}

TEST(RemoveEntriesOf, ComesToAnEnd_WhenEntriesAreAddedAllTheTime) {
    const Workspace dir;
    const std::string filler(240, 'f');
    for (int i = 0; i < 20000; ++i) fs::create_symlink("x", dir / (filler + std::to_string(i)));
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    int offered = 0;
    EXPECT_TRUE(corekit::RemoveEntriesOf(directory.Get(), [&](const DirEntry&) {
        ++offered;
        return true;  // as if it were taken and came back
    }));
    EXPECT_GE(offered, 100 * 20000);
    EXPECT_LE(offered, 101 * 20000);
}

TEST(RemoveEntriesOf, GivesUp_WhereADirectoryHasNoEnd) {
    const Workspace dir;
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    testsupport::InChild([&] {
        testsupport::MakeEndless();
        EXPECT_EQ(corekit::RemoveEntriesOf(directory.Get(), [](const DirEntry&) { return false; }),
                  Result(EBUSY));
        return 0;
    });
}

TEST(PassLimit, LetsAShortPassEndByItself) {
    const Workspace dir;
    MakeFiles(dir, 3);
    const auto directory = corekit::OpenDirectory(dir.Path());
    ASSERT_TRUE(directory);
    corekit::PassLimit limit;
    EXPECT_FALSE(limit.IsReached(directory->Get(), corekit::PassLimit::kLong - 1));
}

TEST(PassLimit, EndsALongPassAfterWhatWasThere) {
    const Workspace dir;
    MakeFiles(dir, 3);
    const auto directory = corekit::OpenDirectory(dir.Path());
    ASSERT_TRUE(directory);
    corekit::PassLimit limit;
    EXPECT_FALSE(limit.IsReached(directory->Get(), corekit::PassLimit::kLong));
    EXPECT_FALSE(limit.IsReached(directory->Get(), corekit::PassLimit::kLong + 3));
    MakeFiles(dir, 9);
    EXPECT_TRUE(limit.IsReached(directory->Get(), corekit::PassLimit::kLong + 4));
}

TEST(PassLimit, EndsAtOnce_WhereNothingCanBeCounted) {
    using corekit::PassLimit;
    PassLimit limit;
    EXPECT_FALSE(limit.IsReached(-1, PassLimit::kLong));
    EXPECT_TRUE(limit.IsReached(-1, PassLimit::kLong + 1));
    const Workspace dir;
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    testsupport::WithFailing({{SYS_getdents64, EIO}}, [&] {
        PassLimit unread;
        EXPECT_FALSE(unread.IsReached(directory.Get(), PassLimit::kLong));
        EXPECT_TRUE(unread.IsReached(directory.Get(), PassLimit::kLong + 1));
        return 0;
    });
}

TEST(PassLimit, CountsDirectoriesOfAnySize) {
    const Workspace dir;
    MakeFiles(dir, 5000);
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    corekit::PassLimit limit;
    EXPECT_FALSE(limit.IsReached(directory.Get(), corekit::PassLimit::kLong));
    EXPECT_FALSE(limit.IsReached(directory.Get(), corekit::PassLimit::kLong + 5000));
    EXPECT_TRUE(limit.IsReached(directory.Get(), corekit::PassLimit::kLong + 5001));
}
