"""What must hold on a host, from what has happened to it alone: which agent there is, what it knows and owns, and what
-status has to tell. Nothing here asks the program under test, and nothing is taken from its code."""
import copy
import dataclasses
import hashlib
import os
import re

LIFE = "/opt/life"
PLACES = (LIFE + "/one", LIFE + "/two", LIFE + "/three/deep")
SERVICE = "/etc/init.d/zorvane"
PROGRAMS = ("clientconfigupdate", "clientevent", "clienttransport", "configure", "messagelistener", "monitor",
            "objectmanager", "policymanager", "swdclientagent", "taskscheduler", "uninstall")
ROOTS = ("configure", "uninstall")  # only root may run these, and the control script
# Of a run that has come to its end, none of these is left in the directories of the agents.
MARKS = re.compile(r"\.unfinished|\.unmoved|\.moved|\..*\.unfinished|\.qdn-configure\..*|\..*\.[A-Za-z0-9]{6}")


@dataclasses.dataclass
class Agent:
    """An agent that is configured, or is going to be."""
    where: str
    server: str  # its URL
    levels: list
    is_old: bool = False  # of an earlier version
    identifier: str = None  # none until the agent makes one: to another server it is another host
    values: dict = dataclasses.field(default_factory=dict, repr=False)  # of client.conf, by section and key
    data: dict = dataclasses.field(default_factory=dict, repr=False)  # hashes, by the path below var
    texts: dict = dataclasses.field(default_factory=dict, repr=False)  # of files that are converted: what they contain
    conf: bytes = dataclasses.field(default=None, repr=False)  # client.conf when it was last looked at

    @property
    def conf_file(self):
        return self.where + "/etc/client.conf"

    @property
    def identifier_file(self):
        return self.where + "/etc/host.GUID"

    def configured(self, where, server):
        """The same agent after a configuration there, for that server."""
        after = copy.deepcopy(self)
        after.where, after.is_old, after.conf = where, False, None
        if server != self.server:
            after.server = server
            after.identifier = None
        return after


# --- What is found

def read(path):
    try:
        with open(path, "rb") as file:
            return file.read()
    except (FileNotFoundError, NotADirectoryError):
        return None


def sha256(contents):
    return contents if contents is None else hashlib.sha256(contents).hexdigest()


def files_of_life():
    for directory, _, names in os.walk(LIFE):
        for name in names:
            yield os.path.join(directory, name)


def contents_of_life():
    """Without what is large, which is the program."""
    return [read(path) for path in files_of_life() if os.path.isfile(path) and os.path.getsize(path) < 1 << 18]


def values_of(conf):
    section, values = "", {}
    for line in conf.decode("latin-1").split("\n"):
        if line.startswith("["):
            section = line.strip("[]")
        elif "=" in line and not line.startswith("#"):
            key, value = line.split("=", 1)
            values[section, key.strip()] = value.strip()
    return values


def mode_of(path):
    return f"{os.stat(path).st_mode & 0o7777:04o}" if os.path.exists(path) else None


def differ(what, found, expected):
    return [] if found == expected else [f"{what} is {found!r}, expected {expected!r}"]


# --- After a run that has come to its end

def faults_of(agent, state):
    """What is not as it must be, with this agent or with none, and `state` as -status tells it of each place."""
    return list(faults_without_agent(state) if agent is None else faults_with(agent, state))


def faults_without_agent(state):
    for place in PLACES:
        yield from differ("client.conf of " + place, read(place + "/etc/client.conf"), None)
        yield from faults_of_empty(state[place], place)
    yield from differ(SERVICE, read(SERVICE), None)
    for level in range(7):
        yield from differ(f"the service in level {level}", service_links(level), [])
    # The link "qdn-configure" may be the command that was called.
    yield from differ("the links", links() - {"/usr/bin/qdn-configure"}, set())


def faults_with(agent, state):
    yield from faults_of_conf(agent)
    yield from faults_of_integration(agent)
    yield from faults_of_data(agent)
    yield from differ("the identifier", identifier_in(agent.identifier_file), agent.identifier)
    for place in PLACES:
        if place == agent.where:
            yield from faults_of_told(agent, state[place])
        else:
            yield from differ(place + " is there", os.path.lexists(place), False)
            yield from faults_of_empty(state[place], place)


def faults_of_conf(agent):
    conf = read(agent.conf_file)
    if conf is None:
        yield f"{agent.conf_file} is missing"
        return
    values = values_of(conf)
    expected = {("Kell Servers", "server-1"): agent.server.split("//")[1], ("Configuration", "installdir"): agent.where,
                ("Client Transport", "ks_url_format"): agent.server.split("//")[0] + "//%server%/Zorvane/", **agent.values}
    for (section, key), value in expected.items():
        yield from differ(f"[{section}] {key}", values.get((section, key)), value)
    yield from differ("the mode of client.conf", mode_of(agent.conf_file), "0644")


def faults_of_integration(agent):
    for path, mode in ((agent.where + "/bin/qdn-env", "0555"), (agent.where + "/bin/rcscript", "0544"), (SERVICE, "0544")):
        text = read(path) or b""
        yield from differ("the mode of " + path, mode_of(path), mode)
        if agent.where.encode() + b"/" not in text:
            yield f"{path} does not name {agent.where}"
    yield from differ("the links", links(), {"/usr/bin/qdn-" + name for name in PROGRAMS})
    for name in PROGRAMS:
        target = f"{agent.where}/bin/qdn-{name}"
        yield from differ(f"the link to {name}", os.path.realpath("/usr/bin/qdn-" + name), target)
        yield from differ("the mode of " + target, mode_of(target), "0544" if name in ROOTS else "0555")
    for level in range(7):
        expected = ["S99zorvane" if level in agent.levels else "K01zorvane"]
        yield from differ(f"the service in level {level}", service_links(level), expected)


def links():
    return {"/usr/bin/" + name for name in os.listdir("/usr/bin") if name.startswith("qdn-")}


def service_links(level):
    directory = f"/etc/rc{level}.d"
    return [name for name in os.listdir(directory) if os.path.realpath(f"{directory}/{name}") == SERVICE]


def faults_of_data(agent):
    for path, expected in agent.data.items():
        yield from differ("the hash of " + path, sha256(read(f"{agent.where}/var/{path}")), expected)
    for path, texts in agent.texts.items():
        contents = read(f"{agent.where}/var/{path}") or b""
        yield from (f"{path} does not say {text}" for text in texts if text not in contents)


def identifier_in(path):
    contents = read(path)
    return contents if contents is None else contents.decode().split("\n")[0]


def left_behind():
    """Marks and half-made files in the directories of the agents."""
    return [path for path in files_of_life() if MARKS.fullmatch(os.path.basename(path))]


# --- What -status tells

def faults_of_empty(told, place):
    """-status of a place without an agent."""
    yield from differ(f"-status of {place}", (told["status"], told["installed"], told["differences"], told["agent"]),
                      (4, None, None, {"running": False, "pid": None}))


def faults_of_told(agent, told, status=3, differences=()):
    """-status of an agent that is configured and not running."""
    expected = {
        "status": status,
        "installed": {"version": "6.0.350", "label": "6.0SP2", "directory": agent.where, "client_conf": agent.conf_file,
                      "unfinished": False},
        "server": {"url": agent.server, "reachable": None},
        "identifier": {"file": agent.identifier_file, "present": agent.identifier is not None},
        "boot": {"by": ["links"], "enabled": True, "levels": agent.levels},
        "agent": {"running": False, "pid": None},
        "error": None,
        "not_compared": None,
    }
    for field, value in expected.items():
        yield from differ(f"-status: {field}", told[field], value)
    named = [(change["action"], change["path"]) for change in told["differences"] or []]
    yield from differ("-status: differences", named, list(differences))


def untruths(told, place):
    """What -status tells and everybody can see to be otherwise, whatever has happened."""
    mark, conf = (os.path.lexists(f"{place}/etc/{name}") for name in (".unfinished", "client.conf"))
    installed, differences = told["installed"], told["differences"] or []
    yield from differ(f"{place} is installed", installed is not None, mark or conf)
    yield from differ(f"{place} has status 4", told["status"] == 4, installed is None)
    if installed is None:
        return
    yield from differ(f"{place} is unfinished", installed["unfinished"], mark)
    if conf or not os.path.exists(place + "/etc/client.conf.old"):  # which may tell it while client.conf is replaced
        yield from differ(f"the version in {place} is known", installed["version"] is not None, conf)
    is_wrong = bool(mark or differences or told["error"])
    yield from differ(f"-status of {place}", told["status"], 1 if is_wrong else 3)
    yield from differ(f"differences of {place} were looked for", told["not_compared"], None)
    if conf:
        values = values_of(read(f"{place}/etc/client.conf"))
        url = values["Client Transport", "ks_url_format"].replace("%server%/Zorvane/", values["Kell Servers", "server-1"])
        yield from differ(f"the server in {place}", told["server"]["url"], url)
        identifier = values["Configuration", "guid_guid_file"]
        yield from differ(f"the identifier in {place}", told["identifier"],
                          {"file": identifier, "present": os.path.exists(identifier)})
        levels = [level for level in range(7) if any(name.startswith("S") for name in service_links(level))]
        yield from differ(f"the levels in {place}", told["boot"]["levels"], levels)
    for change in differences:
        path, action = change["path"], change["action"]
        yield from differ(f"{path} before", state_of(path, action), told_state(change["before"]))


def state_of(path, action):
    """As -status tells it, which does not look into a file that only moves."""
    if not os.path.lexists(path):
        return None
    seen = os.lstat(path)
    target = os.readlink(path) if os.path.islink(path) else None
    is_read = os.path.isfile(path) and target is None and action != "move"
    digest = sha256(read(path)) if is_read else None
    return (f"{seen.st_mode & 0o7777:04o}", seen.st_uid, seen.st_gid, target, digest)


def told_state(before):
    if before is None:
        return None
    return (before["mode"], before["uid"], before["gid"], before["target"], before["sha256"])


# --- After a run that was killed, had no room, or lost its power

def losses(before, after):
    """What must be somewhere, however far the run has come."""
    contents = contents_of_life()
    hashes = {sha256(content) for content in contents}
    for path, digest in before.data.items():
        if digest not in hashes:
            yield f"{path} is lost"
    for path, texts in before.texts.items():
        start = texts[0].split(b"&")[0]  # what comes behind it is written in another way once it is converted
        if not any(start in content for content in contents):
            yield f"{path} is lost"
    if after.identifier and not any(content.startswith(after.identifier.encode()) for content in contents):
        yield f"the identifier {after.identifier} is lost"
    if not any(has_values(path, before.values) for place in PLACES
               for path in (place + "/etc/client.conf", place + "/etc/client.conf.old")):
        yield "the configuration's values are in no client.conf and no client.conf.old"


def has_values(path, values):
    conf = read(path)
    return conf is not None and values.items() <= values_of(conf).items()


def is_unfinished(told):
    return told["installed"] is not None and told["installed"]["unfinished"]


def faults_half_way(before, after, is_untouched, state, is_marked):
    """A configuration has not done all: the host is as before, or as after it, or -status says that it is neither. Where
    is_marked, it says that the run has not come to its end; where the run came to its end without room for all, or the
    disk has lost what was not flushed, it is the differences that say so."""
    if before is not None:
        yield from losses(before, after)
    if is_untouched or not faults_of(after, state):
        return
    if is_marked and not any(is_unfinished(state[place]) for place in PLACES):
        yield f"nobody is told that a run has not come to its end: {in_short(state)}"
    has_agent = before is not None or os.path.lexists(after.conf_file)
    if has_agent and not any(state[place]["status"] == 1 for place in PLACES):
        yield f"nobody is told that the agent is not in order: {in_short(state)}"


def faults_half_cleaned(before, is_untouched, state):
    """A clean has not come to its end: client.conf, by which the next one finds what is left, goes last."""
    if is_untouched or os.path.exists(before.conf_file) and state[before.where]["status"] == 1:
        return
    yield from faults_without_agent(state)


def in_short(state):
    return {place: (told["status"], told["installed"], told["error"], len(told["differences"] or []))
            for place, told in state.items()}
