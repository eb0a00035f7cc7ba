// Carries the values of an old client.conf into a new one, as an upgrade does.
//
//   carry OLD NEW    what OLD holds of the key table goes into NEW
//   carry --keys     lists the key table: old key, new key, and 1 for a path, with tabs between them
#include <cstdio>
#include <string_view>

#include "config/CarriedValues.h"
#include "settings/ClientConfKeyMap.h"

using namespace Zorvane::AgentInstaller;
using corekit::IniFile;
using corekit::String;

namespace {

int ListKeys() {
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        std::printf("%s\t%s\t%d\n", String(row.oldKey).Utf8().c_str(), String(row.newKey).Utf8().c_str(),
                    row.isPath ? 1 : 0);
    }
    return 0;
}

int Carry(const char* oldPath, const char* newPath) {
    const IniFile oldIni(String::FromUtf8(oldPath), IniFile::KeyCase::FallBack);
    IniFile newIni(String::FromUtf8(newPath));
    Settings settings;
    settings.Value(L"InstallDir") = L"/opt/new";
    CarryOldValues(oldIni, newIni, settings);
    return newIni.Write().Ok() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--keys") return ListKeys();
    if (argc == 3) return Carry(argv[1], argv[2]);
    std::fputs("Usage: carry OLD NEW, or carry --keys\n", stderr);
    return 2;
}
