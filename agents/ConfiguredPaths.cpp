// Reading directories and files from a client.conf.
#include "agents/ConfiguredPaths.h"

#include "config/PathMacros.h"
#include "corekit/Path.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

struct NamedPath {
    const wchar_t* section;
    const wchar_t* key;
};

constexpr NamedPath kNamedPaths[] = {
    {Names::kConfiguration, L"installdir"},           {Names::kConfiguration, L"event_queue_dir"},
    {Names::kConfiguration, L"task_storage_path"},    {Names::kConfiguration, L"swd_storage_path"},
    {Names::kConfiguration, L"package_storage_path"}, {Names::kConfiguration, L"var"},
    {Names::kConfiguration, L"guid_guid_file"},       {Names::kConfiguration, L"debug_output"},
    {Names::kClientTransport, L"ssl_ca_info"},        {Names::kClientTransport, L"ssl_ca_path"},
};

}  // namespace

String UsableDirectory(const String& value) {
    if (!value.StartsWith(L"/") || corekit::Path::IsMatch(value, L"/")) return String();
    String directory = value;
    EnsureTrailingChar(directory, L'/');
    return directory;
}

String ConfiguredDirectory(const IniFile& conf, const String& key) {
    return UsableDirectory(conf.GetValue(Names::kConfiguration, key));
}

String NamedWithin(const IniFile& conf, const String& place) {
    for (const NamedPath& named : kNamedPaths) {
        String path = conf.GetValue(named.section, named.key);
        if (!path.IsEmpty() && corekit::Path::IsWithin(path, place)) return path;
    }
    return String();
}

}  // namespace Zorvane::AgentInstaller
