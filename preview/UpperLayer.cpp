// Walks the upper layer: its entries say which names were touched, its marks what became of them.
#include "preview/UpperLayer.h"

#include <algorithm>
#include <map>
#include <set>

#include "preview/LayerReader.h"

namespace Zorvane::AgentInstaller::Preview {

namespace {

std::string NameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

class ChangeReader : private LayerReader {
  public:
    explicit ChangeReader(const Layer& layer) : LayerReader(layer) {}

    corekit::Expected<std::vector<Change>> Read() {
        Compare("", "");
        Walk("", "", Contents::Merged);
        SettleMoves();
        JoinMoves();
        for (Change& change : m_changes) {
            if (change.action == Action::Remove) change.entries = EntriesThatGo(change);
        }
        if (!FirstFailure()) return FirstFailure();
        std::ranges::sort(m_changes, {}, &Change::path);
        return std::move(m_changes);
    }

  private:
    enum class Contents { Merged, New };  // of a directory: with those of the lower layer, or without
    struct MoveOf {
        std::string from;  // in the lower layer
        std::string path;
        bool isDirectory = false;
    };

    std::optional<FileState> Lower(const Before& path) {
        return path ? StateOf(m_layer.lower + *path) : std::nullopt;
    }

    void Walk(const std::string& path, const Before& before, Contents contents);
    void VisitDirectory(const std::string& path, const Before& before, Contents around);
    void VisitFile(const std::string& path, const Before& before);
    void Hide(const std::string& path, const std::string& before);

    enum class Bytes { MayDiffer, Stay };
    void Compare(const std::string& path, const Before& before, Bytes bytes = Bytes::MayDiffer);
    void Remove(const std::string& before);
    void SettleMoves();
    void JoinMoves();
    bool IsWholeMove(const std::string& from, const std::string& to, std::size_t kept);
    void Join(const std::string& from, const std::string& to);
    bool HasGone(std::string path) const;
    Change ChangeOf(const MoveOf& move);
    std::uint64_t EntriesThatGo(const Change& removal);

    std::vector<Change> m_changes;
    std::vector<MoveOf> m_moves;
    std::set<std::string> m_gone;  // what was removed or has moved, the topmost names only
};

void ChangeReader::Walk(const std::string& path, const Before& before, Contents contents) {
    for (const std::string& name : NamesIn(m_layer.upper + path)) {
        const std::string child = Joined(path, name);
        const Before childBefore = Below(before, name);
        const auto info = StatOf(m_layer.upper + child);
        if (!info) continue;
        if (IsWhiteout(*info)) {
            if (childBefore && Lower(childBefore)) Remove(*childBefore);
        } else if (S_ISDIR(info->st_mode)) {
            VisitDirectory(child, childBefore, contents);
        } else {
            VisitFile(child, childBefore);
        }
    }
}

void ChangeReader::VisitDirectory(const std::string& path, const Before& before, Contents around) {
    const auto was = Lower(before);
    if (const Before source = SourceOf(path, before)) {
        if (was) Remove(*before);
        m_moves.push_back({*source, path, true});
        Compare(path, source);
        return Walk(path, source, Contents::Merged);
    }
    Compare(path, before);
    const bool wasDirectory = was && was->type == FileType::Directory;
    if (!wasDirectory) return Walk(path, std::nullopt, Contents::New);
    const bool isRedirected = MarkOf(m_layer.upper + path, kRedirect).has_value();
    const bool isNew =
        MarkOf(m_layer.upper + path, kOpaque) == "y" || (around == Contents::New && !isRedirected);
    if (isNew) Hide(path, *before);
    Walk(path, before, isNew ? Contents::New : Contents::Merged);
}

/// A directory has been made anew under the name of one that went: what was in that has gone.
void ChangeReader::Hide(const std::string& path, const std::string& before) {
    for (const std::string& name : NamesIn(m_layer.lower + before)) {
        const std::string now = Joined(m_layer.upper + path, name);
        if (!StateOf(now)) Remove(Joined(before, name));
    }
}

void ChangeReader::VisitFile(const std::string& path, const Before& before) {
    const bool isOnlyMetadata = MarkOf(m_layer.upper + path, kMetacopy).has_value();
    const Before source = isOnlyMetadata ? SourceOf(path, before) : std::nullopt;
    if (!source) return Compare(path, before, isOnlyMetadata ? Bytes::Stay : Bytes::MayDiffer);
    if (Lower(before)) return Compare(path, before);
    m_moves.push_back({*source, path, false});
}

/// Tells of a difference between what stood at `before` and what the copy has at `path`.
void ChangeReader::Compare(const std::string& path, const Before& before, Bytes bytes) {
    Change change;
    change.path = HostPath(path);
    change.before = Lower(before);
    change.afterAt = m_layer.merged + path;
    change.after = StateOf(change.afterAt);
    if (!change.after) return;
    if (change.before) {
        change.beforeAt = m_layer.lower + *before;
        for (const auto& [name, value] : change.before->attributes) {
            const auto now = change.after->attributes.find(name);
            if (now == change.after->attributes.end() || now->second != value)
                change.attributes.push_back(name);
        }
    }
    for (const auto& [name, value] : change.after->attributes) {
        if (!change.before || !change.before->attributes.contains(name)) change.attributes.push_back(name);
    }
    if (!change.before) {
        change.action = Action::Create;
    } else if (bytes == Bytes::MayDiffer &&
               !IsSameContent(*change.before, change.beforeAt, *change.after, change.afterAt)) {
        change.action = Action::Replace;
    } else if (IsSameAccess(*change.before, *change.after) && change.attributes.empty()) {
        return;
    }
    m_changes.push_back(std::move(change));
}

void ChangeReader::Remove(const std::string& before) {
    Change change;
    change.action = Action::Remove;
    change.path = HostPath(before);
    change.beforeAt = m_layer.lower + before;
    change.before = StateOf(change.beforeAt);
    if (change.before) m_changes.push_back(std::move(change));
}

/// What was taken away under one name and is there under another has moved; a file that is still there under
/// the name that it had has got one name more.
void ChangeReader::SettleMoves() {
    for (const Change& change : m_changes) {
        if (change.action == Action::Remove) m_gone.insert(change.path);
    }
    std::set<std::string> moved;
    for (const MoveOf& move : std::exchange(m_moves, {})) {
        const bool isMove = HasGone(HostPath(move.from));
        if (!move.isDirectory) Compare(move.path, isMove ? Before(move.from) : std::nullopt, Bytes::Stay);
        if (!isMove) continue;
        moved.insert(HostPath(move.from));
        m_changes.push_back(ChangeOf(move));
        m_moves.push_back(move);
    }
    std::erase_if(m_changes, [&](const Change& change) {
        return change.action == Action::Remove && moved.contains(change.path);
    });
}

bool ChangeReader::HasGone(std::string path) const {
    while (path != "/" && !m_gone.contains(path)) path = ParentOf(path);
    return path != "/";
}

/// A store is emptied, an entry after the other, into a directory that the run has made. Where the old one
/// has gone as well, the store has moved as a whole.
void ChangeReader::JoinMoves() {
    std::map<std::pair<std::string, std::string>, std::size_t> kept;  // names, by the two directories
    for (const MoveOf& move : m_moves) {
        if (NameOf(move.from) == NameOf(move.path)) ++kept[{ParentOf(move.from), ParentOf(move.path)}];
    }
    for (const auto& [directories, count] : kept) {
        const auto& [from, to] = directories;
        if (IsWholeMove(from, to, count)) Join(from, to);
    }
}

bool ChangeReader::IsWholeMove(const std::string& from, const std::string& to, std::size_t kept) {
    const auto isMade = [made = HostPath(to)](const Change& change) {
        return change.action == Action::Create && change.path == made;
    };
    return kept == NamesIn(m_layer.lower + from).size() && HasGone(HostPath(from)) &&
           std::ranges::any_of(m_changes, isMade);
}

/// Tells the moves from one directory to the other as one.
void ChangeReader::Join(const std::string& from, const std::string& to) {
    std::erase_if(m_moves, [&](const MoveOf& move) { return ParentOf(move.from) == from; });
    std::erase_if(m_changes, [oldPath = HostPath(from), newPath = HostPath(to)](const Change& change) {
        return (change.action == Action::Move && ParentOf(change.path) == oldPath) ||
               (change.action == Action::Remove && change.path == oldPath) ||
               (change.action == Action::Create && change.path == newPath);
    });
    m_moves.push_back({from, to, true});
    m_changes.push_back(ChangeOf(m_moves.back()));
    Compare(to, from);
}

Change ChangeReader::ChangeOf(const MoveOf& move) {
    Change change;
    change.action = Action::Move;
    change.path = HostPath(move.from);
    change.to = HostPath(move.path);
    change.beforeAt = m_layer.lower + move.from;
    change.afterAt = m_layer.merged + move.path;
    change.before = StateOf(change.beforeAt);
    change.after = StateOf(change.afterAt);
    if (move.isDirectory) change.entries = CountEntriesBut({}, change.beforeAt);
    return change;
}

std::uint64_t ChangeReader::EntriesThatGo(const Change& removal) {
    if (removal.before->type != FileType::Directory) return 0;
    std::set<std::string> moved;
    for (const MoveOf& move : m_moves) moved.insert(m_layer.lower + move.from);
    return CountEntriesBut(moved, removal.beforeAt);
}

}  // namespace

corekit::Expected<std::vector<Change>> ReadChanges(const Layer& layer) {
    return ChangeReader(layer).Read();
}

}  // namespace Zorvane::AgentInstaller::Preview
