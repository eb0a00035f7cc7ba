// Reads an XML configuration document as the program does, and tells how many extra settings it has and how
// many bytes their sections, names and values are.
//
//   xml-settings FILE
#include <cstdio>

#include "corekit/BasicXml.h"
#include "corekit/File.h"
#include "settings/XmlConfig.h"

using corekit::BasicXml;
using corekit::String;
using namespace Zorvane::AgentInstaller;

int main(int argc, char** argv) {
    String text;
    if (argc != 2 || !corekit::File::Read(String::FromUtf8(argv[1]), text)) {
        std::fputs("Usage: xml-settings FILE\n", stderr);
        return 2;
    }
    const std::unique_ptr<Settings> settings = ReadXmlConfig(BasicXml(text));
    std::size_t bytes = 0;
    for (const ExtraSetting& extra : settings->Extra())
        bytes += extra.Section.Utf8().size() + extra.Name.Utf8().size() + extra.Value.Utf8().size();
    std::printf("%zu settings of %zu bytes\n", settings->Extra().size(), bytes);
}
