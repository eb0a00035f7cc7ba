"""What is led: packages, the fleet of the hosts that get them, and the runs of playbooks on it."""
import glob
import json
import os
import resource
import subprocess
import sys
import time

import hosts as fleet_hosts
from hosts import AGENT, Host, write

PROJECT = os.path.dirname(os.path.dirname(fleet_hosts.HERE))
WORK = '/run/fleet'
IDENTIFIER = f'{AGENT}/etc/host.GUID'
FORMER, NEW = '6.0.340', '6.0.350'
SETTINGS = {'server': 'kell.example.com', 'protocol': 'https', 'run_levels': [2, 3, 5], 'location': 'Rack 7'}
# Too little for what an installation writes.
LEFT_ON_FULL_DISK = 2_500_000

wrong = []


def expect(holds, text):
    if not holds:
        wrong.append(text)
        print(f'    WRONG: {text}', flush=True)


def package(version, kind='sample'):
    return f'{WORK}/packages/{kind}/qdn-ksclt_{version}_amd64.deb'


# What the sample agent of the package lacks: it makes the host's identifier when it is first started, as the real one
# does; and one that ends just after its start.
MAKES_IDENTIFIER = """    guid=${0%/bin/*}/etc/host.GUID
    [ -s "$guid" ] || printf '%s\\nnull' "$(cat /proc/sys/kernel/random/uuid)" >"$guid"
"""
DIES = '    sleep 0.2; rm -f "$pid_file"; exit 1\n'
# What the package's scripts take is the program's, too: they call it.
SCRIPT_TIMES = '/var/log/package-script-times'
TELLS_TIMES = f'''#!/bin/sh
began=$(date +%s.%N)
trap '{{ echo "$began $(date +%s.%N)"; times; }} >>{SCRIPT_TIMES} || :' EXIT
'''


def make_package(version, kind, more):
    """A package of the project, with an agent that does more when it is started."""
    built, = glob.glob(f'{PROJECT}/build/packages/qdn-ksclt_{version}_*.deb')
    tree, result = f'{WORK}/tree-{kind}-{version}', package(version, kind)
    os.makedirs(os.path.dirname(result), exist_ok=True)
    subprocess.run(['dpkg-deb', '-R', built, tree], check=True)
    program = f'{tree}{AGENT}/bin/qdn-pluginmanager.bin'
    with open(program, encoding='utf-8') as file:
        text = file.read()
    loop = '    while :; do\n'
    assert loop in text
    write(program, text.replace(loop, more + loop), 0o755)
    for name in 'preinst', 'postinst', 'prerm':
        with open(f'{tree}/DEBIAN/{name}', encoding='utf-8') as file:
            text = file.read()
        write(f'{tree}/DEBIAN/{name}', text.replace('#!/bin/sh\n', TELLS_TIMES, 1), 0o755)
    subprocess.run(['dpkg-deb', '-b', '-Zgzip', '-z1', '--root-owner-group', tree, result], check=True, stdout=subprocess.DEVNULL)


def bytes_on_the_wire():
    """What the loopback interface of the fleet has carried."""
    with open('/proc/net/dev', encoding='ascii') as file:
        return next(int(line.split()[9]) for line in file if line.strip().startswith('lo:'))


def script_times(host):
    """How long the scripts of the package ran on the host so far, and how long they computed, with all that they called."""
    ran = computed = 0.0
    try:
        with open(host.path(SCRIPT_TIMES), encoding='ascii') as file:
            for words in map(str.split, file):
                if 'm' in words[0]:
                    computed += sum(60 * float(word.split('m')[0]) + float(word.split('m')[1].rstrip('s')) for word in words)
                else:
                    ran += float(words[1]) - float(words[0])
    except FileNotFoundError:
        pass
    return ran, computed


def computed_by_controller():
    """The processor time of the engine's own processes so far, those of its connections included as far as they have ended."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def computed_by_all():
    """The processor time of all processes here, which are the fleet's and the controller's, and of those that have ended."""
    ticks = 0
    for path in glob.glob('/proc/[0-9]*/stat'):
        try:
            with open(path, encoding='utf-8', errors='replace') as file:
                ticks += sum(map(int, file.read().rpartition(')')[2].split()[11:15]))
        except (FileNotFoundError, ProcessLookupError):
            pass
    return ticks / os.sysconf('SC_CLK_TCK')


# A host's share of each: the seconds in which a task was under way, and those of them in which the program ran; the
# processor's seconds of all there is, controller and hosts, those of the controller, and those in which the program computed;
# and the program's share of these, and of the seconds of the engine.
HEADING = (f'{"step":44} {"hosts":>5} {"not":>5} {"ok":>6} {"changed":>8} {"failed":>7} {"engine s":>9} {"ours s":>7} {"%":>5} '
           f'{"CPU s":>8} {"ctl":>6} {"ours":>7} {"%":>5} {"ours/eng":>8} {"wall s":>7} {"kB/host":>8}')


class Step:
    """One run of a playbook: what it recorded of each host, and what it took."""

    def __init__(self, fleet, title, playbook, variables, *options, total=None):
        record = f'{WORK}/record'
        if os.path.exists(record):
            os.remove(record)
        write(f'{WORK}/variables', json.dumps(variables))
        scripts = {name: script_times(host) for name, host in fleet.hosts.items()}
        wire, computed, controller, began = bytes_on_the_wire(), computed_by_all(), computed_by_controller(), time.time()
        with open(f'{WORK}/log', 'a', encoding='utf-8') as log:
            log.write(f'\n=== {title}\n')
            log.flush()
            self.status = subprocess.run(
                ['/usr/bin/ansible-playbook', '-i', f'{WORK}/inventory', playbook, '-e', f'@{WORK}/variables',
                 *options], env=dict(fleet.environment, RECORD=record), stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                check=False).returncode
        self.wall = time.time() - began
        self.computed = computed_by_all() - computed
        self.controller = computed_by_controller() - controller
        self.wire = bytes_on_the_wire() - wire
        self.scripts = {name: [now - before for now, before in zip(script_times(host), scripts[name])]
                        for name, host in fleet.hosts.items()}
        self.rows = [json.loads(line) for line in open(record, encoding='utf-8')] if os.path.exists(record) else []
        self.recap = {row['host']: row['result'] for row in self.rows if row['kind'] == 'recap'}
        self.reached = {row['host'] for row in self.rows if row['kind'] not in ('recap', 'skipped')}
        self._tell(title, total or len(fleet.hosts))

    def engine_seconds(self, host):
        return sum(row['seconds'] for row in self.rows if row['host'] == host and row['kind'] != 'recap')

    def program_seconds(self, host):
        """How long the program ran there, called by the modules and by the package's scripts, and how long it computed."""
        results = [row['result'] for row in self.rows
                   if row['host'] == host and row.get('action', '').startswith('zorvane.kell_agent.')]
        ran, computed = self.scripts.get(host, (0, 0))
        return (ran + sum(result.get('seconds', 0) for result in results),
                computed + sum(result.get('processor_seconds', 0) for result in results))

    def changed(self, host):
        return self.recap[host]['changed']

    def failed(self):
        return {host for host, result in self.recap.items() if result['failures'] or result['unreachable']}

    def diff(self, host):
        """What the configuration of the host changes: path, before and after."""
        for row in self.rows:
            if row['host'] == host and row.get('action') == 'zorvane.kell_agent.configure':
                return {entry['before_header']: (entry['before'], entry['after']) for entry in row['result'].get('diff', [])}
        return None

    def why(self, host):
        texts = [row['result'].get('msg') for row in self.rows if row['host'] == host and row['kind'] == 'failed']
        return str(texts[0] if texts else '')

    def _tell(self, title, number):
        hosts = sorted(self.reached)
        count = max(1, len(hosts))
        totals = [sum(result[field] for result in self.recap.values()) for field in ('ok', 'changed', 'failures')]
        engine, computed = sum(map(self.engine_seconds, hosts)) / count, self.computed / count
        ran, ours = (sum(column) / count for column in zip(*map(self.program_seconds, hosts)))
        print(f'{title:44} {len(hosts):5} {number - len(hosts):5} {totals[0]:6} {totals[1]:8} {len(self.failed()):7} {engine:9.2f} '
              f'{ran:7.3f} {100 * ran / engine:5.1f} {computed:8.2f} {self.controller / count:6.2f} {ours:7.3f} {100 * ours / computed:5.1f} {100 * ours / engine:8.1f} '
              f'{self.wall:7.1f} {self.wire / count / 1000:8.0f}', flush=True)


class Fleet:
    def __init__(self, number, root_file):
        self._prepare(root_file)
        self.hosts = {host.name: host for host in map(self.make_host, range(1, number + 1))}
        self.settings = SETTINGS
        self.own = {}  # variables of single hosts
        self.environment = {
            'PATH': '/usr/sbin:/usr/bin:/sbin:/bin', 'HOME': WORK, 'LC_ALL': 'C.UTF-8', 'ANSIBLE_COLLECTIONS_PATH': WORK,
            'ANSIBLE_CALLBACK_PLUGINS': f'{PROJECT}/tests/ansible/callbacks', 'ANSIBLE_CALLBACKS_ENABLED': 'record',
            'ANSIBLE_FORKS': '10', 'ANSIBLE_TIMEOUT': '60', 'ANSIBLE_PIPELINING': 'True', 'ANSIBLE_HOST_KEY_CHECKING': 'False',
            'ANSIBLE_NOCOLOR': '1',
            'ANSIBLE_SSH_ARGS': '-F none -o ControlMaster=auto -o ControlPersist=60s -o UserKnownHostsFile=/dev/null -o LogLevel=ERROR',
            'ANSIBLE_PYTHON_INTERPRETER': '/usr/bin/python3',
        }
        for host in self.hosts.values():
            host.start()
        fleet_hosts.wait_until_up(self.hosts.values())
        self.write_inventory()

    def _prepare(self, root_file):
        os.makedirs(f'{WORK}/ansible_collections/zorvane')
        os.symlink(f'{PROJECT}/ansible', f'{WORK}/ansible_collections/zorvane/kell_agent')
        os.makedirs(f'{WORK}/pristine')
        subprocess.run(['tar', '--zstd', '-xf', root_file, '-C', f'{WORK}/pristine'], check=True)
        subprocess.run(['ssh-keygen', '-q', '-t', 'ed25519', '-N', '', '-f', f'{WORK}/key'], check=True)
        fleet_hosts.prepare(f'{WORK}/pristine', f'{WORK}/key')
        self.make_packages()

    def make_packages(self):
        for version in FORMER, NEW:
            make_package(version, 'sample', MAKES_IDENTIFIER)
        make_package(NEW, 'dying', DIES)

    def make_host(self, number):
        return Host(WORK, number)

    def write_inventory(self):
        lines = [' '.join([host.name, f'ansible_host={host.address}'] +
                          [f'{name}={value}' for name, value in self.own.get(host.name, {}).items()])
                 for host in self.hosts.values()]
        lines += ['[all:vars]', 'ansible_user=ops', f'ansible_ssh_private_key_file={WORK}/key']
        write(f'{WORK}/inventory', '\n'.join(lines) + '\n')

    def states(self):
        """Of every host, the package's version and the agents that run."""
        return {name: (host.version(), host.agents()) for name, host in self.hosts.items()}

    def snapshots(self):
        return {name: host.snapshot() for name, host in self.hosts.items()}

    def rollout(self, title, version, settings, *options, waves=(100,), total=None):
        return Step(self, title, 'zorvane.kell_agent.rollout',
                    {'agent_package_file': package(version), 'agent_settings': settings, 'agent_wait': 60, 'agent_waves': list(waves)},
                    *options, total=total)

    def stop(self):
        for host in self.hosts.values():
            host.stop()


def lead(kind, number, root_file, steps):
    """Makes a fleet of the kind and takes the steps until one goes wrong; the process ends with whether all was as expected."""
    subprocess.run(['mount', '-t', 'tmpfs', 'tmpfs', '/run'], check=True)
    subprocess.run(['ip', 'link', 'set', 'lo', 'up'], check=True)
    began = time.time()
    fleet = kind(number, root_file)
    print(f'{number} hosts answer after {time.time() - began:.1f} s')
    print(HEADING, flush=True)
    ended = False
    try:
        for step in steps:
            if not wrong:
                step(fleet)
        ended = True
    finally:
        fleet.stop()
        if wrong or not ended:
            with open(f'{WORK}/log', encoding='utf-8') as log:
                sys.stderr.write(log.read()[-20000:])
    print(f'{len(wrong)} expectations were not met.' if wrong else 'All was as expected.')
    sys.exit(bool(wrong))
