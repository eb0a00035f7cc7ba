// Paths in settings: plain text replacement, and prefixes by whole components.
#include "settings/PathMacros.h"

#include "corekit/fs/Path.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

String ExpandPathMacros(const String& text, const String& installDir) {
    String expanded = text;
    expanded.Replace(L"%ETCDIR%", L"%INSTDIR%/etc");
    return expanded.Replace(L"%INSTDIR%", installDir);
}

String MakeAbsolutePath(const String& path) {
    return corekit::Path::MakeAbsolute(path).value_or(L"/");
}

void RebasePath(String& path, const String& oldPrefix, const String& newPrefix) {
    const String prefix = corekit::Path::WithoutTrailingSlashes(oldPrefix);
    if (prefix.IsEmpty() || prefix == L"/" || !path.StartsWith(prefix)) return;
    const String rest = path.Mid(prefix.Length());
    if (!rest.IsEmpty() && !rest.StartsWith(L"/")) return;
    path = newPrefix + L"/" + rest;
    path.Replace(L"//", L"/");
}

void EnsureTrailingChar(String& text, wchar_t ch) {
    text = text.TrimRight();
    if (!text.IsEmpty() && text[text.Length() - 1] != ch) text += ch;
}

String FileBelow(const String& directory, const String& name) {
    String path = MakeAbsolutePath(directory);
    EnsureTrailingChar(path, L'/');
    return path + name;
}

}  // namespace Zorvane::AgentInstaller
