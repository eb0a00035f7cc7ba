"""The hosts of a fleet: each a root of its own over one pristine root, with an init and an sshd."""
import os
import shutil
import signal
import subprocess
import time

import trees

HERE = os.path.dirname(os.path.abspath(__file__))
AGENT = '/opt/zorvane/kell/ksagent'
DISK = '192m'
INITTAB = 'id:2:initdefault:\nss:2345:respawn:/usr/sbin/sshd -D\n'
BOOT = 'l2:2:once:/etc/init.d/rc 2\n'
SSHD = '''Port 22
ListenAddress %s
HostKey /etc/ssh/fleet_key
AuthorizedKeysFile /etc/ssh/fleet_users
PasswordAuthentication no
UsePAM no
Subsystem sftp /usr/lib/openssh/sftp-server
'''


def mount(*words):
    subprocess.run(['mount', *words], check=True)


def prepare(pristine, key):
    """What all hosts have in common: a user who may become root, and init that starts nothing but sshd."""
    in_root = ['chroot', pristine]
    subprocess.run([*in_root, 'useradd', '--password', '*', '--create-home', '--shell', '/bin/bash', 'ops'], check=True)
    write(f'{pristine}/etc/sudoers.d/ops', 'ops ALL=(ALL) NOPASSWD: ALL\n', 0o440)
    write(f'{pristine}/etc/inittab', INITTAB)
    shutil.copy(key, f'{pristine}/etc/ssh/fleet_key')
    shutil.copy(f'{key}.pub', f'{pristine}/etc/ssh/fleet_users')
    os.chmod(f'{pristine}/etc/ssh/fleet_key', 0o600)


def write(path, text, mode=0o644):
    with open(path, 'w', encoding='utf-8') as file:
        file.write(text)
    os.chmod(path, mode)


class Host:
    """One host. Its root lies over the pristine one, or over an image that does."""

    def __init__(self, work, number, name=None, image=None):
        self.name = name or f'host{number:03}'
        self.address = f'127.77.{number // 250}.{number % 250 + 1}'
        self._place = f'{work}/{self.name}'
        self.root = f'{self._place}/root'
        self._upper = f'{self._place}/disk/upper'
        self._pristine = f'{work}/pristine'
        self._lower = f'{image._upper}:{self._pristine}' if image else self._pristine
        self._process = None

    def make(self):
        os.makedirs(self.root)
        os.makedirs(f'{self._place}/disk')
        mount('-t', 'tmpfs', '-o', f'size={DISK}', 'tmpfs', f'{self._place}/disk')
        os.makedirs(self._upper)
        os.makedirs(f'{self._place}/disk/work')
        mount('-t', 'overlay', '-o', f'lowerdir={self._lower},upperdir={self._upper},workdir={self._place}/disk/work',
              'overlay', self.root)
        write(f'{self.root}/etc/ssh/sshd_config', SSHD % self.address)
        write(f'{self.root}/etc/hosts', f'127.0.0.1 localhost {self.name}\n')

    def start(self, boot=False):
        """Switches it on; with `boot`, init also starts what its run level has."""
        self.make()
        if boot:
            write(f'{self.root}/etc/inittab', INITTAB + BOOT)
        self._process = subprocess.Popen([f'{HERE}/host', self.root, self.name], stdin=subprocess.DEVNULL)

    def stop(self):
        if self._process:
            self._process.send_signal(signal.SIGKILL)
            self._process.wait()

    def close(self):
        """The root of an image that others will lie over."""
        subprocess.run(['umount', '--recursive', self.root], check=True)

    def snapshot(self):
        return trees.snapshot(self.root, self._upper)

    def changes(self, before, after):
        return trees.changes(before, after, self._pristine)

    def version(self):
        """The agent's package as dpkg knows it."""
        query = subprocess.run(['dpkg-query', f'--admindir={self.root}/var/lib/dpkg', '-W',
                                '-f', '${db:Status-Status} ${Version}', 'qdn-ksclt'], capture_output=True, text=True, check=False)
        return query.stdout if query.returncode == 0 and not query.stdout.startswith('not-installed') else 'none'

    def agents(self):
        """The process ids of the agents that run on the host, which are seen from here by its namespace."""
        leader = subprocess.run(['pgrep', '-P', str(self._process.pid)], capture_output=True, text=True, check=True).stdout.split()
        own = os.readlink(f'/proc/{leader[0]}/ns/uts')
        found = []
        for process in filter(str.isdigit, os.listdir('/proc')):
            try:
                with open(f'/proc/{process}/cmdline', 'rb') as file:
                    words = file.read().split(b'\0')
                if b'--serve' in words and os.readlink(f'/proc/{process}/ns/uts') == own:
                    found.append(int(process))
            except (FileNotFoundError, ProcessLookupError):
                continue
        return found

    def path(self, path):
        return self.root + path

    # --- What breaks it

    def fill_disk(self, left):
        """Leaves so many bytes free."""
        free = os.statvfs(f'{self._place}/disk')
        size = free.f_bavail * free.f_frsize - left
        subprocess.run(['fallocate', '-l', str(size), f'{self._place}/disk/full'], check=True)

    def mend_disk(self):
        os.remove(f'{self._place}/disk/full')


def wait_until_up(hosts):
    """Every sshd answers, at the latest in five minutes: a hundred hosts may start on a machine that is busy."""
    import socket
    deadline = time.time() + 300
    for host in hosts:
        while True:
            try:
                with socket.create_connection((host.address, 22), 1) as link:
                    if link.recv(4) == b'SSH-':
                        break
            except OSError:
                pass
            if time.time() > deadline:
                raise SystemExit(f'{host.name} does not answer')
            time.sleep(0.1)
