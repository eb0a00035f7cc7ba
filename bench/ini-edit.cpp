// Edits client.conf files as the program does.
//
//   ini-edit carry OLD NEW      what OLD holds of the key table goes into NEW, as in an upgrade
//   ini-edit set VALUES FILE    sets what VALUES lists: section, key and value, with tabs between them
//   ini-edit keys               lists the key table: old key, new key, and 1 for a path, with tabs between
//   them
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "config/ClientConfDraft.h"
#include "settings/ClientConfKeyMap.h"

using namespace Zorvane::AgentInstaller;
using corekit::IniFile;
using corekit::String;

namespace {

std::string Text(const ConfKey& path) {
    return (String(path.section) + L"/" + path.key).Utf8();
}

int ListKeys() {
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        std::printf("%s\t%s\t%d\n", Text(row.oldKey).c_str(), Text(row.newKey).c_str(), row.isPath ? 1 : 0);
    }
    return 0;
}

int Carry(const char* oldPath, const char* newPath) {
    const IniFile oldIni(String::FromUtf8(oldPath), IniFile::KeyCase::FallBack);
    ClientConfDraft draft(String::FromUtf8(newPath));
    Settings settings;
    settings.Value(L"InstallDir") = L"/opt/new";
    CarryOldValues(oldIni, draft, settings);
    return draft.File().Write().Ok() ? 0 : 1;
}

int Set(const char* valuesPath, const char* path) {
    IniFile ini(String::FromUtf8(path));
    std::ifstream values(valuesPath);
    for (std::string line; std::getline(values, line);) {
        std::istringstream fields(line);
        std::string section;
        std::string key;
        std::string value;
        std::getline(fields, section, '\t');
        std::getline(fields, key, '\t');
        std::getline(fields, value);
        ini.SetValue(String::FromUtf8(section), String::FromUtf8(key), String::FromUtf8(value));
    }
    return ini.Write().Ok() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view work = argc > 1 ? argv[1] : "";
    if (argc == 4 && work == "carry") return Carry(argv[2], argv[3]);
    if (argc == 4 && work == "set") return Set(argv[2], argv[3]);
    if (argc == 2 && work == "keys") return ListKeys();
    std::fputs("Usage: ini-edit carry OLD NEW, ini-edit set VALUES FILE, or ini-edit keys\n", stderr);
    return 2;
}
