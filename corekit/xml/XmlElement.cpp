// Writing XML: names checked, values escaped so that a parser gives them back as they were.
#include "corekit/xml/XmlElement.h"

#include <algorithm>

#include "corekit/text/Character.h"

namespace corekit {

namespace {

bool StartsXmlName(wchar_t c) {
    return IsLetter(c) || c == L'_' || c == L':';
}

bool ContinuesXmlName(wchar_t c) {
    return StartsXmlName(c) || IsDigit(c) || c == L'.' || c == L'-';
}

bool IsXmlName(const String& name) {
    return !name.IsEmpty() && StartsXmlName(name[0]) && std::ranges::all_of(name, ContinuesXmlName);
}

bool IsXmlCharacter(wchar_t c) {
    return c == L'\t' || c == L'\n' || c == L'\r' || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

struct Reference {
    wchar_t character;
    std::wstring_view text;
};

// White space other than a blank is turned into blanks by a parser unless it is written as a reference.
constexpr Reference kReferences[] = {
    {L'&', L"&amp;"}, {L'<', L"&lt;"},   {L'>', L"&gt;"},   {L'"', L"&quot;"},
    {L'\t', L"&#9;"}, {L'\n', L"&#10;"}, {L'\r', L"&#13;"},
};

String Escaped(const String& value) {
    String escaped;
    for (const wchar_t character : value) {
        const auto reference =
            std::ranges::find_if(kReferences, [&](const Reference& r) { return r.character == character; });
        if (reference == std::end(kReferences)) {
            escaped += character;
        } else {
            escaped += reference->text;
        }
    }
    return escaped;
}

}  // namespace

void XmlElement::Set(const String& attribute, const String& value) {
    const auto present =
        std::ranges::find_if(m_attributes, [&](const auto& pair) { return pair.first == attribute; });
    if (present != m_attributes.end()) {
        present->second = value;
    } else {
        m_attributes.emplace_back(attribute, value);
    }
}

String XmlElement::ToString() const {
    if (!IsWritable()) return String();
    String text(L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    WriteTo(text, String());
    return text;
}

bool XmlElement::IsWritable() const {
    return IsXmlName(m_name) &&
           std::ranges::all_of(m_attributes,
                               [](const auto& pair) {
                                   return IsXmlName(pair.first) &&
                                          std::ranges::all_of(pair.second, IsXmlCharacter);
                               }) &&
           std::ranges::all_of(m_children, [](const XmlElement& child) { return child.IsWritable(); });
}

void XmlElement::WriteTo(String& text, const String& indent) const {
    text += indent + L"<" + m_name;
    for (const auto& [name, value] : m_attributes) text += L" " + name + L"=\"" + Escaped(value) + L"\"";
    if (m_children.empty()) {
        text += L"/>\n";
        return;
    }
    text += L">\n";
    for (const XmlElement& child : m_children) child.WriteTo(text, indent + L"    ");
    text += indent + L"</" + m_name + L">\n";
}

}  // namespace corekit
