// Jobs carried into today's layout without loss, or left as they are.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/syscall.h>

#include "agents/carry/StoreConversion.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::Read;
using testfiles::Write;

const std::string kStore = "/opt/jobs/";
const std::string kOld = kStore + "{ab-1}";

constexpr const char* kInfo =
    "[JobInfo]\n"
    "job_refcount=2\n"
    "CleanupAfter=3600\n"
    "Priority=high\n"
    "StatusEventsEnabled=true\n"
    "Immediate=false\n"
    "site_note=a & b\n";

constexpr const char* kXml = "<Job><Download Url='http://h/?a=1&amp;b=2' Retries=\"3\"/><Other x='1'/></Job>";

constexpr const char* kRecord =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<Job CleanupAfter=\"3600\" Immediate=\"false\" JobRefcount=\"2\" Priority=\"high\" SiteNote=\"a &amp; "
    "b\" StatusEventsEnabled=\"true\">\n    <Download Retries=\"3\" Url=\"http://h/?a=1&amp;b=2\"/>\n</Job>\n";

std::map<std::string, std::string> Contents() {
    std::map<std::string, std::string> contents;
    for (const auto& entry : std::filesystem::directory_iterator(kStore)) {
        contents[entry.path().filename()] = entry.is_regular_file() ? Read(entry.path()) : "";
    }
    return contents;
}

class JobStore : public testing::Test {
  protected:
    void SetUp() override { std::filesystem::create_directories(kStore); }
    void TearDown() override { std::filesystem::remove_all(kStore); }
};

TEST_F(JobStore, CarriesAJobIntoTodaysLayout) {
    Write(kOld + ".qdn-job-info", kInfo, 0640);
    Write(kOld + ".qdn-job-xml", kXml);
    ConvertJobs(L"/opt/jobs");
    EXPECT_EQ(Contents(), (std::map<std::string, std::string>{{"{ab-1}.qdn-job-xml", kXml},
                                                              {".qdn-job-xml-{AB-1}", kRecord}}));
    EXPECT_EQ(testfiles::Mode(kStore + ".qdn-job-xml-{AB-1}"), 0640u);
}

TEST_F(JobStore, ChangesNothingTheSecondTimeAndFinishesWhatWasInterrupted) {
    Write(kOld + ".qdn-job-info", kInfo);
    Write(kOld + ".qdn-job-xml", kXml);
    ConvertJobs(L"/opt/jobs/");
    const auto contents = Contents();
    ConvertJobs(L"/opt/jobs/");
    EXPECT_EQ(Contents(), contents);
    Write(kOld + ".qdn-job-info", kInfo);
    ConvertJobs(L"/opt/jobs/");
    EXPECT_EQ(Contents(), contents);
}

TEST_F(JobStore, ConvertsAJobWithoutADownload) {
    for (const std::string xml : {"", "<Job/>", "<Job>"}) {
        SCOPED_TRACE(xml);
        Write(kOld + ".qdn-job-info", "[JobInfo]\nPriority=low\n");
        if (!xml.empty()) Write(kOld + ".qdn-job-xml", xml);
        ConvertJobs(L"/opt/jobs");
        EXPECT_EQ(Read(kStore + ".qdn-job-xml-{AB-1}"),
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Job Priority=\"low\"/>\n");
        std::filesystem::remove(kStore + ".qdn-job-xml-{AB-1}");
    }
}

TEST_F(JobStore, FindsTheRecordInTheDirectoryOfTheJob) {
    for (const std::string& stem : {kOld + "/{ab-1}", kOld + "/"}) {
        SCOPED_TRACE(stem);
        Write(stem + ".qdn-job-info", kInfo);
        Write(stem + ".qdn-job-xml", kXml);
        ConvertJobs(L"/opt/jobs");
        EXPECT_EQ(Read(kStore + ".qdn-job-xml-{AB-1}"), kRecord);
        EXPECT_FALSE(testfiles::Exists(stem + ".qdn-job-info"));
        std::filesystem::remove(kStore + ".qdn-job-xml-{AB-1}");
    }
}

TEST_F(JobStore, SkipsLinesThatAreNoEntriesOfTheSection) {
    Write(kOld + ".qdn-job-info", "junk\n[JobInfo]\nPriority=low\n[Other]\na=1\n");
    ConvertJobs(L"/opt/jobs");
    EXPECT_EQ(Read(kStore + ".qdn-job-xml-{AB-1}"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Job Priority=\"low\"/>\n");
}

TEST_F(JobStore, LeavesAndWarnsOfAJobThatItCannotConvertWhole) {
    const std::pair<const char*, const char*> records[] = {
        {"[PackageInfo]\nPriority=low\n", kXml},
        {"[JobInfo]\njob_refcount=1\nJobRefcount=2\n", kXml},
        {"[JobInfo]\nPriority=\xff\n", kXml},
        {"[JobInfo]\nPriority=low\n", "<Job><Download \xc3\xa4='1'/></Job>"},
    };
    for (const auto& [info, xml] : records) {
        Write(kOld + ".qdn-job-info", info);
        Write(kOld + ".qdn-job-xml", xml);
        const auto contents = Contents();
        const auto output = testsupport::Captured([] { ConvertJobs(L"/opt/jobs"); });
        EXPECT_EQ(Contents(), contents) << info << xml;
        EXPECT_TRUE(output.err.starts_with("WARNING! /opt/jobs/{ab-1}.qdn-job-info is not converted: "))
            << output.err;
    }
}

TEST_F(JobStore, LeavesWhatIsNoJob) {
    Write(kStore + "plain.qdn-job-info", kInfo);
    Write(kStore + ".qdn-job-info", kInfo);
    Write(kStore + "{a}.qdn-job-info.bak", kInfo);
    Write(kStore + "{b}.qdn-job-xml", kXml);
    std::filesystem::create_directories(kStore + "{c}.qdn-job-info");
    std::filesystem::create_directories(kOld + "/{ab-1}.qdn-job-info");
    const auto contents = Contents();
    const auto output = testsupport::Captured([] { ConvertJobs(L"/opt/jobs"); });
    EXPECT_EQ(Contents(), contents);
    EXPECT_EQ(output.err, "");
}

TEST_F(JobStore, NeverReplacesAnotherRecord) {
    Write(kOld + ".qdn-job-info", kInfo);
    Write(kStore + ".qdn-job-xml-{AB-1}", "another record");
    const auto contents = Contents();
    ConvertJobs(L"/opt/jobs");
    EXPECT_EQ(Contents(), contents);
}

TEST_F(JobStore, LeavesAndWarnsOfAJobWhoseXmlCannotBeRead) {
    Write(kOld + ".qdn-job-info", kInfo);
    std::filesystem::create_directories(kOld + ".qdn-job-xml");
    const auto contents = Contents();
    const auto output = testsupport::Captured([] { ConvertJobs(L"/opt/jobs"); });
    EXPECT_EQ(Contents(), contents);
    EXPECT_EQ(output.err,
              "WARNING! /opt/jobs/{ab-1}.qdn-job-info is not converted: "
              "/opt/jobs/{ab-1}.qdn-job-xml: Is a directory.\n");
}

TEST_F(JobStore, IsWarnedOf_WhenItCannotBeRead) {
    for (const auto convert : {ConvertJobs, ConvertPackages}) {
        const auto output = testsupport::Captured([&] {
            testsupport::WithFailing({{SYS_getdents64, EIO}}, [&] {
                convert(L"/opt/jobs");
                corekit::Console::Flush();
                return 0;
            });
        });
        EXPECT_EQ(output.err, "WARNING! /opt/jobs/ is not converted: Input/output error.\n");
    }
}

TEST_F(JobStore, DoesNothingWithoutAStore) {
    Write(kOld + ".qdn-job-info", kInfo);
    const auto contents = Contents();
    for (const String store : {L"", L"/", L"jobs", L"/opt/missing"}) ConvertJobs(store);
    EXPECT_EQ(Contents(), contents);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
