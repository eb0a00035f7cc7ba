// Reads the settings of an XML configuration document, and tells how many extra settings it has and how many
// characters their sections, names and values are. The program checks a document first, as --check does.
//
//   xml-settings [--check] FILE
#include <cstdio>
#include <string_view>
#include <utility>

#include "corekit/fs/File.h"
#include "corekit/xml/BasicXml.h"
#include "settings/XmlConfig.h"

using corekit::BasicXml;
using corekit::String;
using namespace Zorvane::AgentInstaller;

int main(int argc, char** argv) {
    const bool check = argc == 3 && std::string_view(argv[1]) == "--check";
    const String path = argc == 2 || check ? String::FromUtf8(argv[argc - 1]) : String();
    auto bytes = corekit::File::ReadBytes(path);
    if (!bytes) {
        std::fputs("Usage: xml-settings [--check] FILE\n", stderr);
        return 2;
    }
    const BasicXml document(std::move(*bytes));
    if (check) WarnOfXmlMistakes(document, path);
    const std::unique_ptr<Settings> settings = ReadXmlConfig(document);
    std::size_t characters = 0;
    for (const ExtraSetting& extra : settings->Extra())
        characters += extra.Section.Length() + extra.Name.Length() + extra.Value.Length();
    std::printf("%zu settings of %zu characters\n", settings->Extra().size(), characters);
}
