// For clang's memory sanitizer: the XML parser is compiled without it, so that the end of a line, which the
// parser hands over from its own stack, would count as memory that nobody has set.
#include <expat.h>
#include <sanitizer/msan_interface.h>

namespace {

// While the stack is still as it was: before main.
[[maybe_unused]] const char made = std::use_facet<std::ctype<char>>(std::locale::classic()).widen('0');

XML_CharacterDataHandler original = nullptr;  // the program has one

void HandOver(void* self, const char* text, int length) {
    __msan_unpoison(text, static_cast<unsigned long>(length));
    original(self, text, length);
}

}  // namespace

extern "C" void __real_XML_SetCharacterDataHandler(XML_Parser parser, XML_CharacterDataHandler handler);

extern "C" void __wrap_XML_SetCharacterDataHandler(XML_Parser parser, XML_CharacterDataHandler handler);

void __wrap_XML_SetCharacterDataHandler(XML_Parser parser, XML_CharacterDataHandler handler) {
    original = handler;
    __real_XML_SetCharacterDataHandler(parser, HandOver);
}
