// Mounts the copy of the host, one file system after the other.
#include "preview/HostCopy.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include "corekit/fs/Dir.h"
#include "corekit/os/SystemCall.h"
#include "preview/FileState.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Result;
using corekit::String;

namespace {

/// Covers a directory that every host has, and that the copy gets anew, in this mount namespace alone.
const std::string kStage = "/proc";
const std::string kRoot = kStage + "/root";
const std::string kNotes = kStage + "/notes";

/// File systems on disks and in memory, which are the host's alone: nobody else writes to them.
constexpr std::string_view kOwnTypes[] = {"ext2",    "ext3",     "ext4",   "xfs",      "btrfs",
                                          "f2fs",    "tmpfs",    "ramfs",  "zfs",      "jfs",
                                          "overlay", "reiserfs", "nilfs2", "bcachefs", "root"};

/// What the kernel shows, which the copy gets anew.
constexpr std::string_view kKernelDirs[] = {"/proc", "/sys", "/dev"};

/// Tried in this order: the first keeps a rename cheap, the last is what every kernel knows.
constexpr const char* kOverlayOptions[] = {",redirect_dir=on,metacopy=on,index=off",
                                           ",redirect_dir=on,index=off", ",userxattr", ""};

/// Every command may write here, whatever its settings are.
constexpr std::string_view kNeededDirs[] = {"/", "/etc", "/etc/init.d", "/usr/bin", "/opt", "/tmp", "/run"};

constexpr const char* kDevices[] = {"null", "zero", "full", "random", "urandom", "tty"};

Failure Impossible(const String& why) {
    return Fail(String(kNotPossible) + why);
}

Failure Impossible(const String& why, const Result& cause) {
    return Impossible(why + L" (" + GetErrorMsg(cause) + L").");
}

Result MakeDirs(const std::string& directory) {
    for (std::size_t slash = directory.find('/', 1); slash != std::string::npos;
         slash = directory.find('/', slash + 1))
        mkdir(directory.substr(0, slash).c_str(), 0700);
    return corekit::Outcome(mkdir(directory.c_str(), 0700));
}

Result MountAt(const std::string& source, const std::string& target, const char* type, unsigned long flags,
               const std::string& options = {}) {
    return corekit::Outcome(mount(source.c_str(), target.c_str(), type, flags, options.c_str()));
}

Result Bind(const std::string& source, const std::string& target) {
    return MountAt(source, target, nullptr, MS_BIND);
}

/// Nothing is mounted when that fails: what could be written to would be the host's.
Result BindReadOnly(const std::string& source, const std::string& target, unsigned long flags) {
    if (Result bound = Bind(source, target); !bound) return bound;
    Result isReadOnly = MountAt("", target, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY | flags);
    if (!isReadOnly) umount2(target.c_str(), MNT_DETACH);
    return isReadOnly;
}

bool IsDirectory(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool IsKernels(const Mount& mount) {
    return std::ranges::any_of(kKernelDirs,
                               [&](std::string_view dir) { return IsAtOrBelow(mount.point, dir); });
}

bool IsNeeded(const Mount& mount, const std::vector<Mount>& mounts) {
    return std::ranges::any_of(kNeededDirs,
                               [&](std::string_view dir) { return *MountOf(mounts, dir) == mount; });
}

/// In a changed root that is no mount point, the mounts of the namespace are reached from its own root only.
Result MakeMountsPrivate() {
    if (MountAt("", "/", nullptr, MS_REC | MS_PRIVATE)) return Result();
    const auto root = corekit::OpenAt(AT_FDCWD, "/", O_PATH | O_DIRECTORY);
    if (!root) return root.error();
    const auto current = corekit::OpenAt(AT_FDCWD, ".", O_PATH | O_DIRECTORY);
    if (!current) return current.error();
    const auto own = corekit::OpenAt(AT_FDCWD, "/proc/self/ns/mnt", O_RDONLY);
    if (!own) return own.error();
    if (setns(own->Get(), CLONE_NEWNS) != 0) return Result::FromErrno();
    const Result result = MountAt("", "/", nullptr, MS_REC | MS_PRIVATE);
    const bool isBack = fchdir(root->Get()) == 0 && chroot(".") == 0 && fchdir(current->Get()) == 0;
    return isBack ? result : Result::FromErrno();
}

}  // namespace

unsigned long long QuarterOfMemory() {
    struct sysinfo info {};
    sysinfo(&info);
    return static_cast<unsigned long long>(info.totalram) * info.mem_unit / 4;
}

std::string HostCopy::NotesDir() const {
    return kNotes;
}

Outcome<> HostCopy::Build(unsigned long long bytes) {
    m_workDir = corekit::Dir::GetCurrent().value_or(L"/").Utf8();
    if (const Result read = ReadVisibleMounts(m_mounts); !read)
        return Impossible(L"/proc/self/mountinfo cannot be read; mount /proc first", read);
    if (const Result isPrivate = MakeMountsPrivate(); !isPrivate)
        return Impossible(L"mounts of its own are not allowed; run it as root, outside of a container",
                          isPrivate);
    if (Outcome<> stage = MountStage(bytes); !stage) return stage;
    for (const Mount& mount : m_mounts) {
        if (IsKernels(mount)) continue;
        if (Outcome<> copied = CopyMount(mount); !copied) return copied;
    }
    return MountKernelFiles();
}

Outcome<> HostCopy::MountStage(unsigned long long bytes) {
    const std::string options = "mode=0700,size=" + std::to_string(bytes);
    Result result = MountAt("tmpfs", kStage, "tmpfs", MS_NOSUID | MS_NODEV, options);
    if (result) result = MakeDirs(kRoot);
    if (result) result = MakeDirs(kNotes);
    if (!result) return Impossible(L"nothing can be mounted; run it as root, outside of a container", result);
    return {};
}

/// The host's file system gets a plain name first: its own may hold characters that options of a mount have a
/// meaning for, and the copy must not see what is mounted below it.
Outcome<> HostCopy::CopyMount(const Mount& mount) {
    const std::string number =
        std::to_string(m_layers.size() + m_uncopied.size()) + "-" + std::to_string(mount.id);
    const Layer layer{mount.point, kStage + "/lower/" + number, kStage + "/upper/" + number + "/upper",
                      mount.point == "/" ? kRoot : kRoot + mount.point};
    if (!IsDirectory(mount.point)) return ShowReadOnly(mount, mount.point);
    Result result = MakeDirs(layer.lower);
    if (result) result = Bind(mount.point, layer.lower);
    if (!result)
        return Impossible(String::FromUtf8(mount.point) +
                              L" cannot be mounted a second time; run it as root, outside "
                              L"of a container",
                          result);
    const bool isOwn = std::ranges::find(kOwnTypes, mount.type) != std::end(kOwnTypes);
    if (isOwn && (mount.flags & MS_RDONLY) == 0) {
        Outcome<> copied = Overlay(mount, layer);
        if (copied || IsNeeded(mount, m_mounts)) return copied;
    }
    return ShowReadOnly(mount, layer.lower);
}

Outcome<> HostCopy::Overlay(const Mount& mount, const Layer& layer) {
    const std::string work = ParentOf(layer.upper) + "/work";
    Result result = MakeDirs(layer.upper);
    if (result) result = corekit::Outcome(mkdir(work.c_str(), 0700));
    // The upper directory's own mode and owner are those of the copy's mount point.
    if (result) result = TakeAttributes(layer.lower, layer.upper);
    for (const char* options : kOverlayOptions) {
        if (!result) break;
        result =
            MountAt("overlay", layer.merged, "overlay", mount.flags | MS_NODEV,
                    "lowerdir=" + layer.lower + ",upperdir=" + layer.upper + ",workdir=" + work + options);
        if (result) {
            m_layers.push_back(layer);
            return {};
        }
        // Whoever is root in a user namespace only may not ask for what is root's.
        if (result.Code() == EINVAL || result.Code() == EPERM) result = Result();
    }
    const String point = String::FromUtf8(mount.point);
    if (result.Code() == ENODEV)
        return Impossible(L"the kernel has no overlay file system; load its module (modprobe overlay).");
    if (mount.type == "overlay")
        return Impossible(point + L" is an overlay of overlays already; run it on the host itself.");
    return Impossible(L"no overlay can be mounted over " + point +
                      L"; run it as root, outside of a container.");
}

Outcome<> HostCopy::ShowReadOnly(const Mount& mount, const std::string& lower) {
    const std::string merged = mount.point == "/" ? kRoot : kRoot + mount.point;
    const Result shown = BindReadOnly(lower, merged, mount.flags);
    if ((mount.flags & MS_RDONLY) == 0) m_uncopied.push_back(mount);
    if (!shown && mount.point == "/") return Impossible(L"/ cannot be mounted a second time", shown);
    if (!shown) m_hidden.push_back(mount);
    return {};
}

/// A new /proc, and new /sys and /dev where the host has these directories: nothing that steers the host.
Outcome<> HostCopy::MountKernelFiles() {
    constexpr unsigned long kFlags = MS_NOSUID | MS_NODEV | MS_NOEXEC;
    Result result = MountAt("proc", kRoot + "/proc", "proc", MS_RDONLY | kFlags);
    if (!result)
        return Impossible(L"/proc cannot be mounted anew; run it as root, outside of a container", result);
    if (IsDirectory(kRoot + "/sys")) result = BindReadOnly("/sys", kRoot + "/sys", kFlags);
    const std::string dev = kRoot + "/dev";
    if (result && IsDirectory(dev)) {
        result = MountAt("tmpfs", dev, "tmpfs", MS_NOSUID | MS_NOEXEC, "mode=0755,size=16m");
        for (const char* name : kDevices) {
            const std::string device = dev + "/" + name;
            const auto point = corekit::OpenAt(AT_FDCWD, device, O_CREAT | O_WRONLY, 0600);
            // A host without one of them has a copy without it.
            if (!point || !Bind(std::string("/dev/") + name, device)) unlink(device.c_str());
        }
        // A copy without them lacks what few programs use.
        Forgive(corekit::Outcome(symlink("/proc/self/fd", (dev + "/fd").c_str())));
        Forgive(corekit::Outcome(mkdir((dev + "/shm").c_str(), 01777)));
        Forgive(corekit::Outcome(chmod((dev + "/shm").c_str(), 01777)));
    }
    if (!result) return Impossible(L"/sys and /dev cannot be mounted anew", result);
    return {};
}

Result HostCopy::Enter() const {
    if (chroot(kRoot.c_str()) != 0) return Result::FromErrno().About(L"chroot");
    if (chdir(m_workDir.c_str()) == 0) return Result();
    return corekit::Outcome(chdir("/")).About(L"chdir");
}

const Mount* HostCopy::Uncopied(const std::string& path) const {
    const Mount* mount = MountOf(m_mounts, path);
    return mount != nullptr && std::ranges::count(m_uncopied, *mount) > 0 ? mount : nullptr;
}

const Mount* HostCopy::HiddenAt(const std::string& path) const {
    const auto found = std::ranges::find_if(m_hidden, [&](const Mount& mount) {
        return IsAtOrBelow(path, mount.point) || IsAtOrBelow(mount.point, path);
    });
    return found == m_hidden.end() ? nullptr : &*found;
}

std::string HostCopy::PathOf(const std::string& path) const {
    return kRoot + path;
}

bool HostCopy::IsFull() const {
    struct statvfs info {};
    constexpr unsigned kHundredth = 100;
    return statvfs(kStage.c_str(), &info) == 0 &&
           (info.f_bfree < info.f_blocks / kHundredth || info.f_ffree < info.f_files / kHundredth);
}

}  // namespace Zorvane::AgentInstaller::Preview
