// Which hosts count as supported platforms, and what is asked of them to tell.
#include <gtest/gtest.h>
#include <unistd.h>

#include "app/ConfigureSteps.h"
#include "tests/support/StandIn.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

/// A host made of a processor, release files and a hypervisor's product text.
class PlatformSupport : public testing::Test {
  protected:
    void TearDown() override {
        for (const char* path : {"/etc/redhat-release", "/etc/SuSE-release", "/usr/bin/vmware"}) unlink(path);
    }

    void Processor(const std::string& name) { m_standIns.Add("uname", "echo '" + name + "'"); }
    void RedHat(const std::string& text) { testfiles::Write("/etc/redhat-release", text + "\n"); }
    void SuSE(const std::string& text) { testfiles::Write("/etc/SuSE-release", text + "\n"); }
    void Hypervisor(const std::string& text) {
        testfiles::Write("/usr/bin/vmware", "#!/bin/sh\necho '" + text + "'\n", 0755);
    }

    testsupport::StandIns m_standIns;
};

TEST_F(PlatformSupport, AHostWithoutAReleaseFileOrAHypervisorIsNotSupported_AndNothingIsRun) {
    Processor("i686");
    m_standIns.Add("sed", "cat");
    EXPECT_FALSE(IsPlatformSupported());
    EXPECT_EQ(m_standIns.Calls(), "");
}

TEST_F(PlatformSupport, EnterpriseReleasesRunOnBothKindsOfProcessors) {
    RedHat("Red Hat Enterprise Linux AS release 3 (Taroon Update 2)");
    for (const char* processor : {"i686", "x86_64", "unknown", " Athlon "}) {
        Processor(processor);
        EXPECT_TRUE(IsPlatformSupported()) << processor;
    }
    Processor("ia64");
    EXPECT_FALSE(IsPlatformSupported());
}

struct Row {
    const char* text;
    bool on32Bit;
    bool on64Bit;
};

class RedHatReleases : public PlatformSupport, public testing::WithParamInterface<Row> {};
TEST_P(RedHatReleases, AreSupportedAsListed) {
    RedHat(GetParam().text);
    Processor("i586");
    EXPECT_EQ(IsPlatformSupported(), GetParam().on32Bit);
    Processor("x86_64");
    EXPECT_EQ(IsPlatformSupported(), GetParam().on64Bit);
}
INSTANTIATE_TEST_SUITE_P(
    All, RedHatReleases,
    testing::Values(Row{"Red Hat Linux release 7.2 (Enigma)", true, false},
                    Row{"Red Hat Linux release 7.3 (Valhalla)", true, false},
                    Row{"Red Hat Linux release 8.0 (Psyche)", true, false},
                    Row{"Red Hat Linux release 9 (Shrike)", true, false},
                    Row{"Red Hat Linux Advanced Server release 2.1AS (Pensacola)", true, false},
                    Row{"Red Hat Linux Advanced Workstation release 2.1AW (Derry)", true, false},
                    Row{"Red Hat Enterprise Linux WS release 2.1 (Tampa)", true, false},
                    Row{"Red Hat Enterprise Linux ES release 2.1 (Panama)", true, false},
                    Row{"Red Hat Enterprise Linux AS release 3 (Taroon)", true, true},
                    Row{"Red Hat Enterprise Linux WS release 3 (Taroon)", true, true},
                    Row{"Red Hat Enterprise Linux ES release 3 (Taroon)", true, true},
                    Row{"Red Hat Enterprise Linux AS release 4 (Nahant)", true, true},
                    Row{"Red Hat Enterprise Linux WS release 4 (Nahant)", true, true},
                    Row{"Red Hat Enterprise Linux ES release 4 (Nahant)", true, true},
                    Row{"Red Hat Enterprise Linux XX release 4 (Nahant)", false, false},
                    Row{"Red Hat Linux release 9.1 (Shrike)", false, false},
                    Row{"Red Hat Linux (Shrike)", false, false}));

class SuSEReleases : public PlatformSupport, public testing::WithParamInterface<Row> {};
TEST_P(SuSEReleases, AreSupportedAsListed) {
    SuSE(GetParam().text);
    Processor("i586");
    EXPECT_EQ(IsPlatformSupported(), GetParam().on32Bit);
    Processor("x86_64");
    EXPECT_EQ(IsPlatformSupported(), GetParam().on64Bit);
}
INSTANTIATE_TEST_SUITE_P(
    All, SuSEReleases,
    testing::Values(Row{"SuSE Linux 8.0 (i386)\nVERSION = 8.0", true, false},
                    Row{"SuSE Linux 8.1 (i386)\nVERSION = 8.1", true, false},
                    Row{"SuSE Linux 8.2 (i586)\nVERSION = 8.2", true, false},
                    Row{"SuSE Linux 9.0 (i586)\nVERSION = 9.0", true, false},
                    Row{"SuSE Linux 9.1 (i586)\nVERSION = 9.1", true, false},
                    Row{"SuSE Linux 9.2 (i586)\nVERSION = 9.2", true, false},
                    Row{"SuSE Linux 9.3 (x86-64)\nVERSION = 9.3", true, false},
                    Row{"SUSE LINUX 10.0 (X86-64)\nVERSION = 10.0", true, true},
                    Row{"SUSE LINUX 10.1 (X86-64)\nVERSION = 10.1", true, true},
                    Row{"SuSE SLES-8 (i386)\nVERSION = 8.1", true, true},
                    Row{"SUSE LINUX Enterprise Server 9 (i586)\nVERSION = 9", true, true},
                    Row{"SUSE Linux Enterprise Server 10 (i586)\nVERSION = 10", true, true},
                    Row{"SUSE Linux Enterprise Desktop 10 (i586)\nVERSION = 10", true, true},
                    Row{"SUSE LINUX Enterprise Server 10 (i586)\nVERSION = 10", false, false},
                    Row{"SUSE Linux Enterprise Server 9 (i586)\nVERSION = 9", false, false},
                    Row{"SuSE SLES-8 (i386)\nVERSION = 8", false, false},
                    // Of each release only its own version is supported.
                    Row{"SuSE Linux 8.1 (i386)\nVERSION = 8.0", false, false},
                    Row{"SuSE Linux 8.2 (i386)\nVERSION = 8.1", false, false},
                    Row{"SuSE Linux 8.0 (i386)\nVERSION = 8.2", false, false},
                    Row{"SuSE Linux 9.1 (i386)\nVERSION = 9.0", false, false},
                    Row{"SuSE Linux 9.2 (i386)\nVERSION = 9.1", false, false},
                    Row{"SuSE Linux 9.3 (i386)\nVERSION = 9.2", false, false},
                    Row{"SuSE Linux 9.0 (i386)\nVERSION = 9.3", false, false},
                    Row{"SUSE LINUX 10.1 (X86-64)\nVERSION = 10.0", false, false},
                    Row{"SUSE LINUX 10.0 (X86-64)\nVERSION = 10.1", false, false}));

struct EsxRow {
    const char* product;
    const char* processor;
    bool supported;
};
class EsxReleases : public PlatformSupport, public testing::WithParamInterface<EsxRow> {};
TEST_P(EsxReleases, AreSupportedAsListed) {
    Hypervisor(GetParam().product);
    Processor(GetParam().processor);
    EXPECT_EQ(IsPlatformSupported(), GetParam().supported);
}
INSTANTIATE_TEST_SUITE_P(All, EsxReleases,
                         testing::Values(EsxRow{"VMware ESX Server 2.5.1 build-13057", "i686", true},
                                         EsxRow{"VMware ESX Server 2.5.1 build-13057", "x86_64", false},
                                         EsxRow{"VMware ESX Server 3.0.0 build-27701", "i686", true},
                                         EsxRow{"VMware ESX Server 3.0.0 build-27701", "x86_64", true},
                                         EsxRow{"VMware ESX Server 3.0.0 build-27701", "ia64", false},
                                         EsxRow{"VMware ESX Server 3.5.0 build-64607", "x86_64", false},
                                         EsxRow{"VMware Workstation 3.0.0 build-1", "i686", false}));

TEST_F(PlatformSupport, ARowThatFailsDoesNotStopTheSearch) {
    RedHat("Red Hat Linux release 8.0 (Shrike Psyche)");
    Processor("i686");
    EXPECT_TRUE(IsPlatformSupported());
}

TEST_F(PlatformSupport, TheProcessorIsAskedOnce_HoweverManyRowsFit) {
    RedHat("Red Hat Enterprise Linux AS ES WS release 4 (Nahant)");
    Processor("ia64");
    EXPECT_FALSE(IsPlatformSupported());
    EXPECT_EQ(m_standIns.Calls(), "uname -p\n");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
