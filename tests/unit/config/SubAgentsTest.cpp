// The registrations of sub-agents: what is carried over, and what the new file keeps.
#include <gtest/gtest.h>

#include "config/ClientConfDraft.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;

/// What becomes of a new file when the registrations of an old one are carried over.
std::string Carried(const std::string& oldText, const std::string& newText) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "old", oldText);
    testfiles::Write(dir / "new", newText);
    const IniFile oldIni(String::FromUtf8(dir / "old"), IniFile::KeyCase::FallBack);
    ClientConfDraft draft(String::FromUtf8(dir / "new"));
    EXPECT_TRUE(CarryOverSubAgents(oldIni, draft));
    EXPECT_TRUE(draft.File().Write());
    return testfiles::Read(dir / "new");
}

constexpr const char* kTemplate =
    "[Configuration]\nsub_agent_names=\n[Class Servers]\nzorvane.qdnntracker=Tracker\n"
    "[Tracker]\nthreads=1\n[Static Agents]\nzorvane.qdnntracker=yes\n";

TEST(CarryOverSubAgents, AClassServerComesWithItsSection) {
    EXPECT_EQ(Carried("[Class Servers]\nb.server=B Server\na.server=A Server\n"
                      "[A Server]\nprogram=/a\nthreads=2\n[B Server]\nprogram=/b\n[Other]\nx=1\n",
                      "[Class Servers]\nown=Own\n"),
              "[Class Servers]\nown=Own\na.server=A Server\nb.server=B Server\n"
              "[A Server]\nprogram=/a\nthreads=2\n[B Server]\nprogram=/b\n");
}

TEST(CarryOverSubAgents, TheAgentsOwnTrackerIsNeverCopied) {
    for (const char* key : {"zorvane.qdnntracker", "Zorvane.QDNNTracker", "ZORVANE.QDNNTRACKER"}) {
        SCOPED_TRACE(key);
        const std::string name = key;
        EXPECT_EQ(Carried("[Class Servers]\n" + name + "=Old Tracker\n[Old Tracker]\nthreads=9\n" +
                              "[Static Agents]\n" + name + "=no\n",
                          kTemplate),
                  kTemplate);
    }
}

TEST(CarryOverSubAgents, AClassServerOfBothFilesKeepsTheNewFilesEntryAndSection) {
    const std::string newText = "[Class Servers]\na.server=New Section\n[New Section]\nprogram=/new\n";
    EXPECT_EQ(Carried("[Class Servers]\na.server=Old Section\n[Old Section]\nprogram=/old\n"
                      "[New Section]\nprogram=/old\n",
                      newText),
              newText);
}

TEST(CarryOverSubAgents, AClassServerWithoutASectionIsJustItsEntry) {
    EXPECT_EQ(Carried("stray=1\n[Class Servers]\na.server=\nb.server=Missing\n", "[Class Servers]\n"),
              "[Class Servers]\na.server=\nb.server=Missing\n");
}

TEST(CarryOverSubAgents, NothingIsCarriedFromAFileWithoutRegistrations) {
    EXPECT_EQ(Carried("", kTemplate), kTemplate);
    EXPECT_EQ(Carried("[Configuration]\nsub_agent_names=\nagent_roles=\nother=1\n", kTemplate), kTemplate);
}

TEST(CarryOverSubAgents, TheListsOfTheOldFileReplaceTheTemplates) {
    EXPECT_EQ(Carried("[Configuration]\nsub_agent_names=a;b\nsub_agent_versions=1;2\n"
                      "sub_agent_build_nums=10;20\nsub_agent_paths=/a;/b\n",
                      "[Configuration]\nsub_agent_paths=/t\nsub_agent_names=t\nother=1\n"),
              "[Configuration]\nsub_agent_paths=/a;/b\nsub_agent_names=a;b\nother=1\n"
              "sub_agent_versions=1;2\nsub_agent_build_nums=10;20\n");
}

TEST(CarryOverSubAgents, AListThatTheOldFileLacksIsEmptiedSoThatAllFourStayParallel) {
    EXPECT_EQ(Carried("[Configuration]\nsub_agent_names=a\nsub_agent_versions=\n",
                      "[Configuration]\nsub_agent_names=t\nsub_agent_versions=1\nsub_agent_build_nums=2\n"),
              "[Configuration]\nsub_agent_names=a\nsub_agent_versions=\nsub_agent_build_nums=\n");
}

TEST(CarryOverSubAgents, TheTemplatesListsStay_WhenNoneIsCarried) {
    const std::string newText = "[Configuration]\nsub_agent_names=t\nsub_agent_versions=1\n";
    EXPECT_EQ(Carried("[Configuration]\nsub_agent_names=\n", newText), newText);
}

TEST(CarryOverSubAgents, RolesAreReplaced_WhenTheOldFileHasSome) {
    EXPECT_EQ(Carried("[Configuration]\nagent_roles=server\n", "[Configuration]\nagent_roles=client\n"),
              "[Configuration]\nagent_roles=server\n");
    EXPECT_EQ(Carried("[Configuration]\nagent_roles=\n", "[Configuration]\nagent_roles=client\n"),
              "[Configuration]\nagent_roles=client\n");
}

TEST(CarryOverSubAgents, StaticAgentsOverwriteThoseOfTheTemplate) {
    EXPECT_EQ(Carried("[Static Agents]\nb=old\na=\n", "[Static Agents]\nb=new\nc=new\n"),
              "[Static Agents]\nb=old\nc=new\na=\n");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
