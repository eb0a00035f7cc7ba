// The yardstick for reading XML: Expat passes once over a file, and nothing is kept but how many "Setting"
// elements it has and how many characters their attributes are, in a document of ASCII.
//
//   xml-expat FILE
#include <cstdio>
#include <cstring>
#include <expat.h>

namespace {

struct Count {
    std::size_t settings = 0;
    std::size_t characters = 0;
};

void XMLCALL CountSetting(void* data, const char* name, const char** attributes) {
    if (std::strcmp(name, "Setting") != 0) return;
    Count& count = *static_cast<Count*>(data);
    ++count.settings;
    for (; *attributes != nullptr; attributes += 2) count.characters += std::strlen(attributes[1]);
}

}  // namespace

int main(int argc, char** argv) {
    std::FILE* file = argc == 2 ? std::fopen(argv[1], "rb") : nullptr;
    if (file == nullptr) {
        std::fputs("Usage: xml-expat FILE\n", stderr);
        return 2;
    }
    Count count;
    const XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &count);
    XML_SetStartElementHandler(parser, CountSetting);
    char chunk[65536];
    std::size_t length = 0;
    do {
        length = std::fread(chunk, 1, sizeof chunk, file);
        if (XML_Parse(parser, chunk, static_cast<int>(length), length == 0) == XML_STATUS_ERROR) return 1;
    } while (length != 0);
    std::printf("%zu settings of %zu characters\n", count.settings, count.characters);
    XML_ParserFree(parser);
    return std::fclose(file) == 0 ? 0 : 1;
}
