// Takes paths apart, joins them and tells where they lead.
#include "corekit/fs/Path.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <sys/stat.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Text.h"

namespace corekit::Path {

namespace {

/// One step of a resolved path: ".." leads up, a missing name stays as text.
String Step(const String& place, const String& name) {
    if (name.IsEmpty() || name == L".") return place;
    if (name == L"..") return GetDirectory(place);
    const String next = Join(place, name);
    return Canonicalise(next).value_or(next);
}

std::wstring_view WithoutSlashes(std::wstring_view path) {
    const std::size_t last = path.find_last_not_of(L'/');
    return path.substr(0, last == std::wstring_view::npos ? 1 : last + 1);
}

/// What a path leads to. Links are followed whoever owns them: this is only compared.
std::optional<struct stat> Look(const String& path) {
    struct stat info {};
    if (stat(NativePath(path).c_str(), &info) != 0) return std::nullopt;
    return info;
}

}  // namespace

String GetDirectory(const String& path) {
    const std::size_t slash = path.FindLast(L"/");
    if (slash == String::npos) return String();
    return path.Left(slash == 0 ? 1 : slash);
}

String GetFileName(const String& path) {
    const std::size_t slash = path.FindLast(L"/");
    return slash == String::npos ? path : path.Mid(slash + 1);
}

String Join(const String& directory, const String& name) {
    if (directory.IsEmpty()) return name;
    const std::size_t end = directory.View().find_last_not_of(L'/') + 1;  // 0 for slashes alone
    const std::size_t begin = name.View().find_first_not_of(L'/');
    return directory.Left(end) + L"/" + name.Mid(begin);
}

String WithoutTrailingSlashes(const String& path) {
    return WithoutSlashes(path.View());
}

String WithoutTrailingDots(const String& path) {
    std::wstring_view name = WithoutSlashes(path.View());
    while (name.ends_with(L"/.")) name = WithoutSlashes(name.substr(0, name.size() - 1));
    return name;
}

Expected<String> MakeAbsolute(const String& path) {
    if (path.IsEmpty()) return Result(ENOENT);
    if (path.StartsWith(L"/")) return path;
    const auto current = Dir::GetCurrent();
    if (!current) return current.error().About(path);
    String place = *current;
    String rest = path;
    for (String name = rest.Before(L"/");
         name == L"." || name == L".." || (name.IsEmpty() && !rest.IsEmpty()); name = rest.Before(L"/")) {
        if (name == L"..") place = GetDirectory(place);
        rest = rest.Mid(name.Length() + 1);
    }
    return rest.IsEmpty() ? place : Join(place, rest);
}

Expected<String> Canonicalise(const String& path) {
    const auto absolute = path.StartsWith(L"/") ? path : MakeAbsolute(path);
    if (!absolute) return absolute.error();
    const auto canonical = CanonicalPath(NativePath(*absolute));
    if (!canonical) return canonical.error().About(path);
    return String::FromUtf8(*canonical);
}

String Resolve(const String& path) {
    if (path.IsEmpty()) return path;
    if (const auto canonical = Canonicalise(path)) return *canonical;
    const auto absolute = MakeAbsolute(path);
    if (!absolute) return path;
    String resolved = L"/";
    StringTokenizer names(*absolute, L"/");
    for (String name; names.GetToken(name);) resolved = Step(resolved, name);
    return resolved;
}

bool IsMatch(const String& left, const String& right) {
    if (left.IsEmpty() || right.IsEmpty()) return false;
    if (WithoutSlashes(left.View()) == WithoutSlashes(right.View())) return true;
    const auto one = Look(left);
    const auto other = Look(right);
    if (!one || !other) return Resolve(left) == Resolve(right);
    if (!IsSameFile(*one, *other)) return false;
    // A directory may be reached through two mounts; a file may have two names.
    return S_ISDIR(one->st_mode) || Resolve(left) == Resolve(right);
}

bool IsWithin(const String& path, const String& directory) {
    return AncestorChain(path).IsWithin(AncestorChain(directory));
}

AncestorChain::AncestorChain(const String& path) {
    for (String place = Resolve(path); !place.IsEmpty(); place = GetDirectory(place)) {
        m_levels.emplace_back(place);
        if (place == L"/") return;
    }
}

bool AncestorChain::IsWithin(const AncestorChain& directory) const {
    return !directory.m_levels.empty() &&
           std::ranges::find(m_levels, directory.m_levels.front()) != m_levels.end();
}

AncestorChain::Level::Level(const String& resolved) : path(resolved) {
    if (const auto info = Look(path); info && S_ISDIR(info->st_mode))
        directory.emplace(info->st_dev, info->st_ino);
}

bool AncestorChain::Level::operator==(const Level& other) const {
    return path == other.path || (directory && directory == other.directory);
}

}  // namespace corekit::Path
