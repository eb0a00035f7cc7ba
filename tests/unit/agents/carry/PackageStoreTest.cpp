// Packages carried into today's layout without loss, or left as they are.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/mount.h>
#include <sys/syscall.h>

#include "agents/carry/StoreConversion.h"
#include "corekit/xml/BasicXml.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::AttributeMap;
using corekit::BasicXml;
using corekit::String;
using testfiles::Read;
using testfiles::Write;

const std::string kStore = "/opt/packages/";
const std::string kOld = kStore + "{ab-1}";
const std::string kNewRecord = kStore + ".qdn-pkg-xml-{AB-1}";

constexpr const char* kInfo =
    "[PackageInfo]\n"
    "PackageName=Office <2> & \"more\"\n"
    "pkg_total_size=1024\n"
    "codebases=2\n"
    "pkg_current_size=512\n"
    "pkg_status=3\n"
    "pkg_last_download_status=4\n"
    "pkg_last_download_status_err=5\n"
    "pkg_download_number=6\n"
    "pkg_delete_after=7\n"
    "site_note=kept too\n";

constexpr const char* kRecord =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<Package Enabled=\"true\" Deleted=\"false\" InternalVersion=\"1.2\""
    " PackageName=\"Office &lt;2&gt; &amp; &quot;more&quot;\" PkgTotalSize=\"1024\" SiteNote=\"kept too\">\n"
    "    <PackageUser Name=\"Zorvane.SWD\" Priority=\"normal\" Codebases=\"2\" PkgCurrentSize=\"512\""
    " PkgDeleteAfter=\"7\" PkgDownloadNumber=\"6\" PkgLastDownloadStatus=\"4\" PkgLastDownloadStatusErr=\"5\""
    " PkgStatus=\"3\"/>\n"
    "</Package>\n";

/// Every file below the store with its content; directories with none.
std::map<std::string, std::string> Contents() {
    std::map<std::string, std::string> contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kStore)) {
        const std::string path = entry.path();
        contents[path.substr(kStore.size())] = entry.is_regular_file() ? Read(path) : "";
    }
    return contents;
}

class PackageStore : public testing::Test {
  protected:
    void SetUp() override { std::filesystem::create_directories(kOld); }
    void TearDown() override { std::filesystem::remove_all("/opt/packages"); }
};

TEST_F(PackageStore, CarriesAPackageIntoTodaysLayout) {
    Write(kOld + "/data", "data");
    Write(kOld + ".qdn-pkg-info", kInfo, 0600);
    Write(kOld + ".qdn-pkg-xml", "<P><InternalVersion> 1.2 </InternalVersion><Other>x</Other></P>");
    Write(kOld + ".qdn-pkg-codebases", "codebases");
    Write(kOld + ".qdn-pkg-snapshot", "snapshot");
    ConvertPackages(L"/opt/packages");
    EXPECT_EQ(Contents(),
              (std::map<std::string, std::string>{
                  {"{ab-1}", ""},
                  {"{ab-1}/data", "data"},
                  {"{ab-1}.qdn-pkg-xml", "<P><InternalVersion> 1.2 </InternalVersion><Other>x</Other></P>"},
                  {".qdn-pkg-xml-{AB-1}", kRecord},
                  {".qdn-pkg-codebases-{AB-1}", "codebases"},
                  {".qdn-pkg-snapshot-{AB-1}", "snapshot"},
              }));
    EXPECT_EQ(testfiles::Mode(kNewRecord), 0600u);
}

TEST_F(PackageStore, ChangesNothingTheSecondTime) {
    Write(kOld + ".qdn-pkg-info", kInfo);
    Write(kOld + ".qdn-pkg-codebases", "codebases");
    ConvertPackages(L"/opt/packages/");
    const auto contents = Contents();
    const auto time = std::filesystem::last_write_time(kNewRecord);
    ConvertPackages(L"/opt/packages/");
    EXPECT_EQ(Contents(), contents);
    EXPECT_EQ(std::filesystem::last_write_time(kNewRecord), time);
}

TEST_F(PackageStore, FinishesAConversionThatWasInterrupted) {
    Write(kOld + ".qdn-pkg-info", kInfo);
    ConvertPackages(L"/opt/packages");
    const std::string record = Read(kNewRecord);
    Write(kOld + ".qdn-pkg-info", kInfo);
    Write(kOld + ".qdn-pkg-snapshot", "snapshot");
    ConvertPackages(L"/opt/packages");
    EXPECT_EQ(Contents(), (std::map<std::string, std::string>{{"{ab-1}", ""},
                                                              {".qdn-pkg-xml-{AB-1}", record},
                                                              {".qdn-pkg-snapshot-{AB-1}", "snapshot"}}));
}

TEST_F(PackageStore, KeepsTheOldRecord_UntilAllHasMoved) {
    Write(kOld + ".qdn-pkg-info", kInfo);
    ConvertPackages(L"/opt/packages");
    Write(kOld + ".qdn-pkg-info", kInfo);
    Write(kOld + ".qdn-pkg-snapshot", "snapshot");
    const int status = testsupport::WithFailing({{SYS_renameat, EIO}}, [] {
        ConvertPackages(L"/opt/packages");
        return 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Read(kOld + ".qdn-pkg-info"), kInfo);
    ConvertPackages(L"/opt/packages");
    EXPECT_FALSE(testfiles::Exists(kOld + ".qdn-pkg-info"));
    EXPECT_EQ(Contents()[".qdn-pkg-snapshot-{AB-1}"], "snapshot");
}

TEST_F(PackageStore, ConvertsARecordWithFewFields) {
    Write(kOld + ".qdn-pkg-info", "[PackageInfo]\npkg_status=1\n");
    ConvertPackages(L"/opt/packages");
    EXPECT_EQ(Read(kNewRecord),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<Package Enabled=\"true\" Deleted=\"false\">\n"
              "    <PackageUser Name=\"Zorvane.SWD\" Priority=\"normal\" PkgStatus=\"1\"/>\n"
              "</Package>\n");
}

// What is not well-formed stays beside the record.
TEST_F(PackageStore, ConvertsAPackageWhoseRecordsSayNothing) {
    const std::pair<const char*, const char*> records[] = {
        {"", "<P/>"}, {"[PackageInfo]\n", "<P/>"}, {"", "<P><InternalVersion>2</InternalVersion>"}, {"", ""}};
    for (const auto& [info, xml] : records) {
        Write(kOld + ".qdn-pkg-info", info);
        Write(kOld + ".qdn-pkg-xml", xml);
        ConvertPackages(L"/opt/packages");
        EXPECT_EQ(Read(kNewRecord),
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                  "<Package Enabled=\"true\" Deleted=\"false\">\n"
                  "    <PackageUser Name=\"Zorvane.SWD\" Priority=\"normal\"/>\n"
                  "</Package>\n")
            << info << xml;
        EXPECT_FALSE(testfiles::Exists(kOld + ".qdn-pkg-info")) << info << xml;
        EXPECT_EQ(Read(kOld + ".qdn-pkg-xml"), xml);
    }
}

TEST_F(PackageStore, PrefersTheValuesOfTheOldRecord) {
    Write(kOld + ".qdn-pkg-info", "[PackageInfo]\nenabled=false\nDeleted=true\nInternalVersion=1.2\n");
    Write(kOld + ".qdn-pkg-xml", "<P><InternalVersion>1.2</InternalVersion></P>");
    ConvertPackages(L"/opt/packages");
    AttributeMap attributes;
    BasicXml(String::FromUtf8(Read(kNewRecord))).GetAttributes(attributes);
    EXPECT_EQ(attributes,
              (AttributeMap{{L"Enabled", L"false"}, {L"Deleted", L"true"}, {L"InternalVersion", L"1.2"}}));
}

TEST_F(PackageStore, GivesEveryTextBackThroughAParser) {
    Write(kOld + ".qdn-pkg-info",
          "[PackageInfo]\nPackageName=\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 a\tb <&>'\"\n"
          "codebases=http://h/?a=1&b=2\n");
    ConvertPackages(L"/opt/packages");
    const BasicXml xml(String::FromUtf8(Read(kNewRecord)));
    AttributeMap package;
    AttributeMap user;
    xml.GetAttributes(L"Package", package);
    xml.GetAttributes(L"PackageUser", user);
    EXPECT_EQ(package[L"PackageName"], L"\xe4\x20ac\x1f600 a\tb <&>'\"");
    EXPECT_EQ(user[L"Codebases"], L"http://h/?a=1&b=2");
}

TEST_F(PackageStore, LeavesAndWarnsOfAPackageThatItCannotConvertWhole) {
    const std::pair<const char*, const char*> records[] = {
        {"pkg_status=1\n", "<P/>"},                // no section
        {"[PackageInfo]\na_b=1\nAB=2\n", "<P/>"},  // two keys, one name
        {"[PackageInfo]\n1key=1\n", "<P/>"},       // no XML name
        {"[PackageInfo]\nsome key=1\n", "<P/>"},   // no XML name
        {"[PackageInfo]\na=caf\xe9\n", "<P/>"},    // no valid text
        {"[PackageInfo]\na=\x1b[2J\n", "<P/>"},    // a control character
        {"[PackageInfo]\nInternalVersion=1\n", "<InternalVersion>2</InternalVersion>"},  // a contradiction
    };
    for (const auto& [info, xml] : records) {
        Write(kOld + ".qdn-pkg-info", info);
        Write(kOld + ".qdn-pkg-xml", xml);
        Write(kOld + ".qdn-pkg-snapshot", "snapshot");
        const auto contents = Contents();
        const auto output = testsupport::Captured([] { ConvertPackages(L"/opt/packages"); });
        EXPECT_EQ(Contents(), contents) << info << xml;
        EXPECT_TRUE(output.err.starts_with("WARNING! /opt/packages/{ab-1}.qdn-pkg-info is not converted: "))
            << output.err;
    }
}

TEST_F(PackageStore, ConvertsARecordWithOddLines) {
    Write(kOld + ".qdn-pkg-info", "stray=1\njunk\n[PackageInfo]\nPackageName=a\n???\n[Other]\nb=2\n");
    const auto output = testsupport::Captured([] { ConvertPackages(L"/opt/packages"); });
    EXPECT_EQ(output.err, "");
    AttributeMap attributes;
    BasicXml(String::FromUtf8(Read(kNewRecord))).GetAttributes(attributes);
    EXPECT_EQ(attributes,
              (AttributeMap{{L"Enabled", L"true"}, {L"Deleted", L"false"}, {L"PackageName", L"a"}}));
}

TEST_F(PackageStore, LeavesAPackageWhoseNewNameIsTaken) {
    Write(kNewRecord, "another record");
    Write(kOld + ".qdn-pkg-info", kInfo);
    const auto contents = Contents();
    ConvertPackages(L"/opt/packages");
    EXPECT_EQ(Contents(), contents);
}

TEST_F(PackageStore, LeavesWhatIsNoPackage) {
    Write(kStore + "plain/data", "");
    Write(kStore + "plain.qdn-pkg-info", kInfo);
    Write(kStore + "{file}", "");
    Write(kStore + "{file}.qdn-pkg-info", kInfo);
    Write(kStore + "{without-directory}.qdn-pkg-info", kInfo);
    Write(kStore + "{without-record}/data", "");
    Write(kStore + "{without-record}.qdn-pkg-snapshot", "");
    const auto contents = Contents();
    ConvertPackages(L"/opt/packages");
    EXPECT_EQ(Contents(), contents);
}

TEST_F(PackageStore, LeavesFilesWhoseNewNamesAreTaken) {
    Write(kOld + ".qdn-pkg-info", kInfo);
    Write(kOld + ".qdn-pkg-snapshot", "old");
    Write(kStore + ".qdn-pkg-snapshot-{AB-1}", "new");
    ConvertPackages(L"/opt/packages");
    EXPECT_EQ(Read(kOld + ".qdn-pkg-snapshot"), "old");
    EXPECT_EQ(Read(kStore + ".qdn-pkg-snapshot-{AB-1}"), "new");
}

TEST_F(PackageStore, LeavesAPackageWhoseRecordAFullDiskCannotTake) {
    ASSERT_EQ(mount("tmpfs", "/opt/packages", "tmpfs", 0, "size=64k"), 0);
    std::filesystem::create_directories(kOld);
    Write(kOld + ".qdn-pkg-info", kInfo);
    Write(kStore + "filler", "");
    std::ofstream(kStore + "filler", std::ios::binary) << std::string(100000, 'x');
    const auto contents = Contents();
    ConvertPackages(L"/opt/packages");
    EXPECT_EQ(Contents(), contents);
    EXPECT_EQ(umount("/opt/packages"), 0);
}

TEST_F(PackageStore, LeavesAndWarnsOfAPackageWhoseXmlCannotBeRead) {
    Write(kOld + ".qdn-pkg-info", kInfo);
    std::filesystem::create_directories(kOld + ".qdn-pkg-xml");
    const auto contents = Contents();
    const auto output = testsupport::Captured([] { ConvertPackages(L"/opt/packages"); });
    EXPECT_EQ(Contents(), contents);
    EXPECT_EQ(output.err,
              "WARNING! /opt/packages/{ab-1}.qdn-pkg-info is not converted: "
              "/opt/packages/{ab-1}.qdn-pkg-xml: Is a directory.\n");
}

TEST_F(PackageStore, ConvertsManyPackages) {
    constexpr int kCount = 500;
    for (int number = 0; number < kCount; ++number) {
        const std::string name = kStore + "{x" + std::to_string(number) + "}";
        std::filesystem::create_directories(name);
        Write(name + ".qdn-pkg-info", kInfo);
    }
    ConvertPackages(L"/opt/packages");
    for (int number = 0; number < kCount; ++number) {
        const std::string name = "{X" + std::to_string(number) + "}";
        EXPECT_TRUE(testfiles::Exists(kStore + ".qdn-pkg-xml-" + name)) << name;
        EXPECT_FALSE(testfiles::Exists(kStore + "{x" + std::to_string(number) + "}.qdn-pkg-info")) << name;
    }
}

TEST_F(PackageStore, DoesNothingWithoutAStore) {
    Write(kOld + ".qdn-pkg-info", kInfo);
    const auto contents = Contents();
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path("/opt");
    for (const String store : {L"", L"/", L"packages", L"/opt/missing", L"/opt/packages/{ab-1}.qdn-pkg-info"})
        ConvertPackages(store);
    std::filesystem::current_path(before);
    EXPECT_EQ(Contents(), contents);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
