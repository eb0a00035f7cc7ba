// The XML configuration file: its search path, who may have left it, and what makes it unusable.
#include "app/XmlConfigFile.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/os/Sys.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "corekit/xml/BasicXml.h"
#include "run/Messages.h"
#include "run/RunRecord.h"
#include "run/TrustedFile.h"
#include "settings/XmlConfig.h"

namespace Zorvane::AgentInstaller {

using corekit::BasicXml;
using corekit::String;

namespace {

constexpr const wchar_t* kDefaultSearchPath = L"/tmp:/var:/opt/zorvane";

/// A piece of the search path, and who put it there.
struct SearchPiece {
    String directories;
    ChosenBy chosenBy;
};

std::vector<SearchPiece> SearchPieces() {
    std::vector<SearchPiece> pieces;
    for (const wchar_t* variable : {L"QDNCLIENT_CONFIG_XML_DIR", L"AGENT_INSTALL_DIR"}) {
        const String value = corekit::Env::Get(variable).value_or(String());
        if (!value.IsEmpty()) pieces.push_back({value, ChosenBy::Administrator});
    }
    const auto current = corekit::Dir::GetCurrent();
    if (current && *current != L"/") pieces.push_back({L".:..", ChosenBy::Program});
    pieces.push_back({kDefaultSearchPath, ChosenBy::Program});
    return pieces;
}

/// The first file of the pieces that `mayBeUsed` accepts.
template <typename Predicate>
std::optional<TrustedFile> FindFile(const std::vector<SearchPiece>& pieces, Predicate mayBeUsed) {
    for (const SearchPiece& piece : pieces) {
        corekit::StringTokenizer directories(piece.directories, L":");
        for (String directory; directories.GetToken(directory);) {
            String path = corekit::Program::Search(directory, kXmlFileName);
            if (path.IsEmpty()) continue;
            TrustedFile file(path, piece.chosenBy);
            if (!file.IsAbsent() && mayBeUsed(file)) return file;
        }
    }
    return std::nullopt;
}

void WarnOfRefusal(const String& path, const BasicXml::Refusal& refusal) {
    Messages::Warn(L"WARNING! " + Messages::Shown(path) + L":" +
                   String::FromInt(static_cast<long long>(refusal.line)) + L":" +
                   String::FromInt(static_cast<long long>(refusal.column)) + L": " + refusal.reason +
                   L". The file is not used.\n");
}

/// True if the file's settings can be used, or it is empty. (A file that cannot be read holds nothing to be
/// kept.)
bool IsWellFormedOrEmpty(const TrustedFile& file) {
    const auto bytes = file.Read();
    return bytes && (bytes->empty() || BasicXml(*bytes).GetRefusal() == nullptr);
}

}  // namespace

String BuildXmlSearchPath() {
    String path;
    for (const SearchPiece& piece : SearchPieces()) path += (path.IsEmpty() ? L"" : L":") + piece.directories;
    return path;
}

std::unique_ptr<Settings> XmlConfigFile::Load() {
    const auto file = FindFile(SearchPieces(), [&](const TrustedFile& candidate) {
        if (candidate.IsUnreadable()) m_unread.push_back(candidate.Path());
        if (!candidate.MayBeUsed()) candidate.WarnNotUsed(candidate.WhyNot());
        return candidate.MayBeUsed();
    });
    if (!file) return nullptr;
    auto bytes = file->Read();
    if (!bytes) {
        if (IsTransient(bytes.error())) m_unread.push_back(file->Path());
        file->WarnNotUsed(GetErrorMsg(bytes.error()));
        return nullptr;
    }
    if (bytes->empty()) return nullptr;
    const BasicXml document(std::move(*bytes));
    if (const auto* refusal = document.GetRefusal()) {
        WarnOfRefusal(file->Path(), *refusal);
        return nullptr;
    }
    WarnOfXmlMistakes(document, file->Path());
    auto settings = ReadXmlConfig(document, file->Path());
    settings->Value(L"XML") = L"yes";
    m_usedPath = file->Path();
    RunRecord::SetXmlFile(corekit::Path::MakeAbsolute(m_usedPath).value_or(m_usedPath));
    return settings;
}

void XmlConfigFile::Remove() {
    const auto file = FindFile({{kDefaultSearchPath, ChosenBy::Program}}, [&](const TrustedFile& candidate) {
        return candidate.MayBeUsed() && std::ranges::find(m_unread, candidate.Path()) == m_unread.end() &&
               (candidate.Path() == m_usedPath || IsWellFormedOrEmpty(candidate));
    });
    if (!file) return;
    const corekit::Result removed = corekit::File::Remove(file->Path());
    if (removed && file->Path() == m_usedPath) RunRecord::SetXmlFileRemoved();
}

}  // namespace Zorvane::AgentInstaller
