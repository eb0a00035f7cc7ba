// The supported platforms: the table of releases and the probes that the host is held against.
#include <algorithm>
#include <iterator>
#include <optional>
#include <sys/utsname.h>

#include "app/ConfigureSteps.h"
#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "corekit/text/Regex.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

enum class Processors { ListA, ListAOr64Bit };

constexpr const wchar_t* kListA[] = {L"unknown", L"i86",    L"i386",  L"i486",   L"i586",
                                     L"i686",    L"athlon", L"duron", L"pentium"};
constexpr const wchar_t* k64Bit = L"x86_64";

constexpr const wchar_t* kEsxProgram = L"/usr/bin/vmware";
constexpr const wchar_t* kEsxProductProbe = L"/usr/bin/vmware -v 2>/dev/null | sed -e 's, [0-9].*,,'";
constexpr const wchar_t* kEsxProduct = L"VMware ESX Server";
constexpr const wchar_t* kEsxVersionProbe =
    L"/usr/bin/vmware -v 2>/dev/null | sed -e 's,[^0-9]*,,' -e 's, .*,,' | cut -f1,2 -d'.'";

struct EsxRelease {
    const wchar_t* version;
    Processors processors;
};
constexpr EsxRelease kEsxReleases[] = {{L"2.5", Processors::ListA}, {L"3.0", Processors::ListAOr64Bit}};

constexpr const wchar_t* kVersionExpression = L"(VERSION|release)[[:blank:]]*=?[[:blank:]]*([0-9.]+)";

enum class ReleaseFile { RedHat, SuSE };

struct Release {
    ReleaseFile file;
    const wchar_t* name;  // a regular expression
    const wchar_t* version;
    Processors processors;
};
constexpr Release kReleases[] = {
    {ReleaseFile::RedHat, L"Enigma", L"7.2", Processors::ListA},
    {ReleaseFile::RedHat, L"Valhalla", L"7.3", Processors::ListA},
    {ReleaseFile::RedHat, L"Psyche", L"8.0", Processors::ListA},
    {ReleaseFile::RedHat, L"Shrike", L"9", Processors::ListA},
    {ReleaseFile::RedHat, L"Pensacola", L"2.1", Processors::ListA},
    {ReleaseFile::RedHat, L"Derry", L"2.1", Processors::ListA},
    {ReleaseFile::RedHat, L"Tampa", L"2.1", Processors::ListA},
    {ReleaseFile::RedHat, L"Panama", L"2.1", Processors::ListA},
    {ReleaseFile::RedHat, L"AS.*Taroon", L"3", Processors::ListAOr64Bit},
    {ReleaseFile::RedHat, L"WS.*Taroon", L"3", Processors::ListAOr64Bit},
    {ReleaseFile::RedHat, L"ES.*Taroon", L"3", Processors::ListAOr64Bit},
    {ReleaseFile::RedHat, L"AS.*Nahant", L"4", Processors::ListAOr64Bit},
    {ReleaseFile::RedHat, L"WS.*Nahant", L"4", Processors::ListAOr64Bit},
    {ReleaseFile::RedHat, L"ES.*Nahant", L"4", Processors::ListAOr64Bit},
    {ReleaseFile::SuSE, L"SuSE Linux 8.0", L"8.0", Processors::ListA},
    {ReleaseFile::SuSE, L"SuSE Linux 8.1", L"8.1", Processors::ListA},
    {ReleaseFile::SuSE, L"SuSE Linux 8.2", L"8.2", Processors::ListA},
    {ReleaseFile::SuSE, L"SuSE Linux 9.0", L"9.0", Processors::ListA},
    {ReleaseFile::SuSE, L"SuSE Linux 9.1", L"9.1", Processors::ListA},
    {ReleaseFile::SuSE, L"SuSE Linux 9.2", L"9.2", Processors::ListA},
    {ReleaseFile::SuSE, L"SuSE Linux 9.3", L"9.3", Processors::ListA},
    {ReleaseFile::SuSE, L"SUSE LINUX 10.0", L"10.0", Processors::ListAOr64Bit},
    {ReleaseFile::SuSE, L"SUSE LINUX 10.1", L"10.1", Processors::ListAOr64Bit},
    {ReleaseFile::SuSE, L"SLES-8", L"8.1", Processors::ListAOr64Bit},
    {ReleaseFile::SuSE, L"SUSE LINUX Enterprise Server", L"9", Processors::ListAOr64Bit},
    {ReleaseFile::SuSE, L"SUSE Linux Enterprise Server", L"10", Processors::ListAOr64Bit},
    {ReleaseFile::SuSE, L"SUSE Linux Enterprise Desktop", L"10", Processors::ListAOr64Bit},
};

/// The host, asked at most once for each thing, and only for what is needed.
class Host {
  public:
    bool Passes(Processors processors) {
        if (!m_processor) m_processor = RunShellCommand(L"uname -p").Lower().Trim();
        const bool inListA = std::ranges::find(kListA, *m_processor) != std::end(kListA);
        return inListA || (*m_processor == k64Bit && processors != Processors::ListA);
    }

    bool Is(const Release& release) {
        const String& text = ReleaseText(release.file);
        if (text.IsEmpty() || !corekit::Regex::IsMatch(release.name, text)) return false;
        corekit::RegexMatcher version(corekit::Regex(kVersionExpression), text);
        return version.Match() && version.Text(2) == release.version && Passes(release.processors);
    }

  private:
    const String& ReleaseText(ReleaseFile file) {
        auto& text = file == ReleaseFile::RedHat ? m_redHat : m_suse;
        if (!text) {
            const wchar_t* path = file == ReleaseFile::RedHat ? L"/etc/redhat-release" : L"/etc/SuSE-release";
            text = corekit::File::Read(path).value_or(String());
        }
        return *text;
    }

    std::optional<String> m_processor;
    std::optional<String> m_redHat;
    std::optional<String> m_suse;
};

bool IsLinux() {
    struct utsname kernel {};
    return uname(&kernel) == 0 && String::FromUtf8(kernel.sysname).Lower().Contains(L"linux");
}

/// Most hosts lack the program, and are spared the two processes that ask it.
bool IsSupportedEsx(Host& host) {
    if (!corekit::File::Exists(kEsxProgram)) return false;
    if (!corekit::Regex::IsMatch(kEsxProduct, RunShellCommand(kEsxProductProbe).Trim())) return false;
    const String version = RunShellCommand(kEsxVersionProbe);
    return std::ranges::any_of(kEsxReleases, [&](const EsxRelease& release) {
        return version == release.version && host.Passes(release.processors);
    });
}

}  // namespace

bool IsPlatformSupported() {
    if (!IsLinux()) return false;
    Host host;
    return IsSupportedEsx(host) ||
           std::ranges::any_of(kReleases, [&](const Release& release) { return host.Is(release); });
}

}  // namespace Zorvane::AgentInstaller
