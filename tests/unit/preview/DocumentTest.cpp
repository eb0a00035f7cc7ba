// What the document says of what a command has printed, of paths that are no text, and of mounts in its way.
#include <cerrno>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <vector>

#include "preview/Document.h"
#include "tests/support/FailingCall.h"
#include "tests/support/InChild.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/preview/FailingMounts.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

namespace fs = std::filesystem;
using corekit::Json;
using testing::ElementsAre;
using testing::IsEmpty;

/// A host of which nothing was copied: the document has what the command said.
Outcome<Json> DocumentOf(const Json& record, const std::string& errors = "") {
    return MakeDocument({}, HostCopy(), {corekit::Cbor(record), "", errors});
}

TEST(PreviewDocument, TheBytesOfAPathThatIsNoTextStandBesideIt) {
    const auto bytesOf = [](const std::string& target) {
        FileState link;
        link.type = FileType::Link;
        link.target = target;
        return StateAsJson(link, "", false).value("target_base64", "none");
    };
    EXPECT_EQ(bytesOf("a"), "none");
    EXPECT_EQ(bytesOf("\xff"), "/w==");
    EXPECT_EQ(bytesOf("\xff\xfe"), "//4=");
    EXPECT_EQ(bytesOf("\xff\xfe\xfd"), "//79");
}

TEST(PreviewDocument, ErrorsAndWarningsAreToldApart) {
    const auto document =
        DocumentOf({{"status", 1}}, "WARNING! one\n  more\nERROR: x\n  why\nWARNING! two\nthree\n");
    ASSERT_TRUE(document);
    EXPECT_EQ((*document)["error"], "x\n  why");
    EXPECT_EQ((*document)["warnings"], Json({"WARNING! one\n  more", "WARNING! two\nthree"}));
}

TEST(PreviewDocument, ARecordWithoutListsHasNone) {
    const auto document = DocumentOf({{"status", 0}, {"places", "/opt"}});
    ASSERT_TRUE(document);
    EXPECT_EQ((*document)["status"], 0);
    EXPECT_THAT((*document)["changes"], IsEmpty());
}

TEST(PreviewDocument, Fails_WhenTheCommandHasNotSaidHowItEnded) {
    for (const std::string& result : {std::string(), corekit::Cbor(Json::array()), std::string("{")}) {
        const auto document = MakeDocument({}, HostCopy(), {result, "", ""});
        ASSERT_FALSE(document) << result;
        EXPECT_EQ(document.error().text, L"The preview failed: the command has not said how it ended.");
    }
}

TEST(PreviewDocument, Fails_WhenTheCommandSaysThatItCannotTellAll) {
    const auto document = DocumentOf({{"status", 0}, {"failure", "The preview failed: why."}});
    ASSERT_FALSE(document);
    EXPECT_EQ(document.error().text, L"The preview failed: why.");
}

TEST(PreviewDocument, Fails_WhenTheChangesCannotBeTold) {
    std::string lower;
    const auto tell = [&](const HostCopy& copy, const Rehearsal& rehearsal) -> Outcome<std::string> {
        EXPECT_TRUE(testsupport::MakeFail({{SYS_llistxattr, EIO}}));
        const auto document = MakeDocument({}, copy, rehearsal);
        if (document) return corekit::Cbor(*document);
        const std::string text = document.error().text.Utf8();
        return text == "The preview failed: " + copy.Layers().front().lower + ": Input/output error."
                   ? "as expected"
                   : text;
    };
    EXPECT_EQ(Rehearse([] { return corekit::Cbor({{"status", 0}}); }, tell, {}).value(), "as expected");
}

/// The changes that `code` makes, with what `finish` makes of their document.
Json ChangesAfter(const std::function<void()>& code, Json (*finish)(Json)) {
    const auto run = [&] {
        code();
        return corekit::Cbor({{"status", 0}});
    };
    const auto tell = [](const HostCopy& copy, const Rehearsal& rehearsal) -> Outcome<std::string> {
        const auto document = MakeDocument({}, copy, rehearsal);
        if (!document) return document.error();
        return corekit::Cbor(*document);
    };
    const auto told = Rehearse(run, tell, {});
    return told ? finish(corekit::ParseCbor(*told))["changes"] : Json(told.error().text.Utf8());
}

TEST(PreviewDocument, ADirectoryThatGoesOrMovesIsToldWithTheNumberOfItsEntries) {
    testfiles::Write("/opt/t/gone/sub/file", "");
    testfiles::Write("/opt/t/moved/file", "");
    const Json changes = ChangesAfter(
        [] {
            fs::remove_all("/opt/t/gone");
            fs::rename("/opt/t/moved", "/opt/t/new");
            fs::create_directory("/opt/t/made");
        },
        Kept);
    fs::remove_all("/opt/t");
    std::vector<std::string> told;
    for (const Json& change : changes)
        told.push_back(change.at("action").get<std::string>() + " " + change.at("path").get<std::string>() +
                       " " + change.value("entries", Json("none")).dump());
    EXPECT_THAT(told,
                ElementsAre("remove /opt/t/gone 2", "create /opt/t/made \"none\"", "move /opt/t/moved 1"));
}

TEST(PreviewDocument, OnlyTheOneThatIsKeptHasTheChecksumOfAFileWithAPassword) {
    testfiles::Write("/opt/t/client.conf", "password=old\n");
    testfiles::Write("/opt/t/other", "old\n");
    const auto write = [] {
        testfiles::Write("/opt/t/client.conf", "password=new\n");
        testfiles::Write("/opt/t/other", "new\n");
    };
    const auto checksums = [&](Json (*finish)(Json)) {
        std::vector<std::string> told;
        for (const Json& change : ChangesAfter(write, finish)) {
            EXPECT_EQ(change.size(), 6U) << change;  // and nothing that is for the program alone
            for (const char* side : {"before", "after"}) {
                const Json& sum = change.at(side).at("sha256");
                told.push_back(sum.is_null() ? "none" : sum.get<std::string>().substr(0, 4));
            }
        }
        return told;
    };
    EXPECT_THAT(checksums(Printed), ElementsAre("none", "none", "01d0", "7aa7"));
    EXPECT_THAT(checksums(Kept), ElementsAre("6592", "38eb", "01d0", "7aa7"));
    fs::remove_all("/opt/t");
}

TEST(PreviewDocument, NoPlaceIsInTheWay_WhereNothingWasCopied) {
    const auto document = DocumentOf({{"status", 0}, {"places", {"/opt"}}});
    ASSERT_TRUE(document);
    EXPECT_EQ((*document)["status"], 0);
}

/// The paths of the changes that `code` makes, or the failure, where mounting something at a path of the copy
/// with one of these flags fails.
std::string PathsWhereFails(const std::string& path, unsigned long flags,
                            const std::vector<std::string>& places, const std::function<void()>& code) {
    std::string paths;
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    testsupport::InChild([&] {
        testsupport::MakeMountsFail(EIO, [&](const testsupport::AskedMount& mount) {
            return (mount.flags & flags) != 0 && mount.target == "/proc/root" + path;
        });
        const auto run = [&] {
            code();
            return corekit::Cbor({{"status", 0}, {"places", places}});
        };
        const auto tell = [](const HostCopy& copy, const Rehearsal& rehearsal) -> Outcome<std::string> {
            const auto document = MakeDocument({}, copy, rehearsal);
            if (!document) return document.error();
            std::string told;
            for (const Json& change : (*document)["changes"]) told += change["path"].get<std::string>() + " ";
            return told;
        };
        const auto told = Rehearse(run, tell, {});
        const std::string text = told ? *told : told.error().text.Utf8();
        return write(ends[1], text.data(), text.size()) < 0 ? 1 : 0;
    });
    close(ends[1]);
    char byte = 0;
    while (read(ends[0], &byte, 1) == 1) paths += byte;
    close(ends[0]);
    return paths;
}

TEST(PreviewDocument, AMountThatTheCopyLacksRefusesWhatItConcerns) {
    fs::create_directories("/opt/t/own");
    const auto proc = testsupport::Mount::Bind("/proc", "/opt/t/own");
    const auto beside = [] { testfiles::Write("/opt/t/beside", ""); };
    const auto below = [] { testfiles::Write("/opt/t/own/file", ""); };
    const char* const refusal =
        "A preview is not possible here: /opt/t/own (proc) cannot be mounted a second time.";
    for (const unsigned long failing : std::initializer_list<unsigned long>{MS_BIND, MS_REMOUNT}) {
        const auto paths = [&](const std::vector<std::string>& places, const std::function<void()>& code) {
            return PathsWhereFails("/opt/t/own", failing, places, code);
        };
        EXPECT_EQ(paths({}, beside), "/opt/t/beside ");
        EXPECT_EQ(paths({}, below), refusal);
        EXPECT_EQ(paths({"/opt/t"}, [] {}), refusal) << "a place around it";
    }
    EXPECT_EQ(umount("/opt/t/own"), 0);
    fs::remove_all("/opt/t");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
