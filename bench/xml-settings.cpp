// Reads an XML configuration document as the program does, and tells how many extra settings it has and how
// many bytes their sections, names and values are.
//
//   xml-settings FILE
#include <cstdio>
#include <utility>

#include "corekit/fs/File.h"
#include "corekit/xml/BasicXml.h"
#include "settings/XmlConfig.h"

using corekit::BasicXml;
using corekit::String;
using namespace Zorvane::AgentInstaller;

int main(int argc, char** argv) {
    auto bytes = corekit::File::ReadBytes(argc == 2 ? String::FromUtf8(argv[1]) : String());
    if (!bytes) {
        std::fputs("Usage: xml-settings FILE\n", stderr);
        return 2;
    }
    const std::unique_ptr<Settings> settings = ReadXmlConfig(BasicXml(std::move(*bytes)));
    std::size_t characters = 0;
    for (const ExtraSetting& extra : settings->Extra())
        characters += extra.Section.Length() + extra.Name.Length() + extra.Value.Length();
    std::printf("%zu settings of %zu characters\n", settings->Extra().size(), characters);
}
