// Rehearses the configuration, and leaves out of what it changes what is no difference.
#include "status/Differences.h"

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <unistd.h>
#include <vector>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "corekit/json/Json.h"
#include "preview/Document.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller::Status {

using corekit::IniFile;
using corekit::Json;
using corekit::String;
namespace File = corekit::File;

namespace {

// In the record of the run.
constexpr const char* kNotReplaced = "not_replaced";
constexpr const char* kNotMade = "not_made";

unsigned long ModeOf(const Json& state) {
    constexpr int kOctal = 8;
    return std::strtoul(state["mode"].get<std::string>().c_str(), nullptr, kOctal);
}

/// True if the host gives nobody more rights than the configuration would.
bool IsStricter(const Json& change) {
    const Json& before = change["before"];
    const Json& after = change["after"];
    return before["uid"] == after["uid"] && before["gid"] == after["gid"] &&
           (ModeOf(before) & ~ModeOf(after)) == 0 && !change.contains("attributes");
}

/// True for what the host's own tools write while they register a service: the order of other services.
bool IsHostsOwn(const std::string& path) {
    const bool isRegistration = path.starts_with("/etc/init.d/") || path.starts_with("/etc/rc");
    return isRegistration && path.find("zorvane") == std::string::npos;
}

/// True if both files give each key the same value.
bool HasSameValues(const String& left, const String& right) {
    const auto leftBytes = File::ReadBytes(left);
    const auto rightBytes = File::ReadBytes(right);
    if (!leftBytes || !rightBytes) return false;
    const IniFile leftConf(left, *leftBytes, IniFile::KeyCase::Exact);
    const IniFile rightConf(right, *rightBytes, IniFile::KeyCase::Exact);
    const auto isSame = [&](const IniFile::Entry& entry) {
        String leftValue;
        String rightValue;
        return leftConf.GetValue(entry.section, entry.key, leftValue) &&
               rightConf.GetValue(entry.section, entry.key, rightValue) && leftValue == rightValue;
    };
    return std::ranges::all_of(leftConf.AllEntries(), isSame) &&
           std::ranges::all_of(rightConf.AllEntries(), isSame);
}

class Comparison {
  public:
    Comparison(const Preview::HostCopy& copy, const String& installDir)
        : m_copy(copy),
          m_clientConf(Of(installDir, Names::kClientConf)),
          m_savedClientConf(Of(installDir, Names::kSavedClientConf)) {}

    /// The change as a difference; null when it is none.
    Json Judge(Json change) const {
        const std::string path = change["path"].get<std::string>();
        if (IsHostsOwn(path)) return nullptr;
        if (path == m_savedClientConf || Preview::IsAtOrBelow(path, m_handOverDir)) return nullptr;
        // An upgrade takes the helper away with the old package; no configuration has put it there.
        if (path == m_helper && change["action"] == "remove") return nullptr;
        if (path == m_clientConf && change["action"] == "replace" && change["before"]["type"] == "file" &&
            HasSameValues(String::FromUtf8(path), String::FromUtf8(m_copy.PathOf(path)))) {
            change["action"] = "change";
            change["diff"] = nullptr;
        }
        if (change["action"] == "change" && IsStricter(change)) return nullptr;
        return change;
    }

  private:
    static std::string Of(const String& installDir, const wchar_t* file) {
        return (corekit::Path::Resolve(installDir) + file).Utf8();
    }

    const Preview::HostCopy& m_copy;
    std::string m_clientConf;
    std::string m_savedClientConf;
    std::string m_handOverDir = String(Names::kHandOverDir).Utf8();
    std::string m_helper = String(Names::kHelperProgram).Utf8();
};

/// Something else stood where the configuration would put a link to one of the agent's programs, if it is
/// still there.
Json NotReplaced(const std::string& path, const String& installDir) {
    const String name = corekit::Path::GetFileName(String::FromUtf8(path));
    const bool isHelper = name == Names::kHelperName;
    Json link = {{"mode", "0777"}, {"uid", 0}, {"gid", 0}, {"size", nullptr}, {"sha256", nullptr}};
    link["target"] = (isHelper ? String(Names::kHelperProgram) : installDir + L"/bin/" + name).Utf8();
    link["type"] = "link";
    const auto present = Preview::ReadState(path);
    Json difference = {{"path", path}, {"action", present ? "replace" : "create"}, {"type", "link"}};
    difference["before"] = Preview::StateAsJson(present ? std::optional(*present) : std::nullopt, path, true);
    difference["after"] = link;
    difference["diff"] = nullptr;
    return difference;
}

Outcome<std::string> Tell(const Preview::HostCopy& copy, const Preview::Rehearsal& rehearsal,
                          const String& installDir) {
    const auto found = Preview::MakeDocument(Preview::Request(), copy, rehearsal);
    if (!found) return found.error();
    const Json document = Preview::Printed(*found);
    const Comparison comparison(copy, installDir);
    std::vector<Json> differences;
    for (const Json& change : document["changes"]) {
        if (Json difference = comparison.Judge(change); !difference.is_null())
            differences.push_back(std::move(difference));
    }
    const Json record = corekit::ParseCbor(rehearsal.record);
    for (const Json& path : record.value(kNotReplaced, Json::array()))
        differences.push_back(NotReplaced(path.get<std::string>(), installDir));
    std::ranges::stable_sort(differences, {},
                             [](const Json& difference) { return difference["path"].get<std::string>(); });
    Json told = {{"differences", differences}, {"error", document["error"]}};
    // The run succeeds without it, but what it could not make is not as it was configured.
    const Json notMade = record.value(kNotMade, Json::array());
    if (told["error"].is_null() && !notMade.empty()) told["error"] = notMade.front();
    // A run without a text of its own that fails all the same.
    if (document["status"] != 0 && told["error"].is_null()) told["error"] = Failure().Told().Utf8();
    return corekit::Cbor(told);
}

}  // namespace

void HideOtherSources(const String& clientConf) {
    std::vector<std::string> names = {"AGENT_INSTALL_DIR"};
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        if (text.starts_with("QDN")) names.push_back(text.substr(0, text.find('=')));
    }
    for (const std::string& name : names) unsetenv(name.c_str());
    setenv("QDNCLIENT_CONFIG_FILE", clientConf.Utf8().c_str(), 1);
    // In the copy of the host, where what stays of it shows in the differences.
    if (!corekit::Dir::Remove(Names::kHandOverDir))
        Forgive(File::Remove(Names::kHandOverDir, corekit::HostDirectory::Meant));
}

std::string WithWhatWasLeft(const std::string& record) {
    Json json = corekit::ParseCbor(record);
    for (const String& path : Messages::pathsNotReplaced) json[kNotReplaced].push_back(path.Utf8());
    for (const String& text : Messages::failuresToMake) json[kNotMade].push_back(text.Utf8());
    return corekit::Cbor(json);
}

Outcome<Json> FindDifferences(const std::function<std::string()>& run, const String& installDir) {
    const auto tell = [&](const Preview::HostCopy& copy, const Preview::Rehearsal& rehearsal) {
        return Tell(copy, rehearsal, installDir);
    };
    const Outcome<std::string> told = Preview::Rehearse(run, tell, Preview::Audience());
    if (!told) return tl::unexpected(told.error());
    return corekit::ParseCbor(*told);
}

}  // namespace Zorvane::AgentInstaller::Status
