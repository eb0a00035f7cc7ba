// Values in messages: nothing that could steer a terminal is left of them, and nothing else is changed.
#include <algorithm>

#include "corekit/text/Character.h"
#include "run/Messages.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using corekit::String;
namespace Messages = Zorvane::AgentInstaller::Messages;

namespace {

/// The control characters of ASCII and of Latin-1, also as bytes that are no UTF-8; but for a tab.
bool IsSteering(wchar_t character) {
    const wchar_t code = corekit::IsKeptByte(character) ? character & 0xFF : character;
    return corekit::IsControl(code) && code != L'\t';
}

}  // namespace

void Shown(std::string_view input) {
    const String value = String::FromUtf8(input);
    const String shown = Messages::Shown(value);
    Holds(std::ranges::none_of(shown, IsSteering), "nothing that is shown steers the terminal");
    Holds(Messages::Shown(shown) == shown, "what is shown can be shown");
    if (std::ranges::none_of(value, IsSteering)) Holds(shown == value, "what is harmless stays as it is");
    const String ascii = Messages::ShownAscii(value);
    Holds(std::ranges::all_of(ascii, [](wchar_t character) { return character < 0x7F; }),
          "a message that is ASCII has no other character");
}

}  // namespace fuzz
