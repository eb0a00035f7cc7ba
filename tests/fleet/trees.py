"""What a host's file system holds, told as the collection's modules tell it, and what differs between two moments."""
import hashlib
import os
import stat

# What the host's own programs write while they run: sessions, logs, temporary files, the agent's process id.
RUNNING = ('/dev', '/home', '/proc', '/root', '/run', '/sys', '/tmp', '/var/cache/apt', '/var/cache/debconf', '/var/cache/dnf',
           '/var/lib/apt', '/var/lib/dnf', '/var/lib/dpkg', '/var/lib/rpm', '/var/log', '/var/tmp',
           '/opt/zorvane/kell/ksagent/var/qdn-agent.pid', '/opt/zorvane/kell/ksagent/etc/host.GUID', '/mnt')


def state(path):
    """How a file is; the empty text when there is none. Directories count by mode and owner."""
    try:
        info = os.lstat(path)
    except (FileNotFoundError, NotADirectoryError):
        return ''
    kind = {stat.S_IFREG: 'file', stat.S_IFDIR: 'directory', stat.S_IFLNK: 'link'}.get(stat.S_IFMT(info.st_mode), 'other')
    lines = [f'type: {kind}', f'mode: {stat.S_IMODE(info.st_mode):04o}', f'owner: {info.st_uid}:{info.st_gid}']
    if kind == 'link':
        lines.append(f'target: {os.readlink(path)}')
    if kind == 'file':
        with open(path, 'rb') as file:
            content = file.read()
        lines += [f'size: {len(content)}', f'sha256: {hashlib.sha256(content).hexdigest()}']
    return '\n'.join(lines) + '\n'


def is_running(path):
    return any(path == place or path.startswith(place + '/') for place in RUNNING)


def touched(upper):
    """The paths that the host has written to since it was made: the names in the upper layer of its root."""
    for directory, directories, files in os.walk(upper):
        below = directory[len(upper):]
        directories[:] = [name for name in directories if not is_running(f'{below}/{name}')]
        yield from (f'{below}/{name}' for name in directories + files if not is_running(f'{below}/{name}'))


def snapshot(root, upper):
    """The states of all paths that the host has written to."""
    return {path: state(root + path) for path in touched(upper)}


def changes(before, after, pristine):
    """Path, before and after of what differs. What a snapshot lacks is as it is in the pristine root."""
    found = {}
    for path in before.keys() | after.keys():
        states = [snapshot.get(path, None) for snapshot in (before, after)]
        states = [state(pristine + path) if known is None else known for known in states]
        if states[0] != states[1]:
            found[path] = tuple(states)
    return found
