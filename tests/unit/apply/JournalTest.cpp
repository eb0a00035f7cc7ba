// What the journal tells is what was written to it, phase by phase.
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "apply/Journal.h"
#include "corekit/json/Json.h"
#include "tests/support/Mount.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

constexpr const char* kDir = "/var/lib/qdn-configure";

class JournalFiles : public testing::Test {
  protected:
    ~JournalFiles() override {
        std::filesystem::remove_all(kDir);
        std::filesystem::remove_all("/opt/store");
    }
};

Journal Sample() {
    Journal journal;
    journal.stores = {"/opt/store"};
    journal.agentDirs = {"/opt/agent"};
    journal.runningAgent = "/opt/agent";
    SavedEntry entry{SavedEntry::Kind::Whole, "/opt/a\xff", "/opt/store/0", {}, {}};
    entry.state.mode = 0640;
    entry.state.uid = 7;
    entry.state.attributes["user.x"] = std::string("\0\xfe", 2);
    journal.entries.push_back(entry);
    SavedEntry directory{SavedEntry::Kind::Itself, "/opt", "", {}, {"one", "two"}};
    directory.state.type = Preview::FileType::Directory;
    journal.entries.push_back(directory);
    journal.moves.push_back({"/opt/from", "/opt/to", "/opt/store/2", {1, 2}});
    return journal;
}

TEST_F(JournalFiles, AreNone_WhenNothingWasBegun) {
    EXPECT_EQ(FindPhase().value(), Phase::None);
    EXPECT_TRUE(Discard());
}

TEST_F(JournalFiles, AreDiscarded_WhenAStoreWasToBeWhereNothingCanBeWritten) {
    const auto mount = testsupport::Mount::Tmpfs("/opt/store");
    mount.MakeReadOnly();
    Journal journal = Sample();
    journal.stores = {"/opt/store/saved"};
    ASSERT_TRUE(BeginJournal(journal));
    EXPECT_TRUE(Discard());
    EXPECT_EQ(FindPhase().value(), Phase::None);
}

TEST_F(JournalFiles, PhasesFollowEachOther) {
    ASSERT_TRUE(BeginJournal(Sample()));
    EXPECT_EQ(FindPhase().value(), Phase::Saving);
    ASSERT_TRUE(WriteJournal(Sample()));
    EXPECT_EQ(FindPhase().value(), Phase::Running);
    ASSERT_TRUE(MarkOver());
    EXPECT_EQ(FindPhase().value(), Phase::Over);
    std::filesystem::create_directories("/opt/store/deep");
    ASSERT_TRUE(Discard());
    EXPECT_EQ(FindPhase().value(), Phase::None);
    EXPECT_FALSE(testfiles::Exists("/opt/store"));
    EXPECT_FALSE(testfiles::Exists(kDir));
}

TEST_F(JournalFiles, ReadsWhatWasWritten_WhateverTheBytes) {
    const Journal journal = Sample();
    ASSERT_TRUE(BeginJournal(journal));
    ASSERT_TRUE(WriteJournal(journal));
    const auto read = ReadJournal();
    ASSERT_TRUE(read);
    EXPECT_EQ(read->stores, journal.stores);
    EXPECT_EQ(read->agentDirs, journal.agentDirs);
    EXPECT_EQ(read->runningAgent, journal.runningAgent);
    ASSERT_EQ(read->entries.size(), 2U);
    EXPECT_EQ(read->entries[0].path, "/opt/a\xff");
    EXPECT_EQ(read->entries[0].saved, "/opt/store/0");
    EXPECT_EQ(read->entries[0].state.mode, 0640U);
    EXPECT_EQ(read->entries[0].state.uid, 7U);
    EXPECT_EQ(read->entries[0].state.attributes, journal.entries[0].state.attributes);
    EXPECT_EQ(read->entries[1].names, journal.entries[1].names);
    ASSERT_EQ(read->moves.size(), 1U);
    EXPECT_EQ(read->moves[0].identity, journal.moves[0].identity);
}

TEST_F(JournalFiles, NobodyElseCanReadIt) {
    ASSERT_TRUE(BeginJournal(Sample()));
    EXPECT_EQ(testfiles::Mode(kDir), 0700U);
    EXPECT_EQ(testfiles::Mode(std::string(kDir) + "/stores"), 0600U);
}

TEST_F(JournalFiles, ANoteThatWasNotWrittenToItsEndGoesWithTheRest) {
    testfiles::Write("/var/lib/qdn-configure/.journal.unfinished", "");
    EXPECT_TRUE(Discard());
    EXPECT_FALSE(testfiles::Exists("/var/lib/qdn-configure"));
}

TEST_F(JournalFiles, ADamagedJournalIsAFailure) {
    ASSERT_TRUE(BeginJournal(Sample()));
    testfiles::Write(std::string(kDir) + "/journal", "\xff\xff no CBOR");
    const auto read = ReadJournal();
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().text, L"The journal of a former -apply cannot be read.");
}

TEST_F(JournalFiles, AreNotReadNorDiscarded_WhenTheyAreOfAnotherVersion) {
    ASSERT_TRUE(BeginJournal(Sample()));
    testfiles::Write("/opt/store/saved", "the host's");
    for (const corekit::Json& note :
         {corekit::Json{{"format", 2}}, corekit::Json::object(), corekit::Json(1)}) {
        testfiles::Write(std::string(kDir) + "/stores", corekit::Cbor(note));
        const Failure refusal =
            Fail(L"The journal of a former -apply is of another version of qdn-configure.");
        EXPECT_EQ(ReadJournal().error(), refusal);
        EXPECT_EQ(Discard().error(), refusal);
    }
    EXPECT_EQ(testfiles::Read("/opt/store/saved"), "the host's");
}

TEST_F(JournalFiles, TheFilesOfAnAttemptStay_WhenTheRestGoes) {
    ASSERT_TRUE(BeginJournal(Sample()));
    testfiles::Write(std::string(kDir) + "/failed/etc/file", "");
    ASSERT_TRUE(Discard());
    EXPECT_TRUE(testfiles::Exists(std::string(kDir) + "/failed/etc/file"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Apply
